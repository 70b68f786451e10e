#!/usr/bin/env bash
# Cross-builds the SDK core for arm64 iPhoneOS and archives it (build/ios/src/libkorvane_core.a).
# Needs an iPhoneOS SDK: IOS_SDK, or on macOS the one xcrun reports. Without one it says so and
# exits 0, so CI machines without an SDK skip it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

if [[ -z "${IOS_SDK:-}" ]] && command -v xcrun >/dev/null 2>&1; then
  IOS_SDK=$(xcrun --sdk iphoneos --show-sdk-path 2>/dev/null || true)
fi
if [[ -z "${IOS_SDK:-}" ]]; then
  echo "iOS build skipped: IOS_SDK is not set (point it at an iPhoneOS SDK directory)."
  exit 0
fi
if [[ ! -d "$IOS_SDK/usr/include" ]]; then
  echo "iOS build failed: IOS_SDK=$IOS_SDK is not an iPhoneOS SDK directory." >&2
  exit 1
fi
export IOS_SDK

build="$root/build/ios"
# Header-only JSON comes from the host, staged alone so no other host header is visible.
json_headers=$(find /usr/include /usr/local/include -maxdepth 1 -name nlohmann -type d 2>/dev/null | head -n 1)
stage="$build/host-headers"
mkdir -p "$stage"
if [[ -n "$json_headers" ]]; then ln -sfn "$json_headers" "$stage/nlohmann"; fi

cmake -S "$root" -B "$build" -G Ninja \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/ios-arm64.toolchain.cmake" \
  -DCMAKE_BUILD_TYPE=Release -DKORVANE_PLATFORM=ios -DKORVANE_WARNINGS_AS_ERRORS=ON \
  -DKORVANE_JSON_INCLUDE_DIR="$stage"
cmake --build "$build" -j2
archive="$build/src/libkorvane_core.a"
if ! llvm-objdump --macho --private-header "$archive" | grep -q ARM64; then
  echo "iOS build failed: $archive holds no arm64 Mach-O objects." >&2
  exit 1
fi
echo "iOS core archive (arm64 Mach-O): $archive"
