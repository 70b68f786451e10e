"""Fails when a built binary runs code of its own when it is loaded, before the app's `main`:
static initializers (the pointers of a __mod_init_func section, the offsets of an __init_offsets
section) and Objective-C +load methods (the classes of __objc_nlclslist, the categories of
__objc_nlcatlist). Each one is named from the binary's symbol table.

usage: python3 -m korvane_ios.at_load BINARY"""

import re
import sys
from pathlib import Path

from .macho import MachOError, objdump, parse_sections
from .tools import ToolError, run

# What each kind of section holds, by the section type the linker gives it or, for the
# Objective-C lists (plain S_REGULAR sections), by name.
INIT_POINTERS = "S_MOD_INIT_FUNC_POINTERS"
INIT_OFFSETS = "S_INIT_FUNC_OFFSETS"
LOAD_LISTS = {"__objc_nlclslist": "+load of class", "__objc_nlcatlist": "+load of category"}

# A pointer as the linker leaves it: with classic fixups, the address itself; with chained
# fixups (DYLD_CHAINED_PTR_64 and _64_OFFSET), the target's address or offset in the low 36 bits,
# its top byte in the next 8, and bit 63 set for a bind to another image.
TARGET_BITS = (1 << 36) - 1


class AtLoadError(Exception):
    pass


def parse_symbols(text):
    """Address to names, from `llvm-nm -n --defined-only`: several names share an address where
    the linker folded identical functions."""
    names = {}
    for line in text.splitlines():
        found = re.match(r"^([0-9a-fA-F]+) \S (\S+)$", line)
        if found:
            names.setdefault(int(found.group(1), 16), []).append(found.group(2))
    return names


def pointer_target(raw, base):
    if raw >> 63:
        return None  # bound to another image's symbol
    target = (raw & TARGET_BITS) | (((raw >> 36) & 0xFF) << 56)
    return target + base if target < base else target


def entries(section, contents, base):
    """(what, address) for each entry of a section that runs code at load; address None for a
    pointer bound to another image."""
    if len(contents) != section.size:
        raise AtLoadError(
            f"{section.segment},{section.name}: {len(contents)} bytes read of {section.size}"
        )
    if section.type == INIT_OFFSETS:
        width, what = 4, "static initializer"
    elif section.type == INIT_POINTERS:
        width, what = 8, "static initializer"
    elif section.name in LOAD_LISTS:
        width, what = 8, LOAD_LISTS[section.name]
    else:
        return []
    if section.size % width:
        raise AtLoadError(
            f"{section.segment},{section.name}: {section.size} bytes, not {width}-byte entries"
        )
    found = []
    for start in range(0, section.size, width):
        raw = int.from_bytes(contents[start : start + width], "little")
        address = base + raw if width == 4 else pointer_target(raw, base)
        found.append((what, address))
    return found


def describe(what, address, symbols):
    if address is None:
        return f"{what} bound to another image"
    names = symbols.get(address)
    if not names:
        return f"{what} at 0x{address:x} (no symbol there)"
    names = [
        re.sub(
            r"^__OBJC_\$_CATEGORY_(\w+?)_\$_(\w+)$", r"\1(\2)", name.replace("_OBJC_CLASS_$_", "")
        )
        for name in names
    ]
    return f"{what} {' = '.join(names)}"


def findings(headers, symbols_text, read):
    """What the binary runs at load, one line each; `read(section)` gives a section's bytes."""
    base, sections = parse_sections(headers)
    symbols = parse_symbols(symbols_text)
    lines = []
    for section in sections:
        for what, address in entries(section, read(section) if section.size else b"", base):
            lines.append(f"{section.segment},{section.name}: {describe(what, address, symbols)}")
    return lines


def main(argv):
    if len(argv) != 1:
        sys.exit(__doc__)
    binary = Path(argv[0])
    try:
        headers = objdump("--private-headers", binary)
        symbols = run(["llvm-nm", "-n", "--defined-only", binary])
        data = binary.read_bytes()
        found = findings(headers, symbols, lambda s: data[s.offset : s.offset + s.size])
    except (ToolError, MachOError, AtLoadError, OSError) as error:
        sys.exit(f"{binary}: {error}")
    if found:
        sys.exit(
            f"{binary} runs code when it is loaded, before the app's main; make these constants "
            "or set them up at first use:\n  " + "\n  ".join(found)
        )
    print(f"{binary}: no static initializer and no +load method")


if __name__ == "__main__":
    main(sys.argv[1:])
