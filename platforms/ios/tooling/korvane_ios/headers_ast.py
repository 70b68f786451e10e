"""The public headers' declarations, from clang's JSON AST (`-Xclang -ast-dump=json`).

clang writes a location's file and line only when they differ from the previous location it
wrote; `resolve_locations` fills them in, so that each declaration can be read on its own. The JSON
keeps no attribute arguments (the domain of NS_ERROR_ENUM, whether an enumeration is closed):
`attribute_text` reads them from the header at the range clang gives."""

import json
from pathlib import Path

from .tools import ToolError, run

# Public declarations are the ones whose names carry one of these.
NAME_FILTERS = ("Korvane", "AuthInterceptor")
TARGET = "arm64-apple-ios14.0"


class AstError(Exception):
    pass


def parse_dump(text):
    """The top-level declarations of one dump: with a name filter clang writes one JSON object
    per matching declaration, one after another."""
    decoder, at, decls = json.JSONDecoder(), 0, []
    try:
        while True:
            while at < len(text) and text[at].isspace():
                at += 1
            if at == len(text):
                break
            decl, at = decoder.raw_decode(text, at)
            if not isinstance(decl, dict) or "kind" not in decl:
                raise AstError(f"not a declaration: {str(decl)[:80]}")
            decls.append(decl)
    except json.JSONDecodeError as error:
        raise AstError(f"clang's JSON AST: {error}") from error
    resolve_locations(decls)
    return decls


def resolve_locations(node, state=None):
    """Gives every location dict (one with an "offset") its "file" and "line", in the order clang
    wrote them."""
    state = state if state is not None else {"file": "", "line": 0}
    if isinstance(node, list):
        for item in node:
            resolve_locations(item, state)
    elif isinstance(node, dict):
        if "offset" in node:
            state["file"] = node.setdefault("file", state["file"])
            state["line"] = node.setdefault("line", state["line"])
            return
        for key, value in node.items():
            if key != "includedFrom":
                resolve_locations(value, state)


def dump(framework, sdk, scratch):
    """Runs clang over `#import <KorvaneSDK/KorvaneSDK.h>` once per name filter."""
    source = Path(scratch, "api-listing.m")
    source.write_text("#import <KorvaneSDK/KorvaneSDK.h>\n")
    decls = []
    for name_filter in NAME_FILTERS:
        try:
            text = run(
                ["clang", f"--target={TARGET}", "-isysroot", sdk, "-iframework"]
                + [f"{sdk}/System/Library/SubFrameworks", "-fobjc-arc", "-F"]
                + [Path(framework).parent, "-fsyntax-only", "-fno-color-diagnostics"]
                + ["-Xclang", "-ast-dump=json", "-Xclang", f"-ast-dump-filter={name_filter}"]
                + [source]
            )
        except ToolError as error:
            raise AstError(f"clang could not read the public headers:\n{error}") from error
        decls += parse_dump(text)
    return decls


def children(node, *kinds):
    return [c for c in node.get("inner", []) if not kinds or c.get("kind") in kinds]


def has(node, kind):
    return bool(children(node, kind))


def attribute_text(attribute, headers):
    """The header text an attribute was written as (its macro, where it came from one).
    `headers` maps a header's file name to its text."""
    span = attribute.get("range", {})
    begin, end = (span.get(side, {}) for side in ("begin", "end"))
    begin, end = begin.get("expansionLoc", begin), end.get("expansionLoc", end)
    try:
        text = headers[Path(begin["file"]).name]
        start, stop = begin["offset"], end["offset"] + end.get("tokLen", 0)
    except KeyError as error:
        raise AstError(f"{attribute.get('kind')} without a source range in a header") from error
    # A macro's range is its name alone: take its arguments up to the closing parenthesis.
    if text[stop : stop + 1] == "(":
        depth = 0
        for stop in range(stop, len(text)):
            depth += {"(": 1, ")": -1}.get(text[stop], 0)
            if depth == 0:
                stop += 1
                break
    return text[start:stop]
