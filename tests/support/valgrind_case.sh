#!/bin/sh
# Runs one test case under valgrind; shows what it said if that is not clean.
# Usage: valgrind_case.sh STAGE PROGRAM CASE
set -u
stage=$1 program=$2 name=$3
log=$stage/$(printf '%s' "$name" | tr '/' '_')
timeout 300 valgrind --quiet --leak-check=full --show-leak-kinds=definite \
  --errors-for-leak-kinds=definite --error-exitcode=9 --track-fds=yes --num-callers=20 \
  --child-silent-after-fork=yes --suppressions=tests/support/valgrind.supp \
  --log-file="$log.valgrind" \
  build/release/tests/"$program" --gtest_brief=1 --gtest_filter="$name" >"$log.out" 2>&1
code=$?
# What the case opened and left. Not its own: what it was born with, the main loop's wake-up, which GLib
# keeps for good, and a pipe that one test holds open on purpose.
left=$(sed 's/^==[0-9]*== *//' "$log.valgrind" |
  awk -v RS= '/^Open|\nOpen/ && !/<inherited|g_main_context_new|HeldInItsWait/')
if [ "$code" -eq 0 ] && [ -z "$left" ]; then
  rm -f "$log.out" "$log.valgrind"
  exit 0
fi
: >"$log.failed"
echo "--- $name (exit code $code)"
cat "$log.out" "$log.valgrind"
