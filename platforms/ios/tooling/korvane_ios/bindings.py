"""Checks that an older iOS has every symbol a framework binds to, where it binds it.

usage: python3 -m korvane_ios.bindings BINARY OLD_SDK

dyld refuses to load a binary when a library it names is missing or lacks a symbol bound to it
without weak import. The SDK a framework is built with describes the newest iOS, so it cannot tell
whether the oldest supported one has what the framework binds: OLD_SDK, an SDK of that iOS, can
(its text stubs are enough). Every library BINARY loads without weak import must exist in OLD_SDK,
and every symbol bound to a library without weak import must be exported by it or by a library it
re-exports. Prints a count; exits 1 with each fault otherwise.
"""

import sys

from . import macho, stubs


def faults(loads, binds, sdk):
    """(faults, bindings checked) of a binary's loads and binds against `sdk` (a stubs.Sdk)."""
    found, libraries, checked = [], {}, 0
    for load in loads:
        if load.kind not in ("LC_LOAD_DYLIB", "LC_LOAD_WEAK_DYLIB"):
            continue
        libraries[macho.short_name(load.name)] = load.name
        if not load.weak and not load.name.startswith("@") and sdk.library(load.name) is None:
            found.append(f"{load.name}: not in {sdk.root.name}, and loaded without weak linking")
    for bind in binds:
        install_name = libraries.get(bind.library)
        if bind.weak_import or install_name is None or install_name.startswith("@"):
            continue
        checked += 1
        if sdk.library(install_name) is not None and not sdk.exports(install_name, bind.symbol):
            found.append(
                f"{bind.symbol}: bound to {install_name}, which lacks it on {sdk.root.name}"
            )
    return sorted(set(found)), checked


def main(argv):
    if len(argv) != 2:
        print(__doc__.splitlines()[2], file=sys.stderr)
        return 2
    binary_path, sdk = argv[0], stubs.Sdk(argv[1])
    try:
        binary = macho.read(binary_path)
        found, checked = faults(binary.loads, binary.binds(), sdk)
    except (macho.MachOError, stubs.StubError) as error:
        print(f"bindings check: {error}", file=sys.stderr)
        return 1
    for fault in found:
        print(fault, file=sys.stderr)
    if found:
        return 1
    print(f"{binary_path}: {checked} bindings, every one exported by {sdk.root.name}'s libraries")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
