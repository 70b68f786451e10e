#!/usr/bin/env bash
# Builds KorvaneSDK.framework for arm64 iPhones and iPads (iOS 14.0+) and for the arm64 Simulator,
# checks both, and joins them into build/ios/KorvaneSDK.xcframework with a dSYM per slice.
#
# Each slice is checked from captured tool output: nothing runs when it is loaded (no static
# initializer, no +load method), the Mach-O binary and bundle for its platform,
# `@import KorvaneSDK;` as plain Objective-C, and the sample app linked against it. The device
# slice also gets its bindings checked against the oldest supported iOS, the public API compared
# with its checked-in listings (Objective-C, and Swift with the Swift layer), a doc comment on every
# public declaration, the Clang static analyzer over the Objective-C++ layer and the iOS layer's
# no-product-rule check. Prints what each part costs in each slice, and fails when the device slice
# passes 800 KiB stripped. With a Swift compiler the framework carries its Swift layer
# (platforms/ios/swift), and the Swift sample and the documentation's Swift snippets are compiled.
#
# The SDK: see scripts/ios-sdk.sh (IOS_SDK, xcrun on macOS, else /opt/ios-sdk/iPhoneOS26.2.sdk).
# Without one it says so and exits 0, so machines without an SDK skip the iOS build.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/ios-sdk.sh"
if ! missing=$(korvane_ios_sdk); then
  echo "iOS build skipped: $missing."
  exit 0
fi
korvane_ios_sdk >/dev/null
echo "iOS build with $(clang --version | head -n 1)"
echo "  device SDK:    $IOS_SDK"
echo "  simulator SDK: $IOS_SIMULATOR_SDK"

out="$root/build/ios"
# The checks are the korvane_ios package beside the iOS layer.
export PYTHONPATH="$root/platforms/ios/tooling${PYTHONPATH:+:$PYTHONPATH}"
version=$(sed -n 's/.*kSdkVersion = "\([^"]*\)".*/\1/p' "$root/include/korvane/version.h")
# Header-only JSON comes from the host (KORVANE_JSON_INCLUDE, else the system's, /usr/local's or
# Homebrew's include folder), staged alone so no other host header is visible.
json_dirs=(${KORVANE_JSON_INCLUDE:+"$KORVANE_JSON_INCLUDE"} /usr/include /usr/local/include)
if command -v brew >/dev/null 2>&1; then json_dirs+=("$(brew --prefix)/include"); fi
json_headers=$(find "${json_dirs[@]}" -maxdepth 1 -name nlohmann -type d 2>/dev/null | head -n 1)
stage="$out/host-headers"
mkdir -p "$stage"
if [[ -n "$json_headers" ]]; then ln -sfn "$json_headers" "$stage/nlohmann"; fi

# The Swift layer is built into the framework where a Swift compiler is found (scripts/ios-sdk.sh).
if korvane_swift; then
  echo "  Swift:         $("$swiftc" --version 2>&1 | head -n 1)"
else
  swiftc=""
  echo "  Swift layer skipped: $swift_missing."
fi

# build_slice NAME TARGET SDK: configures and builds $out/NAME/KorvaneSDK.framework, with the
# Swift layer when there is a compiler. The slice's Swift module cache (scripts/ios-sdk.sh) is
# shared with the Swift checks, which import the same system modules.
build_slice() {
  local build="$out/$1" swift_options=(-DKORVANE_SWIFTC=)
  if [[ -n "$swiftc" ]]; then
    local flags=("${swift_flags[@]}" -module-cache-path "$swift_module_cache/$1")
    swift_options=(-DKORVANE_SWIFTC="$swiftc" "-DKORVANE_SWIFT_FLAGS=$(IFS=';'; echo "${flags[*]}")")
  fi
  cmake -S "$root" -B "$build" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/ios-arm64.toolchain.cmake" \
    -DKORVANE_IOS_SDK="$3" -DKORVANE_IOS_TARGET="$2" \
    -DCMAKE_BUILD_TYPE=MinSizeRel -DKORVANE_PLATFORM=ios -DKORVANE_WARNINGS_AS_ERRORS=ON \
    -DKORVANE_JSON_INCLUDE_DIR="$stage" "${swift_options[@]}" >/dev/null
  cmake --build "$build" -j2
}

# check_slice NAME TARGET SDK PLATFORM: the bundle, the module and the sample app of one slice.
check_slice() {
  local build="$out/$1" target=$2 sdk=$3 platform=$4
  local framework="$build/KorvaneSDK.framework"
  python3 -m korvane_ios.framework "$framework" "$version" 14.0 "$platform"
  korvane_module_flags "$sdk" "$build/module-cache"
  local sdk_flags=(--target="$target" -isysroot "$sdk" -iframework "$sdk/System/Library/SubFrameworks"
    -fobjc-arc -fmodules -fmodules-cache-path="$build/module-cache" "${module_flags[@]}" -F "$build")

  # The public headers are plain Objective-C and the module map works: a C-family file that only
  # says `@import KorvaneSDK;` compiles against the built framework.
  local probe="$build/module-probe"
  mkdir -p "$probe"
  printf '@import KorvaneSDK;\nint main(void) { return KorvaneSDKVersionNumber > 0 ? 0 : 1; }\n' >"$probe/probe.m"
  clang "${sdk_flags[@]}" -Werror -Wall -fsyntax-only "$probe/probe.m"
  echo "$1 module check: @import KorvaneSDK compiles as plain Objective-C"

  # The Objective-C the documentation shows (README's quick start, docs/, the DocC articles)
  # compiles against the framework; messages name the Markdown file and line.
  (cd "$root" && python3 scripts/ios-snippets.py objc "README.md#Objective-C" docs \
    platforms/ios/KorvaneSDK.docc) >"$probe/DocSnippets.m"
  (cd "$root" && clang "${sdk_flags[@]}" -Werror -Wall -c "$probe/DocSnippets.m" \
    -o "$probe/DocSnippets.o")
  echo "$1 documentation Objective-C snippets: $(grep -c '^// snippet' "$probe/DocSnippets.m") compiled"

  # The Objective-C sample app compiles and links against the framework as an arm64 executable
  # for the slice's platform, in an app bundle that embeds the framework (unsigned: nothing here
  # can sign or run it).
  local app="$build/KorvaneSample.app" link_flags=()
  rm -rf "$app"
  mkdir -p "$app/Frameworks"
  if [[ "$(uname)" != "Darwin" ]]; then link_flags+=(-fuse-ld=lld); fi
  clang "${sdk_flags[@]}" -Werror -Wall -Wextra -Wno-unused-parameter \
    "$root"/examples/ios/Sample/*.m -framework KorvaneSDK -framework UIKit -framework Foundation \
    "${link_flags[@]}" -Wl,-rpath,@executable_path/Frameworks -o "$app/KorvaneSample"
  cp "$root/examples/ios/Sample/Info.plist" "$app/Info.plist"
  cp -R "$framework" "$app/Frameworks/"
  python3 -m korvane_ios.macho expect "$app/KorvaneSample" EXECUTE "$platform" \
    "@rpath/KorvaneSDK.framework/KorvaneSDK"
  echo "$1 sample app: $app ($(wc -c <"$app/KorvaneSample" | tr -d " ") bytes, links KorvaneSDK)"
}

build_slice iphoneos arm64-apple-ios14.0 "$IOS_SDK"
build_slice iphonesimulator arm64-apple-ios14.0-simulator "$IOS_SIMULATOR_SDK"

# Nothing of the framework runs when an app loads it, before the app's main: no static
# initializer and no +load method in either slice.
for slice in iphoneos iphonesimulator; do
  python3 -m korvane_ios.at_load "$out/$slice/KorvaneSDK.framework/KorvaneSDK"
done
# What each part of the SDK costs in each slice; the device slice, which apps ship, may not pass
# 800 KiB stripped.
for slice in iphoneos iphonesimulator; do
  echo "== $slice"
  limit=()
  if [[ $slice == iphoneos ]]; then limit=(--limit-kib 800); fi
  python3 -m korvane_ios.size "$out/$slice/KorvaneSDK.framework/KorvaneSDK" \
    "$out/$slice/KorvaneSDK.map" --build "$out/$slice" "${limit[@]}"
done

device="$out/iphoneos/KorvaneSDK.framework"
# The oldest supported iOS has every library and symbol the device slice binds without weak
# import, as told by an SDK of that iOS (IOS_OLDEST_SDK, else /opt/ios-sdk/iPhoneOS14.5.sdk; its
# text stubs are enough). Without one the check is skipped on a developer's machine, and fails
# in CI (CI set), where an iOS build that ran without it would pass unchecked.
oldest_sdk=${IOS_OLDEST_SDK:-/opt/ios-sdk/iPhoneOS14.5.sdk}
if [[ -d "$oldest_sdk/usr/lib" ]]; then
  python3 -m korvane_ios.bindings "$device/KorvaneSDK" "$oldest_sdk"
elif [[ -n "${CI:-}" ]]; then
  echo "Bindings check: no SDK of the oldest supported iOS at $oldest_sdk, and CI may not skip it (set IOS_OLDEST_SDK)." >&2
  exit 1
else
  echo "Bindings check skipped: no SDK of the oldest supported iOS (set IOS_OLDEST_SDK, or unpack one at $oldest_sdk)."
fi
# Weakly linked libraries (Swift's concurrency runtime) pass the bindings check, since a missing
# one binds to null: the code that reaches them must be code that cannot run without them. What
# each declaration of the Swift layer is available from comes from its symbol graph, internal
# declarations included (from the binary module, which the framework does not ship).
if [[ -n "$swiftc" ]]; then
  symbolgraph_extract="$(dirname "$(readlink -f "$swiftc")")/swift-symbolgraph-extract"
  if [[ ! -x "$symbolgraph_extract" ]]; then
    symbolgraph_extract=$(command -v swift-symbolgraph-extract || xcrun --find swift-symbolgraph-extract)
  fi
  graphs="$out/iphoneos/swift/symbol-graphs"
  rm -rf "$graphs"
  mkdir -p "$graphs"
  "$symbolgraph_extract" -module-name KorvaneSDK -target arm64-apple-ios14.0 -sdk "$IOS_SDK" \
    -I "$out/iphoneos/swift" -F "$out/iphoneos/swift/stage" \
    -module-cache-path "$swift_module_cache/iphoneos" "${swift_flags[@]}" \
    -minimum-access-level private -skip-synthesized-members -output-dir "$graphs"
  python3 -m korvane_ios.weak_reach "$device/KorvaneSDK" "$graphs"
fi
# The public API against its checked-in listings; the doc comments from the same JSON AST.
bash "$root/scripts/ios-listings.sh" check "$device"
if [[ -n "$swiftc" ]]; then
  # The listings name what the headers and the Swift layer declare; the names Swift gives the
  # Objective-C API are the importer's, so the documented ones are called as an app calls them.
  "$swiftc" "${swift_flags[@]}" -module-cache-path "$swift_module_cache/iphoneos" \
    -target arm64-apple-ios14.0 -sdk "$IOS_SDK" -F "$out/iphoneos" -parse-as-library \
    -warnings-as-errors -typecheck "$root/tests/ios/DocumentedSwiftNames.swift"
  echo "Swift names: every documented Swift name of the facade, logger, configuration, user and placements type-checks"
fi
python3 -m korvane_ios.analyze "$out/iphoneos" "$root/platforms/ios"

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
lines=$(find "$root/platforms/ios/src" \( -name '*.mm' -o -name '*.h' \) -exec cat {} + | grep -cvE '^\s*(//.*)?$')
echo "iOS layer: $files Objective-C++ files, $lines code lines, no product rule or text in them"

check_slice iphoneos arm64-apple-ios14.0 "$IOS_SDK" ios
check_slice iphonesimulator arm64-apple-ios14.0-simulator "$IOS_SIMULATOR_SDK" iossimulator

python3 -m korvane_ios.xcframework "$out/KorvaneSDK.xcframework" \
  "$out/iphoneos/KorvaneSDK.framework" "$out/iphonesimulator/KorvaneSDK.framework"

# The Swift an app writes: the Swift sample and the documentation's Swift snippets, per slice.
bash "$root/scripts/ios-swift.sh"
