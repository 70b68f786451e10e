// swift-tools-version:5.3
// Swift Package Manager: KorvaneSDK as a binary target. `bash scripts/ios-xcframework.sh` builds
// the XCFramework this points at; a release points `url:` and `checksum:` at its zip instead.
import PackageDescription

let package = Package(
  name: "KorvaneSDK",
  platforms: [.iOS(.v14)],
  products: [
    .library(name: "KorvaneSDK", targets: ["KorvaneSDK"]),
  ],
  targets: [
    .binaryTarget(name: "KorvaneSDK", path: "build/ios/KorvaneSDK.xcframework"),
  ]
)
