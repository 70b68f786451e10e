#!/usr/bin/env bash
# Installs what is missing, builds with the default preset and runs the whole test suite.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --preset default
cmake --build --preset default
ctest --preset default "$@"
