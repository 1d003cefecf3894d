#!/usr/bin/env bash
# Validates every .glb of a folder with the Khronos glTF validator from the npm registry, and
# again decoded with meshoptimizer's decoder (the version the viewer's CesiumJS pins), installing
# both into a folder of the build tree on first use. Fails loudly without node or npm.
# usage: validate_glb.sh VALIDATOR_DIR OUTPUT_DIR
set -euo pipefail
validator_dir=$1
out_dir=$2
version=2.0.0-dev.3.10
decoder=1.3.0
here=$(cd "$(dirname "$0")" && pwd)
if ! command -v node >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1; then
  echo "FAILED: node and npm are needed to run the glTF validator (Debian: nodejs, npm)" >&2
  exit 1
fi
if [ ! -f "$validator_dir/node_modules/gltf-validator/package.json" ] ||
   [ ! -f "$validator_dir/node_modules/meshoptimizer/package.json" ]; then
  mkdir -p "$validator_dir"
  if ! npm install --prefix "$validator_dir" --no-audit --no-fund --silent "gltf-validator@$version" \
       "meshoptimizer@$decoder" >&2; then
    echo "FAILED: npm could not install gltf-validator@$version and meshoptimizer@$decoder" >&2
    exit 1
  fi
fi
shopt -s nullglob
files=("$out_dir"/*.glb)
if [ ${#files[@]} -eq 0 ]; then
  echo "FAILED: no .glb file in $out_dir" >&2
  exit 1
fi
node "$here/ValidateGlb.js" "$validator_dir" "${files[@]}"
