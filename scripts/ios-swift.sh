#!/usr/bin/env bash
# Compiles the Swift an app writes against KorvaneSDK, per slice, against the frameworks that
# scripts/ios-build.sh built: the Swift samples (examples/ios/Swift, and examples/ios/Swift6 in
# Swift 6 language mode with complete concurrency checking) and every Swift snippet the
# documentation shows (README's Swift quick start, docs/ and the DocC catalog's articles),
# type-checked and compiled to arm64 objects for the device and the Simulator. A failure fails the
# build; without a Swift compiler (SWIFTC, /opt/swift/usr/bin/swiftc or swiftc on PATH) it says so
# and exits 0.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/ios-sdk.sh"
if ! missing=$(korvane_ios_sdk); then
  echo "Swift check skipped: $missing."
  exit 0
fi
korvane_ios_sdk >/dev/null
out="$root/build/ios/swift"
mkdir -p "$out"
if ! korvane_swift; then
  echo "Swift check skipped: $swift_missing."
  exit 0
fi
echo "Swift check with $("$swiftc" --version 2>&1 | head -n 1)"

# The documentation's Swift snippets as one file: each snippet's imports on top, its statements the
# body of an async throwing method of a view controller that is every listener a snippet names
# `self` as. The compiler's messages name the Markdown file (from the checkout) and line.
snippets="$out/DocSnippets.swift"
(cd "$root" && python3 scripts/ios-snippets.py swift "README.md#Swift" docs \
  platforms/ios/KorvaneSDK.docc) >"$snippets"

# check_slice NAME TARGET SDK: the sample and the snippets compile against NAME's framework.
check_slice() {
  local name=$1 target=$2 sdk=$3
  local slice_flags=(-target "$target" -sdk "$sdk" -F "$root/build/ios/$name"
    -module-cache-path "$swift_module_cache/$name" "${swift_flags[@]}")
  mkdir -p "$out/$name"
  "$swiftc" "${slice_flags[@]}" -parse-as-library -warnings-as-errors -c \
    "$root"/examples/ios/Swift/*.swift -o "$out/$name/Sample.o"
  echo "$name Swift sample: compiled ($(wc -c <"$out/$name/Sample.o" | tr -d ' ') bytes of object)"
  # A Swift 6 app's view controller is every listener and hands its own main-actor methods to
  # every callback: it compiles only while each public callback states the isolation the SDK keeps.
  "$swiftc" "${slice_flags[@]}" -parse-as-library -swift-version 6 -strict-concurrency=complete \
    -warnings-as-errors -wmo -c "$root"/examples/ios/Swift6/*.swift -o "$out/$name/Swift6Sample.o"
  echo "$name Swift 6 sample: compiled (language mode 6, complete concurrency checking)"
  "$swiftc" "${slice_flags[@]}" -parse-as-library -c "$snippets" -o "$out/$name/DocSnippets.o"
  echo "$name documentation Swift snippets: $(grep -c '^  // snippet' "$snippets") compiled"
}

check_slice iphoneos arm64-apple-ios14.0 "$IOS_SDK"
check_slice iphonesimulator arm64-apple-ios14.0-simulator "$IOS_SIMULATOR_SDK"
