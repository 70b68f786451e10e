#!/usr/bin/env python3
"""Every public declaration of the iOS headers carries a doc comment.

Usage: ios-doc-check.py HEADER_DIR

A declaration is a class, protocol, property, method, C function or constant, typedef or enum
case. Its doc comment is a `///` (or `//!`) block right above it (lines of attribute macros only,
such as `KORVANE_EXPORT NS_SWIFT_SENDABLE` or NS_SWIFT_NAME(...), may stand between), or a `///<`
comment after it on the same line. Declarations marked NS_UNAVAILABLE cannot be called and need
none. Prints each undocumented declaration as FILE:LINE and exits 1 when there is any.
"""
import pathlib
import re
import sys

DECLARATION = re.compile(
    r"^\s*(@interface|@protocol\s+\w+\s*<|[-+]\s*\(|@property|typedef\b|KORVANE_EXTERN\b"
    r"|Korvane\w+\s*=\s*-?\d+\s*,)"
)
# Lines that decorate the declaration below them rather than being one.
ATTRIBUTE = re.compile(
    r"^\s*((KORVANE_EXPORT|NS_SWIFT_NAME\([^)]*\)|NS_\w+(\([^)]*\))?|__attribute__.*)\s*)+$"
)
DOC = re.compile(r"^\s*(///|//!)")


def undocumented(path):
    lines = path.read_text().splitlines()
    missing = []
    depth = 0  # inside a block comment or a multi-line declaration's continuation
    for number, line in enumerate(lines):
        if not DECLARATION.match(line) or "NS_UNAVAILABLE" in line:
            continue
        if line.lstrip().startswith("@protocol") and line.rstrip().endswith(";"):
            continue  # forward declaration
        if "///<" in line:
            continue
        above = number - 1
        while above >= 0 and ATTRIBUTE.match(lines[above]):
            above -= 1
        if above >= 0 and DOC.match(lines[above]):
            continue
        missing.append(f"{path.name}:{number + 1}: {line.strip()}")
    return missing


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    headers = sorted(pathlib.Path(sys.argv[1]).glob("*.h"))
    if not headers:
        sys.exit(f"no headers in {sys.argv[1]}")
    missing = [entry for header in headers for entry in undocumented(header)]
    for entry in missing:
        print(entry, file=sys.stderr)
    if missing:
        print(f"public headers: {len(missing)} declarations without a doc comment", file=sys.stderr)
        return 1
    print(f"public headers: every declaration of {len(headers)} headers has a doc comment")
    return 0


if __name__ == "__main__":
    sys.exit(main())
