#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, AddressSanitizer + UndefinedBehaviorSanitizer) and runs each
# for SECONDS (default 10), two at a time. Release checks: bash scripts/fuzz.sh 600
# New corpus entries go to build/fuzz/corpus/<target>; crashes to build/fuzz/crashes/<target>.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-10}
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
pids=()
status=0
run() {
  local target=$1 name=${1#fuzz_}
  local work=build/fuzz/corpus/$name crashes=build/fuzz/crashes/$name
  mkdir -p "$work" "$crashes"
  local seeds=Fuzz/corpus/$name
  [ -d "$seeds" ] || seeds=
  if build/fuzz/fuzz/"$target" -max_total_time="$seconds" -max_len=65536 -timeout=10 -rss_limit_mb=2048 \
       -dict=Fuzz/tdx.dict -artifact_prefix="$crashes/" -print_final_stats=1 "$work" $seeds \
       >"build/fuzz/$name.log" 2>&1; then
    echo "$name: $(grep -E '^stat::number_of_executed_units' "build/fuzz/$name.log" | awk '{print $2}') runs," \
         "$(grep -oE 'cov: [0-9]+' "build/fuzz/$name.log" | tail -1) edges, corpus $(ls "$work" | wc -l)"
  else
    echo "$name: FAILED (see build/fuzz/$name.log)"; tail -30 "build/fuzz/$name.log"; return 1
  fi
}
for target in $(ls build/fuzz/fuzz); do
  run "$target" & pids+=($!)
  if [ ${#pids[@]} -ge 2 ]; then wait "${pids[0]}" || status=1; pids=("${pids[@]:1}"); fi
done
for pid in "${pids[@]}"; do wait "$pid" || status=1; done
exit $status
