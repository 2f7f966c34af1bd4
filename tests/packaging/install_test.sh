#!/bin/sh
# Installs the packages, uses them, and removes them; nothing is left then, on failure as well. Skipped
# (77) where it may not be done: without root, and where the user has installed the plugin.
# Usage: install_test.sh PROJECT BUILD [WEB_HOST]
project=$1 build=$2 webkit_host=${3:-}
. "$(dirname -- "$0")/support.sh"

packages="orvane-web-extension orvane-web-tools orvane-web"

clean_up() {
  end_children
  # shellcheck disable=SC2086
  [ -z "${installing:-}" ] || dpkg --purge $packages >/dev/null 2>&1 || true
  rm -rf "$stage"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

skip() {
  echo "Skipped: $1" >&2
  exit 77
}

[ "$(id -u)" -eq 0 ] || skip "installing needs root"
for package in "$build"/packages/*.deb; do
  dpkg-deb --fsys-tarfile "$package" | tar -t | sed 's|^\.||'
done | sort -u >"$stage/paths"
while read -r path; do
  case $path in
    */) [ -d "$path" ] || echo "$path" ;;
    *) [ ! -e "$path" ] || skip "$path is on this machine" ;;
  esac
done <"$stage/paths" >"$stage/new"
grep -v '/$' "$stage/paths" >>"$stage/new"

prepare_home
start_display
[ -z "$webkit_host" ] || ! engine_has_plugin || fail "the engine has the plugin before it is installed"

installing=yes
# Some machines are set up to leave documentation out.
dpkg --path-include='/usr/share/*' -i "$build"/packages/*.deb >"$stage/dpkg.log" 2>&1 || {
  cat "$stage/dpkg.log"
  fail "the packages cannot be installed"
}
# shellcheck disable=SC2086
dpkg --verify $packages || fail "files differ from their checksums"
try_out /usr
man -w orvane-web-check orvane-web-host orvane-web-register orvane-page-host orvanepellion >/dev/null || fail "a man page is not found"
end_children
display_server=

# shellcheck disable=SC2086
dpkg --purge $packages >"$stage/dpkg.log" 2>&1 || {
  cat "$stage/dpkg.log"
  fail "the packages cannot be removed"
}
installing=
while read -r path; do
  [ ! -e "$path" ] || fail "removing left $path"
done <"$stage/new"
[ -z "$webkit_host" ] || {
  start_display
  ! engine_has_plugin || fail "the engine has the plugin after it is removed"
}
echo "Installed, used and removed: $(wc -l <"$stage/new") files and directories"
