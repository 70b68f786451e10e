#!/usr/bin/env bash
# Builds the libFuzzer targets and runs each for the given number of seconds (default 60),
# starting from its seed corpus (and fuzz/<name>.dict, if there is one). Any crash or sanitizer
# report fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
for target in build/fuzz/fuzz/fuzz_*; do
  name=$(basename "$target")
  seeds="fuzz/corpus/${name#fuzz_}"
  work="build/fuzz/corpus-${name#fuzz_}"
  mkdir -p "$work"
  echo "-- $name for ${seconds}s"
  log="build/fuzz/$name.log"
  options=(-max_total_time="$seconds" -print_final_stats=1 -close_fd_mask=3)
  dictionary="fuzz/${name#fuzz_}.dict"  # the format's tokens, where a target has them
  [[ -f $dictionary ]] && options+=(-dict="$dictionary")
  if ! "$target" "${options[@]}" "$work" "$seeds" >"$log" 2>&1; then
    tail -n 40 "$log"
    echo "$name failed" >&2
    exit 1
  fi
  grep -E '^stat::(number_of_executed_units|peak_rss_mb)' "$log"
done
