#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the demo need (Debian 12, as root).
set -euo pipefail
packages=(build-essential cmake ninja-build pkg-config libpugixml-dev libgtest-dev libgmock-dev
          libbenchmark-dev libgdal-dev clang libclang-rt-14-dev gcovr valgrind)
# The Debian package (dpkg-shlibdeps, file) and the API reference (Doxygen)
packages+=(dpkg-dev file doxygen)
# The demo host repairs polygons with GEOS and triangulates them with CGAL (header-only; its
# triangulation package is GPL-3.0-or-later, used by the demo host only, never by the module),
# and compresses its glTF geometry with meshoptimizer (MIT); its tests read JSON and run the glTF
# validator on node
packages+=(libgeos-dev libcgal-dev libmeshoptimizer-dev nlohmann-json3-dev)
# The demo's drawing threads allocate through jemalloc
packages+=(libjemalloc-dev)
command -v npm >/dev/null 2>&1 || packages+=(nodejs npm)
# The viewer is served by python3; its browser test drives Debian's Chromium headless
packages+=(python3 chromium)
# The Python package t3d (pybind11 on Debian's python3) and its tests; the tiling pipeline runs
# on Dask's distributed scheduler and reads layers with GDAL's Python bindings
packages+=(python3-dev pybind11-dev python3-pytest python3-numpy python3-distributed python3-gdal)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# The viewer's CesiumJS and the browser driver, exactly as Viewer/package-lock.json pins them;
# installed again only when the lock file changes
viewer=$(cd "$(dirname "$0")/../Viewer" && pwd)
stamp=$viewer/node_modules/.installed-lock
if ! cmp -s "$viewer/package-lock.json" "$stamp"; then
  npm ci --prefix "$viewer" --no-audit --no-fund --loglevel=error
  cp "$viewer/package-lock.json" "$stamp"
fi
