#!/usr/bin/env bash
# Builds and runs every test: the optimised build, then the sanitizer build.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
for preset in default asan; do
  echo "== $preset build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
  echo "== $preset tests"
  ctest --preset "$preset"
done
echo "== fuzz targets, a few seconds each"
bash scripts/fuzz.sh 5
