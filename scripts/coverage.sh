#!/usr/bin/env bash
# Line and branch coverage of the module's own sources (Src/Theme3DBase) over the whole test
# suite: builds the coverage preset (gcc --coverage, -O0), runs every test and reports with gcovr.
# Usage: bash scripts/coverage.sh        (report: build/coverage/coverage.txt and coverage.html)
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset coverage >/dev/null
cmake --build --preset coverage
# Counts from an earlier run would add up with this one
find build/coverage -name '*.gcda' -delete
ctest --preset coverage
# Branches that only exception unwinding or the compiler's own checks can take are not the
# module's decisions: they are left out so that the branch figure measures the code as written
gcovr --root . --object-directory build/coverage \
      --filter 'Src/Theme3DBase/' \
      --exclude-throw-branches --exclude-unreachable-branches \
      --txt build/coverage/coverage.txt --html-details build/coverage/coverage.html \
      --print-summary build/coverage
sed -n '/^File/,$p' build/coverage/coverage.txt
