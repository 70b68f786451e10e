#!/usr/bin/env bash
# Builds the API documentation of KorvaneSDK.framework as a static DocC site, after
# scripts/ios-build.sh has built the framework: the Swift module's symbol graph (the Swift layer and
# the Objective-C API as Swift sees it) from swift-symbolgraph-extract, the Objective-C symbol graph
# of the public headers from clang's -extract-api, and the catalog platforms/ios/KorvaneSDK.docc,
# converted by docc with warnings as errors into build/ios/docc/site. Then checks that the site
# renders in headless Chromium (tests/ios/docc_render_test.py).
#
# Without an iPhoneOS SDK or a Swift toolchain (which carries docc) it says so and exits 0, like
# the iOS build.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/ios-sdk.sh"
if ! missing=$(korvane_ios_sdk); then
  echo "DocC skipped: $missing."
  exit 0
fi
korvane_ios_sdk >/dev/null
if ! korvane_swift; then
  echo "DocC skipped: $swift_missing."
  exit 0
fi
# toolchain_tool NAME: the toolchain's NAME, beside its swiftc, else on PATH, else xcrun's.
toolchain_tool() {
  local beside
  beside="$(dirname "$(readlink -f "$swiftc")")/$1"
  if [[ -x "$beside" ]]; then
    echo "$beside"
  elif command -v "$1" >/dev/null; then
    command -v "$1"
  elif command -v xcrun >/dev/null && xcrun --find "$1" 2>/dev/null; then
    :
  else
    echo "the Swift toolchain of $swiftc has no $1" >&2
    return 1
  fi
}
docc=$(toolchain_tool docc)
symbolgraph_extract=$(toolchain_tool swift-symbolgraph-extract)

framework_dir="$root/build/ios/iphoneos"
if [[ ! -f "$framework_dir/KorvaneSDK.framework/Modules/module.modulemap" ]]; then
  echo "no framework at $framework_dir/KorvaneSDK.framework: run scripts/ios-build.sh first" >&2
  exit 1
fi
version=$(sed -n 's/.*kSdkVersion = "\([^"]*\)".*/\1/p' "$root/include/korvane/version.h")
out="$root/build/ios/docc"
graphs="$out/symbol-graphs"
rm -rf "$out"
mkdir -p "$graphs/swift" "$graphs/objc"
target=arm64-apple-ios14.0
started=$SECONDS

# Swift: the module as an app imports it, with the same flags and module cache as the build.
# Members inherited from UIKit and Foundation are left to Apple's documentation (with them the
# site has 1245 pages instead of about 300).
"$symbolgraph_extract" -module-name KorvaneSDK -target "$target" -sdk "$IOS_SDK" \
  -F "$framework_dir" -module-cache-path "$swift_module_cache/iphoneos" "${swift_flags[@]}" \
  -minimum-access-level public -skip-synthesized-members -output-dir "$graphs/swift"
echo "Swift symbol graph: $(du -k "$graphs/swift/KorvaneSDK.symbols.json" | cut -f1) KiB in $((SECONDS - started)) s"

# Objective-C: the public headers as the framework ships them, parsed as an app's Objective-C
# would parse them, so the site can show each symbol in both languages.
step=$SECONDS
korvane_module_flags "$IOS_SDK" "$out/module-cache"
headers="$framework_dir/KorvaneSDK.framework/Headers"
clang -extract-api --product-name=KorvaneSDK -x objective-c-header --target="$target" \
  -isysroot "$IOS_SDK" -iframework "$IOS_SDK/System/Library/SubFrameworks" -fobjc-arc \
  -fmodules -fmodules-cache-path="$out/module-cache" "${module_flags[@]}" -F "$framework_dir" \
  "$headers"/*.h -o "$graphs/objc/KorvaneSDK.symbols.json"
echo "Objective-C symbol graph: $(du -k "$graphs/objc/KorvaneSDK.symbols.json" | cut -f1) KiB in $((SECONDS - step)) s"

step=$SECONDS
"$docc" convert "$root/platforms/ios/KorvaneSDK.docc" \
  --additional-symbol-graph-dir "$graphs" \
  --fallback-display-name KorvaneSDK --fallback-bundle-identifier io.korvane.sdk \
  --fallback-bundle-version "$version" --default-code-listing-language swift \
  --warnings-as-errors --transform-for-static-hosting --output-path "$out/site"
pages=$(find "$out/site/data/documentation" -name '*.json' | wc -l | tr -d ' ')
echo "DocC site: $out/site, $pages pages, converted in $((SECONDS - step)) s with no warning"

step=$SECONDS
python3 "$root/tests/ios/docc_render_test.py" "$out/site"
echo "DocC render test: $((SECONDS - step)) s; DocC in all $((SECONDS - started)) s"
