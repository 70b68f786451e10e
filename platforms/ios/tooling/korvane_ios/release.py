"""Makes the release of a built KorvaneSDK.xcframework: the XCFramework zipped, its SHA-256 (the
checksum `swift package compute-checksum` prints), a Package.swift whose binary target downloads
the zip from URL, and a podspec whose source is the same zip with the same checksum.

The zip is reproducible: entries in a fixed order with a fixed date, so the same XCFramework always
gives the same checksum.

usage: python3 -m korvane_ios.release XCFRAMEWORK VERSION URL OUT_DIR"""
import hashlib
import stat
import sys
import zipfile
from pathlib import Path

NAME = "KorvaneSDK"
ZIP_DATE = (1980, 1, 1, 0, 0, 0)

PACKAGE = """// swift-tools-version:5.3
// KorvaneSDK {version}: the rewards offerwall, its placements and telemetry for iPhone and iPad apps.
import PackageDescription

let package = Package(
  name: "{name}",
  platforms: [.iOS(.v14)],
  products: [
    .library(name: "{name}", targets: ["{name}"]),
  ],
  targets: [
    .binaryTarget(
      name: "{name}",
      url: "{url}",
      checksum: "{checksum}"
    ),
  ]
)
"""

PODSPEC = """Pod::Spec.new do |s|
  s.name = '{name}'
  s.version = '{version}'
  s.summary = 'The rewards offerwall, its placements and telemetry for iPhone and iPad apps.'
  s.homepage = 'https://korvane.io'
  s.license = {{ :type => 'Commercial', :text => 'See https://korvane.io/terms' }}
  s.author = {{ 'Korvane' => 'sdk@korvane.io' }}
  s.source = {{ :http => '{url}', :sha256 => '{checksum}' }}
  s.platform = :ios, '14.0'
  s.vendored_frameworks = '{name}.xcframework'
  s.frameworks = 'Foundation', 'UIKit', 'WebKit', 'Security', 'SystemConfiguration', 'AdSupport',
                 'AppTrackingTransparency'
  s.libraries = 'c++', 'z'
end
"""


def write_zip(xcframework, archive):
    root = xcframework.parent
    paths = sorted([xcframework, *xcframework.rglob("*")])
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as out:
        for path in paths:
            name = path.relative_to(root).as_posix()
            mode = path.lstat().st_mode
            if path.is_symlink():
                info = zipfile.ZipInfo(name, ZIP_DATE)
                info.external_attr = (stat.S_IFLNK | 0o755) << 16
                out.writestr(info, str(path.readlink()))
            elif path.is_dir():
                info = zipfile.ZipInfo(name + "/", ZIP_DATE)
                info.external_attr = (stat.S_IFDIR | 0o755) << 16 | 0x10
                out.writestr(info, b"")
            else:
                info = zipfile.ZipInfo(name, ZIP_DATE)
                info.external_attr = (stat.S_IFREG | (0o755 if mode & 0o111 else 0o644)) << 16
                info.compress_type = zipfile.ZIP_DEFLATED
                out.writestr(info, path.read_bytes(), compresslevel=9)


def main():
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    xcframework, version, url, out = Path(sys.argv[1]), sys.argv[2], sys.argv[3], Path(sys.argv[4])
    if not (xcframework / "Info.plist").is_file():
        sys.exit(f"{xcframework} is not an XCFramework")
    if not url.startswith("https://") or not url.endswith(".zip"):
        sys.exit(f"the download address must be an https address of the zip: {url}")
    out.mkdir(parents=True, exist_ok=True)
    archive = out / f"{NAME}-{version}.xcframework.zip"
    write_zip(xcframework, archive)
    checksum = hashlib.sha256(archive.read_bytes()).hexdigest()
    (out / (archive.name + ".sha256")).write_text(checksum + "\n")
    fields = {"name": NAME, "version": version, "url": url, "checksum": checksum}
    (out / "Package.swift").write_text(PACKAGE.format(**fields))
    (out / f"{NAME}.podspec").write_text(PODSPEC.format(**fields))
    print(
        f"release {version}: {archive} ({archive.stat().st_size / 1024:.0f} KiB), sha256 {checksum}"
    )


if __name__ == "__main__":
    main()
