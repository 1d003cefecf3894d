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
  if [ "$preset" = default ]; then
    echo "== installed package: example host and the guide's examples built against it"
    bash scripts/install-check.sh build/default
    echo "== API reference (any Doxygen warning fails)"
    bash scripts/docs.sh
  fi
done
echo "== fuzz targets, a few seconds each"
bash scripts/fuzz.sh 5
