"""Prints the size of a built KorvaneSDK binary: the file before and after stripping local symbols,
its sections, and what each part of the SDK costs in it, from the linker's map (each symbol's size
and the object file it came from): the core's folders, the iOS layer's, the Swift layer, the JSON
library's templates and the standard library's. With --limit-kib, fails when the stripped binary
is larger.

A standard template made for the SDK's own types (a closure held in std::function, a container of
events) counts as the SDK folder's whose object file the linker took it from; one made for the
JSON library's values counts as the JSON library's; the rest, strings and containers of strings
say, as the standard library's.

usage: python3 -m korvane_ios.size BINARY LINK_MAP [--sources ROOT] [--limit-kib N]
  ROOT  the checkout, to place the core's object files (an archive names them without folders)"""
import argparse
import collections
import re
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path

from .tools import find


@dataclass(frozen=True)
class Symbol:
    address: int
    size: int
    file: str
    name: str


@dataclass(frozen=True)
class LinkMap:
    files: dict  # index -> object file, library or "linker synthesized"
    sections: list  # (address, size, segment, section)
    symbols: list  # of Symbol


def parse_map(text):
    """The object files, sections and symbols of an lld or ld64 map, dead-stripped ones left out."""
    files, sections, symbols, mode = {}, [], [], None
    for line in text.splitlines():
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
                sections.append((int(parts[0], 16), int(parts[1], 16), parts[2], parts[3]))
            elif mode == "symbols" and (
                m := re.match(r"0x([0-9A-Fa-f]+)\s+0x([0-9A-Fa-f]+)\s+\[\s*(\d+)\]\s+(.*)", line)
            ):
                index = int(m.group(3))
                symbols.append(
                    Symbol(
                        int(m.group(1), 16), int(m.group(2), 16), files.get(index, ""), m.group(4)
                    )
                )
    if not sections or not symbols:
        raise ValueError("not a linker map: no sections or no symbols")
    return LinkMap(files, sections, symbols)


def demangled(names):
    """C++ names demangled (the rest as they are), in order."""
    tool = find("llvm-cxxfilt", "c++filt")
    if not tool:
        return list(names)
    out = subprocess.run(
        [tool, "-_"], input="\n".join(names), capture_output=True, text=True
    ).stdout.splitlines()
    return out if len(out) == len(names) else list(names)


def folder_of(file, sources):
    """The part of the SDK an object file belongs to: a folder of the core (src/...), of the iOS
    layer (ios/objc, ios/ports, ...), the Swift layer, or a library outside the SDK."""
    if file.endswith("KorvaneSDK-Swift.o"):
        return "Swift layer"
    if m := re.search(r"platforms/ios/.*?/src/(\w+)/", file):
        return f"iOS layer {m.group(1)}"
    if m := re.search(r"libkorvane_(core|facade)\.a\((\w+)\.cpp\.o\)", file):
        found = sorted(sources.glob(f"src/*/{m.group(2)}.cpp")) if sources else []
        if len(found) == 1:
            return f"core src/{found[0].parent.name}"
        return "core src/sdk" if m.group(1) == "facade" else "core (generated)"
    if file == "linker synthesized":
        return "linker (stubs, pointers, unwind tables)"
    if file.endswith(".tbd") or ".dylib" in file:
        return "bindings to system libraries"
    return f"other {Path(file).name}"


def origin(symbol, readable, sources):
    """Which part of the SDK, or which library, a symbol's bytes are for."""
    if "korvane::" not in readable:
        if "nlohmann::" in readable:
            return "nlohmann/json templates"
        if "std::" in readable and not symbol.file.endswith("-Swift.o"):
            return "libc++ templates"
    return folder_of(symbol.file, sources)


def costs(link_map, sources=None):
    """Bytes per part: {part: [code, other]} (code is __text; other is everything else the part
    brings: strings, constants, metadata, unwind and exception tables)."""
    text = next(((a, s) for a, s, _, name in link_map.sections if name == "__text"), (0, 0))
    names = demangled([symbol.name for symbol in link_map.symbols])
    parts = collections.defaultdict(lambda: [0, 0])
    for symbol, readable in zip(link_map.symbols, names):
        in_text = text[0] <= symbol.address < text[0] + text[1]
        parts[origin(symbol, readable, sources)][0 if in_text else 1] += symbol.size
    return dict(parts)


def kib(n):
    return f"{int(n) / 1024:.0f} KiB"


def report(binary, stripped_size, sections, parts):
    lines = [
        f"KorvaneSDK binary: {kib(Path(binary).stat().st_size)}, stripped {kib(stripped_size)} "
        f"({stripped_size} bytes)"
    ]
    lines.append(
        "  "
        + ", ".join(
            f"{name} {kib(sections[name])}"
            for name in ("__text", "__cstring", "__const", "__gcc_except_tab", "__unwind_info")
            if name in sections
        )
    )
    counted = sum(code + other for code, other in parts.values())
    lines.append("  what each part costs (code + strings, constants and metadata):")
    for name, (code, other) in sorted(parts.items(), key=lambda item: -sum(item[1])):
        if code + other >= 512:
            lines.append(f"    {name:<42} {kib(code + other):>8}  ({kib(code)} code)")
    lines.append(
        f"    {'headers, link-edit data, page padding':<42} {kib(stripped_size - counted):>8}"
    )
    return lines


def main(argv):
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("binary")
    parser.add_argument("link_map")
    parser.add_argument("--sources", type=Path)
    parser.add_argument("--limit-kib", type=int)
    args = parser.parse_args(argv)
    with tempfile.TemporaryDirectory() as scratch:
        stripped = Path(scratch, "stripped")
        subprocess.run(["llvm-strip", "-x", "-o", str(stripped), args.binary], check=True)
        stripped_size = stripped.stat().st_size
        layout = subprocess.run(
            ["llvm-size", "-m", str(stripped)], capture_output=True, text=True
        ).stdout
    sections = {}
    for name, size in re.findall(r"Section (__\w+): (\d+)", layout):
        sections[name] = sections.get(name, 0) + int(size)
    parts = costs(parse_map(Path(args.link_map).read_text()), args.sources)
    print("\n".join(report(args.binary, stripped_size, sections, parts)))
    if args.limit_kib is not None and stripped_size > args.limit_kib * 1024:
        sys.exit(
            f"{args.binary}: stripped {stripped_size} bytes ({kib(stripped_size)}), over the "
            f"limit of {args.limit_kib} KiB ({args.limit_kib * 1024} bytes)"
        )


if __name__ == "__main__":
    main(sys.argv[1:])
