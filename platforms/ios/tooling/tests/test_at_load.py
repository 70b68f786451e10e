"""The load-time check on libraries recorded from the real compiler and linker (see
record_fixtures.py): the same code linked with chained fixups and with classic ones, and a library
whose constants and lazy set-up run nothing at load."""

import pytest
from conftest import data

from korvane_ios import at_load, macho

RUNS_AT_LOAD = [
    "+load of category NSObject(LoadedCategory)",
    "+load of class LoadedClass",
    "static initializer __GLOBAL__sub_I_at_load.mm",
    "static initializer __ZL10beforeMainv",
]
# Where each library's initializers are listed: chained fixups leave offsets in __TEXT, classic
# ones pointers in __DATA_CONST.
EXPECTED = {
    "chained": ("__TEXT,__init_offsets", RUNS_AT_LOAD),
    "classic": ("__DATA_CONST,__mod_init_func", RUNS_AT_LOAD),
    "clean": (None, []),
}


def recorded(name, symbols=None):
    library = data("at-load.json")[name]
    contents = library["contents"]
    return at_load.findings(
        library["headers"],
        library["symbols"] if symbols is None else symbols,
        lambda section: bytes.fromhex(contents.get(section.name, "")),
    )


def mismatches():
    """How the recorded libraries' findings differ from what they run at load."""
    problems = []
    for name, (initializers, expected) in EXPECTED.items():
        found = recorded(name)
        named = sorted(line.split(": ", 1)[1] for line in found)
        if named != expected:
            problems.append(f"{name}: {named}")
        for line in found:
            if "initializer" in line and not line.startswith(initializers + ":"):
                problems.append(f"{name}: {line}")
    return problems


def test_each_way_of_running_code_at_load_is_named_and_the_clean_library_passes():
    assert mismatches() == []


def test_without_symbols_each_entry_is_still_reported_by_address():
    found = recorded("chained", symbols="")
    assert len(found) == len(RUNS_AT_LOAD)
    assert all("(no symbol there)" in line for line in found)


@pytest.mark.parametrize(
    "raw, base, target",
    [
        (0x123E4, 0, 0x123E4),  # classic fixups: the address itself
        (0x0010_0000_0000_C138, 0, 0xC138),  # chained: the next link's bits are not the address
        (0x0010_0000_0000_4008, 0x1_0000_0000, 0x1_0000_4008),  # chained, an offset from the base
        (0x0000_0800_0000_4008, 0, 0x8000_0000_0000_4008),  # chained: the target's top byte
        ((1 << 63) | 0x5, 0, None),  # a bind to another image
    ],
)
def test_pointers_decode_as_the_linker_left_them(raw, base, target):
    assert at_load.pointer_target(raw, base) == target


@pytest.mark.parametrize(
    "size, contents",
    [(12, bytes(12)), (8, bytes(4))],
    ids=["not whole pointers", "read short"],
)
def test_a_section_that_does_not_hold_whole_entries_is_refused(size, contents):
    section = macho.Section("__DATA_CONST", "__mod_init_func", 0, size, 0, at_load.INIT_POINTERS)
    with pytest.raises(at_load.AtLoadError):
        at_load.entries(section, contents, 0)
