#!/usr/bin/env python3
"""Writes the link stub that lets the Swift layer's SwiftUI symbols bind through SwiftUI.

usage: ios-swiftui-core-stub.py OBJECT TARGET OUT_DIR

SwiftUI.framework re-exports SwiftUICore.framework on iOS 18 and later, and an SDK's SwiftUI
stub says so; a linker that cannot find SwiftUICore's stub refuses to link, and the SDK this build
reads has none. OUT_DIR/SwiftUICore.framework/SwiftUICore.tbd stands in for it: it lists the
SwiftUI symbols OBJECT uses, for TARGET (arm64-ios or arm64-ios-simulator). Found only as the
library SwiftUI re-exports (pass -F OUT_DIR, never -framework SwiftUICore), and with an install
name outside the public framework folder, so that the linker treats it as SwiftUI's private part
rather than a library to load on its own, it makes the linker bind those symbols through SwiftUI:
SwiftUI.framework has them itself before iOS 18, and re-exports SwiftUICore, which has them, from
iOS 18. The binary never names SwiftUICore, which older systems lack; the bindings check proves
that an iOS 14.5 SDK's SwiftUI exports every one.
"""

import pathlib
import subprocess
import sys


def swiftui_symbols(object_file: str) -> list[str]:
    listed = subprocess.run(
        ["llvm-nm", "-u", "-j", object_file], check=True, capture_output=True, text=True
    ).stdout
    return sorted({s for s in listed.split() if s.startswith("_$s") and "7SwiftUI" in s})


def stub(target: str, symbols: list[str]) -> str:
    listed = ",\n                       ".join(f"'{symbol}'" for symbol in symbols)
    return (
        f"--- !tapi-tbd\ntbd-version:     4\ntargets:         [ {target} ]\n"
        "install-name:    '/System/Library/PrivateFrameworks/SwiftUICore.framework/SwiftUICore'\n"
        "current-version: 1\nexports:\n"
        f"  - targets:         [ {target} ]\n    symbols:         [ {listed} ]\n...\n"
    )


def main() -> int:
    if len(sys.argv) != 4 or sys.argv[2] not in ("arm64-ios", "arm64-ios-simulator"):
        print(__doc__.splitlines()[2], file=sys.stderr)
        return 2
    symbols = swiftui_symbols(sys.argv[1])
    out = pathlib.Path(sys.argv[3]) / "SwiftUICore.framework"
    out.mkdir(parents=True, exist_ok=True)
    (out / "SwiftUICore.tbd").write_text(stub(sys.argv[2], symbols))
    print(f"{out / 'SwiftUICore.tbd'}: {len(symbols)} SwiftUI symbols")
    return 0


if __name__ == "__main__":
    sys.exit(main())
