#!/usr/bin/env bash
# Runs the whole test suite of the debug preset under valgrind's memcheck: an invalid access, a
# use of an uninitialised value or a leak (definite, indirect or possible) fails the test it
# happens in. Slow (tens of minutes on two cores), so it is a release check, not part of CI.
# Usage: bash scripts/valgrind.sh [regex of the tests to run]
# The demo's end-to-end tests are left out: they run the demo host with GDAL and node, which
# are not this module and keep process-lifetime caches of their own.
set -uo pipefail
cd "$(dirname "$0")/.."
cmake --preset debug >/dev/null || exit 1
cmake --build --preset debug || exit 1
log=build/debug/valgrind
rm -rf "$log" && mkdir -p "$log"
# ctest writes one memcheck log per test here
rm -f build/debug/Testing/Temporary/MemoryChecker.*.log
ctest --test-dir build/debug -T memcheck -j2 --output-on-failure -E '^demo_|^Demo' ${1:+-R "$1"} \
      --overwrite MemoryCheckCommand=/usr/bin/valgrind \
      --overwrite "MemoryCheckCommandOptions=--tool=memcheck --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite,indirect,possible --track-origins=yes --num-callers=30 --suppressions=$PWD/scripts/valgrind.supp" \
      >"$log/ctest.txt" 2>&1
status=$?
logs=(build/debug/Testing/Temporary/MemoryChecker.*.log)
processes=${#logs[@]}
bad=$(grep -lE 'ERROR SUMMARY: [1-9]|(definitely|indirectly|possibly) lost: [1-9]' "${logs[@]}")
if [ $status -ne 0 ] || [ -n "$bad" ]; then
  grep -E 'tests passed|FAILED|Failed|\(Failed\)' "$log/ctest.txt" | head -40
  for f in $bad; do echo "== $f"; grep -E 'Command:|ERROR SUMMARY|lost:|Invalid|uninitialised' "$f" | head -12; done
  exit 1
fi
grep -E 'tests passed' "$log/ctest.txt"
echo "valgrind memcheck: $processes test processes, no error and no leak"
