import pytest
from conftest import text

from korvane_ios import macho


def framework():
    binary = macho.MachO("KorvaneSDK")
    binary.arch, binary.filetype = macho.parse_header(text("framework.private-header.txt"))
    return macho.parse_commands(binary, text("framework.load-commands.txt"))


def test_reads_the_framework_headers():
    binary = framework()
    assert (binary.arch, binary.filetype) == ("arm64", "DYLIB")
    assert (binary.platform, binary.minimum_os) == ("ios", "14.0")
    assert binary.install_name == "@rpath/KorvaneSDK.framework/KorvaneSDK"
    assert len(binary.uuid) == 36 and binary.uuid == binary.uuid.upper()
    weak = [load.name for load in binary.loads if load.weak]
    assert weak == ["/usr/lib/swift/libswift_Concurrency.dylib"]
    assert "/System/Library/Frameworks/UIKit.framework/UIKit" in binary.linked


@pytest.mark.parametrize(
    "install_name, short",
    [
        ("/usr/lib/libSystem.B.dylib", "libSystem"),
        ("/usr/lib/swift/libswiftCore.dylib", "libswiftCore"),
        ("/System/Library/Frameworks/UIKit.framework/UIKit", "UIKit"),
        ("/usr/lib/libc++.1.dylib", "libc++"),
    ],
)
def test_short_names_are_the_bind_tables(install_name, short):
    assert macho.short_name(install_name) == short


def test_binds_take_weak_imports_from_both_tables():
    weak = macho.parse_weak_references(text("framework.nm-weak.txt"))
    binds = macho.parse_binds(text("framework.binds.txt"), weak)
    lazy_swiftui = [b for b in binds if b.library == "SwiftUI" and "PAAE12sizeThatFits" in b.symbol]
    # The lazy bind table prints no weak flag: the symbol table's weak reference gives it.
    assert lazy_swiftui and all(b.weak_import for b in lazy_swiftui)
    assert all(b.weak_import for b in binds if b.library == "libswift_Concurrency")
    assert not any(b.weak_import for b in binds if b.library == "UIKit")
    without = macho.parse_binds(text("framework.binds.txt"))
    assert not all(b.weak_import for b in without if "PAAE12sizeThatFits" in b.symbol)


@pytest.mark.parametrize(
    "damage",
    [
        lambda t: t.replace("MH_MAGIC_64", "MH_MAGIC"),
        lambda t: "",
    ],
    ids=["32-bit magic", "empty"],
)
def test_a_damaged_header_is_refused(damage):
    with pytest.raises(macho.MachOError):
        macho.parse_header(damage(text("framework.private-header.txt")))


@pytest.mark.parametrize(
    "damage",
    [
        lambda t: "",
        lambda t: t.replace("cmd LC_", "command LC_", 1),
        lambda t: t.replace("         name /usr/lib/swift/libswiftCore", "         path /x", 1),
    ],
    ids=["no commands", "command without cmd", "load without a name"],
)
def test_damaged_load_commands_are_refused(damage):
    with pytest.raises(macho.MachOError):
        macho.parse_commands(macho.MachO("x"), damage(text("framework.load-commands.txt")))


# Header text as llvm-objdump prints it: 30 load commands of 5040 bytes after the 32-byte header.
HEADER = """Mach header
      magic cputype cpusubtype  caps    filetype ncmds sizeofcmds      flags
MH_MAGIC_64   ARM64        ALL  0x00       DYLIB    30       5040   NOUNDEFS DYLDLINK TWOLEVEL
"""


def commands(*sections):
    text = "Load command 0\n      cmd LC_SEGMENT_64\n  segname __TEXT\n   vmaddr 0x0\n"
    for name, offset, size in sections:
        text += (
            f"Section\n  sectname {name}\n   segname __TEXT\n      addr 0x{offset:x}\n"
            f"      size 0x{size:x}\n    offset {offset}\n      type S_REGULAR\n"
        )
    return text


@pytest.mark.parametrize(
    "sections, room",
    [
        ([("__text", 16384, 64)], 16384 - 32 - 5040),
        ([("__text", 5088, 64)], 16),  # just the signature's command
        ([("__text", 5080, 64)], 8),
        ([("__bss", 0, 64), ("__text", 6000, 64)], 6000 - 32 - 5040),  # zero-fill has no offset
    ],
)
def test_the_room_after_the_load_commands_ends_at_the_first_section_in_the_file(sections, room):
    assert macho.header_room(HEADER, commands(*sections)) == room
