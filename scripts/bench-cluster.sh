#!/usr/bin/env bash
# Benchmark of the Dask pipeline (python3 -m t3d.tile) against the demo host's own tiler on a
# layer of COUNT synthetic building footprints (seeded, as scripts/bench-tiles.sh makes them):
# wall and CPU time of the single-process demo (1 and 2 threads) and of the pipeline on a
# LocalCluster of 1 and 2 worker processes (one thread each), the pipeline's overhead at one
# worker against one thread, the bytes its steps moved, and whether every output is the same bytes.
# Not part of the test command: a million buildings take many minutes. Numbers compare only
# within one run on an otherwise idle machine.
# usage: bash scripts/bench-cluster.sh [COUNT] [WORK_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-1000000}
work=${2:-build/bench-cluster}
bin=build/default/bin
python=/usr/bin/python3
if [ ! -x /usr/bin/time ]; then
  echo "bench-cluster: GNU time (/usr/bin/time, Debian package time) is needed" >&2
  exit 1
fi
cmake --preset default >/dev/null
cmake --build --preset default --target t3d_demo t3d_make_buildings TrTheme3DBase _t3d >/dev/null
mkdir -p "$work"
layer="$work/buildings-$count.gpkg"
[ -f "$layer" ] || "$bin/t3d_make_buildings" "$layer" "$count" 7 >/dev/null
theme=(--range height)

# measure NAME COMMAND...: wall seconds, CPU seconds (user + system, children included) and peak
# resident memory of the largest process. The pipeline's workers are forked by a server process
# that nobody waits for, so their CPU and peak come from the pipeline's own report.
measure() {
  local name=$1
  shift
  rm -rf "${work:?}/$name"
  /usr/bin/time -f "%e %U %S %M" -o "$work/$name.time" "$@" >"$work/$name.log" 2>"$work/$name.err" || {
    echo "bench-cluster: $name failed:" >&2
    tail -5 "$work/$name.err" >&2
    exit 1
  }
  local wall user sys rss workers_cpu workers_peak
  read -r wall user sys rss <"$work/$name.time"
  echo "$wall" >"$work/$name.wall"
  workers_cpu=$(sed -n "s/.*workers' CPU \([0-9.]*\) s.*/\1/p" "$work/$name.log")
  workers_peak=$(sed -n "s/.*workers' CPU [0-9.]* s, peak \([0-9]*\) MB.*/\1/p" "$work/$name.log")
  printf '%-10s wall %7.1f s  cpu %7.1f s  peak %7.1f MB\n' "$name" "$wall" \
    "$(awk "BEGIN { print $user + $sys + ${workers_cpu:-0} }")" \
    "$(awk "BEGIN { r = $rss / 1024; w = ${workers_peak:-0} * 1e6 / 1048576; print (r > w ? r : w) }")"
}

echo "layer: $count buildings; load before: $(cut -d' ' -f1-3 /proc/loadavg), $(nproc) cores"
measure demo-1 "$bin/t3d_demo" --tiles --no-progress --threads 1 --data "$layer" "${theme[@]}" --out "$work/demo-1"
measure demo-2 "$bin/t3d_demo" --tiles --no-progress --threads 2 --data "$layer" "${theme[@]}" --out "$work/demo-2"
for workers in 1 2; do
  measure "dask-$workers" env PYTHONPATH=build/default/python "$python" -m t3d.tile "$layer" "${theme[@]}" \
    --workers "$workers" --out "$work/dask-$workers"
  echo "           $(tail -1 "$work/dask-$workers.log")"
done
echo "load after: $(cut -d' ' -f1-3 /proc/loadavg)"
printf 'overhead of the pipeline at 1 worker over the demo at 1 thread: %+.1f%% (goal: within 15%%)\n' \
  "$(awk "BEGIN { print ($(cat "$work/dask-1.wall") / $(cat "$work/demo-1.wall") - 1) * 100 }")"
printf 'speed-up of 2 workers over 1: %.2f (demo, 2 threads over 1: %.2f)\n' \
  "$(awk "BEGIN { print $(cat "$work/dask-1.wall") / $(cat "$work/dask-2.wall") }")" \
  "$(awk "BEGIN { print $(cat "$work/demo-1.wall") / $(cat "$work/demo-2.wall") }")"
sums() { (cd "$1" && find range -type f -exec sha256sum {} + | sort); }
for other in demo-2 dask-1 dask-2; do
  cmp -s <(sums "$work/demo-1") <(sums "$work/$other") && echo "$other wrote the same bytes as demo-1" ||
    echo "$other wrote DIFFERENT bytes from demo-1"
done
