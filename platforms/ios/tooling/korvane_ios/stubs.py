"""Text stubs (.tbd) of an SDK, read as the JSON (tbd v5) that LLVM's llvm-readtapi writes for any
stub version: which symbols a library exports for arm64 and which libraries it re-exports."""

import json
import re
import tempfile
from dataclasses import dataclass, field
from pathlib import Path

from .tools import ToolError, find, run

# tbd v5 symbol kinds and the linker names they stand for.
OBJC_PREFIXES = {
    "objc_class": ("_OBJC_CLASS_$_", "_OBJC_METACLASS_$_"),
    "objc_eh_type": ("_OBJC_EHTYPE_$_",),
    "objc_ivar": ("_OBJC_IVAR_$_",),
}
PLAIN_KINDS = ("global", "weak", "thread_local")


class StubError(Exception):
    pass


@dataclass
class Library:
    install_name: str
    symbols: set = field(default_factory=set)
    reexports: list = field(default_factory=list)


def readtapi():
    tool = find("llvm-readtapi", "/usr/lib/llvm-19/bin/llvm-readtapi", "llvm-readtapi-19")
    if not tool:
        raise StubError("llvm-readtapi (LLVM 19) is needed to read text stubs: install llvm-19")
    return tool


def to_json(stub, arch="arm64"):
    """The stub's `arch` part as a tbd v5 document; StubError when it has none."""
    with tempfile.TemporaryDirectory() as scratch:
        converted = Path(scratch, "stub.tbd")
        try:
            run(
                [readtapi(), "-extract", f"--arch={arch}", "--filetype=tbd-v5", stub]
                + ["-o", converted]
            )
        except ToolError as error:
            raise StubError(str(error)) from error
        return json.loads(converted.read_text())


def _symbols(entries):
    names = set()
    for entry in entries or []:
        if not isinstance(entry, dict):
            raise StubError(f"a symbol list entry that is no object: {entry!r}")
        for section in ("data", "text"):
            for kind, listed in entry.get(section, {}).items():
                if kind in PLAIN_KINDS:
                    names.update(n for n in listed if not n.startswith("$ld$"))
                elif kind in OBJC_PREFIXES:
                    names.update(p + n for n in listed for p in OBJC_PREFIXES[kind])
                else:
                    raise StubError(f"unknown symbol kind {kind!r}")
    return names


def _library(node):
    try:
        install_name = node["install_names"][0]["name"]
    except (KeyError, IndexError, TypeError) as error:
        raise StubError("a library without an install name") from error
    library = Library(install_name)
    library.symbols = _symbols(node.get("exported_symbols")) | _symbols(
        node.get("reexported_symbols")
    )
    for entry in node.get("reexported_libraries", []):
        library.reexports.extend(entry["names"])
    return library


def parse(document):
    """The libraries of a tbd v5 document: its main library, then any it inlines."""
    if not isinstance(document, dict) or "main_library" not in document:
        raise StubError("not a tbd v5 document (no main_library)")
    if document.get("tapi_tbd_version") != 5:
        raise StubError(f"tbd version {document.get('tapi_tbd_version')!r}, not 5")
    return [_library(document["main_library"])] + [
        _library(node) for node in document.get("libraries", [])
    ]


def load_stub(stub):
    return to_json(stub) if stub.exists() else None


class Sdk:
    """The libraries of an SDK's text stubs, found by install name. `load` turns a stub path
    into a tbd v5 document, or None where there is no stub (llvm-readtapi by default; tests give
    recorded documents)."""

    def __init__(self, root, load=load_stub):
        self.root, self.load, self.libraries, self.read = Path(root), load, {}, set()

    def stub_path(self, install_name):
        return self.root / (re.sub(r"\.dylib$", "", install_name).lstrip("/") + ".tbd")

    def library(self, install_name):
        if install_name not in self.libraries:
            stub = self.stub_path(install_name)
            if stub not in self.read:
                self.read.add(stub)
                document = self.load(stub)
                for library in parse(document) if document is not None else []:
                    self.libraries.setdefault(library.install_name, library)
        return self.libraries.get(install_name)

    def exports(self, install_name, symbol, seen=None):
        seen = seen if seen is not None else set()
        library = self.library(install_name)
        if library is None or install_name in seen:
            return False
        seen.add(install_name)
        return symbol in library.symbols or any(
            self.exports(child, symbol, seen) for child in library.reexports
        )
