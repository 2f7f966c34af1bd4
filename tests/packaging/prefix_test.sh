#!/bin/sh
# `cmake --install` into a prefix gives what the packages have, but for what lies where browsers look, and
# works from there.
# Usage: prefix_test.sh PROJECT BUILD [WEB_HOST]
project=$1 build=$2 webkit_host=${3:-}
. "$(dirname -- "$0")/support.sh"

clean_up() {
  end_children
  rm -rf "$stage"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

prefix=$stage/prefix
cmake --install "$build" --prefix "$prefix" >"$stage/install.log" 2>&1 || {
  cat "$stage/install.log"
  fail "cmake cannot install"
}

for package in "$build"/packages/*.deb; do
  dpkg-deb --fsys-tarfile "$package" | tar -t
done | sed -n '/changelog\.Debian\|lintian/d; s|changelog\.gz|CHANGELOG.md|; s|\.1\.gz$|.1|; \%/native-messaging-hosts/\|share/\(mozilla\|chromium\)/extensions/%d; s|^\./usr||; /[^/]$/p' |
  sort >"$stage/packaged"
(cd "$prefix" && find . -type f -o -type l) | sed 's|^\.||' | sort >"$stage/installed"
diff "$stage/packaged" "$stage/installed" || fail "the packages (<) have other files than the prefix (>)"

# The documents' links lead somewhere.
for page in "$prefix"/share/doc/orvane-web/README.md "$prefix"/share/doc/orvane-web/docs/*.md; do
  grep -o '](\([^)#:]*\)[)#]' "$page" | sed 's|^](\(.*\).$|\1|' | sort -u | while read -r link; do
    [ -z "$link" ] || [ -e "$(dirname "$page")/$link" ] || fail "$page links to $link"
  done
done

prepare_home
start_display
export MOZ_PLUGIN_PATH="$prefix/lib/mozilla/plugins"
try_out "$prefix"

"$prefix/bin/orvane-web-host" --version | grep -q '^orvane-web-host ' || fail "people cannot start the host program"
# One user's browsers are told of it, and no more after that.
export XDG_CONFIG_HOME="$home/settings"
mkdir -p "$home/.mozilla" "$XDG_CONFIG_HOME"
(cd "$home" && find . -type f) | sort >"$stage/unregistered"
(cd / && "$prefix/bin/orvane-web-register" >"$stage/register.log")
for manifest in "$home/.mozilla/native-messaging-hosts" "$XDG_CONFIG_HOME/chromium/NativeMessagingHosts"; do
  python3 -c 'import json, os, sys; os.execv(json.load(open(sys.argv[1]))["path"], ["host", "--version"])' \
    "$manifest/example.orvane.web_host.json" | grep -q '^orvane-web-host ' || fail "$manifest leads to no host"
done
grep -o "$prefix/[^;]*" "$stage/register.log" | while read -r path; do
  [ -e "$path" ] || fail "orvane-web-register names $path, which is not there"
done
"$prefix/bin/orvane-web-register" --remove >/dev/null
(cd "$home" && find . -type f) | sort | diff "$stage/unregistered" - || fail "orvane-web-register --remove leaves something"
! "$prefix/bin/orvane-web-register" --browser other 2>/dev/null || fail "orvane-web-register takes another browser"
