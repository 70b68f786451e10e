#!/usr/bin/env bash
# Assembles build/ios/KorvaneSDK.xcframework, the form Swift Package Manager and CocoaPods take.
# On macOS: the device slice (arm64) and the simulator slice (arm64 and x86_64), joined by
# xcodebuild -create-xcframework. Elsewhere there is no simulator SDK: the device slice alone, with
# the XCFramework's Info.plist written here, and it says so.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out="$root/build/ios/KorvaneSDK.xcframework"

bash "$root/scripts/ios-build.sh"
device="$root/build/ios/KorvaneSDK.framework"
if [[ ! -d "$device" ]]; then
  echo "XCFramework skipped: the device framework was not built (no iPhoneOS SDK)."
  exit 0
fi
rm -rf "$out"

if [[ "$(uname)" == "Darwin" ]] && command -v xcodebuild >/dev/null 2>&1; then
  simulator_sdk=$(xcrun --sdk iphonesimulator --show-sdk-path)
  slices=()
  for arch in arm64 x86_64; do
    build="$root/build/ios-simulator-$arch"
    IOS_SDK="$simulator_sdk" KORVANE_IOS_TARGET="$arch-apple-ios14.0-simulator" \
      cmake -S "$root" -B "$build" -G Ninja \
      -DCMAKE_TOOLCHAIN_FILE="$root/cmake/ios-arm64.toolchain.cmake" \
      -DCMAKE_BUILD_TYPE=MinSizeRel -DKORVANE_PLATFORM=ios -DKORVANE_WARNINGS_AS_ERRORS=ON \
      -DKORVANE_JSON_INCLUDE_DIR="$root/build/ios/host-headers" >/dev/null
    cmake --build "$build"
    slices+=("$build/KorvaneSDK.framework")
  done
  universal="$root/build/ios-simulator/KorvaneSDK.framework"
  rm -rf "$universal" && mkdir -p "$(dirname "$universal")"
  cp -R "${slices[0]}" "$universal"
  lipo -create "${slices[0]}/KorvaneSDK" "${slices[1]}/KorvaneSDK" -output "$universal/KorvaneSDK"
  xcodebuild -create-xcframework -framework "$device" -framework "$universal" -output "$out"
  echo "XCFramework with device and simulator slices: $out"
  exit 0
fi

mkdir -p "$out/ios-arm64"
cp -R "$device" "$out/ios-arm64/"
cat >"$out/Info.plist" <<'PLIST'
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>AvailableLibraries</key>
	<array>
		<dict>
			<key>LibraryIdentifier</key>
			<string>ios-arm64</string>
			<key>LibraryPath</key>
			<string>KorvaneSDK.framework</string>
			<key>SupportedArchitectures</key>
			<array>
				<string>arm64</string>
			</array>
			<key>SupportedPlatform</key>
			<string>ios</string>
		</dict>
	</array>
	<key>CFBundlePackageType</key>
	<string>XFWK</string>
	<key>XCFrameworkFormatVersion</key>
	<string>1.0</string>
</dict>
</plist>
PLIST
python3 -c "import plistlib,sys; plistlib.loads(open(sys.argv[1],'rb').read())" "$out/Info.plist"
echo "XCFramework with the device slice only (no simulator SDK off macOS): $out"
