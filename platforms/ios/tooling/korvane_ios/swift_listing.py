"""Compares the framework's Swift interface with its checked-in listing, or writes the listing.

usage: python3 -m korvane_ios.swift_listing check|generate FRAMEWORK LISTING

The listing is the module interface the Swift layer's compiler wrote for the device slice
(Modules/KorvaneSDK.swiftmodule/arm64-apple-ios.swiftinterface), without the header lines that
name the compiler and its flags: every public Swift declaration the framework adds over its
Objective-C API, as apps' compilers read them. A difference fails `check` with a diff; regenerate
the listing when the change is meant.
"""

import difflib
import pathlib
import sys

INTERFACE = "Modules/KorvaneSDK.swiftmodule/arm64-apple-ios.swiftinterface"


def listing(framework: pathlib.Path) -> list[str]:
    lines = (framework / INTERFACE).read_text().splitlines()
    return [line for line in lines if not line.startswith("// swift-")]


def main() -> int:
    if len(sys.argv) != 4 or sys.argv[1] not in ("check", "generate"):
        print(__doc__.splitlines()[2], file=sys.stderr)
        return 2
    mode, framework, target = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
    if not (framework / INTERFACE).exists():
        print(f"{framework}: no Swift interface (built without the Swift layer?)", file=sys.stderr)
        return 1
    current = listing(framework)
    if mode == "generate":
        target.write_text("\n".join(current) + "\n")
        print(f"Swift API listing: wrote {len(current)} lines to {target}")
        return 0
    expected = target.read_text().splitlines()
    if current != expected:
        sys.stdout.writelines(
            line + "\n"
            for line in difflib.unified_diff(expected, current, str(target), "built", lineterm="")
        )
        print(
            f"Swift API listing: the framework differs from {target}; regenerate it with "
            f"`bash scripts/ios-listings.sh generate {framework}` if meant",
            file=sys.stderr,
        )
        return 1
    declarations = sum(
        1
        for line in current
        if line.lstrip().startswith(
            ("public ", "case ", "@frozen public", "nonisolated public", "@_Concurrency.MainActor")
        )
    )
    print(
        f"Swift API listing: {len(current)} lines, {declarations} declarations, "
        f"as in {target.name}"
    )
    return 0


if __name__ == "__main__":
    sys.exit(main())
