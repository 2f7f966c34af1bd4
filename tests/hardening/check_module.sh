#!/bin/sh
# What the linker and the compiler must have left in the shipped module, and what they must not.
# Usage: check_module.sh MODULE
set -eu
module=$1
failures=0

dynamic=$(readelf -Wd "$module")
segments=$(readelf -Wl "$module")
imports=$(nm -D --undefined-only --format=posix "$module")

# Usage: must "what it is" "where to look" REGULAR_EXPRESSION; must_not likewise.
must() {
  if printf '%s\n' "$2" | grep -Eq "$3"; then echo "ok      $1"; else miss "$1"; fi
}
must_not() {
  if printf '%s\n' "$2" | grep -Eq "$3"; then miss "$1"; else echo "ok      $1"; fi
}
miss() {
  echo "MISSING $1"
  failures=$((failures + 1))
}

must 'stack protector' "$imports" '^__stack_chk_fail'
must 'FORTIFY: texts are formatted by the checking functions' "$imports" '^__vsnprintf_chk'
# The C++ library, a part of the file, has an sprintf of its own, for what terminate() says.
must_not 'FORTIFY: none of the unchecked ones is left' "$imports" \
  '^(snprintf|vsnprintf|vsprintf|strcpy|strcat|realpath|syslog)(@| )'
must 'relocations are read-only after loading' "$segments" '^ *GNU_RELRO'
must 'all symbols are bound when it is loaded' "$dynamic" '\(FLAGS(_1)?\).*NOW'
must 'no executable stack' "$segments" '^ *GNU_STACK .* RW +0x[0-9a-f]+ *$'
must_not 'no segment both writable and executable' "$segments" '^ *LOAD .* RWE '
must_not 'no text relocations' "$dynamic" 'TEXTREL'
must_not 'no library path of the build machine' "$dynamic" '\((RPATH|RUNPATH)\)'
must_not 'GTK is loaded when a window is first needed' "$dynamic" '\(NEEDED\).*lib(g[td]k|gobject)'
must_not 'brings its part of the C++ library along' "$dynamic" '\(NEEDED\).*libstdc'
must 'stays mapped when it is unloaded' "$dynamic" '\(FLAGS_1\).*NODELETE'

exports=$(nm -D --defined-only --format=posix "$module" | cut -d ' ' -f 1 | sort | tr '\n' ' ')
must 'exports the five entry points and nothing else' "$exports" \
  '^NP_GetEntryPoints NP_GetMIMEDescription NP_GetValue NP_Initialize NP_Shutdown $'

[ "$failures" -eq 0 ] || {
  echo "$failures of the checks failed for $module"
  exit 1
}
