#!/usr/bin/env bash
# Regenerates docs/viewer.png: the demo on its built-in data, shown by the viewer in headless
# Chromium with one country picked.
set -euo pipefail
cd "$(dirname "$0")/.."
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
bash scripts/demo.sh --no-progress --out "$out" >/dev/null
mkdir -p docs
node Viewer/screenshot.mjs "$out" docs/viewer.png Brazil
echo "wrote docs/viewer.png"
