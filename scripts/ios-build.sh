#!/usr/bin/env bash
# Builds KorvaneSDK.framework for arm64 iPhoneOS 14.0+ (build/ios/KorvaneSDK.framework) and checks
# it: the Mach-O binary and bundle, the Clang static analyzer over the Objective-C++ layer, the
# public headers as plain Objective-C through the module map, the public API against its
# checked-in listing, and the sample app linked against the framework. Prints the binary's size.
#
# The SDK: IOS_SDK; else on macOS the one xcrun reports; else /opt/ios-sdk/iPhoneOS16.5.sdk when
# it exists. Without one it says so and exits 0, so machines without an SDK skip the iOS build.
# Off macOS it needs clang, lld, llvm and libc++-14-dev (scripts/install-deps.sh installs them).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

if [[ -z "${IOS_SDK:-}" ]] && command -v xcrun >/dev/null 2>&1; then
  IOS_SDK=$(xcrun --sdk iphoneos --show-sdk-path 2>/dev/null || true)
fi
if [[ -z "${IOS_SDK:-}" && -d /opt/ios-sdk/iPhoneOS16.5.sdk/usr/include ]]; then
  IOS_SDK=/opt/ios-sdk/iPhoneOS16.5.sdk
fi
if [[ -z "${IOS_SDK:-}" ]]; then
  echo "iOS build skipped: no iPhoneOS SDK (set IOS_SDK, or unpack one at /opt/ios-sdk/iPhoneOS16.5.sdk)."
  exit 0
fi
if [[ ! -d "$IOS_SDK/usr/include" ]]; then
  echo "iOS build failed: IOS_SDK=$IOS_SDK is not an iPhoneOS SDK directory." >&2
  exit 1
fi
export IOS_SDK
echo "iOS build with the SDK at $IOS_SDK"

build="$root/build/ios"
# Header-only JSON comes from the host, staged alone so no other host header is visible.
json_headers=$(find /usr/include /usr/local/include -maxdepth 1 -name nlohmann -type d 2>/dev/null | head -n 1)
stage="$build/host-headers"
mkdir -p "$stage"
if [[ -n "$json_headers" ]]; then ln -sfn "$json_headers" "$stage/nlohmann"; fi

cmake -S "$root" -B "$build" -G Ninja \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/ios-arm64.toolchain.cmake" \
  -DCMAKE_BUILD_TYPE=MinSizeRel -DKORVANE_PLATFORM=ios -DKORVANE_WARNINGS_AS_ERRORS=ON \
  -DKORVANE_JSON_INCLUDE_DIR="$stage" >/dev/null
cmake --build "$build" -j2

framework="$build/KorvaneSDK.framework"
version=$(sed -n 's/.*kSdkVersion = "\([^"]*\)".*/\1/p' "$root/include/korvane/version.h")
python3 "$root/scripts/ios-check-framework.py" "$framework" "$version" 14.0 AuthInterceptor

python3 "$root/scripts/ios-analyze.py" "$build" "$root/platforms/ios"

# The public headers are plain Objective-C and the module map works: a C-family file that only
# says `@import KorvaneSDK;` compiles against the built framework.
probe="$build/module-probe"
mkdir -p "$probe"
printf '@import KorvaneSDK;\nint main(void) { return KorvaneSDKVersionNumber > 0 ? 0 : 1; }\n' >"$probe/probe.m"
clang --target=arm64-apple-ios14.0 -isysroot "$IOS_SDK" -fobjc-arc -fmodules \
  -fmodules-cache-path="$probe/cache" -F "$build" -Werror -Wall -fsyntax-only "$probe/probe.m"
echo "module check: @import KorvaneSDK compiles as plain Objective-C"

binary="$framework/KorvaneSDK"
stripped="$build/KorvaneSDK.stripped"
llvm-strip -x -o "$stripped" "$binary"
echo "KorvaneSDK binary: $(stat -c %s "$binary") bytes, stripped $(stat -c %s "$stripped") bytes"
