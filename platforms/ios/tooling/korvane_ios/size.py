"""Prints the size of a built KorvaneSDK binary: the file before and after stripping local symbols,
its sections, and how its code divides between the C++ core and the iOS layer (from the linker's
map: each function's size is the distance to the next, which works for lld's map and Apple's alike).

usage: python3 -m korvane_ios.size BINARY LINK_MAP"""
import collections
import re
import subprocess
import sys
import tempfile
from pathlib import Path


def code_by_origin(map_path):
    files, sections, symbols, mode = {}, [], [], None
    for line in Path(map_path).read_text().splitlines():
        if line.startswith("# Object files:"):
            mode = "objects"
        elif line.startswith("# Sections:"):
            mode = "sections"
        elif line.startswith("# Symbols:"):
            mode = "symbols"
        elif line.startswith("# Dead Stripped"):
            break
        elif not line.startswith("#"):
            if mode == "objects" and (m := re.match(r"\[\s*(\d+)\]\s+(.*)", line)):
                files[int(m.group(1))] = m.group(2)
            elif mode == "sections" and len(parts := line.split()) >= 4:
                sections.append((int(parts[0], 16), int(parts[1], 16), parts[3]))
            elif mode == "symbols" and (
                m := re.match(r"0x([0-9A-Fa-f]+)\s+(?:0x[0-9A-Fa-f]+\s+)?\[\s*(\d+)\]", line)
            ):
                symbols.append((int(m.group(1), 16), int(m.group(2))))
    start, size = next((a, s) for a, s, name in sections if name == "__text")
    starts = sorted({a: f for a, f in reversed(symbols) if start <= a < start + size}.items())
    origin = collections.Counter()
    for index, (address, file) in enumerate(starts):
        end = starts[index + 1][0] if index + 1 < len(starts) else start + size
        name = files.get(file, "")
        kind = (
            "Swift layer"
            if name.endswith("KorvaneSDK-Swift.o")
            else "iOS layer"
            if "platforms/ios" in name
            else "core"
            if name.endswith(".cpp.o") or "korvane_core" in name or "korvane_facade" in name
            else "other"
        )
        origin[kind] += end - address
    return size, origin


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    binary, link_map = sys.argv[1], sys.argv[2]
    with tempfile.TemporaryDirectory() as scratch:
        stripped = Path(scratch, "stripped")
        subprocess.run(["llvm-strip", "-x", "-o", str(stripped), binary], check=True)
        stripped_size = stripped.stat().st_size
        layout = subprocess.run(
            ["llvm-size", "-m", str(stripped)], capture_output=True, text=True
        ).stdout
    sections = dict(re.findall(r"Section (__\w+): (\d+)", layout))
    text, origin = code_by_origin(link_map)
    kib = lambda n: f"{int(n) / 1024:.0f} KiB"
    print(
        f"KorvaneSDK binary: {kib(Path(binary).stat().st_size)}, stripped {kib(stripped_size)} "
        f"({stripped_size} bytes)"
    )
    print(
        f"  code {kib(text)}: core {kib(origin['core'])}, iOS layer {kib(origin['iOS layer'])}"
        + (f", Swift layer {kib(origin['Swift layer'])}" if origin["Swift layer"] else "")
        + (f", other {kib(origin['other'])}" if origin["other"] else "")
    )
    print(
        "  "
        + ", ".join(
            f"{name} {kib(sections[name])}"
            for name in (
                "__cstring",
                "__const",
                "__gcc_except_tab",
                "__unwind_info",
                "__objc_const",
            )
            if name in sections
        )
    )


if __name__ == "__main__":
    main()
