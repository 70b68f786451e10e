#!/usr/bin/env bash
# A longer campaign of the generative attacker (web.attacker_sequences) with the built test
# binary: COUNT seeds (default 100) from FIRST on (default 1000), KORVANE_ATTACK_STEPS steps each
# (default 12), 20 seeds to a process so that a crash costs one batch. Prints the seeds that broke
# a rule and the batches that crashed; every failing seed's sequence is in the log it names.
# KORVANE_ATTACK_BINARY picks another build, e.g. build/asan/tests/korvane_attacker_web_tests.
# Usage: scripts/attack-campaign.sh [COUNT] [FIRST]
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-100}
first=${2:-1000}
binary=${KORVANE_ATTACK_BINARY:-build/default/tests/korvane_attacker_web_tests}
batch=20
if [[ ! -x $binary ]]; then
  echo "attack-campaign: no $binary; build it with" >&2
  echo "  cmake --build --preset default --target korvane_attacker_web_tests" >&2
  exit 2
fi
log=build/attack-campaign-$first-$count.log
: >"$log"
crashed=()
for ((start = first; start < first + count; start += batch)); do
  size=$((first + count - start < batch ? first + count - start : batch))
  echo "-- seeds $start to $((start + size - 1))"
  output=$(mktemp)
  status=0
  KORVANE_ATTACK_SEEDS="$start:$size" bash tests/web/run-with-display.sh "$binary" \
    --gtest_filter='Seeds/*' >"$output" 2>&1 || status=$?
  cat "$output" >>"$log"
  # gtest ends every run it finishes with this line; a run without it crashed or hung.
  if ! grep -q '^\[==========\] .* ran\.' "$output"; then
    crashed+=("$start:$size (exit $status)")
  fi
  rm -f "$output"
done
mapfile -t failed < <(grep -oE '^\[  FAILED  \] Seeds/AttackerSequences\.KeepTheHostsRules/seed_[0-9]+' "$log" |
  sed 's/.*seed_//' | sort -nu)
echo "-- $count seeds from $first: ${#failed[@]} broke a rule, ${#crashed[@]} batches crashed (log: $log)"
((${#failed[@]})) && echo "broke a rule: ${failed[*]}"
((${#crashed[@]})) && echo "crashed: ${crashed[*]}"
if ((${#failed[@]} || ${#crashed[@]})); then
  echo "replay one: KORVANE_ATTACK_SEEDS=<seed> bash tests/web/run-with-display.sh $binary --gtest_filter='Seeds/*'"
  exit 1
fi
