#!/usr/bin/env bash
# Serves the viewer and the demo's outputs on 127.0.0.1 and prints the URL to open; Ctrl-C stops.
# usage: bash scripts/view.sh [--data DIR (default t3d-demo-out)] [--port N (default 8080)]
set -euo pipefail
cd "$(dirname "$0")/.."
[ -f Viewer/node_modules/.installed-lock ] || bash scripts/deps.sh
exec /usr/bin/python3 Viewer/serve.py "$@"
