"""Prints the size of a built KorvaneSDK binary: the file before and after stripping local symbols,
its sections, and what each part of the SDK costs in it, from the linker's map (each symbol's size
and the object file it came from): the core's folders, the iOS layer's, the Swift layer, the JSON
library's templates and the standard library's. With --limit-kib, fails when the stripped binary
is larger.

A standard template made for the SDK's own types (a closure held in std::function, a container of
events) counts as the SDK folder's whose object file defined it; one made for the JSON library's
values counts as the JSON library's; the rest, strings and containers of strings say, as the
standard library's.

The link-time optimizer compiles all the objects into one, which the map then names for every
symbol: each symbol is placed instead by the object of the build that defines it (llvm-nm reads
the bitcode objects' symbol tables), and each literal string by the object whose bitcode holds it
(llvm-dis).

usage: python3 -m korvane_ios.size BINARY LINK_MAP --build DIR [--limit-kib N]
  DIR  the slice's build directory, whose CMakeFiles hold the objects the map names"""
import argparse
import collections
import re
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path

from .tools import find

UNPLACED = "merged by the link-time optimizer, not placed"


@dataclass(frozen=True)
class Symbol:
    address: int
    size: int
    file: str
    name: str


@dataclass(frozen=True)
class LinkMap:
    sections: list  # (address, size, segment, section)
    symbols: list  # of Symbol


def parse_map(text):
    """The sections and symbols of an lld or ld64 map, dead-stripped ones left out."""
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
    return LinkMap(sections, symbols)


def unescape_map(text):
    """A literal string as the map prints it (backslash escapes, octal for other bytes)."""
    named = {"n": b"\n", "t": b"\t", "r": b"\r", '"': b'"', "\\": b"\\"}
    out, i = bytearray(), 0
    while i < len(text):
        if text[i] == "\\" and i + 1 < len(text):
            if re.match(r"[0-7]{3}", text[i + 1 : i + 4]):
                out.append(int(text[i + 1 : i + 4], 8))
                i += 4
                continue
            if text[i + 1] in named:
                out += named[text[i + 1]]
                i += 2
                continue
        out += text[i].encode()
        i += 1
    return bytes(out)


def ir_strings(ir):
    """The byte strings of textual LLVM IR's character array constants, without their NUL."""
    found = []
    for text in re.findall(r'\bc"([^"]*)"', ir):
        raw = re.sub(
            rb"\\([0-9A-Fa-f]{2})", lambda m: bytes([int(m.group(1), 16)]), text.encode("latin-1")
        )
        found.append(raw[:-1] if raw.endswith(b"\0") else raw)
    return found


def parse_nm(text):
    """The names `llvm-nm --defined-only` lists (Objective-C methods have spaces in theirs)."""
    return [m.group(1) for m in re.finditer(r"^\S+ \w (.+)$", text, re.M)]


def object_part(path):
    """The part of the SDK a build object belongs to: a folder of the core (src/...), of the iOS
    layer (objc, ports, web, support) or the Swift layer; None for anything else."""
    path = str(path)
    if path.endswith("KorvaneSDK-Swift.o"):
        return "Swift layer"
    if m := re.search(r"korvane_(?:core|facade)\.dir/(\w+)/", path):
        return f"core src/{m.group(1)}"
    if m := re.search(r"KorvaneSDK\.dir/src/(\w+)/", path):
        return f"iOS layer {m.group(1)}"
    return None


@dataclass
class Objects:
    """What the build's objects define: object name -> part, symbol name -> part, and (for bitcode
    objects) literal string -> part, each the first object's that has it."""

    by_name: dict
    symbols: dict
    strings: dict


def read_objects(build):
    objects = sorted(Path(build).glob("**/CMakeFiles/**/*.o")) + sorted(
        Path(build).glob("swift/*.o")
    )
    nm, dis = find("llvm-nm"), find("llvm-dis")
    found = Objects({}, {}, {})
    for path in objects:
        part = object_part(path)
        if part is None:
            continue
        found.by_name.setdefault(path.name, part)
        if nm:
            listed = subprocess.run([nm, "--defined-only", path], capture_output=True, text=True)
            for name in parse_nm(listed.stdout):
                found.symbols.setdefault(name, part)
        if dis and path.read_bytes()[:4] in (b"BC\xc0\xde", b"\xde\xc0\x17\x0b"):
            ir = subprocess.run([dis, path, "-o", "-"], capture_output=True, text=True).stdout
            for text in ir_strings(ir):
                found.strings.setdefault(text, part)
    return found


def demangled(names):
    """C++ names demangled (the rest as they are), in order."""
    tool = find("llvm-cxxfilt", "c++filt")
    if not tool:
        return list(names)
    out = subprocess.run(
        [tool, "-_"], input="\n".join(names), capture_output=True, text=True
    ).stdout.splitlines()
    return out if len(out) == len(names) else list(names)


def file_part(file, objects):
    """The part a map's object file stands for, when it stands for one."""
    if file == "linker synthesized":
        return "linker (stubs, pointers, unwind tables)"
    if file.endswith(".tbd") or ".dylib" in file:
        return "bindings to system libraries"
    if part := object_part(file):
        return part
    if m := re.search(r"\.a\((.+)\)$", file):  # an archive's member, by the object it came from
        return objects.by_name.get(m.group(1))
    return None


def origin(symbol, readable, objects):
    """Which part of the SDK, or which library, a symbol's bytes are for."""
    if "korvane::" not in readable:
        if "nlohmann::" in readable:
            return "nlohmann/json templates"
        if "std::" in readable and not symbol.file.endswith("-Swift.o"):
            return "libc++ templates"
    if part := file_part(symbol.file, objects):
        return part
    if symbol.name.startswith("literal string: "):
        part = objects.strings.get(unescape_map(symbol.name[len("literal string: ") :]))
    else:
        part = objects.symbols.get(re.sub(r"\.\d+$", "", symbol.name))
    return part or UNPLACED


def costs(link_map, objects):
    """Bytes per part: {part: [code, other]} (code is __text; other is everything else the part
    brings: strings, constants, metadata, unwind and exception tables)."""
    text = next(((a, s) for a, s, _, name in link_map.sections if name == "__text"), (0, 0))
    names = demangled([symbol.name for symbol in link_map.symbols])
    parts = collections.defaultdict(lambda: [0, 0])
    for symbol, readable in zip(link_map.symbols, names):
        in_text = text[0] <= symbol.address < text[0] + text[1]
        parts[origin(symbol, readable, objects)][0 if in_text else 1] += symbol.size
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
            lines.append(f"    {name:<46} {kib(code + other):>8}  ({kib(code)} code)")
    lines.append(
        f"    {'headers, link-edit data, page padding':<46} {kib(stripped_size - counted):>8}"
    )
    return lines


def main(argv):
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("binary")
    parser.add_argument("link_map")
    parser.add_argument("--build", type=Path, required=True)
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
    parts = costs(parse_map(Path(args.link_map).read_text()), read_objects(args.build))
    print("\n".join(report(args.binary, stripped_size, sections, parts)))
    if args.limit_kib is not None and stripped_size > args.limit_kib * 1024:
        sys.exit(
            f"{args.binary}: stripped {stripped_size} bytes ({kib(stripped_size)}), over the "
            f"limit of {args.limit_kib} KiB ({args.limit_kib * 1024} bytes)"
        )


if __name__ == "__main__":
    main(sys.argv[1:])
