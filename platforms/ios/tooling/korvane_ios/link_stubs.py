"""Writes the link stubs the Swift layer links with, into OUT_DIR.

usage: python3 -m korvane_ios.link_stubs foundation SDK OUT_DIR
       python3 -m korvane_ios.link_stubs swiftui-core OBJECT TARGET OUT_DIR

foundation: iOS moved Foundation's Swift overlay into Foundation.framework;
/usr/lib/swift/libswiftFoundation now only re-exports it. An SDK's stubs say so, and a linker that
reads them binds the overlay's symbols to Foundation.framework, where iOS 14 to 16 do not have
them: the framework would fail to load there. Apple's own stubs carry per-symbol notes that send
older deployment targets to libswiftFoundation; the stubs this build reads may not.
OUT_DIR/libswiftFoundation.tbd is the SDK's libswiftFoundation stub that also lists every Swift
symbol of Foundation's stub: linked ahead of Foundation, it makes the overlay's symbols bind to
libswiftFoundation.dylib, which has them on iOS 14 and re-exports Foundation.framework, which has
them, on later systems.

swiftui-core: SwiftUI.framework re-exports SwiftUICore.framework on iOS 18 and later, and an SDK's
SwiftUI stub says so; a linker that cannot find SwiftUICore's stub refuses to link, and the SDK
this build reads has none. OUT_DIR/SwiftUICore.framework/SwiftUICore.tbd stands in for it: it
lists the SwiftUI symbols OBJECT uses, for TARGET (arm64-ios or arm64-ios-simulator). Found only as
the library SwiftUI re-exports (pass -F OUT_DIR, never -framework SwiftUICore), and with an
install name outside the public framework folder, so that the linker treats it as SwiftUI's
private part rather than a library to load on its own, it makes the linker bind those symbols
through SwiftUI: SwiftUI.framework has them itself before iOS 18, and re-exports SwiftUICore,
which has them, from iOS 18. The binary never names SwiftUICore, which older systems lack; the
bindings check proves that an iOS 14.5 SDK's SwiftUI exports every one.
"""

import json
import sys
from pathlib import Path

from . import stubs
from .tools import ToolError, run

OVERLAY = "usr/lib/swift/libswiftFoundation.tbd"
FOUNDATION = "System/Library/Frameworks/Foundation.framework/Foundation.tbd"
# Apple's own stubs name libswiftFoundation for older targets with notes like this one.
PREVIOUS = "$ld$previous$/usr/lib/swift/libswiftFoundation.dylib"


def merged_overlay(overlay, foundation):
    """The overlay's tbd v5 document with the Swift symbols of Foundation's it lacks added, and
    how many those are."""
    (library, *_), (own, *_) = stubs.parse(foundation), stubs.parse(overlay)
    symbols = sorted(s for s in library.symbols - own.symbols if s.startswith("_$s"))
    document = json.loads(json.dumps(overlay))
    document["main_library"].setdefault("exported_symbols", []).append(
        {"text": {"global": symbols}}
    )
    return document, len(symbols)


def foundation(sdk, out):
    sdk, out = Path(sdk), Path(out)
    target = out / "libswiftFoundation.tbd"
    out.mkdir(parents=True, exist_ok=True)
    if PREVIOUS in (sdk / FOUNDATION).read_text():
        # Apple's own stubs: the linker already binds older targets to libswiftFoundation.
        target.unlink(missing_ok=True)
        print("libswiftFoundation.tbd: the SDK's stubs bind the overlay there for older targets")
        return
    document, count = merged_overlay(stubs.to_json(sdk / OVERLAY), stubs.to_json(sdk / FOUNDATION))
    text = json.dumps(document, indent=1) + "\n"
    if not target.exists() or target.read_text() != text:
        target.write_text(text)
    print(f"{target}: {count} Swift symbols of Foundation bound to libswiftFoundation")


def swiftui_stub(target, symbols):
    listed = ",\n                       ".join(f"'{symbol}'" for symbol in symbols)
    return (
        f"--- !tapi-tbd\ntbd-version:     4\ntargets:         [ {target} ]\n"
        "install-name:    '/System/Library/PrivateFrameworks/SwiftUICore.framework/SwiftUICore'\n"
        "current-version: 1\nexports:\n"
        f"  - targets:         [ {target} ]\n    symbols:         [ {listed} ]\n...\n"
    )


def swiftui_core(object_file, target, out):
    listed = run(["llvm-nm", "-u", "-j", object_file])
    symbols = sorted({s for s in listed.split() if s.startswith("_$s") and "7SwiftUI" in s})
    out = Path(out) / "SwiftUICore.framework"
    out.mkdir(parents=True, exist_ok=True)
    (out / "SwiftUICore.tbd").write_text(swiftui_stub(target, symbols))
    print(f"{out / 'SwiftUICore.tbd'}: {len(symbols)} SwiftUI symbols")


def main(argv):
    try:
        if len(argv) == 3 and argv[0] == "foundation":
            foundation(argv[1], argv[2])
        elif (
            len(argv) == 4
            and argv[0] == "swiftui-core"
            and argv[2] in ("arm64-ios", "arm64-ios-simulator")
        ):
            swiftui_core(argv[1], argv[2], argv[3])
        else:
            print(__doc__.splitlines()[2], file=sys.stderr)
            return 2
    except (stubs.StubError, ToolError, OSError) as error:
        print(f"link stubs: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
