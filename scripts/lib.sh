# Shared by the commands in this folder; sourced, not run. The lists are for whoever sources it.
# shellcheck shell=sh disable=SC2034
set -eu

top=$(CDPATH="" cd -- "$(dirname -- "$0")/.." && pwd)
cd "$top"

say() { printf '== %s\n' "$*"; }

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  exit 1
}

# Debian packages that building and testing need, in the order of the rooms that use them.
packages='g++ cmake ninja-build pkg-config libgtk2.0-dev libgdk-pixbuf2.0-bin libyajl-dev
  libjavascriptcoregtk-4.1-dev libcurl4-openssl-dev libcpp-httplib-dev libpugixml-dev
  libgtest-dev libgmock-dev xvfb xauth xdotool x11-utils imagemagick dbus-x11
  fonts-dejavu-core python3'

# Besides these, for the tests in a real browser engine.
engine_packages='libqt5webkit5-dev qutebrowser qutebrowser-qtwebkit python3-pyqt5.qtwebkit'

# Today's browsers, and what plays their user.
browser_packages='firefox-esr chromium openbox pcmanfm python3-pyqt5'

# For making and testing the Debian packages and the man pages.
packaging_packages='dpkg-dev file lintian man-db'

# For the fuzzers.
fuzz_packages='clang libclang-rt-14-dev'

# For reading the code.
lint_packages='git clang-format-14 clang-tidy-14 cppcheck shellcheck'

# For the benchmarks.
bench_packages='libbenchmark-dev libspdlog-dev libcurl4-openssl-dev gnuplot-nox'

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null 2>&1; then
    sudo "$@"
  else
    fail "installing packages needs root or sudo: $*"
  fi
}

installed() { [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

# Installs what is missing of the packages given (default: all of the list above).
need_packages() {
  missing=
  # shellcheck disable=SC2048
  for package in ${*:-$packages}; do
    installed "$package" || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  command -v apt-get >/dev/null 2>&1 || fail "these packages are missing and there is no apt-get:$missing"
  say "Installing:$missing"
  as_root apt-get update -q >/dev/null || fail "the package lists could not be fetched (apt-get update)"
  # shellcheck disable=SC2086
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends $missing \
    >/dev/null || fail "apt-get could not install:$missing"
}

# Configures and builds a preset, all of it or as cmake's further arguments say. What did not change
# is not built again.
build_preset() {
  say "Building (preset $1, in build/$1)"
  output=$(cmake --preset "$1" 2>&1) || {
    printf '%s\n' "$output" >&2
    fail "cmake could not configure the preset $1"
  }
  cmake --build --preset "$@" || fail "the preset $1 does not build"
}

# The launched application is nobody's child: its own process file names it. Usage: end_application DATA
end_application() {
  pid_file=$1/var/run/process.pid
  [ -f "$pid_file" ] || return 0
  pid=$(cat "$pid_file")
  case $(readlink "/proc/$pid/exe" 2>/dev/null) in
    */orvanepellion) kill "$pid" 2>/dev/null || true ;;
  esac
}
