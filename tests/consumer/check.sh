#!/usr/bin/env bash
# Builds and runs the consumer program against the SDK taken as a subdirectory and as an
# installed package.
set -euo pipefail
source_dir=$1 build_dir=$2 work=$3
rm -rf "$work" && mkdir -p "$work"
here=$(cd "$(dirname "$0")" && pwd)

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
cmake -S "$here" -B "$work/package" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/package" -j2 >/dev/null
"$work/package/consumer"

cmake -S "$here" -B "$work/subdirectory" -DKORVANE_MODE=subdirectory \
      -DKORVANE_SOURCE_DIR="$source_dir" >/dev/null
cmake --build "$work/subdirectory" -j2 >/dev/null
"$work/subdirectory/consumer"
echo "consumer built and ran both ways"
