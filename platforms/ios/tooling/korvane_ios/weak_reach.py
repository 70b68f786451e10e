"""Checks that code running on the oldest supported iOS never reaches a weakly linked library.

usage: python3 -m korvane_ios.weak_reach BINARY SWIFT_SOURCES

A library loaded with weak linking (Swift's concurrency runtime, which comes with iOS 15) may be
absent: dyld then binds every symbol of it to null, and the first call through one crashes. The
bindings check lets such libraries pass, so this check looks at the code instead. It disassembles
BINARY (llvm-objdump), finds every function that calls or loads a symbol bound to a weakly loaded
library, directly or through the compiler's shared bodies (outlined and merged functions), and
requires each to be code that can only run where the library exists: `async` code, or a
declaration that SWIFT_SOURCES (the Swift layer the binary was built from; its module interface
lacks the internal declarations) marks `@available(iOS 15.0, *)` or later, on itself or on a type
or extension around it. Names come from swift-demangle (SWIFT_DEMANGLE, else beside SWIFTC or in
/opt/swift, else on PATH). Prints a count; exits 1 naming each function otherwise.
"""

import os
import pathlib
import re
import sys

from . import macho
from .tools import ToolError, find, run

MINIMUM_MAJOR = 15
AVAILABLE = re.compile(r"@available\(\s*iOS\s+(\d+)")
DECLARATION = re.compile(
    r"^\s*(?:(?:@\w+(?:\([^)]*\))?|public|internal|private|fileprivate|open|final|static|class|"
    r"nonisolated|override|@objc|convenience|required|mutating)\s+)*"
    r"(class|struct|enum|actor|protocol|extension|func|init)\b\s*([\w.]*)"
)
# A parameter's argument label: its first name, before an optional second name and the colon.
LABEL = re.compile(r"^(`?\w+`?)(?:\s+`?\w+`?)?\s*:")
REFERENCE = re.compile(r"; (?:symbol stub for|literal pool symbol address): (\S+)")
CALL = re.compile(r"^\s*[0-9a-f]+:\s+(?:bl|b)\s+(_\S+)\s*$")
# Bodies the compiler shares between functions (outlined code, merged functions, lazy witness
# table accessors): they run for whichever function calls them.
HELPER = re.compile(r"^(_OUTLINED_FUNCTION_\d+|_\$s.*(Tm|Wl))$")


def weak_symbols(binary):
    """Symbol -> library, for every symbol bound to a library loaded with weak linking."""
    weak = {macho.short_name(load.name) for load in binary.loads if load.weak}
    return {bind.symbol: bind.library for bind in binary.binds() if bind.library in weak}


def parse_functions(disassembly):
    """Function -> (symbols it references through stubs and pointers, functions it calls), from
    `llvm-objdump -d --no-show-raw-insn`."""
    result, current = {}, None
    for line in disassembly.splitlines():
        if line and not line[0].isspace() and line.endswith(":"):
            current = line[:-1]
            result.setdefault(current, (set(), set()))
            continue
        if current is None:
            continue
        if match := REFERENCE.search(line):
            result[current][0].add(match.group(1))
        elif match := CALL.match(line):
            result[current][1].add(match.group(1))
    return result


def reaching(
    graph: dict[str, tuple[set[str], set[str]]], targets: dict[str, str]
) -> dict[str, set[str]]:
    """Function -> the weak symbols it reaches, through calls to compiler-shared bodies."""
    reached = {name: {s for s in refs if s in targets} for name, (refs, _) in graph.items()}
    changed = True
    while changed:
        changed = False
        for name, (_, calls) in graph.items():
            for callee in calls:
                if HELPER.match(callee) and callee in reached:
                    extra = reached[callee] - reached[name]
                    if extra:
                        reached[name] |= extra
                        changed = True
    return {name: symbols for name, symbols in reached.items() if symbols}


def gates(sources: pathlib.Path) -> tuple[set[str], set[str]]:
    """The gated types (dotted paths) and functions ("Type.name(label:)") of the Swift sources."""
    types, funcs = set(), set()
    for source in sorted(sources.glob("*.swift")):
        stack: list[tuple[str, bool, int]] = []  # (type path, gated, depth of its body)
        depth, pending = 0, False
        for line in joined_lines(source.read_text()):
            if (match := AVAILABLE.search(line)) and int(match.group(1)) >= MINIMUM_MAJOR:
                pending = True
            declared = DECLARATION.match(line)
            if declared:
                kind, name = declared.groups()
                outer = stack[-1][0] if stack else ""
                inside_gate = any(gated for _, gated, _ in stack)
                gated = pending or inside_gate
                if kind in ("func", "init"):
                    if gated:
                        funcs.add(function_key(outer, line, kind))
                elif "{" in line or kind:
                    path = name if kind == "extension" or not outer else f"{outer}.{name}"
                    if gated and kind != "extension":
                        types.add(path)
                    stack.append((path, gated, depth + 1))
                pending = False
            for char in line:
                if char == "{":
                    depth += 1
                elif char == "}":
                    depth -= 1
                    while stack and stack[-1][2] > depth:
                        stack.pop()
    return types, funcs


def joined_lines(text: str) -> list[str]:
    """The lines without comments, a parameter list spread over lines joined into its one."""
    lines, current, level = [], "", 0
    for raw in text.splitlines():
        line = re.sub(r"//.*$", "", raw)
        current = f"{current} {line.strip()}" if level > 0 else line
        level += line.count("(") - line.count(")")
        if level <= 0:
            lines.append(current)
            current, level = "", 0
    return lines + ([current] if current else [])


def function_key(outer: str, line: str, kind: str) -> str:
    """ "Type.name(label:label:)" of a Swift declaration line."""
    if kind == "init":
        name, rest = "init", line[line.index("init") + 4 :]
    else:
        match = re.search(r"func\s+(`?\w+`?)", line)
        name, rest = match.group(1), line[match.end() :]
    params = rest[rest.index("(") + 1 :] if "(" in rest else ""
    labels = [m.group(1) for part in split_top(params) if (m := LABEL.match(part.strip()))]
    return f"{outer}.{name}({''.join(label + ':' for label in labels)})".lstrip(".")


def split_top(text: str) -> list[str]:
    """The comma-separated parts of a parameter list, up to its closing parenthesis."""
    parts, level, current = [], 0, ""
    for char in text:
        if char in "([<":
            level += 1
        elif char in ")]>":
            if level == 0:
                break
            level -= 1
        if char == "," and level == 0:
            parts.append(current)
            current = ""
        else:
            current += char
    return parts + [current] if current.strip() else parts


def demangled_keys(text: str) -> set[str]:
    """ "Type.name(label:)" of every function named in a demangled symbol."""
    keys = set()
    for match in re.finditer(r"([\w.]+)\(", text):
        labels = [
            m.group(1)
            for part in split_top(text[match.end() :])
            if (m := re.match(r"\s*(\w+)\s*:", part))
        ]
        keys.add(f"{match.group(1)}({''.join(label + ':' for label in labels)})")
    return keys


def normalised(text: str, module: str) -> str:
    return re.sub(rf"\(extension in {module}\):|\b{module}\.|__C\.", "", text)


def is_gated(text: str, types: set[str], funcs: set[str]) -> bool:
    if re.search(r"\basync\b", text):
        return True
    if any(re.search(rf"(?<![\w.]){re.escape(path)}(?![\w])", text) for path in types):
        return True
    return bool(demangled_keys(text) & funcs)


def demangler() -> str:
    found = find(
        os.environ.get("SWIFT_DEMANGLE"),
        str(pathlib.Path(os.environ.get("SWIFTC", "/nonexistent")).parent / "swift-demangle"),
        "/opt/swift/usr/bin/swift-demangle",
        "swift-demangle",
    )
    if not found:
        sys.exit("weak reach check: no swift-demangle (set SWIFT_DEMANGLE)")
    return found


def faults(entries, names, reached, types, funcs):
    """One text per function (mangled `entries`, demangled `names`) that reaches a weakly
    linked library and is neither async nor gated by the sources' `types` and `funcs`."""
    found = []
    for symbol, text in zip(entries, names):
        if not is_gated(normalised(text, "KorvaneSDK"), types, funcs):
            weak = ", ".join(sorted(reached[symbol]))
            found.append(
                f"{text}\n    ({symbol}) reaches {weak}, but can run before iOS "
                f"{MINIMUM_MAJOR}: make it async or @available(iOS {MINIMUM_MAJOR}.0, *)"
            )
    return found


def main(argv) -> int:
    if len(argv) != 2:
        print(__doc__.splitlines()[2], file=sys.stderr)
        return 2
    binary_path, sources = argv[0], pathlib.Path(argv[1])
    try:
        binary = macho.read(binary_path)
        targets = weak_symbols(binary)
        graph = parse_functions(macho.objdump("-d", "--no-show-raw-insn", binary_path))
        reached = reaching(graph, targets)
        # Shared bodies are judged through the functions that call them.
        entries = sorted(name for name in reached if not HELPER.match(name))
        names = run([demangler(), "--compact"], input_text="\n".join(entries)).splitlines()
    except (macho.MachOError, ToolError) as error:
        print(f"weak reach check: {error}", file=sys.stderr)
        return 1
    types, funcs = gates(sources)
    found = faults(entries, names, reached, types, funcs)
    for fault in found:
        print(fault, file=sys.stderr)
    if found:
        print(
            f"{binary_path}: {len(found)} of {len(entries)} functions reaching weakly linked "
            f"libraries can run before iOS {MINIMUM_MAJOR}",
            file=sys.stderr,
        )
        return 1
    print(
        f"{binary_path}: {len(entries)} functions reach {len(set(targets.values()))} weakly linked "
        f"libraries ({len(targets)} symbols), each async or for iOS {MINIMUM_MAJOR} and later"
    )
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
