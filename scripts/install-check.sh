#!/usr/bin/env bash
# Installs a build into a scratch prefix and builds against it what an engine developer would:
# the example host (Examples/host, CMake package, dlopen), the guide's per-kind examples
# (docs/examples) and the example host again through pkg-config; then runs them all.
# Usage: bash scripts/install-check.sh [build dir, default build/default]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/default}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
echo "installed into $prefix:"
(cd "$prefix" && find . -type f -o -type l | grep -v '/html/' | sort | sed 's/^/  /')

for project in Examples/host docs/examples; do
  cmake -S "$project" -B "$scratch/build-${project//\//-}" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  cmake --build "$scratch/build-${project//\//-}" >/dev/null
done

echo "== example host (CMake package)"
"$scratch/build-Examples-host/t3d_host"
for kind in Unique Range Label Graph Custom; do
  echo "== guide example: $kind"
  "$scratch/build-docs-examples/guide_$kind"
done

echo "== example host (pkg-config)"
export PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name trtheme3dbase.pc)")
plugin=$(pkg-config --variable=plugin trtheme3dbase)
version=$(pkg-config --modversion trtheme3dbase)
libdir=$(pkg-config --variable=libdir trtheme3dbase)
# shellcheck disable=SC2046
c++ -std=c++17 -o "$scratch/t3d_host_pc" Examples/host/HostExample.cpp \
  -DT3D_PLUGIN="\"$plugin\"" -DT3D_PACKAGE_VERSION="\"$version\"" \
  $(pkg-config --cflags --libs trtheme3dbase) -Wl,-rpath,"$libdir" -ldl
"$scratch/t3d_host_pc" >/dev/null && echo "built and ran with pkg-config $version"
