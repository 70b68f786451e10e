#!/usr/bin/env python3
"""The release check must refuse what a consumer would trip over. Each case copies a good release,
damages one thing and expects ios-check-release.py to fail naming it; the good copy must pass.

usage: release_check_test.py RELEASE_DIR"""
import plistlib
import shutil
import subprocess
import sys
import tempfile
import zipfile
from importlib import import_module
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parents[2] / "scripts"
sys.path.insert(0, str(SCRIPTS))
NAME = "KorvaneSDK"


def edit_text(path, old, new):
    text = path.read_text()
    assert old in text, f"{old!r} not in {path.name}"
    path.write_text(text.replace(old, new))


def edit_info(root, change):
    info_path = root / "Info.plist"
    info = plistlib.loads(info_path.read_bytes())
    change(info)
    info_path.write_bytes(plistlib.dumps(info))


def simulator_entry(info):
    return next(
        e for e in info["AvailableLibraries"] if e["LibraryIdentifier"] == "ios-arm64-simulator"
    )


def swap_binaries(root):
    shutil.copy(
        root / "ios-arm64" / f"{NAME}.framework" / NAME,
        root / "ios-arm64-simulator" / f"{NAME}.framework" / NAME,
    )


def swap_dsyms(root):
    dwarf = Path("dSYMs", f"{NAME}.framework.dSYM", "Contents", "Resources", "DWARF", NAME)
    shutil.copy(root / "ios-arm64" / dwarf, root / "ios-arm64-simulator" / dwarf)


def unstripped(root, build):
    shutil.copy(
        build / "iphoneos" / f"{NAME}.framework" / NAME,
        root / "ios-arm64" / f"{NAME}.framework" / NAME,
    )


def one_slice_swift(root):
    """Leaves the Swift interface in one slice only: drops the Simulator's, or, in a release built
    without the Swift layer, gives the Simulator one."""
    module = root / "ios-arm64-simulator" / f"{NAME}.framework" / "Modules" / f"{NAME}.swiftmodule"
    if module.exists():
        shutil.rmtree(module)
    else:
        module.mkdir(parents=True)
        (module / "arm64-apple-ios-simulator.swiftinterface").write_text("import Swift\n")


# (what is damaged, how, the words the check must fail with). Zip cases get the unpacked
# XCFramework to change and are zipped again.
MANIFEST_CASES = [
    (
        "checksum in Package.swift",
        lambda r: edit_text(r / "Package.swift", 'checksum: "', 'checksum: "0'),
        "Package.swift",
    ),
    (
        "podspec's source",
        lambda r: edit_text(r / f"{NAME}.podspec", ":sha256 => '", ":sha256 => '0"),
        "podspec",
    ),
]
ZIP_CASES = [
    (
        "simulator variant dropped from Info.plist",
        lambda x, b: edit_info(x, lambda i: simulator_entry(i).pop("SupportedPlatformVariant")),
        "Info.plist says ios",
    ),
    (
        "device binary in the simulator slice",
        lambda x, b: swap_binaries(x),
        "Info.plist says iossimulator",
    ),
    ("another slice's dSYM", lambda x, b: swap_dsyms(x), "dSYM UUID"),
    ("binary not stripped", lambda x, b: unstripped(x, b), "not stripped"),
    ("Swift interface in one slice only", lambda x, b: one_slice_swift(x), "only some slices"),
    (
        "simulator slice missing",
        lambda x, b: edit_info(x, lambda i: i["AvailableLibraries"].remove(simulator_entry(i))),
        "expected",
    ),
]


def check(release):
    done = subprocess.run(
        [sys.executable, str(SCRIPTS / "ios-check-release.py"), str(release)],
        capture_output=True,
        text=True,
    )
    return done.returncode, done.stdout + done.stderr


def rezip(release, change, build):
    archive = next(release.glob(f"{NAME}-*.xcframework.zip"))
    with tempfile.TemporaryDirectory() as scratch:
        with zipfile.ZipFile(archive) as bundle:
            bundle.extractall(scratch)
        change(Path(scratch, f"{NAME}.xcframework"), build)
        import_module("ios-release").write_zip(Path(scratch, f"{NAME}.xcframework"), archive)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    good = Path(sys.argv[1]).resolve()
    build = good.parent
    code, output = check(good)
    if code != 0:
        sys.exit(f"the good release fails its check:\n{output}")
    wrong = []
    cases = [(n, lambda r, c=c: c(r), w) for n, c, w in MANIFEST_CASES]
    cases += [(n, lambda r, c=c: rezip(r, c, build), w) for n, c, w in ZIP_CASES]
    for name, damage, words in cases:
        with tempfile.TemporaryDirectory() as scratch:
            release = Path(scratch, "release")
            shutil.copytree(good, release)
            damage(release)
            code, output = check(release)
            if code == 0 or words not in output:
                wrong.append(f"{name}: exit {code}, expected a failure naming {words!r}:\n{output}")
    if wrong:
        sys.exit("\n".join(wrong))
    print(
        f"release check test: the good release passes; {len(cases)} damaged ones fail as they should"
    )


if __name__ == "__main__":
    main()
