#!/usr/bin/env python3
"""The bindings check catches what would stop the framework loading on the oldest iOS.

usage: bindings_check_test.py BINARY OLD_SDK

BINARY must pass against OLD_SDK (its weakly linked libraries included, which OLD_SDK lacks); then
each case gives the check a copy of OLD_SDK with one thing taken away that BINARY binds to without
weak import, and expects a failure naming it. The copies are trees of symbolic links to OLD_SDK
with the damaged stub rewritten.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"
FOUNDATION_OVERLAY = "usr/lib/swift/libswiftFoundation.tbd"
UIKIT = "System/Library/Frameworks/UIKit.framework/UIKit.tbd"


def check(binary, sdk):
    done = subprocess.run(
        [sys.executable, str(SCRIPTS / "ios-check-bindings.py"), binary, str(sdk)],
        capture_output=True,
        text=True,
    )
    return done.returncode, done.stdout + done.stderr


def linked_copy(sdk, scratch, relative, change):
    """A tree of links to `sdk` in which the file at `relative` is a real copy rewritten by
    `change`, or absent when `change` is None; nothing is written into `sdk`."""
    root = pathlib.Path(scratch, sdk.name)
    parts = pathlib.Path(relative).parts
    for depth in range(len(parts)):
        here = root.joinpath(*parts[:depth])
        here.mkdir(parents=True)
        source = sdk.joinpath(*parts[:depth])
        for entry in os.listdir(source):
            if entry != parts[depth]:
                (here / entry).symlink_to(source / entry)
    if change is not None:
        (root / relative).write_text(change((sdk / relative).read_text()))
    return root


def without_symbol(symbol):
    return lambda text: re.sub(rf"'?{re.escape(symbol)}'?,?\s*", "", text)


def bound_symbol(binary, library):
    """A symbol `binary` binds to `library` (llvm-objdump's short name) without weak import."""
    binds = subprocess.run(
        ["llvm-objdump", "--macho", "--bind", "--lazy-bind", binary],
        check=True,
        capture_output=True,
        text=True,
    ).stdout
    for line in binds.splitlines():
        fields = line.split()
        if len(fields) >= 6 and fields[-2] == library and "(weak_import)" not in line:
            return fields[-1]
    sys.exit(f"{binary} binds nothing to {library}: the test cannot damage it")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    binary, sdk = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
    code, output = check(binary, sdk)
    if code != 0:
        sys.exit(f"the framework fails against {sdk.name}:\n{output}")
    overlay_symbol = bound_symbol(binary, "libswiftFoundation")
    uikit_symbol = bound_symbol(binary, "UIKit")
    # (what is taken away, the stub changed, how, the words the failure must name)
    cases = [
        (
            "a Foundation overlay symbol",
            FOUNDATION_OVERLAY,
            without_symbol(overlay_symbol),
            overlay_symbol,
        ),
        ("a UIKit symbol", UIKIT, without_symbol(uikit_symbol), uikit_symbol),
        (
            "the Foundation overlay itself",
            FOUNDATION_OVERLAY,
            None,
            "libswiftFoundation.dylib: not in",
        ),
    ]
    wrong = []
    for name, relative, change, words in cases:
        with tempfile.TemporaryDirectory() as scratch:
            code, output = check(binary, linked_copy(sdk, scratch, relative, change))
            if code == 0 or words not in output:
                wrong.append(
                    f"{name} taken away: exit {code}, expected a failure naming {words!r}:\n"
                    f"{output}"
                )
    if wrong:
        sys.exit("\n".join(wrong))
    print(
        f"bindings check test: the framework passes; {len(cases)} damaged SDKs fail as they should"
    )


if __name__ == "__main__":
    main()
