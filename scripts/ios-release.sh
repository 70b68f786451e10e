#!/usr/bin/env bash
# Makes the release from build/ios/KorvaneSDK.xcframework (building it first when it is missing):
# build/ios/release/ gets KorvaneSDK-VERSION.xcframework.zip, its SHA-256, a Package.swift whose
# binary target downloads the zip from URL, and a podspec with the same zip and checksum; then
# checks them as a consumer would meet them (korvane_ios.release_check).
#
# usage: bash scripts/ios-release.sh URL
#   URL  the https address the zip will be published at, ending in KorvaneSDK-VERSION.xcframework.zip
# Without an iPhoneOS SDK it says so and exits 0, like the iOS build.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [[ $# -ne 1 ]]; then
  sed -n 's/^# \{0,1\}//; 2,8p' "$0" >&2
  exit 2
fi
url=$1
start=$(date +%s)
source "$root/scripts/ios-sdk.sh"
if ! missing=$(korvane_ios_sdk); then
  echo "iOS release skipped: $missing."
  exit 0
fi
korvane_ios_sdk >/dev/null

xcframework="$root/build/ios/KorvaneSDK.xcframework"
if [[ ! -f "$xcframework/Info.plist" ]]; then
  bash "$root/scripts/ios-build.sh"
fi
version=$(sed -n 's/.*kSdkVersion = "\([^"]*\)".*/\1/p' "$root/include/korvane/version.h")
release="$root/build/ios/release"
export PYTHONPATH="$root/platforms/ios/tooling${PYTHONPATH:+:$PYTHONPATH}"
rm -rf "$release"
python3 -m korvane_ios.release "$xcframework" "$version" "$url" "$release"
python3 -m korvane_ios.release_check "$release"

for slice in "$xcframework"/ios-*/; do
  name=$(basename "$slice")
  binary=$(wc -c <"$slice/KorvaneSDK.framework/KorvaneSDK")
  dsym=$(du -sk "$slice/dSYMs" | cut -f1)
  echo "$name: binary $((binary / 1024)) KiB stripped ($binary bytes), dSYM $dsym KiB"
done
zip=$(wc -c <"$release/KorvaneSDK-$version.xcframework.zip")
echo "release: zip $((zip / 1024)) KiB, made and checked in $(($(date +%s) - start)) s"
