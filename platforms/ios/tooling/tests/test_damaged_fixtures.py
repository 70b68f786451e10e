"""Every recorded fixture, damaged the way a wrong tool output or a broken build would damage it,
makes its reader refuse it or its check report a fault; undamaged, the same check is clean."""

import json
import re
import shutil
from pathlib import Path

import conftest
import pytest
import test_api_listing
import test_at_load
import test_bindings
import test_release
import test_weak_reach

from korvane_ios import api_listing, at_load, headers_ast, macho, stubs, swift_names

READER_ERRORS = (
    macho.MachOError,
    stubs.StubError,
    headers_ast.AstError,
    swift_names.SwiftNamesError,
    json.JSONDecodeError,
    at_load.AtLoadError,
)


def platform_check():
    commands = conftest.text("framework.load-commands.txt")
    binary = macho.parse_commands(macho.MachO("KorvaneSDK"), commands)
    return [] if (binary.platform, binary.minimum_os) == ("ios", "14.0") else ["platform"]


def header_check():
    macho.parse_header(conftest.text("framework.private-header.txt"))
    return []


def bindings_check():
    return test_bindings.check(conftest.data("oldest-sdk.json"))[0]


def listing_check():
    decls = headers_ast.parse_dump(conftest.text("tiny.ast.json"))
    symbols = swift_names.parse(conftest.data("tiny.symbols.json"))
    lines, problems = api_listing.listing(decls, {"Tiny.h": conftest.text("Tiny.h")}, symbols)
    expected = conftest.text("tiny.api").splitlines()
    return problems + api_listing.compare(expected, lines, True, "tiny.api")


def at_load_check():
    return test_at_load.mismatches()


def weak_reach_check():
    return test_weak_reach.framework_problems()


def release_check(tmp_path):
    xcframework = test_release.make_xcframework(tmp_path / "build")
    out = tmp_path / "release"
    out.mkdir()
    archive = out / "KorvaneSDK-1.2.3.xcframework.zip"
    test_release.release.write_zip(xcframework, archive)
    checksum = test_release.hashlib.sha256(archive.read_bytes()).hexdigest()
    fields = {"name": "KorvaneSDK", "version": "1.2.3", "url": test_release.URL}
    fields["checksum"] = checksum
    (out / "Package.swift").write_text(test_release.release.PACKAGE.format(**fields))
    (out / "KorvaneSDK.podspec").write_text(test_release.release.PODSPEC.format(**fields))
    return test_release.failures(out)


def replace(old, new, count=1):
    def damage(text):
        assert old in text, old
        return text.replace(old, new, count)

    return damage


def regex(pattern, new):
    return lambda text: re.sub(pattern, new, text, flags=re.M)


def truncate(text):
    return text[: len(text) // 2]


# (fixture, how it is damaged, the check that must then fail)
CASES = [
    ("framework.private-header.txt", replace("MH_MAGIC_64", "MH_CIGAM"), header_check),
    ("framework.load-commands.txt", replace("platform ios", "platform macos"), platform_check),
    ("framework.load-commands.txt", regex(r"^\s*name .*\n", ""), platform_check),
    ("framework.binds.txt", replace("_UIApplicationWill", "_UIApplicationNever"), bindings_check),
    ("framework.nm-weak.txt", lambda text: "", bindings_check),
    ("oldest-sdk.json", truncate, bindings_check),
    ("oldest-sdk.json", replace('"_$s10Foundation', '"_$s11Foundation'), bindings_check),
    ("tiny.ast.json", truncate, listing_check),
    ("tiny.ast.json", replace('"name": "moveWithX:y:"', '"name": "moveWithX:z:"'), listing_check),
    ("tiny.symbols.json", truncate, listing_check),
    ("tiny.symbols.json", replace('"kind"', '"sort"'), listing_check),
    ("tiny.api", replace("=> TinyThing", "=> Thing"), listing_check),
    ("Tiny.h", replace("NS_CLOSED_ENUM", "NS_ENUM"), listing_check),
    ("weak-reach.trees.txt", replace('"LoginContinuation"', '"Login"', -1), weak_reach_check),
    (
        "weak-reach.disassembly.txt",
        regex(r"^_\$s10KorvaneSDK17Login", "_$s10KorvaneSDK5Probe"),
        weak_reach_check,
    ),
    ("weak-reach.symbols.json", replace('"major": 15', '"major": 14', -1), weak_reach_check),
    ("weak-reach.weak.txt", lambda text: "", weak_reach_check),
    (
        "weak-probe.disassembly.txt",
        regex(r"^.*_swift_task_create\n", ""),
        test_weak_reach.probe_mismatches,
    ),
    (
        "weak-probe.trees.txt",
        regex(r"^ *kind=AsyncAnnotation\n", ""),
        test_weak_reach.probe_mismatches,
    ),
    (
        "weak-probe.symbols.json",
        regex(r'"availability"', '"unavailability"'),
        test_weak_reach.probe_mismatches,
    ),
    ("weak-probe.weak.txt", regex(r"^_\$sScP4high.*\n", ""), test_weak_reach.probe_mismatches),
    ("xcframework.Info.plist", truncate, release_check),
    (
        "device.Info.plist",
        replace("<string>iPhoneOS</string>", "<string>MacOSX</string>"),
        release_check,
    ),
    ("simulator.Info.plist", replace("iPhoneSimulator", "iPhoneOS"), release_check),
    ("device.load-commands.txt", replace("platform ios", "platform iossimulator"), release_check),
    ("simulator.load-commands.txt", replace("DYLIB", "EXECUTE"), release_check),
    (
        "device-dsym.load-commands.txt",
        regex(r"uuid \S+", "uuid 00000000-0000-0000-0000-000000000000"),
        release_check,
    ),
    ("simulator-dsym.load-commands.txt", regex(r"^.*uuid .*\n", ""), release_check),
    ("framework.classes.txt", lambda text: "", release_check),
    ("at-load.json", truncate, at_load_check),
    ("at-load.json", replace("S_INIT_FUNC_OFFSETS", "S_REGULAR"), at_load_check),
    (
        "at-load.json",
        replace('"__mod_init_func": "0040', '"__mod_init_func": "0050'),
        at_load_check,
    ),
    (
        "at-load.json",
        replace("sectname __objc_nlcatlist", "sectname __objc_catlist"),
        at_load_check,
    ),
]


def test_every_fixture_has_a_damage_case():
    recorded = {
        p.relative_to(conftest.FIXTURES).as_posix()
        for p in conftest.FIXTURES.rglob("*")
        if p.is_file() and p.name != "weak-probe.swift"  # the source the others are built from
    }
    assert recorded == {fixture for fixture, _, _ in CASES}


@pytest.fixture
def fixtures_copy(tmp_path, monkeypatch):
    copy = tmp_path / "fixtures"
    shutil.copytree(conftest.FIXTURES, copy)
    monkeypatch.setattr(conftest, "FIXTURES", copy)
    return copy


def run(check, tmp_path):
    return check(tmp_path) if check is release_check else check()


@pytest.mark.parametrize("check", sorted({c for _, _, c in CASES}, key=lambda c: c.__name__))
def test_each_check_is_clean_on_the_recorded_fixtures(check, fixtures_copy, tmp_path):
    assert run(check, tmp_path) == []


@pytest.mark.parametrize(
    "fixture, damage, check", CASES, ids=[f"{f}-{i}" for i, (f, _, _) in enumerate(CASES)]
)
def test_a_damaged_fixture_is_refused_or_reported(fixture, damage, check, fixtures_copy, tmp_path):
    target = Path(fixtures_copy, fixture)
    target.write_text(damage(target.read_text()))
    try:
        reported = run(check, tmp_path)
    except READER_ERRORS:
        return
    assert reported, f"{fixture}: the damage went unnoticed"
