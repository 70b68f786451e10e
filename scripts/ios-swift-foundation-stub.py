#!/usr/bin/env python3
"""Writes the link stub that binds the Swift layer's Foundation symbols to libswiftFoundation.

usage: ios-swift-foundation-stub.py SDK OUT_DIR

iOS moved Foundation's Swift overlay into Foundation.framework; /usr/lib/swift/libswiftFoundation
now only re-exports it. An SDK's stubs say so, and a linker that reads them binds the overlay's
symbols to Foundation.framework, where iOS 14 to 16 do not have them: the framework would fail to
load there. Apple's own stubs carry per-symbol notes that send older deployment targets to
libswiftFoundation; the stubs this build reads may not. OUT_DIR/libswiftFoundation.tbd is the
SDK's libswiftFoundation stub that also lists every Swift symbol of Foundation's stub: linked
ahead of Foundation, it makes the overlay's symbols bind to libswiftFoundation.dylib, which has
them on iOS 14 and re-exports Foundation.framework, which has them, on later systems.
"""

import json
import pathlib
import re
import sys

SWIFT_SYMBOL = re.compile(r"'?(_\$s[^\s,'\]]+)'?")


def json_strings(node) -> list[str]:
    if isinstance(node, str):
        return [node]
    if isinstance(node, dict):
        return [s for value in node.values() for s in json_strings(value)]
    if isinstance(node, list):
        return [s for value in node for s in json_strings(value)]
    return []


def swift_symbols(stub: str) -> list[str]:
    """The Swift symbols a text stub (tapi v3 text or v5 JSON) exports, in a stable order."""
    if stub.lstrip().startswith("{"):
        exported = json_strings(json.loads(stub)["main_library"].get("exported_symbols", []))
        return sorted({s for s in exported if s.startswith("_$s")})
    exports = stub.split("\nundefineds:", 1)[0]
    return sorted(set(SWIFT_SYMBOL.findall(exports)))


def merged_stub(overlay: str, symbols: list[str]) -> str:
    """`overlay` with `symbols` added to its exports."""
    if overlay.lstrip().startswith("{"):
        document = json.loads(overlay)
        exports = document["main_library"].setdefault("exported_symbols", [])
        exports.append({"text": {"global": symbols}})
        return json.dumps(document, indent=1) + "\n"
    found = re.search(r"^    symbols: +\[", overlay, re.M)
    if not found or "tapi-tbd-v3" not in overlay.split("\n", 1)[0]:
        raise ValueError(
            "libswiftFoundation.tbd: neither a tapi v3 stub with an export list nor JSON"
        )
    listed = "".join(f"'{symbol}',\n                            " for symbol in symbols)
    return overlay[: found.end()] + " " + listed + overlay[found.end() :].lstrip(" ")


def main() -> int:
    if len(sys.argv) != 3:
        print(__doc__.splitlines()[2], file=sys.stderr)
        return 2
    sdk, out = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    overlay = (sdk / "usr/lib/swift/libswiftFoundation.tbd").read_text()
    foundation = (sdk / "System/Library/Frameworks/Foundation.framework/Foundation.tbd").read_text()
    out.mkdir(parents=True, exist_ok=True)
    target = out / "libswiftFoundation.tbd"
    if "$ld$previous$/usr/lib/swift/libswiftFoundation.dylib" in foundation:
        # Apple's own stubs: the linker already binds older targets to libswiftFoundation.
        target.unlink(missing_ok=True)
        print("libswiftFoundation.tbd: the SDK's stubs bind the overlay there for older targets")
        return 0
    symbols = [s for s in swift_symbols(foundation) if s not in overlay]
    text = merged_stub(overlay, symbols)
    if not target.exists() or target.read_text() != text:
        target.write_text(text)
    print(f"{target}: {len(symbols)} Swift symbols of Foundation bound to libswiftFoundation")
    return 0


if __name__ == "__main__":
    sys.exit(main())
