"""Runs the Clang static analyzer over the iOS layer's Objective-C++ files with the flags the
build compiles them with (from compile_commands.json). Any finding fails the run.

usage: python3 -m korvane_ios.analyze BUILD_DIR SOURCE_PREFIX"""
import json
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

DROP_WITH_VALUE = {"-o", "-MT", "-MF", "-MQ"}
DROP = {"-c", "-MD", "-MMD", "-Werror"}


def analyzer_command(entry):
    args = entry.get("arguments") or shlex.split(entry["command"])
    kept, skip = [], False
    for arg in args:
        if skip:
            skip = False
            continue
        if arg in DROP_WITH_VALUE:
            skip = True
            continue
        if arg in DROP:
            continue
        kept.append(arg)
    return kept + [
        "--analyze",
        "-Xclang",
        "-analyzer-werror",
        "-Xanalyzer",
        "-analyzer-output=text",
        "-o",
        "/dev/null",
    ]


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    build, prefix = Path(sys.argv[1]), str(Path(sys.argv[2]).resolve())
    entries = [
        e
        for e in json.loads((build / "compile_commands.json").read_text())
        if str(Path(e["file"]).resolve()).startswith(prefix) and e["file"].endswith((".mm", ".m"))
    ]
    if not entries:
        sys.exit(f"no Objective-C files under {prefix} in {build}/compile_commands.json")

    def run(entry):
        done = subprocess.run(
            analyzer_command(entry), cwd=entry["directory"], capture_output=True, text=True
        )
        return entry["file"], done.returncode, done.stdout + done.stderr

    with ThreadPoolExecutor(max_workers=2) as pool:
        results = list(pool.map(run, entries))
    findings = [(f, out) for f, code, out in results if code != 0 or "warning:" in out]
    for name, output in findings:
        print(output.strip(), file=sys.stderr)
    if findings:
        sys.exit(f"static analyzer: findings in {len(findings)} of {len(results)} files")
    print(f"static analyzer: {len(results)} Objective-C++ files, no findings")


if __name__ == "__main__":
    main()
