"""The names Swift gives the Objective-C API, as the Swift tools report them: the symbol graph
that swift-symbolgraph-extract writes for the framework's module, keyed by each declaration's
Clang USR (c:objc(cs)Class(im)selector:, c:@E@Enum@Case, ...)."""

import json
import re
import tempfile
from dataclasses import dataclass
from pathlib import Path

from .tools import ToolError, run


class SwiftNamesError(Exception):
    pass


@dataclass(frozen=True)
class SwiftSymbol:
    path: tuple  # the name and those of the types around it
    kind: str  # swift.class, swift.method, swift.enum.case, ...
    is_async: bool

    @property
    def dotted(self):
        return ".".join(self.path)


def normal_usr(usr):
    # A typedef's USR names the header it is in: c:KorvaneEventType.h@T@KorvaneEventType.
    return re.sub(r"^c:[\w.+-]+\.h@T@", "c:@T@", usr)


def parse(graph):
    """USR -> SwiftSymbol for the Clang declarations of a symbol graph. Where Swift shows one
    method in two forms (a completion handler's and async), the completion handler's wins."""
    try:
        symbols = graph["symbols"]
    except (KeyError, TypeError) as error:
        raise SwiftNamesError("not a symbol graph (no symbols)") from error
    found = {}
    for symbol in symbols:
        try:
            usr = normal_usr(symbol["identifier"]["precise"])
            entry = SwiftSymbol(
                tuple(symbol["pathComponents"]),
                symbol["kind"]["identifier"],
                any(
                    f.get("kind") == "keyword" and f.get("spelling") == "async"
                    for f in symbol.get("declarationFragments", [])
                ),
            )
        except (KeyError, TypeError) as error:
            raise SwiftNamesError(f"a symbol without identifier, path or kind: {error}") from error
        if not usr.startswith("c:") or entry.kind == "swift.typealias":
            continue
        if usr not in found or (found[usr].is_async and not entry.is_async):
            found[usr] = entry
    return found


def extract(framework_dir, sdk, swiftc, swift_flags, module_cache, target):
    """Runs swift-symbolgraph-extract beside `swiftc` over the framework's module."""
    tool = Path(swiftc).parent / "swift-symbolgraph-extract"
    with tempfile.TemporaryDirectory() as scratch:
        try:
            run(
                [tool, "-module-name", "KorvaneSDK", "-target", target, "-sdk", sdk]
                + ["-F", framework_dir, "-module-cache-path", module_cache, *swift_flags]
                + ["-minimum-access-level", "private", "-output-dir", scratch]
            )
            return parse(json.loads(Path(scratch, "KorvaneSDK.symbols.json").read_text()))
        except (ToolError, OSError, ValueError) as error:
            raise SwiftNamesError(f"swift-symbolgraph-extract: {error}") from error
