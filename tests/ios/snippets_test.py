#!/usr/bin/env python3
"""The documentation's snippet extractor takes exactly the blocks it is pointed at, and fails loudly.

usage: snippets_test.py

Runs scripts/ios-snippets.py on small Markdown pages: which blocks each kind of source takes, the
Markdown line the compiler is pointed at, and the errors for a heading, page or folder that has
nothing to compile. Needs no SDK.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "ios-snippets.py"

GUIDE = """\
# Guide

## Swift

```sh
# a shell comment, not a heading
```

```swift
import SwiftUI

let first = 1
```

## Objective-C

```objc
@import KorvaneSDK;

int second = 2;
```

```swift
let third = 3
```
"""

PLAIN = """\
# Plain

```text
let notSwift = 0
```
"""


def run(language, *sources, cwd):
    done = subprocess.run(
        [sys.executable, str(SCRIPT), language, *sources], cwd=cwd, capture_output=True, text=True
    )
    return done.returncode, done.stdout, done.stderr


def lines_of(output, marker):
    """(file, line) of every line directive in the output, in order."""
    if marker == "swift":
        pattern = r'#sourceLocation\(file: "([^"]+)", line: (\d+)\)'
    else:
        pattern = r'#line (\d+) "([^"]+)"'
    found = re.findall(pattern, output)
    return [(f, int(n)) for f, n in found] if marker == "swift" else [(f, int(n)) for n, f in found]


def main():
    failures = []
    with tempfile.TemporaryDirectory() as scratch:
        root = pathlib.Path(scratch)
        (root / "docs").mkdir()
        (root / "GUIDE.md").write_text(GUIDE)
        (root / "docs" / "guide.md").write_text(GUIDE)
        (root / "docs" / "plain.md").write_text(PLAIN)
        (root / "empty").mkdir()
        (root / "empty" / "plain.md").write_text(PLAIN)

        # source, language: the (file, line after the fence) of each snippet taken, in order.
        taken = [
            (["GUIDE.md#Swift"], "swift", [("GUIDE.md", 10)]),
            (["GUIDE.md#Objective-C"], "objc", [("GUIDE.md", 18)]),
            (["GUIDE.md#Objective-C"], "swift", [("GUIDE.md", 24)]),
            (["GUIDE.md"], "swift", [("GUIDE.md", 10), ("GUIDE.md", 24)]),
            (["docs"], "swift", [("docs/guide.md", 10), ("docs/guide.md", 24)]),
            (["GUIDE.md#Swift", "docs"], "objc", None),
            (["GUIDE.md#Objective-C", "empty"], "objc", [("GUIDE.md", 18)]),
        ]
        for sources, language, expected in taken:
            code, out, err = run(language, *sources, cwd=root)
            if expected is None:
                if code == 0:
                    failures.append(f"{language} {sources}: accepted a section without a block")
                continue
            got = lines_of(out, language)
            if code != 0 or got != expected:
                failures.append(f"{language} {sources}: took {got} ({err.strip()}), not {expected}")

        # Each snippet's imports go to the top of the file, once; its other lines stay in place.
        code, out, _ = run("swift", "GUIDE.md", cwd=root)
        if out.count("import SwiftUI") != 1 or out.index("import SwiftUI") > out.index("class"):
            failures.append("swift: the snippet's import is not on top of the file once")
        if "    let first = 1" not in out or "notSwift" in out:
            failures.append("swift: a statement is missing, or another language's block was taken")
        # The compiler counts lines from the directive: each statement must land on its own line.
        for language, statement, line in [
            ("swift", "let first = 1", 12),
            ("objc", "int second", 20),
        ]:
            _, out, _ = run(language, "GUIDE.md", cwd=root)
            generated = out.splitlines()
            at = next(i for i, text in enumerate(generated) if statement in text)
            directive = max(i for i in range(at) if lines_of(generated[i], language))
            counted = lines_of(generated[directive], language)[0][1] + at - directive - 1
            if counted != line:
                failures.append(
                    f"{language}: '{statement}' is counted as line {counted}, not {line}"
                )

        # Nothing to compile is an error, named after what is missing.
        refused = [
            (["GUIDE.md#Kotlin"], "swift", "has no 'Kotlin' heading"),
            (["docs/plain.md"], "swift", "has no swift snippet"),
            (["GUIDE.md#Swift"], "objc", "'Swift' section has no objc snippet"),
            (["empty"], "swift", "no swift snippet in empty"),
        ]
        for sources, language, message in refused:
            code, _, err = run(language, *sources, cwd=root)
            if code == 0 or message not in err:
                failures.append(f"{language} {sources}: exit {code}, {err.strip()!r}")

    for failure in failures:
        print(failure, file=sys.stderr)
    if failures:
        sys.exit(f"snippets test: {len(failures)} cases failed")
    print("snippets test: sections, pages and folders give their blocks; empty ones are refused")


if __name__ == "__main__":
    main()
