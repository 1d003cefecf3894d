#!/usr/bin/env bash
# Builds the module and runs the demo host on its built-in data (all five kinds of theme on the
# Natural Earth countries); results go to ./t3d-demo-out unless --out DIR is given.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake --preset default >/dev/null
cmake --build --preset default
./build/default/bin/t3d_demo "$@"
