# The example pages in one of today's browsers, with the extension and the host program as built. Where
# there is a display the user does it all; else the pages are driven on a virtual screen, by pointer and
# keys as a user would. Sourced by scripts/demo with $browser, not run.
# shellcheck shell=sh disable=SC2154

# shellcheck disable=SC2086
need_packages $packages $browser_packages
build_preset release --target nporvaneweb orvane-web-host orvanepellion test_drag_source
. "$top/scripts/demo_stage.sh"
title='Transfers with progress bars'

# Usage: start_browser PAGE
start_browser() {
  ORVANE_BROWSER_AS_BUILT=$top/build/release scripts/browser "$browser" --home "$stage/home" \
    "http://127.0.0.1:$port/$1" >"$stage/page.log" 2>&1 &
  browser_pid=$!
  children="$browser_pid $children"
}

# The pointer clicks on the page's margin beside its heading: the next Tab goes to the first field.
click_margin() {
  enter_window "^$title" 30 185
  xdotool click 1 sleep 0.3
}

# Goes to a page by the address bar. Usage: go_to PAGE "its title"
go_to() {
  title=$2
  xdotool key ctrl+l sleep 0.3 type --delay 12 "127.0.0.1:$port/$1"
  xdotool key Return
  wait_for_page
}

screen_sum() { import -window root rgb:- | cksum; }

is_at_rest() {
  before=$(screen_sum)
  sleep 0.5
  [ "$before" = "$(screen_sum)" ]
}

# A title comes before the page's scripts have run, but as long as they do something turns in the tab.
wait_for_page() {
  wait_for "the page '$title'" has_window "^$title"
  wait_for "the end of loading" is_at_rest
}

# Usage: tab N, to the N-th field or button of the page
tab() {
  click_margin
  for _ in $(seq "$1"); do
    xdotool key Tab sleep 0.1
  done
}

# Fills in the N-th field of the page and submits its form. Usage: fill N "text"
fill() {
  tab "$1"
  xdotool key ctrl+a type --delay 12 "$2"
  xdotool key Return
}

# Presses the dialog's last button, "Always", which takes no click in the first half second.
give_leave() {
  enter_window '^Orvane Web$' -50 -25
  xdotool sleep 0.7
  screenshot "$browser-leave"
  xdotool click 1
  wait_for "the end of the question" has_no_window '^Orvane Web$'
}

is_running() { [ -f "$data/var/run/process.pid" ]; }

# Usage: prove_arrival FILE "where it must be, too"
prove_arrival() { wait_for "${2##*/}, whole," cmp -s "$1" "$2"; }

show_transfers() {
  say "Running examples/transfers.html in $browser: the user is asked for leave, and says yes"
  start_browser transfers.html
  wait_for "the page '$title'" has_window "^$title"
  give_leave
  wait_for "the application" is_running
  wait_for_page
  say "Downloading, while the page shows progress"
  fill 1 "http://127.0.0.1:$port/report.pdf"
  wait_for "the first bytes" test -d "$stage/home/Downloads"
  # For the picture only: the bar is somewhere in the middle by then.
  sleep 2.5
  screenshot "$browser-transfers-running"
  prove_arrival "$stage/web/report.pdf" "$stage/home/Downloads/report.pdf"
  say "Uploading what the user chooses in the dialog"
  fill 3 "file://$stage/received/"
  enter_window '^Files to upload$' -300 -100
  screenshot "$browser-open-dialog"
  name_file 'Files to upload' "$stage/holiday film.avi"
  prove_arrival "$stage/holiday film.avi" "$stage/received/holiday film.avi"
  sleep 1.5
  screenshot "$browser-transfers"
}

show_session() {
  say "Running examples/session.html: no second question, and answers that the page waits for"
  go_to session.html 'A session with Orvane Pellion'
  fill 1 my-app
  fill 4 GET
  click_margin
  xdotool key End sleep 1
  screenshot "$browser-session"
}

show_dialogs() {
  say "Running examples/dialogs.html: a dialog that holds the page, and the place chosen in it"
  go_to dialogs.html 'File dialogs'
  tab 6
  xdotool key space
  enter_window '^Save As$' -300 -100
  screenshot "$browser-save-dialog"
  name_file 'Save As' "$stage/received/my picture.jpg"
  fill 7 "http://127.0.0.1:$port/picture.jpg"
  prove_arrival "$stage/web/picture.jpg" "$stage/received/my picture.jpg"
  screenshot "$browser-dialogs"
}

# Where the middle of the N-th area on the screen is, its X and Y: by the light blue of the picture that
# every area shows, in more than 100 rows one below the other. Usage: find_area N
find_area() {
  place=$(import -window root -depth 8 rgb:- | python3 -c '
import sys
screen, areas, rows = sys.stdin.buffer.read(), [], []
for y in range(768):
    row = screen[3072 * y:3072 * (y + 1)]
    blue = [x for x in range(1024) if row[3 * x] > 190 and 8 < row[3 * x + 2] - row[3 * x] < 40]
    if len(blue) > 150 and blue[-1] - blue[0] == 399:
        left = blue[0]
        rows.append(y)
    else:
        if len(rows) > 100:
            areas.append((left + 200, rows[len(rows) // 2]))
        rows = []
print(*areas[int(sys.argv[1]) - 1] if len(areas) >= int(sys.argv[1]) else ())' "$1")
  [ -n "$place" ]
}

# The page may still be laying itself out.
area_stays() {
  find_area "$1" || return 1
  seen=$place
  sleep 0.3
  find_area "$1" && [ "$place" = "$seen" ]
}

# Drops the notes on the N-th area. Usage: drop_on N
drop_on() {
  wait_for "area $1 of the page" area_stays "$1"
  # shellcheck disable=SC2086
  drag_file "$stage/notes.txt" $place
}

# How large the box with the page's words is, in points, by its colour.
words_size() {
  import -window root -depth 8 rgb:- |
    python3 -c 'import sys; print(sys.stdin.buffer.read().count(b"\xf3\xf5\xf8"))'
}

# A further line is some 14000 points.
has_said_more() { [ "$(words_size)" -gt $((size_before + 5000)) ]; }

show_drop_zone() {
  say "Running examples/drop-zone.html: files dropped on the page, with a real pointer"
  go_to drop-zone.html 'Drop zone'
  size_before=$(words_size)
  drop_on 1
  wait_for "the page's word on the drop" has_said_more
  fill 1 "file://$stage/received/"
  # What the browser suggests for the field lies over the area until the field is left.
  click_margin
  drop_on 2
  prove_arrival "$stage/notes.txt" "$stage/received/notes.txt"
  click_margin
  xdotool key End
  wait_for_page
  screenshot "$browser-drop-zone"
}

drive_pages() {
  start_screen
  openbox >/dev/null 2>&1 &
  children="$! $children"
  show_transfers
  show_session
  show_dialogs
  show_drop_zone
  say "Screenshots: $shots/$browser-*.png"
  say "Done. Proved: in $browser the unchanged pages launch the application, download, upload what the user chose and dropped, and write where the user chose."
}

user_pages() {
  say "Opening the example pages in $browser. The question whether the page may use the plugin is yours"
  cat <<TEXT
   Address of a file to download: http://127.0.0.1:$port/report.pdf
   Where to upload to:            file://$stage/received/
   Further pages:                 http://127.0.0.1:$port/session.html
                                  http://127.0.0.1:$port/dialogs.html
                                  http://127.0.0.1:$port/drop-zone.html
   Close the browser to end.
TEXT
  start_browser transfers.html
  wait "$browser_pid" || fail "$browser ended with an error: $(tail -n 3 "$stage/page.log")"
  if cmp -s "$stage/web/report.pdf" "$stage/home/Downloads/report.pdf"; then
    say "Proved: the page had the application download report.pdf, and it arrived whole."
  else
    say "Ended before report.pdf was downloaded."
  fi
  say "Uploaded: $(ls "$stage/received")"
}

prepare 1000000
cp examples/*.html examples/*.js examples/*.css examples/*.png "$stage/web"
serve_files
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  user_pages
else
  drive_pages
fi
