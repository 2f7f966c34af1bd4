# What the demonstrations share: a private home directory, the files that move, a server for them, a
# virtual screen, and the user's hand on it. Sourced after lib.sh, not run.
# shellcheck shell=sh disable=SC2034,SC2154

module=$top/build/release/browsers/npapi_linux/nporvaneweb.so
applications=$top/build/release/tools/pellion_simulator
drag_source=$top/build/release/tests/support/test_drag_source
stage=$(mktemp -d)
data=$stage/home/.orvane/pellion
shots=$top/build/demo

# What the demonstration started, the latest first.
children=

# Ends it by their process ids, the launched application last.
clean_up() {
  trap '' INT TERM
  for child in $children; do
    kill "$child" 2>/dev/null || true
    wait "$child" 2>/dev/null || true
  done
  end_application "$data"
  rm -rf "$stage"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

# Polls a command for at most 60 seconds. Usage: wait_for "what" command...
wait_for() {
  what=$1
  shift
  deadline=$(($(date +%s) + 60))
  until "$@" >/dev/null 2>&1; do
    [ "$(date +%s)" -lt "$deadline" ] || {
      [ ! -f "$stage/page.log" ] || cat "$stage/page.log" >&2
      fail "$what did not come within 60 seconds"
    }
    sleep 0.1
  done
}

# Usage: prepare BYTES_PER_SECOND (of the application)
prepare() {
  say "Preparing a private home directory in $stage/home"
  mkdir -p "$data/etc" "$data/var/log" "$data/var/run" "$stage/web" "$stage/received" \
    "$stage/home/.config/gtk-2.0" "$stage/home/.local/share"
  printf '%s' "$applications" >"$data/etc/orvanepellion.path"
  printf 'rate_limit = %s\n' "$1" >"$data/etc/orvanepellion.conf"
  printf '[Filechooser Settings]\nLocationMode=filename-entry\nStartupMode=cwd\n' \
    >"$stage/home/.config/gtk-2.0/gtkfilechooser.ini"
  head -c 3000000 /dev/urandom >"$stage/web/picture.jpg"
  head -c 5000000 /dev/urandom >"$stage/web/report.pdf"
  head -c 4000000 /dev/urandom >"$stage/holiday film.avi"
  echo 'Notes for the meeting' >"$stage/notes.txt"
  cp "$top/examples/drop-here.png" "$stage/drop-here.png"
}

serve_files() {
  say "Serving the files to be downloaded on the loopback interface"
  (cd "$stage/web" && exec python3 -u -m http.server 0 --bind 127.0.0.1 >"$stage/server.log" 2>&1) &
  children="$! $children"
  wait_for "the file server" grep -q 'port [0-9]' "$stage/server.log"
  port=$(sed -n 's/.* port \([0-9]*\).*/\1/p' "$stage/server.log" | head -n 1)
}

start_screen() {
  # Without -noreset it answers nobody for a moment after its last client has gone.
  Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>"$stage/display" 2>/dev/null &
  children="$! $children"
  wait_for "the virtual screen" grep -q '[0-9]' "$stage/display"
  wait_for "the virtual screen" env "DISPLAY=:$(cat "$stage/display")" xdotool getdisplaygeometry
  DISPLAY=:$(cat "$stage/display")
  export DISPLAY
}

screenshot() {
  mkdir -p "$shots"
  import -window root "$shots/$1.png" || fail "no screenshot could be taken"
}

# The windows whose title matches; GTK's tiny helper windows may bear the same.
windows() {
  for window in $(xdotool search --onlyvisible --name "$1" 2>/dev/null); do
    eval "$(xdotool getwindowgeometry --shell "$window")"
    [ "$WIDTH" -lt 100 ] || echo "$window"
  done
}

has_window() { [ -n "$(windows "$1")" ]; }

has_no_window() { ! has_window "$1"; }

find_window() {
  window=$(windows "$1" | head -n 1)
  [ -n "$window" ]
}

# The drag source's window stands at the right, beside what takes its drops.
is_aside() {
  find_window '^Drag source$' && eval "$(xdotool getwindowgeometry --shell "$window")" && [ "$X" -gt 700 ]
}

# The source's title tells when the target has agreed to take the drop. A browser asks its page while
# the pointer moves, and answers a move with what the page said to an earlier one.
is_welcome() {
  xdotool mousemove "$to_x" "$to_y" sleep 0.05 mousemove $((to_x + 2)) "$to_y" sleep 0.05
  [ "$(xdotool getwindowname "$window")" = 'Drop welcome' ]
}

# Presses the pointer in the drag source's window and lets go at a place. Usage: drag_to X Y
drag_to() {
  to_x=$1 to_y=$2
  from_x=$((X + WIDTH / 2)) from_y=$((Y + HEIGHT / 2))
  xdotool mousemove "$from_x" "$from_y" sleep 0.1 mousedown 1 sleep 0.05
  for i in 1 2 3; do
    xdotool mousemove $((from_x - 8 * i)) "$from_y" sleep 0.03
  done
  for i in 1 2 3 4 5 6; do
    xdotool mousemove $((from_x + (to_x - from_x) * i / 6)) $((from_y + (to_y - from_y) * i / 6)) \
      sleep 0.03
  done
  wait_for "the area's welcome for the drop" is_welcome
  xdotool mouseup 1
}

# Drags a file from a window of its own, which goes afterwards. Usage: drag_file FILE X Y
drag_file() {
  uri="file://$(printf '%s' "$1" | sed 's/ /%20/g')"
  [ -p "$stage/hold" ] || mkfifo "$stage/hold"
  others=$children
  # Its input never ends: it holds the other end, too.
  "$drag_source" "$uri" <>"$stage/hold" >"$stage/drag.log" 2>/dev/null &
  children="$! $others"
  wait_for "the drag source's window" find_window '^Drag source$'
  xdotool windowmove "$window" 780 300
  wait_for "the drag source's place beside the area" is_aside
  drag_to "$2" "$3"
  wait_for "the end of the drag" grep -q 'accepted\|refused' "$stage/drag.log"
  grep -q accepted "$stage/drag.log" || fail "the dropped file was refused"
  kill "${children%% *}"
  wait "${children%% *}" 2>/dev/null || true
  children=$others
}

# Puts the pointer into a window. Negative places are from the right or the bottom.
# Usage: enter_window "title's pattern" X Y
enter_window() {
  wait_for "the window '$1'" find_window "$1"
  eval "$(xdotool getwindowgeometry --shell "$window")"
  X=$2 Y=$3
  [ "$X" -ge 0 ] || X=$((WIDTH + X))
  [ "$Y" -ge 0 ] || Y=$((HEIGHT + Y))
  xdotool mousemove --window "$window" "$X" "$Y" sleep 0.3
}

# Names a file in a file dialog. Usage: name_file "the dialog's title" FILE
name_file() {
  enter_window "^$1\$" -300 -100
  xdotool key ctrl+a type --delay 12 "$2"
  xdotool sleep 0.15 key Delete key Return
}
