#!/usr/bin/env bash
# Builds the core and the unit tests against nlohmann/json's newest release, and runs the tests.
# The default build uses the system's (older) release; the core names only the library's public
# interface so that both compile, and this keeps it so.
#
# The release's headers come from PyPI's nlohmann-json package, a repackaging of the release,
# as the wheel pinned below. A download that fails, or a wheel that is not the pinned one, fails
# the build. Everything goes into build/newest-json.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
version=3.12.0
wheel=nlohmann_json-$version-py3-none-any.whl
wheel_sha256=5f6132720fb25d0d70bf0742f8397b49a540dcc193e7312a914f6aa49f054810
out="$root/build/newest-json"
headers="$out/nlohmann-json-$version"
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-2}

if [[ ! -f "$headers/nlohmann_json/include/nlohmann/json.hpp" ]]; then
  rm -rf "$out/download" "$headers"
  python3 -m pip download --quiet --no-deps --only-binary=:all: --dest "$out/download" \
    "nlohmann-json==$version"
  echo "$wheel_sha256  $out/download/$wheel" | sha256sum --check --quiet
  python3 -m zipfile -e "$out/download/$wheel" "$headers"
fi
include="$headers/nlohmann_json/include"
grep -q "define NLOHMANN_JSON_VERSION_MINOR 12 " "$include/nlohmann/detail/abi_macros.hpp"

# No build type: the compiler's defaults, the quickest to compile. Only the core, its Linux layer
# without WebKit, and the unit tests.
cmake -S "$root" -B "$out/build" -G Ninja -DCMAKE_BUILD_TYPE= -DKORVANE_WARNINGS_AS_ERRORS=ON \
  -DKORVANE_JSON_INCLUDE_DIR="$include" -DKORVANE_WITH_WEBKIT=OFF -DKORVANE_BUILD_BENCHMARKS=OFF \
  -DKORVANE_BUILD_TOOLS=OFF >/dev/null
cmake --build "$out/build" --target korvane_core korvane_unit_tests

# Every object was compiled against the newest release: none saw the system's headers.
deps=$(ninja -C "$out/build" -t deps)
if grep '/usr/include/nlohmann/' <<<"$deps"; then
  echo "These were compiled against the system's nlohmann/json instead of $version." >&2
  exit 1
fi
"$out/build/tests/korvane_unit_tests" --gtest_brief=1
