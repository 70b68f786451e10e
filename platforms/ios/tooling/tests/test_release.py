"""The release and its check, on a release made from recorded slices: each slice's files are
placeholders naming the recorded binary (load commands, exported classes) that stands for them."""

import hashlib
import plistlib
import shutil
import zipfile
from pathlib import Path

import pytest
from conftest import path, text

from korvane_ios import macho, release, release_check

NAME = "KorvaneSDK"
URL = "https://sdk.korvane.io/ios/KorvaneSDK-1.2.3.xcframework.zip"
DWARF = Path("dSYMs", f"{NAME}.framework.dSYM", "Contents", "Resources", "DWARF", NAME)
SLICES = {"ios-arm64": "device", "ios-arm64-simulator": "simulator"}


class RecordedTools:
    """Answers the release check's questions about a placeholder from the recorded binary it
    names ("device", "simulator-dsym", ...; "unstripped " before it keeps the debug map)."""

    def read(self, path):
        recorded = Path(path).read_text().split()[-1]
        binary = macho.MachO(str(path))
        commands = text(f"{recorded}.load-commands.txt")
        binary.arch, binary.filetype = macho.parse_header(commands)
        return macho.parse_commands(binary, commands)

    def exported_classes(self, binary):
        return text("framework.classes.txt").split()

    def has_debug_map(self, path):
        return Path(path).read_text().startswith("unstripped")

    def debug_info_size(self, path):
        return 4096


def make_xcframework(root):
    xcframework = root / f"{NAME}.xcframework"
    xcframework.mkdir(parents=True)
    shutil.copy(path("xcframework.Info.plist"), xcframework / "Info.plist")
    for identifier, recorded in SLICES.items():
        framework = xcframework / identifier / f"{NAME}.framework"
        (framework / "Modules" / f"{NAME}.swiftmodule").mkdir(parents=True)
        shutil.copy(path(f"{recorded}.Info.plist"), framework / "Info.plist")
        (framework / NAME).write_text(recorded)
        triple = "arm64-apple-ios" + ("-simulator" if recorded == "simulator" else "")
        interface = framework / "Modules" / f"{NAME}.swiftmodule" / f"{triple}.swiftinterface"
        interface.write_text("import Swift\n")
        (xcframework / identifier / DWARF).parent.mkdir(parents=True)
        (xcframework / identifier / DWARF).write_text(f"{recorded}-dsym")
    return xcframework


@pytest.fixture
def good(tmp_path):
    xcframework = make_xcframework(tmp_path / "build")
    out = tmp_path / "release"
    out.mkdir()
    archive = out / f"{NAME}-1.2.3.xcframework.zip"
    release.write_zip(xcframework, archive)
    checksum = hashlib.sha256(archive.read_bytes()).hexdigest()
    fields = {"name": NAME, "version": "1.2.3", "url": URL, "checksum": checksum}
    (out / "Package.swift").write_text(release.PACKAGE.format(**fields))
    (out / f"{NAME}.podspec").write_text(release.PODSPEC.format(**fields))
    return out


def failures(out):
    check, *_ = release_check.check_release(out, RecordedTools(), swift=False)
    return check.failures


def test_the_good_release_passes(good):
    assert failures(good) == []


def test_the_zip_is_reproducible(good, tmp_path):
    archive = next(good.glob("*.zip"))
    again = tmp_path / "again.zip"
    release.write_zip(tmp_path / "build" / f"{NAME}.xcframework", again)
    assert again.read_bytes() == archive.read_bytes()


def edit_text(path, old, new):
    assert old in path.read_text()
    path.write_text(path.read_text().replace(old, new))


def edit_info(root, change):
    info = plistlib.loads((root / "Info.plist").read_bytes())
    change(info)
    (root / "Info.plist").write_bytes(plistlib.dumps(info))


def simulator_entry(info):
    return next(
        e for e in info["AvailableLibraries"] if e["LibraryIdentifier"] == "ios-arm64-simulator"
    )


def swap(root, relative):
    shutil.copy(root / "ios-arm64" / relative, root / "ios-arm64-simulator" / relative)


def unstripped(root):
    binary = root / "ios-arm64" / f"{NAME}.framework" / NAME
    binary.write_text("unstripped " + binary.read_text())


def one_slice_swift(root):
    module = root / "ios-arm64-simulator" / f"{NAME}.framework" / "Modules" / f"{NAME}.swiftmodule"
    shutil.rmtree(module)


def rezip(change):
    def damage(out):
        archive = next(out.glob(f"{NAME}-*.xcframework.zip"))
        unpacked = out / "unpacked"
        with zipfile.ZipFile(archive) as bundle:
            bundle.extractall(unpacked)
        change(unpacked / f"{NAME}.xcframework")
        release.write_zip(unpacked / f"{NAME}.xcframework", archive)
        shutil.rmtree(unpacked)

    return damage


@pytest.mark.parametrize(
    "damage, words",
    [
        (lambda r: edit_text(r / "Package.swift", 'checksum: "', 'checksum: "0'), "Package.swift"),
        (lambda r: edit_text(r / f"{NAME}.podspec", ":sha256 => '", ":sha256 => '0"), "podspec"),
        (lambda r: edit_text(r / "Package.swift", URL, URL + "?x.zip"), "does not end in"),
        (
            rezip(
                lambda x: edit_info(x, lambda i: simulator_entry(i).pop("SupportedPlatformVariant"))
            ),
            "Info.plist says ios",
        ),
        (rezip(lambda x: swap(x, Path(f"{NAME}.framework", NAME))), "Info.plist says iossimulator"),
        (rezip(lambda x: swap(x, DWARF)), "dSYM UUID"),
        (rezip(unstripped), "not stripped"),
        (rezip(one_slice_swift), "only some slices"),
        (
            rezip(
                lambda x: edit_info(x, lambda i: i["AvailableLibraries"].remove(simulator_entry(i)))
            ),
            "expected",
        ),
    ],
    ids=[
        "checksum in Package.swift",
        "podspec's source",
        "download address",
        "simulator variant dropped from Info.plist",
        "device binary in the simulator slice",
        "another slice's dSYM",
        "binary not stripped",
        "Swift interface in one slice only",
        "simulator slice missing",
    ],
)
def test_a_damaged_release_fails_naming_the_damage(good, damage, words):
    damage(good)
    found = failures(good)
    assert any(words in failure for failure in found), found
