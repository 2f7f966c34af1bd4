#!/bin/sh
# `cmake --install` into a prefix gives what the packages have, and works from there.
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
done | sed -n '/changelog\.Debian\|lintian/d; s|changelog\.gz|CHANGELOG.md|; s|\.1\.gz$|.1|; s|^\./usr||; /[^/]$/p' |
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
