#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, AddressSanitizer + UndefinedBehaviorSanitizer) and runs each
# for SECONDS (default 10), two at a time. The test command runs 5 s each; the release check is
#   bash scripts/fuzz.sh 1800        (30 minutes per target, about 2 hours for the 8 targets)
# Every run draws a fresh seed and prints it with the target's result; FUZZ_SEED=N runs every
# target with seed N instead (to replay a run, together with the corpus it started from).
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
  local work=build/fuzz/corpus/$name crashes=build/fuzz/crashes/$name log=build/fuzz/$name.log
  # Between 1 and 2^31 - 1: libFuzzer picks a seed of its own for 0
  local seed=${FUZZ_SEED:-$(( $(od -An -N4 -tu4 /dev/urandom) % 2147483647 + 1 ))}
  mkdir -p "$work" "$crashes"
  local seeds=Fuzz/corpus/$name
  [ -d "$seeds" ] || seeds=
  if build/fuzz/fuzz/"$target" -seed="$seed" -max_total_time="$seconds" -max_len=65536 -timeout=10 -rss_limit_mb=2048 \
       -dict=Fuzz/tdx.dict -artifact_prefix="$crashes/" -print_final_stats=1 "$work" $seeds >"$log" 2>&1; then
    echo "$name: seed $seed, $(grep -E '^stat::number_of_executed_units' "$log" | awk '{print $2}') runs," \
         "$(grep -oE 'cov: [0-9]+' "$log" | tail -1) edges, corpus $(ls "$work" | wc -l)"
  else
    echo "$name: FAILED with seed $seed (see $log)"; tail -30 "$log"; return 1
  fi
}
for target in $(ls build/fuzz/fuzz); do
  run "$target" & pids+=($!)
  if [ ${#pids[@]} -ge 2 ]; then wait "${pids[0]}" || status=1; pids=("${pids[@]:1}"); fi
done
for pid in "${pids[@]}"; do wait "$pid" || status=1; done
exit $status
