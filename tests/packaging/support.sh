# Shared by the tests of an installation; sourced, not run. $project, $build and $webkit_host (empty: no
# engine to try it in) come from whoever sources it.
# shellcheck shell=sh disable=SC2154
set -eu

fail() {
  printf 'FAILED: %s\n' "$*"
  exit 1
}

stage=$(mktemp -d -p /tmp)
home=$stage/home
data=$home/.orvane/pellion
display_server=

# Ends the display, and the application that the module launched, by their process ids.
end_children() {
  if [ -f "$data/var/run/process.pid" ]; then
    kill "$(cat "$data/var/run/process.pid")" 2>/dev/null || true
    wait_until test ! -f "$data/var/run/process.pid" || true
  fi
  [ -z "$display_server" ] || kill "$display_server" 2>/dev/null || true
}

# Polls a command for at most 20 seconds.
wait_until() {
  tries=0
  until "$@" >/dev/null 2>&1; do
    tries=$((tries + 1))
    [ "$tries" -lt 200 ] || return 1
    sleep 0.1
  done
}

# The home directory's user has nothing but what is installed.
prepare_home() {
  unset MOZ_PLUGIN_PATH QTWEBKIT_PLUGIN_PATH
  export HOME="$home" XDG_RUNTIME_DIR="$home" QT_QPA_PLATFORM=xcb QT_QPA_PLATFORMTHEME=none
  mkdir -m 700 "$home"
  mkdir "$home/Downloads" "$home/received"
  echo 'Notes for the meeting' >"$home/notes.txt"
  # Open for writing as well: the browser takes the end of its input for its caller's end.
  mkfifo "$stage/silence"
  exec 9<>"$stage/silence"
}

start_display() {
  Xvfb -displayfd 3 -screen 0 800x600x24 -nolisten tcp -noreset 3>"$stage/display" 2>/dev/null 9<&- &
  display_server=$!
  wait_until grep -q '[0-9]' "$stage/display" || fail "there is no virtual screen"
  DISPLAY=:$(cat "$stage/display")
  export DISPLAY
}

# A page that looks at everything that the plugin offers; fails where no browser finds the plugin.
engine_has_plugin() {
  "$webkit_host" "file://$project/tests/webkit/pages/surface.html" 30 <&9 >"$stage/engine.log" 2>&1
}

# From a new user's first steps to moved files, with the programs installed below PREFIX.
# Usage: try_out PREFIX
try_out() {
  mkdir -p "$data/etc"
  echo "$1/lib/orvane-web" >"$data/etc/orvanepellion.path"
  "$1/bin/orvane-web-check" --fix >"$stage/check.log" || [ $? -eq 1 ] || {
    cat "$stage/check.log"
    fail "orvane-web-check finds a link broken"
  }
  grep -q "^ok  *module  *.*$1/lib/mozilla/plugins/nporvaneweb.so" "$stage/check.log" || {
    cat "$stage/check.log"
    fail "orvane-web-check does not find the installed module"
  }
  if [ -n "$webkit_host" ]; then
    engine_has_plugin || {
      cat "$stage/engine.log"
      fail "the plugin does not work in the browser engine"
    }
  else
    echo "Skipped: there is no browser engine to load the module with"
  fi
  # Programs find the module of their own installation.
  env -u MOZ_PLUGIN_PATH "$1/bin/orvane-page-host" --fail-fast --timeout 60 \
    --arg "source=$home/notes.txt" --arg "original=$home/notes.txt" \
    --arg "downloads=$home/Downloads" --arg "upload=$home/notes.txt" \
    --arg "target=$home/received/" "$1/share/doc/orvane-web/examples/first-steps.js" \
    >"$stage/page.log" 2>&1 || {
    cat "$stage/page.log"
    fail "the example does not run with the installed programs"
  }
  grep -q "Launching Orvane Pellion - Command: $1/lib/orvane-web/orvanepellion" \
    "$data"/var/log/orvane-pellion-browser-plugin.*.log ||
    fail "the installed stand-in was not launched"
  # Now that the application runs, no link is missing.
  "$1/bin/orvane-web-check" || fail "orvane-web-check is not content"
}
