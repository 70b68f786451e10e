#!/usr/bin/env bash
# Compiles the Swift an app writes against KorvaneSDK, per slice, against the frameworks that
# scripts/ios-build.sh built: the Swift sample (examples/ios/Swift) and every Swift snippet of
# README's "### Swift" section, type-checked and compiled to arm64 objects for the device and the
# Simulator. A failure fails the build; without a Swift compiler (SWIFTC, /opt/swift/usr/bin/swiftc
# or swiftc on PATH) it says so and exits 0.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/ios-sdk.sh"
if ! missing=$(korvane_ios_sdk); then
  echo "Swift check skipped: $missing."
  exit 0
fi
korvane_ios_sdk >/dev/null
swiftc=${SWIFTC:-}
if [[ -z "$swiftc" && -x /opt/swift/usr/bin/swiftc ]]; then swiftc=/opt/swift/usr/bin/swiftc; fi
if [[ -z "$swiftc" ]]; then swiftc=$(command -v swiftc || true); fi
if [[ -z "$swiftc" ]]; then
  echo "Swift check skipped: no Swift compiler (set SWIFTC or install one at /opt/swift)."
  exit 0
fi
echo "Swift check with $("$swiftc" --version 2>&1 | head -n 1)"

out="$root/build/ios/swift"
mkdir -p "$out"
toolchain_flags=()
if [[ "$(uname)" != "Darwin" ]]; then
  # A Linux toolchain reading an iPhoneOS SDK: its resource directory also holds Linux copies of
  # dispatch, os, Block and CoreFoundation that would shadow the SDK's, and its clang importer
  # does not find the SwiftShims module map in a subdirectory. A resource directory with only
  # what a Darwin target needs, and a module map naming the shims, fix both.
  toolchain=$(cd "$(dirname "$(readlink -f "$swiftc")")/.." && pwd)
  resources="$out/resource-dir"
  mkdir -p "$resources" "$out/shims"
  for part in clang shims apinotes migrator; do
    if [[ -e "$toolchain/lib/swift/$part" ]]; then
      ln -sfn "$toolchain/lib/swift/$part" "$resources/$part"
    fi
  done
  shim_map="$toolchain/lib/swift/shims/module.modulemap"
  sed -n 's/^module \([A-Za-z_]*\) {.*/extern module \1 "'"${shim_map//\//\\/}"'"/p' "$shim_map" \
    >"$out/shims/module.modulemap"
  toolchain_flags+=(-resource-dir "$resources" -I "$out/shims")
fi

# simulator_interfaces SDK DIR: Swift finds the SDK's modules for the Simulator under DIR. A
# simulator SDK made from the device SDK has arm64e-apple-ios interfaces only; the same text serves
# arm64-apple-ios-simulator once the target it names is the Simulator's, since the compiler
# rebuilds every module from its interface anyway.
simulator_interfaces() {
  local sdk=$1 dir=$2 interface module
  rm -rf "$dir"
  mkdir -p "$dir"
  while IFS= read -r interface; do
    module=$(basename "$(dirname "$interface")")
    mkdir -p "$dir/$module"
    sed -E 's/-target arm64e-apple-ios([0-9.]+)/-target arm64-apple-ios\1-simulator/' "$interface" \
      >"$dir/$module/arm64-apple-ios-simulator.swiftinterface"
  done < <(find -L "$sdk/usr/lib/swift" "$sdk/System/Library/Frameworks" \
    "$sdk/System/Library/SubFrameworks" -path '*.swiftmodule/arm64e-apple-ios.swiftinterface' \
    2>/dev/null)
}

# README's Swift snippets as one file: each snippet's imports on top, its statements the body of
# an async throwing method of a view controller that is every listener a snippet names `self` as.
snippets="$out/ReadmeSnippets.swift"
python3 "$root/scripts/ios-swift-snippets.py" "$root/README.md" "Swift" >"$snippets"

# check_slice NAME TARGET SDK: the sample and the snippets compile against NAME's framework.
check_slice() {
  local name=$1 target=$2 sdk=$3
  local slice_flags=(-target "$target" -sdk "$sdk" -F "$root/build/ios/$name"
    -module-cache-path "$out/$name/module-cache" "${toolchain_flags[@]}")
  if [[ "$target" == *-simulator && ! -e "$sdk/usr/lib/swift/Swift.swiftmodule/arm64-apple-ios-simulator.swiftinterface" ]]; then
    simulator_interfaces "$sdk" "$out/$name/interfaces"
    slice_flags+=(-I "$out/$name/interfaces")
  fi
  mkdir -p "$out/$name"
  "$swiftc" "${slice_flags[@]}" -parse-as-library -warnings-as-errors -c \
    "$root"/examples/ios/Swift/*.swift -o "$out/$name/Sample.o"
  echo "$name Swift sample: compiled ($(wc -c <"$out/$name/Sample.o" | tr -d ' ') bytes of object)"
  "$swiftc" "${slice_flags[@]}" -parse-as-library -c "$snippets" \
    -o "$out/$name/ReadmeSnippets.o"
  echo "$name README Swift snippets: $(grep -c '^  // snippet' "$snippets") compiled"
}

check_slice iphoneos arm64-apple-ios14.0 "$IOS_SDK"
check_slice iphonesimulator arm64-apple-ios14.0-simulator "$IOS_SIMULATOR_SDK"
