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
python3 "$root/scripts/ios-check-framework.py" "$framework" "$version" 14.0
python3 "$root/scripts/ios-api-listing.py" check "$framework" "$root/platforms/ios/KorvaneSDK.api"

python3 "$root/scripts/ios-analyze.py" "$build" "$root/platforms/ios"

# The iOS layer only translates: no bridge message type, page query item, backend path, event
# name or product text (the Korean page and bar texts) may appear in its code; they live in the
# core, where the Linux build tests them.
rules='"(openWebView|closeOpenWebView|externalOpenBrowser|checkAppInstalled|openAdjoeOfferwall'
rules+='|quizCompleted|quizStarted|missionCompleted|missionProgressed|missionRefreshed|getUserInfo'
rules+='|customEvent|dataRequest|korvaneNative|user_id|app_key|placement_id|device_id|session_id'
rules+='|ifa)"|korvane://|x-korvane-|/v1/api|_(clicked|impressed|opened|closed)"|sdk_(error|crash)'
found=$(grep -rnP "$rules|[\x{AC00}-\x{D7A3}]" "$root/platforms/ios/src" || true)
if [[ -n "$found" ]]; then
  echo "iOS layer: product rules or texts found in platform code:" >&2
  echo "$found" >&2
  exit 1
fi
files=$(find "$root/platforms/ios/src" -name '*.mm' -o -name '*.h' | wc -l | tr -d ' ')
lines=$(find "$root/platforms/ios/src" -name '*.mm' -o -name '*.h' | xargs cat | grep -cvE '^\s*(//.*)?$')
echo "iOS layer: $files Objective-C++ files, $lines code lines, no product rule or text in them"

# The public headers are plain Objective-C and the module map works: a C-family file that only
# says `@import KorvaneSDK;` compiles against the built framework.
probe="$build/module-probe"
mkdir -p "$probe"
printf '@import KorvaneSDK;\nint main(void) { return KorvaneSDKVersionNumber > 0 ? 0 : 1; }\n' >"$probe/probe.m"
clang --target=arm64-apple-ios14.0 -isysroot "$IOS_SDK" -fobjc-arc -fmodules \
  -fmodules-cache-path="$probe/cache" -F "$build" -Werror -Wall -fsyntax-only "$probe/probe.m"
echo "module check: @import KorvaneSDK compiles as plain Objective-C"

# The Objective-C sample app compiles and links against the framework as an arm64 executable, in
# an app bundle that embeds the framework (unsigned: nothing here can sign or run it).
app="$build/KorvaneSample.app"
rm -rf "$app"
mkdir -p "$app/Frameworks"
link_flags=()
if [[ "$(uname)" != "Darwin" ]]; then link_flags+=(-fuse-ld=lld); fi
clang --target=arm64-apple-ios14.0 -isysroot "$IOS_SDK" -fobjc-arc -fmodules \
  -fmodules-cache-path="$probe/cache" -F "$build" -Werror -Wall -Wextra -Wno-unused-parameter \
  "$root"/examples/ios/Sample/*.m -framework KorvaneSDK -framework UIKit -framework Foundation \
  "${link_flags[@]}" -Wl,-rpath,@executable_path/Frameworks -o "$app/KorvaneSample"
cp "$root/examples/ios/Sample/Info.plist" "$app/Info.plist"
cp -R "$framework" "$app/Frameworks/"
header=$(llvm-objdump --macho --private-header "$app/KorvaneSample")
linked=$(llvm-objdump --macho --dylibs-used "$app/KorvaneSample")
if [[ ! "$header" =~ ARM64[[:space:]]+[^[:space:]]+[[:space:]]+[^[:space:]]+[[:space:]]+EXECUTE ]] ||
  [[ "$linked" != *"@rpath/KorvaneSDK.framework/KorvaneSDK"* ]]; then
  echo "sample app: not an arm64 executable linked against KorvaneSDK.framework" >&2
  exit 1
fi
echo "sample app: $app (arm64 executable, $(wc -c <"$app/KorvaneSample" | tr -d " ") bytes, links KorvaneSDK)"

python3 "$root/scripts/ios-size-report.py" "$framework/KorvaneSDK" "$build/KorvaneSDK.map"
