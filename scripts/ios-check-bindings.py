#!/usr/bin/env python3
"""Checks that an older iOS has every symbol a framework binds to, where it binds it.

usage: ios-check-bindings.py BINARY OLD_SDK

dyld refuses to load a binary when a library it names is missing or lacks a symbol bound to it
without weak import. The SDK a framework is built with describes the newest iOS, so it cannot tell
whether the oldest supported one has what the framework binds: OLD_SDK, an SDK of that iOS, can
(its text stubs are enough). Every library BINARY loads without weak import must exist in OLD_SDK,
and every symbol bound to a library without weak import must be exported by it or by a library it
re-exports. Prints a count; exits 1 with each fault otherwise.
"""

import pathlib
import re
import subprocess
import sys

KEY = re.compile(r"^(\s*)(?:-\s+)?([a-z][a-z-]*):\s*(.*)$")
EXPORT_KEYS = {"symbols", "weak-symbols", "weak-def-symbols", "thread-local-symbols"}
OBJC_KEYS = {
    "objc-classes": ("_OBJC_CLASS_$_", "_OBJC_METACLASS_$_"),
    "objc-eh-types": ("_OBJC_EHTYPE_$_",),
    "objc-ivars": ("_OBJC_IVAR_$_",),
}
REEXPORT_KEYS = {"re-exports", "libraries"}


class Library:
    """What one text stub document says a library exports for arm64."""

    def __init__(self) -> None:
        self.install_name = ""
        self.symbols: set[str] = set()
        self.reexports: list[str] = []


def items(value: str) -> list[str]:
    return [item.strip().strip("'\"") for item in value.strip("[] \n").split(",") if item.strip()]


def parse_document(text: str) -> Library:
    """One tapi v3 or v4 document: exports and re-exports of arm64 entries."""
    library, section, arm64 = Library(), "", False
    lines = text.splitlines()
    at = 0
    while at < len(lines):
        line = lines[at]
        at += 1
        match = KEY.match(line)
        if not match:
            continue
        indent, key, value = match.groups()
        if value.startswith("[") and "]" not in value:
            while at < len(lines) and "]" not in value:
                value += " " + lines[at].strip()
                at += 1
        if not indent and not line.lstrip().startswith("-"):
            section = key
            if key == "install-name":
                library.install_name = value.strip("'\"")
            continue
        if section not in ("exports", "reexports", "reexported-libraries"):
            continue
        if key in ("archs", "targets"):
            arm64 = any(t in ("arm64", "arm64-ios") for t in items(value))
        elif not arm64:
            continue
        elif key in EXPORT_KEYS:
            library.symbols.update(s for s in items(value) if not s.startswith("$ld$"))
        elif key in OBJC_KEYS:
            library.symbols.update(
                prefix + name for name in items(value) for prefix in OBJC_KEYS[key]
            )
        elif key in REEXPORT_KEYS:
            library.reexports.extend(items(value))
    return library


class Sdk:
    """The libraries of an SDK's text stubs, found by install name."""

    def __init__(self, root: pathlib.Path) -> None:
        self.root, self.libraries, self.read = root, {}, set()

    def stub_path(self, install_name: str) -> pathlib.Path:
        path = re.sub(r"\.dylib$", "", install_name).lstrip("/")
        return self.root / (path + ".tbd")

    def library(self, install_name: str) -> Library | None:
        if install_name not in self.libraries:
            stub = self.stub_path(install_name)
            if stub.exists() and stub not in self.read:
                self.read.add(stub)
                for document in re.split(r"^--- !tapi.*$", stub.read_text(), flags=re.M)[1:]:
                    parsed = parse_document(document)
                    self.libraries.setdefault(parsed.install_name, parsed)
        return self.libraries.get(install_name)

    def exports(self, install_name: str, symbol: str, seen: set[str] | None = None) -> bool:
        seen = seen if seen is not None else set()
        library = self.library(install_name)
        if library is None or install_name in seen:
            return False
        seen.add(install_name)
        return symbol in library.symbols or any(
            self.exports(child, symbol, seen) for child in library.reexports
        )


def objdump(*args: str) -> str:
    return subprocess.run(
        ["llvm-objdump", "--macho", *args], check=True, capture_output=True, text=True
    ).stdout


def short_name(install_name: str) -> str:
    """The library name llvm-objdump prints in bind tables."""
    name = install_name.rsplit("/", 1)[-1]
    name = re.sub(r"\.dylib$", "", name)
    return re.sub(r"\.[A-Z0-9]$", "", name)


def main() -> int:
    if len(sys.argv) != 3:
        print(__doc__.splitlines()[2], file=sys.stderr)
        return 2
    binary, sdk = sys.argv[1], Sdk(pathlib.Path(sys.argv[2]))
    faults, libraries = [], {}
    headers = objdump("--private-headers", binary)
    for kind, name in re.findall(
        r"cmd (LC_LOAD_DYLIB|LC_LOAD_WEAK_DYLIB)\n.*\n\s+name (\S+)", headers
    ):
        libraries[short_name(name)] = name
        if kind == "LC_LOAD_DYLIB" and not name.startswith("@") and sdk.library(name) is None:
            faults.append(f"{name}: not in {sdk.root.name}, and loaded without weak linking")
    checked = 0
    binds = objdump("--bind", "--lazy-bind", binary)
    for line in binds.splitlines():
        fields = line.split()
        if len(fields) < 6 or not fields[2].startswith("0x") or "(weak_import)" in line:
            continue
        library, symbol = fields[-2], fields[-1]
        install_name = libraries.get(library)
        if install_name is None or install_name.startswith("@"):
            continue
        checked += 1
        if sdk.library(install_name) is not None and not sdk.exports(install_name, symbol):
            faults.append(f"{symbol}: bound to {install_name}, which lacks it on {sdk.root.name}")
    for fault in sorted(set(faults)):
        print(fault, file=sys.stderr)
    if faults:
        return 1
    print(f"{binary}: {checked} bindings, every one exported by {sdk.root.name}'s libraries")
    return 0


if __name__ == "__main__":
    sys.exit(main())
