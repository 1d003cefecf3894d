#!/usr/bin/env bash
# Time and peak memory of the demo host drawing the world-atlas 1:10m countries with each kind of
# theme, one process per theme, then all five in one process (the layer prepared once). A
# reference run in the same session (the 1:110m built-in countries, all five kinds) gives the
# ratio that stays comparable across machines. The .glb sizes are set against the raw vertex data
# (12 bytes of position per input vertex of the layer).
# usage: world_themes.sh DEMO_EXE [DATA.gpkg] [OUT_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
demo=$1
data=${2:-$here/../../Data/world_atlas/countries-10m.gpkg}
out=${3:-$(mktemp -d)}
mkdir -p "$out"
measure() { # name, then the demo's arguments
  local name=$1; shift
  /usr/bin/time -f "%e %U %M" -o "$out/$name.time" "$demo" --no-progress --out "$out" "$@" > "$out/$name.log"
  read -r wall user kb < "$out/$name.time"
  local tri
  tri=$(grep ' drawn,' "$out/$name.log" | grep -o '[0-9]* triangles' | awk '{s += $1} END {print s + 0}')
  printf "%-10s wall %6.2f s  cpu %6.2f s  peak %5d MB  triangles %8d\n" "$name" "$wall" "$user" $((kb / 1024)) "$tri"
  echo "$user $tri" > "$out/$name.cpu"
}
# Input vertices (ring closing points included) through GDAL's Python bindings, which the
# project installs; the benchmark fails rather than print times without sizes
vertices=$(/usr/bin/python3 - "$data" <<'PY'
import sys
from osgeo import ogr
ogr.UseExceptions()
def points(g):
    n = g.GetGeometryCount()
    return g.GetPointCount() if n == 0 else sum(points(g.GetGeometryRef(i)) for i in range(n))
source = ogr.Open(sys.argv[1])  # the layer lives only as long as its data set
print(sum(points(f.GetGeometryRef()) for f in source.GetLayer(0) if f.GetGeometryRef() is not None))
PY
) || vertices=
if ! [[ "$vertices" =~ ^[0-9]+$ ]] || [ "$vertices" -eq 0 ]; then
  echo "FAILED: cannot count the input vertices of $data" >&2
  exit 1
fi
measure reference
measure unique --data "$data" --unique continent --name unique
measure range --data "$data" --range pop_est --name range
measure label --data "$data" --label name --name label
measure graph --data "$data" --chart bar --fields pop_est,gdp_md_est --name graph
measure custom --data "$data" --custom ExtendHeight=pop_est --height-scale 0.0005 --name custom
measure all-five --data "$data" --tour
raw=$((vertices * 12))
echo "input vertices $vertices, raw vertex data $raw bytes"
for name in unique range label graph custom; do
  f=$out/$name.glb
  [ -f "$f" ] || { echo "FAILED: $name wrote no $f" >&2; exit 1; }
  size=$(stat -c %s "$f")
  awk -v n="$name" -v s="$size" -v r="$raw" 'BEGIN { printf "%-10s .glb %10d bytes  %5.2fx raw\n", n, s, s / r }'
done
read -r cpu tri < "$out/all-five.cpu"
read -r refcpu _ < "$out/reference.cpu"
awk -v c="$cpu" -v t="$tri" -v v="$vertices" -v r="$refcpu" 'BEGIN {
  printf "all five: %.2f s cpu, %.0f triangles/s, %.0f input vertices/s (five themes), x%.1f the 1:110m reference\n",
    c, t / c, 5 * v / c, c / (r > 0 ? r : 0.01) }'
