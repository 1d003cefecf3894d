#!/usr/bin/env bash
# Builds the module and runs the example host on its built-in data.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake --preset default >/dev/null
cmake --build --preset default
./build/default/bin/t3d_example "$@"
