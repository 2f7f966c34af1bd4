#!/bin/sh
# A program's man page is clean, is of its version, and names its options: all of --help, and no others.
# Usage: man_pages_test.sh PAGE PROGRAM
set -eu
page=$1 program=$2

fail() {
  printf 'FAILED: %s\n' "$*"
  exit 1
}

warnings=$(man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
[ -z "$warnings" ] || fail "$warnings"
version=$("$program" --version | sed 's/.* //')
grep -q "^\.TH .*\"Orvane Web $version\"" "$page" || fail "the page is not of version $version"

options() { grep -o -e '--[a-z][a-z-]*' | sort -u; }
helped=$("$program" --help | options)
described=$(sed 's/\\-/-/g' "$page" | options)
# shellcheck disable=SC2086 # one line of options
[ "$helped" = "$described" ] ||
  fail "--help has these options:" $helped, "the page these:" $described
