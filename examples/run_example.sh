#!/usr/bin/env bash
# Runs the Linux host example (docs/linux-host.md) against a local backend on a free port; passes
# when it logs in.
set -euo pipefail
devserver=$1 example=$2
work=$(mktemp -d)
trap 'kill "$server" 2>/dev/null || true; rm -rf "$work"' EXIT
"$devserver" --port 0 >"$work/server.out" &
server=$!
for _ in $(seq 100); do
  url=$(grep -o 'http://[0-9.:]*' "$work/server.out" || true)
  [[ -n $url ]] && break
  sleep 0.05
done
[[ -n $url ]] || { echo "the local backend did not start"; exit 1; }
XDG_DATA_HOME="$work/data" "$example" "$url" | tee "$work/example.out" | grep -v '^Successfully decoded'
grep -q '^logged in as user-1$' "$work/example.out"
