# shellcheck shell=bash disable=SC2034  # sourced; the scripts that source it read its variables
# Sourced by the iOS scripts: finds the iPhoneOS SDK and the simulator SDK beside it, and the tools
# that build against them. `korvane_ios_sdk` sets IOS_SDK and IOS_SIMULATOR_SDK and returns 0, or
# says why there is none and returns 1.
#
# The device SDK: IOS_SDK; else on macOS the one xcrun reports; else the default place,
# /opt/ios-sdk/iPhoneOS26.2.sdk. The simulator SDK: IOS_SIMULATOR_SDK; else on macOS xcrun's; else
# one made from the device SDK by korvane_ios.simulator_sdk (platforms/ios/tooling; once per SDK).
# Off macOS every tool comes from Debian's LLVM 19 (clang, ld64.lld, llvm-objdump, dsymutil, ...):
# its bin goes first on PATH, so the checks read the SDK with the compiler that built against it.

korvane_default_ios_sdk=/opt/ios-sdk/iPhoneOS26.2.sdk
korvane_llvm_bin=/usr/lib/llvm-19/bin

korvane_ios_sdk() {
  local scripts
  scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
  if [[ -z "${IOS_SDK:-}" ]] && command -v xcrun >/dev/null 2>&1; then
    IOS_SDK=$(xcrun --sdk iphoneos --show-sdk-path 2>/dev/null || true)
    if [[ -z "${IOS_SIMULATOR_SDK:-}" ]]; then
      IOS_SIMULATOR_SDK=$(xcrun --sdk iphonesimulator --show-sdk-path 2>/dev/null || true)
    fi
  fi
  if [[ -z "${IOS_SDK:-}" && -d "$korvane_default_ios_sdk/usr/include" ]]; then
    IOS_SDK=$korvane_default_ios_sdk
  fi
  if [[ -z "${IOS_SDK:-}" ]]; then
    echo "no iPhoneOS SDK (set IOS_SDK, or unpack one at $korvane_default_ios_sdk)"
    return 1
  fi
  if [[ ! -d "$IOS_SDK/usr/include" ]]; then
    echo "IOS_SDK=$IOS_SDK is not an iPhoneOS SDK directory" >&2
    exit 1
  fi
  if [[ "$(uname)" != "Darwin" ]]; then
    if [[ ! -x "$korvane_llvm_bin/clang" || ! -x "$korvane_llvm_bin/ld64.lld" ]]; then
      echo "the iOS build needs Debian's clang-19, lld-19 and llvm-19 (scripts/install-deps.sh)" >&2
      exit 1
    fi
    PATH="$korvane_llvm_bin:$PATH"
    export PATH
  fi
  if [[ -z "${IOS_SIMULATOR_SDK:-}" ]]; then
    IOS_SIMULATOR_SDK=$(PYTHONPATH="$scripts/../platforms/ios/tooling" python3 -m korvane_ios.simulator_sdk "$IOS_SDK")
  fi
  export IOS_SDK IOS_SIMULATOR_SDK
}

# korvane_write_if_changed FILE: writes standard input to FILE unless FILE already holds exactly
# that, so that a file the compilers' module caches depend on keeps its time when nothing changed
# (a newer module map makes every build that shares the cache rebuild its modules). Builds may
# run at once: the new text lands under a private name and is moved into place.
korvane_write_if_changed() {
  local target=$1
  cat >"$target.$$"
  if cmp -s "$target.$$" "$target"; then
    rm -f "$target.$$"
  else
    mv "$target.$$" "$target"
  fi
}

# korvane_module_flags SDK DIR: sets `module_flags`, what clang needs to build the SDK's modules
# (`@import`), writing any file that takes into DIR. None on macOS. Off macOS, for LLVM 19: its
# float.h still includes the SDK's, which the SDK's module map fences off for newer compilers (the
# feature below lets it through), and a snapshot that stored the libxml symbolic link as a copy
# defines the libxml2 module twice (an overlay hides the copy's module map).
korvane_module_flags() {
  local sdk=$1 dir=$2
  module_flags=()
  if [[ "$(uname)" == "Darwin" ]]; then return 0; fi
  module_flags=(-Xclang -fmodule-feature -Xclang found_incompatible_headers__check_search_paths)
  if [[ -f "$sdk/usr/include/libxml/module.modulemap" && ! -L "$sdk/usr/include/libxml" &&
    -f "$sdk/usr/include/libxml2/libxml/module.modulemap" ]]; then
    mkdir -p "$dir"
    korvane_write_if_changed "$dir/empty.modulemap" </dev/null
    printf '{"version": 0, "case-sensitive": "true", "roots": [{"type": "file", "name": "%s", "external-contents": "%s"}]}\n' \
      "$sdk/usr/include/libxml/module.modulemap" "$dir/empty.modulemap" |
      korvane_write_if_changed "$dir/sdk-overlay.json"
    module_flags+=(-ivfsoverlay "$dir/sdk-overlay.json")
  fi
}

# korvane_swift: sets `swiftc` (SWIFTC, /opt/swift/usr/bin/swiftc or swiftc on PATH),
# `swift_flags`, what it needs to read an iPhoneOS SDK, and `swift_module_cache`, where the SDK's
# Swift and Clang modules are kept once built; or sets `swift_missing` to why there is no
# compiler and returns 1.
# Both live under KORVANE_SWIFT_CACHE (default ~/.cache/korvane-swift), outside any checkout, so
# that every build and clone on the machine reuses the modules (minutes per slice to build): the
# flags name no path of the checkout, which would change the modules' hash. A Linux toolchain's
# resource directory also holds Linux copies of dispatch, os, Block and CoreFoundation that would
# shadow the SDK's, and its clang importer does not find the SwiftShims module map in a
# subdirectory: a resource directory with only what a Darwin target needs, and a module map
# naming the shims, fix both.
korvane_swift() {
  local dir=${KORVANE_SWIFT_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/korvane-swift} toolchain resources shim_map
  swiftc=${SWIFTC:-}
  if [[ -z "$swiftc" && -x /opt/swift/usr/bin/swiftc ]]; then swiftc=/opt/swift/usr/bin/swiftc; fi
  if [[ -z "$swiftc" ]]; then swiftc=$(command -v swiftc || true); fi
  if [[ -z "$swiftc" ]]; then
    swift_missing="no Swift compiler (set SWIFTC or install one at /opt/swift)"
    return 1
  fi
  swift_flags=()
  swift_module_cache="$dir/modules"
  mkdir -p "$swift_module_cache"
  if [[ "$(uname)" == "Darwin" ]]; then return 0; fi
  toolchain=$(cd "$(dirname "$(readlink -f "$swiftc")")/.." && pwd)
  resources="$dir/resource-dir"
  mkdir -p "$resources" "$dir/shims"
  for part in clang shims apinotes migrator; do
    if [[ -e "$toolchain/lib/swift/$part" ]]; then
      ln -sfn "$toolchain/lib/swift/$part" "$resources/$part"
    fi
  done
  shim_map="$toolchain/lib/swift/shims/module.modulemap"
  sed -n 's/^module \([A-Za-z_]*\) {.*/extern module \1 "'"${shim_map//\//\\/}"'"/p' "$shim_map" |
    korvane_write_if_changed "$dir/shims/module.modulemap"
  swift_flags=(-resource-dir "$resources" -I "$dir/shims")
}
