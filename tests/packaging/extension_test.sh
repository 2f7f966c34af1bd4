#!/bin/sh
# A user who has changed nothing, in Firefox and in Chromium: the package with the extension is installed,
# a page is used, the package is upgraded under the running browser and used again, and after a restart.
# Nothing is left after the purge. Needs a root of its own, see private_root.sh. Skipped (77) without the
# browsers. Usage: extension_test.sh PROJECT BUILD
project=$1 build=$2
. "$(dirname -- "$0")/support.sh"

user=65534
packages='orvane-web orvane-web-tools orvane-web-extension'
extension=$(echo "$build"/packages/orvane-web-extension_*.deb)
browser_pid=
server_pid=

clean_up() {
  [ -z "$browser_pid" ] || kill "$browser_pid" 2>/dev/null || true
  [ -z "$server_pid" ] || kill "$server_pid" 2>/dev/null || true
  end_children
  # shellcheck disable=SC2086
  [ -z "${installing:-}" ] || dpkg --purge $packages >/dev/null 2>&1 || true
  rm -rf "$stage"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

for program in firefox-esr chromium openbox; do
  command -v "$program" >/dev/null || {
    echo "Skipped: there is no $program"
    exit 77
  }
done

as_user="env HOME=$home USER=nobody setpriv --reuid=$user --regid=$user --clear-groups"

# What the display has written in the home is the user's, too. By its plain name, by somebody who is not root; without Chromium's sandbox, which a container does not allow.
start_browser() {
  chown -R $user:$user "$home"
  case $1 in
    firefox) $as_user firefox-esr "$2" >"$stage/browser.log" 2>&1 & ;;
    chromium) $as_user chromium --no-sandbox "$2" >"$stage/browser.log" 2>&1 & ;;
  esac
  browser_pid=$!
}

end_browser() {
  [ -n "$browser_pid" ] || return 0
  kill "$browser_pid" 2>/dev/null || true
  wait "$browser_pid" 2>/dev/null || true
  browser_pid=
  wait_until no_host || fail "a host program outlives its browser"
}

no_host() {
  for link in /proc/[0-9]*/exe; do
    [ "$(readlink "$link")" != /usr/libexec/orvane-web-host ] || return 1
  done
}

# Serves the examples, and a page whose script uses one of them in a frame. What it says is in the log.
serve_page() {
  mkdir -p "$stage/site"
  cp "$project"/examples/* "$stage/site"
  cp "$home/notes.txt" "$stage/site/notes.txt"
  cp "$(dirname -- "$0")/transfers_user.html" "$stage/site"
  # A site of its own for each browser, so that each has to ask.
  (cd "$stage/site" && exec python3 -u -m http.server 0 --bind 127.0.0.1 >"$stage/server.log" 2>&1) &
  server_pid=$!
  wait_until grep -q 'port [0-9]' "$stage/server.log" || fail "there is no server"
  port=$(sed -n 's/.* port \([0-9]*\).*/\1/p' "$stage/server.log" | head -n 1)
}

said() { grep -q "GET /said/$1 " "$stage/server.log"; }

show_state() {
  cat "$stage/server.log"
  tail -n 20 "$stage/browser.log"
}

# What the page says when the transfer has come to its end. Usage: expect_said WORD
expect_said() {
  wait_until said "$1" || wait_until said "$1" || wait_until said "$1" || {
    show_state
    fail "$browser: the page does not say $1"
  }
}

# The button to the right, "Always". The dialog takes no click in its first moments.
click_always() {
  dialog=$(xdotool search --onlyvisible --name '^Orvane Web$' | head -n 1)
  [ -n "$dialog" ] || return 1
  eval "$(xdotool getwindowgeometry --shell "$dialog")"
  xdotool mousemove --window "$dialog" $((WIDTH - 45)) $((HEIGHT - 25)) click 1
}

is_allowed() { grep -q "^allow http://127.0.0.1:$port\$" "$home/.config/orvane-web/sites"; }

answer_question() { is_allowed || { click_always && is_allowed; }; }

# The same package as it was a version ago.
make_older() {
  dpkg-deb -R "$extension" "$stage/older"
  sed -i 's/^Version: .*/Version: 3.1.0-1/' "$stage/older/DEBIAN/control"
  sed -i 's/"version"\( *\): "[0-9.]*"/"version"\1: "3.1.0"/' "$stage"/older/usr/share/webext/*/manifest.json
  dpkg-deb -b "$stage/older" "$stage/older.deb" >/dev/null
}

install_packages() {
  dpkg --path-include='/usr/share/*' -i "$@" >"$stage/dpkg.log" 2>&1 || {
    cat "$stage/dpkg.log"
    fail "the packages cannot be installed"
  }
}

check_browser() {
  $as_user orvane-web-check --browser "$browser" >"$stage/check.log" || {
    cat "$stage/check.log"
    fail "orvane-web-check is not content with $browser"
  }
}

use_browser() {
  browser=$1
  install_packages "$stage/older.deb"
  serve_page
  start_browser "$browser" "http://127.0.0.1:$port/transfers_user.html"
  wait_until answer_question || wait_until answer_question || {
    show_state
    fail "$browser: the user is not asked, or the answer is not kept"
  }
  expect_said completed-1

  install_packages "$extension"
  touch "$stage/site/again-2"
  expect_said completed-2
  end_browser

  start_browser "$browser" "http://127.0.0.1:$port/transfers_user.html?3"
  expect_said completed-3
  ! grep -q 'GET /.orvane' "$stage/server.log" || fail "$browser: a request of the extension reached the site"
  check_browser
  end_browser
  kill "$server_pid"
  server_pid=
}

# What is there, but for a browser's caches, and for the index and the database of the system.
list_files() {
  find /etc /usr /var/lib -xdev \( -path /var/lib/dpkg -o -path /var/lib/apt -o -name __pycache__ \) -prune -o -print |
    sort
}

list_files >"$stage/before"
prepare_home
chmod 755 "$stage"
mkdir -p "$data/etc" "$data/var/log" "$data/var/run"
echo /usr/lib/orvane-web >"$data/etc/orvanepellion.path"
start_display
chown -R $user:$user "$home"
# It ends with the display.
$as_user openbox 9<&- >/dev/null 2>&1 &
make_older
installing=yes
install_packages "$build"/packages/orvane-web_*.deb "$build"/packages/orvane-web-tools_*.deb
[ "$(dpkg-query -W -f '${Suggests}' orvane-web)" = "orvane-web-extension, orvane-web-tools" ] ||
  fail "orvane-web does not suggest the extension"
use_browser firefox
use_browser chromium
dpkg --verify orvane-web-extension || fail "files differ from their checksums"
end_children

# shellcheck disable=SC2086
dpkg --purge $packages >"$stage/dpkg.log" 2>&1 || {
  cat "$stage/dpkg.log"
  fail "the packages cannot be purged"
}
installing=
list_files >"$stage/after"
diff "$stage/before" "$stage/after" || fail "the purge leaves something, or takes too much"
