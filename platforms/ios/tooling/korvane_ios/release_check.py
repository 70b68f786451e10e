"""Checks a release made by korvane_ios.release as a consumer would meet it: the zip unpacks to an
XCFramework whose Info.plist matches its slices (architecture, platform and variant of each binary
read from its Mach-O header), with a device and a Simulator slice that export the same Objective-C
classes, stripped binaries whose dSYMs carry the same UUIDs and the debug information, and a
Package.swift and podspec that name the zip's checksum. Where a Swift toolchain is installed, its
package manager computes the same checksum and accepts a consumer package that depends on the
generated one by path; elsewhere that part is skipped, and it says so.

usage: python3 -m korvane_ios.release_check RELEASE_DIR"""
import hashlib
import os
import plistlib
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile
from xml.parsers.expat import ExpatError
from pathlib import Path

from .macho import MachOError, read

NAME = "KorvaneSDK"
REQUIRED = {"ios-arm64", "ios-arm64-simulator"}
BUNDLE_PLATFORMS = {"ios": "iPhoneOS", "iossimulator": "iPhoneSimulator"}


class Tools:
    """What the check reads from binaries, through LLVM's tools (tests give recorded answers)."""

    def read(self, path):
        return read(path)

    def exported_classes(self, binary):
        return binary.exported_classes()

    def has_debug_map(self, path):
        symbols = subprocess.run(["llvm-nm", "-a", str(path)], capture_output=True, text=True)
        return bool(re.search(r"^\s*\S*\s+- ", symbols.stdout, re.M))

    def debug_info_size(self, path):
        sizes = subprocess.run(["llvm-size", "-m", str(path)], capture_output=True, text=True)
        found = re.search(r"Section __debug_info: (\d+)", sizes.stdout)
        return int(found.group(1)) if found else 0


class Check:
    """The faults found so far, and the tools to read binaries with."""

    def __init__(self, tools=None):
        self.failures, self.tools = [], tools or Tools()

    def fail(self, message):
        self.failures.append(message)


def check_slice(check, root, entry):
    """Returns the slice's exported classes, after checking it against its Info.plist entry."""
    identifier = entry.get("LibraryIdentifier", "?")
    framework = root / identifier / entry.get("LibraryPath", "")
    binary_path = root / identifier / entry.get("BinaryPath", f"{NAME}.framework/{NAME}")
    try:
        binary = check.tools.read(binary_path)
        classes = check.tools.exported_classes(binary)
    except (MachOError, FileNotFoundError) as error:
        check.fail(f"{identifier}: {error}")
        return []
    platform = entry.get("SupportedPlatform", "") + (
        entry["SupportedPlatformVariant"]
        if entry.get("SupportedPlatformVariant") == "simulator"
        else ""
    )
    if binary.platform != platform:
        check.fail(
            f"{identifier}: the binary is for {binary.platform or 'no platform'}, Info.plist says {platform}"
        )
    if entry.get("SupportedArchitectures") != [binary.arch]:
        check.fail(
            f"{identifier}: the binary is {binary.arch}, Info.plist says {entry.get('SupportedArchitectures')}"
        )
    if binary.filetype != "DYLIB":
        check.fail(f"{identifier}: the binary is a {binary.filetype}, not a dynamic library")
    expected_id = "-".join(
        filter(None, ["ios", binary.arch, "simulator" if platform == "iossimulator" else None])
    )
    if identifier != expected_id:
        check.fail(
            f"{identifier}: a {binary.arch} {platform} slice is named {expected_id} by Xcode"
        )
    try:
        bundle = plistlib.loads((framework / "Info.plist").read_bytes())
        if bundle.get("CFBundleSupportedPlatforms") != [BUNDLE_PLATFORMS.get(binary.platform)]:
            check.fail(
                f"{identifier}: the framework's Info.plist names {bundle.get('CFBundleSupportedPlatforms')}"
            )
    except (OSError, ValueError, ExpatError) as error:
        check.fail(f"{identifier}: framework Info.plist: {error}")

    if check.tools.has_debug_map(binary_path):
        check.fail(f"{identifier}: the binary still carries its debug map (not stripped)")
    dwarf = (
        root
        / identifier
        / entry.get("DebugSymbolsPath", "dSYMs")
        / f"{NAME}.framework.dSYM"
        / "Contents"
        / "Resources"
        / "DWARF"
        / NAME
    )
    try:
        dsym = check.tools.read(dwarf)
        if dsym.uuid != binary.uuid or not binary.uuid:
            check.fail(
                f"{identifier}: dSYM UUID {dsym.uuid or 'none'} does not match the binary's {binary.uuid or 'none'}"
            )
        if check.tools.debug_info_size(dwarf) == 0:
            check.fail(f"{identifier}: the dSYM has no debug information")
    except (MachOError, FileNotFoundError) as error:
        check.fail(f"{identifier}: dSYM: {error}")
    return classes


def check_xcframework(check, root):
    try:
        info = plistlib.loads((root / "Info.plist").read_bytes())
    except (OSError, ValueError, ExpatError) as error:
        check.fail(f"XCFramework Info.plist: {error}")
        return
    if info.get("CFBundlePackageType") != "XFWK" or info.get("XCFrameworkFormatVersion") != "1.0":
        check.fail("XCFramework Info.plist: not an XFWK of format 1.0")
    libraries = info.get("AvailableLibraries", [])
    identifiers = {entry.get("LibraryIdentifier") for entry in libraries}
    if identifiers != REQUIRED:
        check.fail(f"slices {sorted(identifiers)}, expected {sorted(REQUIRED)}")
    exported = {
        entry.get("LibraryIdentifier"): check_slice(check, root, entry) for entry in libraries
    }
    class_sets = {tuple(classes) for classes in exported.values()}
    if len(class_sets) > 1:
        check.fail(
            "the slices export different Objective-C classes: "
            + "; ".join(f"{k}: {len(v)}" for k, v in exported.items())
        )
    elif class_sets and not next(iter(class_sets)):
        check.fail("the slices export no Objective-C class")
    # A Swift app builds against each slice in turn: both carry the Swift layer's interface, for
    # their own target, or neither does.
    interfaces = {}
    for identifier in identifiers:
        triple = "arm64-apple-ios" + ("-simulator" if identifier.endswith("simulator") else "")
        module = root / str(identifier) / f"{NAME}.framework" / "Modules" / f"{NAME}.swiftmodule"
        interfaces[identifier] = (module / f"{triple}.swiftinterface").is_file()
        if module.exists() and not interfaces[identifier]:
            check.fail(f"{identifier}: {NAME}.swiftmodule has no {triple}.swiftinterface")
    if len(set(interfaces.values())) > 1:
        check.fail(
            "only some slices carry the Swift interface: "
            + ", ".join(sorted(k for k, v in interfaces.items() if v))
        )
    return exported


def check_manifests(check, release, archive, checksum):
    package = (release / "Package.swift").read_text()
    podspec = (release / f"{NAME}.podspec").read_text()
    url = re.search(r'url: "([^"]+)"', package)
    if not re.search(rf'checksum: "{checksum}"', package) or not url:
        check.fail("Package.swift: no binary target with the zip's url and checksum")
    if (
        not url
        or f":http => '{url.group(1)}'" not in podspec
        or f":sha256 => '{checksum}'" not in podspec
    ):
        check.fail("podspec: its source is not the zip Package.swift names, with the same checksum")
    if "path:" in package or "build/" in podspec:
        check.fail("a manifest names a local path")
    if url and not url.group(1).endswith(archive.name):
        check.fail(f"the download address {url.group(1)} does not end in {archive.name}")


def swift_tool():
    found = shutil.which("swift")
    if (
        found
        and "swift"
        in subprocess.run([found, "--version"], capture_output=True, text=True).stdout.lower()
    ):
        return found
    return "/opt/swift/usr/bin/swift" if os.access("/opt/swift/usr/bin/swift", os.X_OK) else None


def check_with_swift(check, release, archive, checksum):
    swift = swift_tool()
    if not swift:
        print("release check: no Swift toolchain, so the package manager's part is skipped")
        return
    computed = subprocess.run(
        [swift, "package", "compute-checksum", str(archive)],
        capture_output=True,
        text=True,
        cwd=release,
    )
    if computed.returncode != 0 or computed.stdout.strip() != checksum:
        check.fail(
            f"swift package compute-checksum: {computed.stdout.strip() or computed.stderr.strip()}"
        )
    with tempfile.TemporaryDirectory() as scratch:
        consumer = Path(scratch, "Consumer")
        (consumer / "Sources" / "Consumer").mkdir(parents=True)
        (consumer / "Sources" / "Consumer" / "Consumer.swift").write_text("import KorvaneSDK\n")
        (consumer / "Package.swift").write_text(
            f"""// swift-tools-version:5.3
import PackageDescription

let package = Package(
  name: "Consumer",
  platforms: [.iOS(.v14)],
  dependencies: [.package(name: "{NAME}", path: "{release}")],
  targets: [.target(name: "Consumer", dependencies: [.product(name: "{NAME}", package: "{NAME}")])]
)
"""
        )
        for folder in (release, consumer):
            dumped = subprocess.run(
                [swift, "package", "dump-package"],
                capture_output=True,
                text=True,
                cwd=folder,
                env={**os.environ, "HOME": scratch},
            )
            if dumped.returncode != 0:
                check.fail(
                    f"swift package dump-package in {folder.name}: {dumped.stderr.strip()[-800:]}"
                )
    print("release check: the package manager computes the same checksum and reads both manifests")


def check_release(release, tools=None, swift=True):
    """(check, archive, checksum, classes exported per slice) of the release in `release`."""
    archives = sorted(release.glob(f"{NAME}-*.xcframework.zip"))
    if len(archives) != 1:
        sys.exit(f"release check: expected one {NAME}-VERSION.xcframework.zip in {release}")
    archive, check = archives[0], Check(tools)
    checksum = hashlib.sha256(archive.read_bytes()).hexdigest()
    with tempfile.TemporaryDirectory() as scratch:
        with zipfile.ZipFile(archive) as bundle:
            tops = {name.split("/", 1)[0] for name in bundle.namelist()}
            if tops != {f"{NAME}.xcframework"}:
                check.fail(f"the zip holds {sorted(tops)}, not {NAME}.xcframework alone")
            bundle.extractall(scratch)
        exported = check_xcframework(check, Path(scratch, f"{NAME}.xcframework")) or {}
    check_manifests(check, release, archive, checksum)
    if swift:
        check_with_swift(check, release, archive, checksum)
    return check, archive, checksum, exported


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    check, archive, checksum, exported = check_release(Path(sys.argv[1]).resolve())
    if check.failures:
        print("\n".join("release check: " + f for f in check.failures), file=sys.stderr)
        sys.exit(1)
    classes = len(next(iter(exported.values()), []))
    print(
        f"release check: {archive.name} unpacks to slices {', '.join(sorted(exported))}, each exporting "
        f"the same {classes} Objective-C classes, stripped, with matching dSYMs; manifests name sha256 {checksum}"
    )


if __name__ == "__main__":
    main()
