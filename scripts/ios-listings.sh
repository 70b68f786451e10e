#!/usr/bin/env bash
# Checks the public API of a built device framework against its checked-in listings, or writes
# them: platforms/ios/KorvaneSDK.api (the Objective-C API from the headers' JSON AST, with the
# names the Swift tools give it where there is a Swift compiler, and every public declaration's
# doc comment) and, with the Swift layer, platforms/ios/KorvaneSDK-Swift.api.
#
# usage: bash scripts/ios-listings.sh check|generate [FRAMEWORK]
#   FRAMEWORK  default build/ios/iphoneos/KorvaneSDK.framework (scripts/ios-build.sh makes it)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [[ $# -lt 1 || $# -gt 2 || ($1 != check && $1 != generate) ]]; then
  sed -n 's/^# \{0,1\}//; 7,8p' "$0" >&2
  exit 2
fi
mode=$1
framework=${2:-$root/build/ios/iphoneos/KorvaneSDK.framework}
source "$root/scripts/ios-sdk.sh"
if ! missing=$(korvane_ios_sdk); then
  echo "API listings need an iPhoneOS SDK: $missing." >&2
  exit 1
fi
korvane_ios_sdk >/dev/null
export PYTHONPATH="$root/platforms/ios/tooling${PYTHONPATH:+:$PYTHONPATH}"
swift_options=()
if korvane_swift; then
  swift_options=(--swiftc "$swiftc" --module-cache "$swift_module_cache/iphoneos")
  for flag in "${swift_flags[@]}"; do swift_options+=("--swift-flag=$flag"); done
fi
python3 -m korvane_ios.api_listing "$mode" "$framework" "$root/platforms/ios/KorvaneSDK.api" \
  "${swift_options[@]}"
if ((${#swift_options[@]})); then
  python3 -m korvane_ios.swift_listing "$mode" "$framework" "$root/platforms/ios/KorvaneSDK-Swift.api"
fi
