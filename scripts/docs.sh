#!/usr/bin/env bash
# Builds the API reference (Doxygen over the public headers of the module and the host
# libraries, with docs/guide.md as its front page) into build/package/docs/html.
# Any Doxygen warning fails the build; the warnings are printed.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake --preset package >/dev/null
if ! cmake --build --preset package --target docs; then
  cat build/package/docs/warnings.log >&2
  exit 1
fi
echo "API reference: build/package/docs/html/index.html"
