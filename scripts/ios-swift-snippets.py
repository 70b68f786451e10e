#!/usr/bin/env python3
"""Turns the Swift snippets of one README section into a Swift file that compiles them.

Usage: ios-swift-snippets.py README SECTION > Snippets.swift

Each ```swift block of the section (from its "### SECTION" heading to the next heading) becomes
an async throwing method of a view controller that is every listener and callback a snippet may
pass as `self`, with `application` in scope; the blocks' imports go to the top of the file. A
section without a Swift block is an error, so a renamed heading cannot silence the check.
"""
import re
import sys

HOST = """\
@available(iOS 15.0, *)
final class ReadmeSnippetHost: UIViewController, KorvaneSdkLoginListener, OfferwallCallback {
  func onSuccess() {}
  func onFailure(_ error: KorvaneLoginError) {}
  func onOpened() {}
  func onClosed() {}
  func onError(_ message: String) {}
  func onRewardEarned(_ amount: Int) {}
"""


def snippets(readme, section):
    """(line number, lines) of every swift block in the section."""
    lines = readme.splitlines()
    heading = re.compile(r"^#{1,6} ")
    try:
        start = lines.index(f"### {section}")
    except ValueError:
        sys.exit(f"README has no '### {section}' section")
    blocks, block, first = [], None, 0
    for number in range(start + 1, len(lines)):
        line = lines[number]
        if block is None and heading.match(line):
            break
        if block is None and line.strip() == "```swift":
            block, first = [], number + 2
        elif block is not None and line.strip() == "```":
            blocks.append((first, block))
            block = None
        elif block is not None:
            block.append(line)
    if not blocks:
        sys.exit(f"README's '### {section}' section has no Swift snippet")
    return blocks


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as readme:
        blocks = snippets(readme.read(), sys.argv[2])
    imports = {"import UIKit", "import KorvaneSDK"}
    bodies = []
    for index, (first, block) in enumerate(blocks, 1):
        body = [line for line in block if not line.startswith("import ")]
        imports.update(line.strip() for line in block if line.startswith("import "))
        method = [
            f"  // snippet {index}: README line {first}",
            f"  func snippet{index}(application: UIApplication) async throws {{",
        ]
        method += [f"    {line}" if line else "" for line in body]
        method.append("  }")
        bodies.append("\n".join(method))
    print(f"// Generated from {sys.argv[1]} by ios-swift-snippets.py: do not edit.")
    print("\n".join(sorted(imports)))
    print()
    print(HOST + "\n" + "\n\n".join(bodies) + "\n}")


if __name__ == "__main__":
    main()
