"""The size report's reading of a linker map: which part of the SDK each symbol's bytes count for,
also when the link-time optimizer merged every object into one. The names are demangled with
llvm-cxxfilt, or binutils' c++filt."""

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
[  6] /build/lto/0.arm64.lto.o
# Sections:
# Address\tSize    \tSegment\tSection
0x00008000\t0x00000200\t__TEXT\t__text
0x00008200\t0x00000080\t__TEXT\t__cstring
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
0x00008100\t0x00000050\t[  6] -[KorvaneOfferwallView loadOfferwall]
0x00008150\t0x00000060\t[  6] __ZN7korvane16BridgeDispatcher8dispatchEv.42
0x000081B0\t0x00000050\t[  6] __MergedGlobals.3104
0x00008200\t0x00000020\t[  6] literal string: \\354\\227\\260 \\"retry\\"\\n
0x00008220\t0x00000020\t[  1] literal string: shared
0x00008240\t0x00000040\t[  6] literal string: nowhere
# Dead Stripped Symbols:
#        \tSize    \tFile  Name
<<dead>>\t0x00000100\t[  4] __ZN7korvane4deadEv
"""

# The build's objects as read_objects finds them: the iOS layer's view and the core's dispatcher
# were compiled into the optimizer's object, the Korean text with them.
OBJECTS = size.Objects(
    by_name={"logger.cpp.o": "core src/util", "korvane_sdk.cpp.o": "core src/sdk"},
    symbols={
        "-[KorvaneOfferwallView loadOfferwall]": "iOS layer web",
        "__ZN7korvane16BridgeDispatcher8dispatchEv": "core src/offerwall",
    },
    strings={'\uc5f0 "retry"\n'.encode(): "core src/offerwall"},
)


@pytest.mark.skipif(not tools.find("llvm-cxxfilt", "c++filt"), reason="no C++ demangler")
def test_each_part_gets_its_symbols_code_and_other_bytes():
    assert size.costs(size.parse_map(MAP), OBJECTS) == {
        "Swift layer": [0x10, 0],
        "iOS layer objc": [0x20, 0],
        # Archive members by the objects they were made from.
        "core src/util": [0x30, 0],
        "libc++ templates": [0x8, 0],
        "nlohmann/json templates": [0x18, 0],
        # A standard template made for the SDK's own type counts as the SDK's.
        "core src/sdk": [0x40, 0],
        "linker (stubs, pointers, unwind tables)": [0x40, 0],
        # The optimizer's object: by the object that defines the name (an internal one renamed
        # with a number), or that holds the text.
        "iOS layer web": [0x50, 0],
        "core src/offerwall": [0x60, 0x20],
        "bindings to system libraries": [0, 0x20],
        size.UNPLACED: [0x50, 0x40],
    }


@pytest.mark.parametrize(
    "in_map, in_ir, text",
    [
        (r"line\none", r"line\0Aone\00", b"line\none"),
        (r"say \"hi\" \\ bye", r"say \22hi\22 \5C bye\00", b'say "hi" \\ bye'),
        (r"\354\227\260\352\262\260", r"\EC\97\B0\EA\B2\B0\00", "연결".encode()),
        ("tab\\there", "tab\\09here", b"tab\there"),
    ],
    ids=["newline", "quotes and backslash", "UTF-8", "tab without its NUL"],
)
def test_a_string_reads_the_same_from_the_map_and_from_bitcode(in_map, in_ir, text):
    assert size.unescape_map(in_map) == text
    assert size.ir_strings(f'@.str = private constant [9 x i8] c"{in_ir}", align 1') == [text]


def test_objective_c_names_keep_their_spaces():
    listed = "---------------- t -[KorvaneSdk initWithConfig:]\n0000000000000010 T _KorvaneX\n"
    assert size.parse_nm(listed) == ["-[KorvaneSdk initWithConfig:]", "_KorvaneX"]


@pytest.mark.parametrize(
    "text", ["", MAP.split("# Symbols:")[0], "# Symbols:\n0x0\t0x4\t[  1] _x\n"]
)
def test_a_map_without_sections_or_symbols_is_refused(text):
    with pytest.raises(ValueError):
        size.parse_map(text)
