#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Fuzzes every target under fuzz/ for SECONDS each (default 45), JOBS at a time (default 2),
# after building them with the fuzz preset (clang, libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer). New inputs go to build/fuzz/corpus/<target>, seeded from the
# checked-in corpus, which is left as it is; a crash, leak, timeout or failed check is saved
# under build/fuzz/findings/<target>/ and makes the script fail.
# usage: scripts/fuzz.sh [SECONDS] [JOBS]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-45}
jobs=${2:-2}

scripts/install-deps.sh --ci
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
bin=build/fuzz/fuzz
# The targets of the source tree that were built (ydpath's readers need the tool).
targets=()
for src in fuzz/fuzz_*.cpp; do
  t=$(basename "$src" .cpp)
  if [ -x "$bin/$t" ]; then targets+=("$t"); fi
done
[ "${#targets[@]}" -gt 0 ] || { echo "no fuzz targets in $bin" >&2; exit 1; }

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

run() {
  local t=$1
  local corpus=build/fuzz/corpus/$t
  local findings=build/fuzz/findings/$t
  rm -rf "$findings"
  mkdir -p "$corpus" "$findings"
  if "$bin/$t" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
       -artifact_prefix="$findings/" "$corpus" "fuzz/corpus/$t" >"build/fuzz/$t.log" 2>&1; then
    echo "$t: $(grep -E '^stat::number_of_executed_units' "build/fuzz/$t.log" |
                awk '{print $2}') runs in ${seconds} s, no findings"
  else
    echo "$t: FAILED, see build/fuzz/$t.log and $findings/" >&2
    grep -E -A3 'check failed|ERROR: |runtime error' "build/fuzz/$t.log" | head -n 20 >&2
    return 1
  fi
}

failed=0
running=0
for t in "${targets[@]}"; do
  run "$t" &
  running=$((running + 1))
  if [ "$running" -ge "$jobs" ]; then
    wait -n || failed=1
    running=$((running - 1))
  fi
done
while [ "$running" -gt 0 ]; do
  wait -n || failed=1
  running=$((running - 1))
done
[ "$failed" -eq 0 ] || { echo "fuzzing found problems" >&2; exit 1; }
echo "fuzzing: ${#targets[@]} targets, ${seconds} s each, no findings"
