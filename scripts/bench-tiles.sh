#!/usr/bin/env bash
# Scale benchmark of the tiled output: generates a layer of COUNT synthetic building footprints
# (seeded, so every run draws the same data) and one ten times smaller, then tiles the large one
# with 1 and 2 threads and the small one with 2, and reports features per second, the speed-up
# of 2 threads over 1, the time to the first tile, peak memory (resident set) at both sizes, the
# output size and the tile count and depth. Not part of the test command: a million buildings
# take minutes. Numbers are comparable only within one run on an otherwise idle machine.
# usage: bash scripts/bench-tiles.sh [COUNT] [WORK_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-1000000}
work=${2:-build/bench-tiles}
small=$((count / 10))
bin=build/default/bin
if [ ! -x /usr/bin/time ]; then
  echo "bench-tiles: GNU time (/usr/bin/time, Debian package time) is needed for peak memory" >&2
  exit 1
fi
cmake --preset default >/dev/null
cmake --build --preset default --target t3d_demo t3d_make_buildings TrTheme3DBase >/dev/null
mkdir -p "$work"
for n in "$count" "$small"; do
  [ -f "$work/buildings-$n.gpkg" ] || "$bin/t3d_make_buildings" "$work/buildings-$n.gpkg" "$n" 7 >/dev/null
done

# run NAME COUNT THREADS: tiles the layer, keeps the demo's summary line and GNU time's figures
run() {
  local name=$1 n=$2 threads=$3
  rm -rf "$work/$name"
  /usr/bin/time -f "%e %M" -o "$work/$name.time" "$bin/t3d_demo" --tiles --no-progress --threads "$threads" \
    --data "$work/buildings-$n.gpkg" --range height --out "$work/$name" >"$work/$name.log"
  local line wall rss size
  line=$(grep -E '^range ' "$work/$name.log")
  read -r wall rss <"$work/$name.time"
  size=$(du -sb "$work/$name" | cut -f1)
  printf '%-8s %8s features  %s  wall %6.1f s (%6.0f features/s with the scan)  peak %6.1f MB  output %6.1f MB\n' \
    "$name" "$n" \
    "$(echo "$line" | sed -E 's/.*in ([0-9]+ tiles \(depth [0-9]+\)).*threads, ([0-9]+) features\/s, first tile after ([0-9]+) ms.*/\1, drawing \2 features\/s, first tile \3 ms/')" \
    "$wall" "$(awk "BEGIN { print $n / $wall }")" "$(awk "BEGIN { print $rss / 1024 }")" "$(awk "BEGIN { print $size / 1000000 }")"
  echo "$line" | sed -E 's/.* ([0-9]+) features\/s.*/\1/' >"$work/$name.rate"
  echo "$wall" >"$work/$name.wall"
}

echo "load before: $(cut -d' ' -f1-3 /proc/loadavg), $(nproc) cores"
run "large-1" "$count" 1
run "large-2" "$count" 2
run "small-2" "$small" 2
echo "load after: $(cut -d' ' -f1-3 /proc/loadavg)"
one=$(cat "$work/large-1.rate")
two=$(cat "$work/large-2.rate")
printf 'speed-up of 2 threads over 1: %.2f drawing, %.2f with the scan (goal: at least 1.8)\n' \
  "$(awk "BEGIN { print $two / $one }")" "$(awk "BEGIN { print $(cat "$work/large-1.wall") / $(cat "$work/large-2.wall") }")"
cmp -s <(cd "$work/large-1" && find . -type f -exec sha256sum {} + | sort) \
       <(cd "$work/large-2" && find . -type f -exec sha256sum {} + | sort) &&
  echo "1 and 2 threads wrote the same bytes" || echo "1 and 2 threads wrote different bytes"
