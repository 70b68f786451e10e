#!/usr/bin/env bash
# Builds the libFuzzer targets and runs each for the given number of seconds (default 60),
# starting from its seed corpus (and fuzz/<name>.dict, if there is one), two at a time (each run
# uses one core). Any crash or sanitizer report fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
jobs=${KORVANE_FUZZ_JOBS:-2}
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

# run_target PATH: one target's run; its log stays in build/fuzz.
run_target() {
  local target=$1 name
  name=$(basename "$target")
  local seeds="fuzz/corpus/${name#fuzz_}" work="build/fuzz/corpus-${name#fuzz_}"
  local log="build/fuzz/$name.log"
  mkdir -p "$work"
  local options=(-max_total_time="$seconds" -print_final_stats=1 -close_fd_mask=3)
  local dictionary="fuzz/${name#fuzz_}.dict" # the format's tokens, where a target has them
  [[ -f $dictionary ]] && options+=(-dict="$dictionary")
  rm -f "build/fuzz/$name.failed"
  "$target" "${options[@]}" "$work" "$seeds" >"$log" 2>&1 || touch "build/fuzz/$name.failed"
}

names=()
for target in build/fuzz/fuzz/fuzz_*; do
  while (($(jobs -rp | wc -l) >= jobs)); do wait -n || true; done
  names+=("$(basename "$target")")
  echo "-- ${names[-1]} for ${seconds}s"
  run_target "$target" &
done
wait
failed=0
for name in "${names[@]}"; do
  echo "-- $name"
  if [[ -e "build/fuzz/$name.failed" ]]; then
    tail -n 40 "build/fuzz/$name.log"
    echo "$name failed" >&2
    failed=1
  else
    grep -E '^stat::(number_of_executed_units|peak_rss_mb)' "build/fuzz/$name.log"
  fi
done
exit "$failed"
