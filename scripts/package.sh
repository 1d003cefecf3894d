#!/usr/bin/env bash
# Builds the Debian package (Release build, API reference included) into build/package/deb/
# and checks it with lintian: an error or a warning fails the script; the findings the package
# overrides (cmake/package/lintian-overrides, with the reasons) are printed as O: lines.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
# lintian is needed here only, so the test command's machines do without it
if ! command -v lintian >/dev/null 2>&1; then
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends lintian >/dev/null
fi
cmake --preset package >/dev/null
cmake --build --preset package
rm -f build/package/deb/*.deb
cpack --preset package
deb=$(ls build/package/deb/*.deb)
dpkg-deb --info "$deb" | sed -n '/Package:/,$p'
echo "== lintian $deb"
lintian --fail-on error,warning --info --show-overrides "$deb"
echo "Install it with: apt-get install ./$deb"
