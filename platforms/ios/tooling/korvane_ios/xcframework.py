"""Joins built KorvaneSDK.framework slices into an XCFramework, in the layout and with the Info.plist
that `xcodebuild -create-xcframework -framework … -debug-symbols …` writes: one folder per slice
named for its architecture, platform and variant (ios-arm64, ios-arm64-simulator), the framework in
it with its binary stripped, and its dSYM (gathered from the unstripped binary by dsymutil) under
dSYMs/. Architecture and platform are read from each binary, never assumed.

usage: python3 -m korvane_ios.xcframework OUTPUT.xcframework FRAMEWORK [FRAMEWORK ...]"""
import plistlib
import shutil
import subprocess
import sys
from pathlib import Path

from .macho import MachOError, read

NAME = "KorvaneSDK"


def library_entry(framework, staged):
    binary = read(framework / NAME)
    if not binary.platform.startswith("ios"):
        raise MachOError(f"{framework}: not an iOS binary ({binary.platform or 'no platform'})")
    variant = "simulator" if binary.platform == "iossimulator" else None
    identifier = "-".join(filter(None, ["ios", binary.arch, variant]))
    entry = {
        "BinaryPath": f"{NAME}.framework/{NAME}",
        "DebugSymbolsPath": "dSYMs",
        "LibraryIdentifier": identifier,
        "LibraryPath": f"{NAME}.framework",
        "SupportedArchitectures": [binary.arch],
        "SupportedPlatform": "ios",
    }
    if variant:
        entry["SupportedPlatformVariant"] = variant

    slice_dir = staged / identifier
    if slice_dir.exists():
        raise MachOError(f"two slices for {identifier}")
    shutil.copytree(framework, slice_dir / f"{NAME}.framework", symlinks=True)
    dsym = slice_dir / "dSYMs" / f"{NAME}.framework.dSYM"
    subprocess.run(["dsymutil", str(framework / NAME), "-o", str(dsym)], check=True)
    # Debug map and local symbols out of the shipped binary; the dSYM keeps them.
    subprocess.run(["llvm-strip", "-S", "-x", str(slice_dir / entry["BinaryPath"])], check=True)
    return entry


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    output = Path(sys.argv[1])
    staged = output.with_name(output.name + ".partial")
    shutil.rmtree(staged, ignore_errors=True)
    staged.mkdir(parents=True)
    try:
        libraries = [library_entry(Path(f), staged) for f in sys.argv[2:]]
    except (MachOError, subprocess.CalledProcessError) as error:
        sys.exit(f"XCFramework: {error}")
    info = {
        "AvailableLibraries": sorted(libraries, key=lambda e: e["LibraryIdentifier"]),
        "CFBundlePackageType": "XFWK",
        "XCFrameworkFormatVersion": "1.0",
    }
    (staged / "Info.plist").write_bytes(plistlib.dumps(info))
    shutil.rmtree(output, ignore_errors=True)
    staged.rename(output)
    print(
        f"XCFramework: {output} ({', '.join(e['LibraryIdentifier'] for e in info['AvailableLibraries'])}, "
        "a dSYM per slice)"
    )


if __name__ == "__main__":
    main()
