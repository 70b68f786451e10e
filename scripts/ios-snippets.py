#!/usr/bin/env python3
"""Turns the Swift or Objective-C snippets the documentation shows into one file that compiles them.

Usage: ios-snippets.py swift|objc SOURCE... > Snippets.swift|Snippets.m

A SOURCE is a Markdown file (every block of the language in it; a file without one is an error),
FILE#HEADING (the blocks from that heading to the next heading; a missing heading, or one without
a block, is an error, so a renamed heading cannot silence the check) or a directory (every .md file
under it, a file without blocks included). No block at all is an error.

Each block becomes a method of a view controller that is every listener and callback a snippet may
pass as `self`, with `application` in scope (Swift: an async throwing method); the blocks' imports
go to the top of the file. Line directives point the compiler's messages at the Markdown line.
"""
import os
import re
import sys
from pathlib import Path

FENCES = {"swift": {"swift"}, "objc": {"objc", "objective-c"}}

SWIFT_HOST = """\
@available(iOS 15.0, *)
final class DocSnippetHost: UIViewController, KorvaneSdkLoginListener, OfferwallCallback {
  func onSuccess() {}
  func onFailure(_ error: KorvaneLoginError) {}
  func onOpened() {}
  func onClosed() {}
  func onError(_ message: String) {}
  func onRewardEarned(_ amount: Int) {}
"""

OBJC_HOST = """\
@interface DocSnippetHost : UIViewController <KorvaneSdkLoginListener, KorvaneOfferwallCallback>
@end

@implementation DocSnippetHost
- (void)onSuccess {
}
- (void)onFailure:(KorvaneLoginError)error {
}
- (void)onOpened {
}
- (void)onClosed {
}
- (void)onError:(NSString *)message {
}
- (void)onRewardEarned:(NSInteger)amount {
}
"""

HEADING = re.compile(r"^(#{1,6}) (.*?)\s*$")


def blocks_in(lines, language, start=0, stop_at_heading=False):
    """(first line number, lines) of every fenced block of the language from index start on."""
    blocks, block, fence_language, first = [], None, "", 0
    for number in range(start, len(lines)):
        line = lines[number]
        fence = line.strip()
        if block is None:
            if stop_at_heading and HEADING.match(line):
                break
            if fence.startswith("```"):
                block, fence_language, first = [], fence[3:].strip(), number + 2
        elif fence == "```":
            if fence_language in FENCES[language]:
                blocks.append((first, block))
            block = None
        else:
            block.append(line)
    return blocks


def section_blocks(path, heading, language):
    lines = path.read_text(encoding="utf-8").splitlines()
    starts = [i for i, line in enumerate(lines) if (m := HEADING.match(line)) and m[2] == heading]
    if not starts:
        sys.exit(f"{path} has no '{heading}' heading")
    blocks = blocks_in(lines, language, starts[0] + 1, stop_at_heading=True)
    if not blocks:
        sys.exit(f"{path}'s '{heading}' section has no {language} snippet")
    return blocks


def source_blocks(source, language):
    """(path, first line, lines) of every block a SOURCE names."""
    path, _, heading = source.partition("#")
    path = Path(path)
    if heading:
        return [(path, first, block) for first, block in section_blocks(path, heading, language)]
    if path.is_dir():
        found = []
        for page in sorted(path.rglob("*.md")):
            lines = page.read_text(encoding="utf-8").splitlines()
            found += [(page, first, block) for first, block in blocks_in(lines, language)]
        return found
    lines = path.read_text(encoding="utf-8").splitlines()
    blocks = blocks_in(lines, language)
    if not blocks:
        sys.exit(f"{path} has no {language} snippet")
    return [(path, first, block) for first, block in blocks]


def is_import(line, language):
    stripped = line.strip()
    if language == "swift":
        return stripped.startswith("import ")
    return stripped.startswith("@import ") or stripped.startswith("#import ")


def render(snippets, language):
    if language == "swift":
        imports = {"import UIKit", "import KorvaneSDK"}
    else:
        imports = {"@import UIKit;", "@import KorvaneSDK;"}
    methods = []
    for index, (path, first, block) in enumerate(snippets, 1):
        imports.update(line.strip() for line in block if is_import(line, language))
        # An import leaves an empty line, so the body keeps the Markdown's line numbers.
        body = ["" if is_import(line, language) or not line else f"    {line}" for line in block]
        location = os.path.relpath(path)
        if language == "swift":
            method = [
                f"  // snippet {index}: {location} line {first}",
                f"  func snippet{index}(application: UIApplication) async throws {{",
                f'#sourceLocation(file: "{location}", line: {first})',
                *body,
                "#sourceLocation()",
                "  }",
            ]
        else:
            method = [
                f"// snippet {index}: {location} line {first}",
                f"- (void)snippet{index}WithApplication:(UIApplication *)application {{",
                f'#line {first} "{location}"',
                *body,
                "}",
            ]
        methods.append("\n".join(method))
    generated = "// Generated from the documentation by ios-snippets.py: do not edit."
    host, end = (SWIFT_HOST, "}") if language == "swift" else (OBJC_HOST, "@end")
    return "\n".join([generated, *sorted(imports), "", host, "\n\n".join(methods), end, ""])


def main():
    if len(sys.argv) < 3 or sys.argv[1] not in FENCES:
        sys.exit(__doc__)
    language = sys.argv[1]
    snippets = [found for source in sys.argv[2:] for found in source_blocks(source, language)]
    if not snippets:
        sys.exit(f"no {language} snippet in {' '.join(sys.argv[2:])}")
    sys.stdout.write(render(snippets, language))


if __name__ == "__main__":
    main()
