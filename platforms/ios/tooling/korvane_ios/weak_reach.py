"""Checks that code running on the oldest supported iOS never reaches a weakly linked library.

usage: python3 -m korvane_ios.weak_reach BINARY SYMBOL_GRAPHS

A library loaded with weak linking (Swift's concurrency runtime, which comes with iOS 15) may be
absent: dyld then binds every symbol of it to null, and the first call through one crashes. The
bindings check lets such libraries pass, so this check looks at the code instead. It disassembles
BINARY (llvm-objdump) and follows reach from every symbol bound to a weakly loaded library up
through the calls of every function that is not itself gated. Each function so reached must be
gated, that is only able to run where the library exists: `async` code (its own function type or
that of a function or closure around it, as swift-demangle's tree of its mangled name shows), or a
declaration available from iOS 15.0 or later, on itself or on a type or extension around it, as
the Swift layer's symbol graph in SYMBOL_GRAPHS says (swift-symbolgraph-extract
-minimum-access-level private, so that internal declarations are in it). Bodies the compiler or
the linker shares (outlined and merged functions, specializations of other modules' generics) are
judged through the functions that call them; names the linker folded onto one body are each
judged. swift-demangle is SWIFT_DEMANGLE, else beside SWIFTC or in /opt/swift, else on PATH.
Prints a count; exits 1 naming each function otherwise.
"""

import json
import os
import pathlib
import re
import sys
from dataclasses import dataclass, field

from . import macho
from .tools import ToolError, find, run

MINIMUM = (15, 0)
REFERENCE = re.compile(r"; (?:symbol stub for|literal pool symbol address): (\S+)")
CALL = re.compile(r"^\s*[0-9a-f]+:\s+(?:bl|b)\s+(_\S+)\s*$")
# Bodies shared between functions whatever their names say: outlined code, merged functions and
# lazy witness table accessors run for whichever function calls them.
SHARED = re.compile(r"^(_OUTLINED_FUNCTION_\d+|_\$s.*(Tm|Wl))$")
# Demangle tree nodes that are code of their own (a function, a closure, an accessor, a thunk...),
# whose first child is what they are declared in.
ENTITIES = {
    "Allocator", "Constructor", "Deallocator", "Destructor", "ExplicitClosure", "Function",
    "Getter", "GlobalGetter", "ImplicitClosure", "InitAccessor", "IsolatedDeallocator",
    "ModifyAccessor", "Modify2Accessor", "ReadAccessor", "Read2Accessor", "ReabstractionThunk",
    "ReabstractionThunkHelper", "ReabstractionThunkHelperWithGlobalActor",
    "ReabstractionThunkHelperWithSelf", "Setter", "Subscript",
    "UnsafeAddressor", "UnsafeMutableAddressor", "Variable", "WillSet", "DidSet",
}  # fmt: skip


NOMINALS = {"Class", "Structure", "Enum", "Protocol", "OtherNominalType", "TypeAlias"}


@dataclass
class Node:
    kind: str
    text: str = ""
    children: list = field(default_factory=list)


def weak_symbols(binary):
    """Symbol -> library, for every symbol bound to a library loaded with weak linking."""
    weak = {macho.short_name(load.name) for load in binary.loads if load.weak}
    return {bind.symbol: bind.library for bind in binary.binds() if bind.library in weak}


def parse_functions(disassembly):
    """Function -> (symbols it references through stubs and pointers, functions it calls), from
    `llvm-objdump -d --no-show-raw-insn`. Names printed one after another with no instruction
    between them were folded onto one body, which each of them gets."""
    result, current, folding = {}, None, False
    for line in disassembly.splitlines():
        if line and not line[0].isspace() and line.endswith(":"):
            name = line[:-1]
            if not (folding and current is not None):
                current = (set(), set())
            result.setdefault(name, current)
            current, folding = result[name], True
            continue
        if current is None:
            continue
        folding = False
        if match := REFERENCE.search(line):
            current[0].add(match.group(1))
        elif match := CALL.match(line):
            current[1].add(match.group(1))
    return result


def reaching(graph, targets, gated=lambda name: False):
    """Function -> the weak symbols it reaches: its own references and those of every callee
    that is not `gated`."""
    reached = {name: {s for s in refs if s in targets} for name, (refs, _) in graph.items()}
    changed = True
    while changed:
        changed = False
        for name, (_, calls) in graph.items():
            for callee in calls:
                if callee in reached and not gated(callee):
                    extra = reached[callee] - reached[name]
                    if extra:
                        reached[name] |= extra
                        changed = True
    return {name: symbols for name, symbols in reached.items() if symbols}


def parse_trees(text):
    """Mangled name -> the root of its tree, from `swift-demangle -tree-only`."""
    trees = {}
    for block in re.split(r"^Demangling for ", text, flags=re.M)[1:]:
        name, *lines = block.splitlines()
        stack = []
        for line in lines:
            match = re.match(r'^( *)kind=(\w+)(?:, text="(.*)")?', line)
            if not match:
                continue
            depth, node = len(match.group(1)) // 2, Node(match.group(2), match.group(3) or "")
            del stack[depth:]
            if stack:
                stack[-1].children.append(node)
            stack.append(node)
        if stack:
            trees[name] = stack[0]
    return trees


def entity(tree):
    """The first node of code of its own in a tree, outside any type: the function, closure or
    accessor a symbol is (or is a thunk, part or specialization of)."""
    queue = list(tree.children)
    while queue:
        node = queue.pop(0)
        if node.kind in ENTITIES:
            return node
        if node.kind != "Type":
            queue.extend(node.children)
    return None


def is_async(tree):
    """Whether the symbol's own code, or a function or closure it is declared in, is async: the
    function type of each, not of its parameters."""
    node = entity(tree)
    while node is not None and node.kind in ENTITIES:
        for child in node.children:
            if child.kind == "Type":
                shape = child.children[0] if child.children else Node("")
                while shape.kind in ("DependentGenericType", "Type") and shape.children:
                    shape = shape.children[-1]
                if any(
                    part.kind == "AsyncAnnotation" or part.text == "@async"
                    for part in shape.children
                ):
                    return True
        node = node.children[0] if node.children else None
    return False


def type_path(tree):
    """The names of the type a symbol's code is declared in (or of the type it is about), and of
    the types around it: ("KorvaneOfferwall", "Coordinator"). Empty for module-level code."""
    node = entity(tree)
    while node is not None and node.kind in ENTITIES:
        node = node.children[0] if node.children else None
    if node is None:  # metadata and witness tables: the first type named
        queue = list(tree.children)
        while queue and queue[0].kind not in NOMINALS:
            queue.extend(queue.pop(0).children)
        node = queue[0] if queue else None
    path = []
    while node is not None:
        if node.kind == "Extension" and len(node.children) > 1:
            node = node.children[1]
        elif node.kind in NOMINALS:
            names = [c for c in node.children if c.kind in ("Identifier", "PrivateDeclName")]
            name = names[0] if names else Node("")
            path.insert(0, name.children[-1].text if name.children else name.text)
            node = node.children[0] if node.children else None
        else:
            node = None
    return tuple(path)


@dataclass
class Graph:
    """What the layer's symbol graph says of availability on iOS: per Swift USR, and per type
    (by its path of names), since a type Objective-C sees and its members have Clang USRs."""

    usrs: dict  # USR -> introduced version, or None
    types: dict  # ("Type", "Nested") -> introduced version, or None


TYPE_KINDS = {"swift.class", "swift.struct", "swift.enum", "swift.protocol", "swift.actor"}


def availability(files):
    """The symbol graph files as a Graph. The graph gives each declaration the availability of
    the types and extensions around it too."""
    usrs, types = {}, {}
    for path in sorted(files):
        try:
            for symbol in json.loads(pathlib.Path(path).read_text())["symbols"]:
                add(symbol, usrs, types)
        except (OSError, ValueError, KeyError, TypeError) as error:
            raise ToolError(f"{path}: not a symbol graph ({error!r})") from error
    return Graph(usrs, types)


def add(symbol, usrs, types):
    """Adds what a graph's symbol is available from to `usrs` and `types`."""
    usr = symbol["identifier"]["precise"]
    versions = [
        (entry["introduced"]["major"], entry["introduced"].get("minor", 0))
        for entry in symbol.get("availability", [])
        if entry.get("domain") == "iOS" and "introduced" in entry
    ]
    version = max(versions, default=None)
    if usr.startswith("s:"):
        usrs[usr] = version
    if symbol["kind"]["identifier"] in TYPE_KINDS:
        path = tuple(symbol["pathComponents"])
        # Private types of different files may share a name: the least gated one counts.
        if path not in types or (version or (0, 0)) < (types[path] or (0, 0)):
            types[path] = version


def declaration(symbol, usrs):
    """The USR of the symbol graph's declaration whose code `symbol` is (or is inside): the
    longest that its mangled name starts with, an accessor counting as its property and an
    allocating initializer as its initializer."""
    if not symbol.startswith("_$s"):
        return None
    mangled = "s:" + symbol[3:]
    for end in range(len(mangled), 2, -1):
        head = mangled[:end]
        # A property's USR ends in `vp` (a subscript's in `ip`), its accessors' in `vg`, `vs`...;
        # an initializer's in `fc`, which its allocating entry point's `fC` calls.
        for usr in (
            head,
            re.sub(r"([vi])[A-Za-z](Z?)$", r"\1p\2", head),
            re.sub(r"fC$", "fc", head),
        ):
            if usr in usrs:
                return usr
    return None


@dataclass
class Judge:
    """What gates each function: async trees and the symbol graph's availability."""

    trees: dict
    graph: Graph
    gates: dict = field(default_factory=dict)

    def gate(self, name):
        """The iOS version a function can only run from, (0, 0) when none."""
        if name not in self.gates:
            tree = self.trees.get(name)
            async_code = tree is not None and is_async(tree)
            self.gates[name] = MINIMUM if async_code else self.declared(name) or (0, 0)
        return self.gates[name]

    def gated(self, name):
        return self.gate(name) >= MINIMUM

    def declared(self, name):
        """The availability of the layer's declaration that a function is the code of: None for
        shared bodies and code the layer does not declare, (0, 0) where unconstrained."""
        if SHARED.match(name):
            return None
        if usr := declaration(name, self.graph.usrs):
            return self.graph.usrs[usr] or (0, 0)
        tree = self.trees.get(name)
        path = type_path(tree) if tree is not None else ()
        if path in self.graph.types:
            return self.graph.types[path] or (0, 0)
        return None


def faults(graph, targets, judge):
    """(function, weak symbols) for every function reaching a weakly linked library that can
    run before it exists: the layer's own functions, and any other code that no function of
    the binary calls directly."""
    reached = reaching(graph, targets, judge.gated)
    called = {callee for _, calls in graph.values() for callee in calls}
    return sorted(
        (name, symbols)
        for name, symbols in reached.items()
        if not judge.gated(name) and (judge.declared(name) or name not in called)
    )


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


def main(argv) -> int:
    if len(argv) != 2:
        print(__doc__.splitlines()[2], file=sys.stderr)
        return 2
    binary_path, graphs = argv
    try:
        binary = macho.read(binary_path)
        targets = weak_symbols(binary)
        graph = parse_functions(macho.objdump("-d", "--no-show-raw-insn", binary_path))
        # Only what can reach the library at all needs its tree.
        swift = sorted(name for name in reaching(graph, targets) if name.startswith("_$s"))
        tool = demangler()
        trees = parse_trees(run([tool, "-tree-only"], input_text="\n".join(swift)))
        layer = availability(pathlib.Path(graphs).glob("*.symbols.json"))
        judge = Judge(trees, layer)
        found = faults(graph, targets, judge)
        names = dict(zip(swift, run([tool, "--compact"], input_text="\n".join(swift)).split("\n")))
    except (macho.MachOError, ToolError) as error:
        print(f"weak reach check: {error}", file=sys.stderr)
        return 1
    if not layer.usrs:
        print(
            f"weak reach check: no Swift declaration in the symbol graphs of {graphs}",
            file=sys.stderr,
        )
        return 1
    for name, symbols in found:
        print(
            f"{names.get(name, name)}\n    ({name}) reaches {', '.join(sorted(symbols))}, but can"
            f" run before iOS {MINIMUM[0]}: make it async or @available(iOS {MINIMUM[0]}.0, *)",
            file=sys.stderr,
        )
    reached = reaching(graph, targets, judge.gated)
    if found:
        print(
            f"{binary_path}: {len(found)} functions reaching weakly linked libraries can run "
            f"before iOS {MINIMUM[0]}",
            file=sys.stderr,
        )
        return 1
    print(
        f"{binary_path}: {len(reached)} functions reach {len(set(targets.values()))} weakly linked "
        f"libraries ({len(targets)} symbols), each async, for iOS {MINIMUM[0]} and later, or "
        "called only from such"
    )
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
