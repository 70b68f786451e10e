"""The size report's reading of a linker map: which part of the SDK each symbol's bytes count for.
The names are demangled with llvm-cxxfilt, or binutils' c++filt."""

import pytest

from korvane_ios import size, tools

MAP = """# Path: KorvaneSDK.framework/KorvaneSDK
# Arch: arm64
# Object files:
[  0] linker synthesized
[  1] /sdk/usr/lib/libc++.tbd
[  2] swift/KorvaneSDK-Swift.o
[  3] platforms/ios/CMakeFiles/KorvaneSDK.dir/src/objc/event_types.mm.o
[  4] src/libkorvane_core.a(logger.cpp.o)
[  5] src/libkorvane_facade.a(korvane_sdk.cpp.o)
[  6] src/libkorvane_core.a(korvane_bridge_script.cpp.o)
# Sections:
# Address\tSize    \tSegment\tSection
0x00008000\t0x00000100\t__TEXT\t__text
0x00008100\t0x00000040\t__TEXT\t__cstring
# Symbols:
# Address\tSize    \tFile  Name
0x00008000\t0x00000010\t[  2] _$s10KorvaneSDK5LoginV
0x00008010\t0x00000020\t[  3] -[KorvaneSdk trackEvent:]
0x00008030\t0x00000030\t[  4] __ZN7korvane13KorvaneLogger5printENSt3__117basic_string_viewIcNS1_11char_traitsIcEEEE
0x00008060\t0x00000008\t[  4] __ZNSt3__16vectorIiNS_9allocatorIiEEE9push_backEOi
0x00008068\t0x00000018\t[  5] __ZN8nlohmann16json_abi_v3_11_210basic_jsonD2Ev
0x00008080\t0x00000000\t[  5] __ZN8nlohmann16json_abi_v3_11_210basic_jsonD1Ev
0x00008080\t0x00000040\t[  5] __ZNSt3__16vectorIN7korvane5EventENS_9allocatorIS2_EEE9push_backEOS2_
0x000080C0\t0x00000040\t[  0] __stub_helper
0x00008100\t0x00000020\t[  6] literal string: (function () {
0x00008120\t0x00000020\t[  1] literal string: shared
# Dead Stripped Symbols:
#        \tSize    \tFile  Name
<<dead>>\t0x00000100\t[  4] __ZN7korvane4deadEv
"""


@pytest.fixture
def sources(tmp_path):
    for path in ("src/util/logger.cpp", "src/sdk/korvane_sdk.cpp"):
        (tmp_path / path).parent.mkdir(parents=True, exist_ok=True)
        (tmp_path / path).write_text("")
    return tmp_path


@pytest.mark.skipif(not tools.find("llvm-cxxfilt", "c++filt"), reason="no C++ demangler")
def test_each_part_gets_its_symbols_code_and_other_bytes(sources):
    assert size.costs(size.parse_map(MAP), sources) == {
        "Swift layer": [0x10, 0],
        "iOS layer objc": [0x20, 0],
        "core src/util": [0x30, 0],
        "libc++ templates": [0x8, 0],
        "nlohmann/json templates": [0x18, 0],
        # A standard template made for the SDK's own type counts as the SDK's.
        "core src/sdk": [0x40, 0],
        "linker (stubs, pointers, unwind tables)": [0x40, 0],
        # The generated bridge script has no source in src/.
        "core (generated)": [0, 0x20],
        "bindings to system libraries": [0, 0x20],
    }


@pytest.mark.parametrize(
    "text", ["", MAP.split("# Symbols:")[0], "# Symbols:\n0x0\t0x4\t[  1] _x\n"]
)
def test_a_map_without_sections_or_symbols_is_refused(text):
    with pytest.raises(ValueError):
        size.parse_map(text)
