#!/usr/bin/env python3
"""The weak-library reach check catches code below iOS 15 that calls into Swift's concurrency runtime.

usage: weak_reach_check_test.py BINARY SWIFT_SOURCES

BINARY must pass against SWIFT_SOURCES, the Swift layer it was built from. Then the check gets
copies of the sources with the iOS 15 gates taken away, and must name the functions behind them
that reach the weakly linked runtime without being async. Last, the gates and names the check
reads are compared, case by case, with what they should be.
"""

import importlib.util
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "ios-check-weak-reach.py"


def check(binary, sources):
    done = subprocess.run(
        [sys.executable, str(SCRIPT), binary, str(sources)], capture_output=True, text=True
    )
    return done.returncode, done.stdout + done.stderr


def ungated_copy(sources, scratch):
    """The sources with every `@available(iOS 15...)` attribute removed."""
    copy = pathlib.Path(scratch, "swift")
    shutil.copytree(sources, copy)
    for path in copy.glob("*.swift"):
        path.write_text(re.sub(r"@available\(iOS 1[5-9][^)]*\)\s*", "", path.read_text()))
    return copy


SOURCE = """
@available(iOS 15.0, *)
extension KorvaneSdk {
  public func login(korvaneSdkUser: KorvaneSdkUser) async throws {}
  func helper(a: Int, _ b: Int) {}
}

extension KorvaneSdk {
  public func getBannerInfo(placementId: String, completion: @escaping (Result<A, B>) -> Void) {}
  @available(iOS 16.0, *)
  public func later(
    x: Int,
    y: @escaping (Int) -> Void = { _ in }
  ) {}
}

public struct View {
  @available(iOS 15.0, *)
  final class Coordinator: NSObject {
    func onOpened() {}
  }
  public func plain() {}
}

@available(iOS 13.0, *)
final class Older: NSObject {
  func call() {}
}
"""

# (demangled function, whether it may reach the runtime)
CASES = [
    ("@objc KorvaneSDK.View.Coordinator.onOpened() -> ()", True),
    ("KorvaneSDK.View.plain() -> ()", False),
    ("(extension in KorvaneSDK):__C.KorvaneSdk.helper(a: Swift.Int, _: Swift.Int) -> ()", True),
    ("(extension in KorvaneSDK):__C.KorvaneSdk.helper(a: Swift.Int) -> ()", False),
    (
        "(extension in KorvaneSDK):__C.KorvaneSdk.later(x: Swift.Int, y: (Swift.Int) -> ()) -> ()",
        True,
    ),
    (
        "closure #1 (Swift.Result<A, B>) -> () in (extension in KorvaneSDK):__C.KorvaneSdk."
        "getBannerInfo(placementId: Swift.String, completion: (Swift.Result<A, B>) -> ()) -> ()",
        False,
    ),
    (
        "(1) await resume partial function for (extension in KorvaneSDK):__C.KorvaneSdk."
        "getBannerInfo(placementId: Swift.String) async throws -> A",
        True,
    ),
    ("@objc KorvaneSDK.Older.call() -> ()", False),
    ("@objc KorvaneSDK.ViewCoordinator.onOpened() -> ()", False),
]


def gate_cases():
    found = importlib.util.spec_from_file_location("weak_reach", SCRIPT)
    module = importlib.util.module_from_spec(found)
    found.loader.exec_module(module)
    wrong = []
    with tempfile.TemporaryDirectory() as scratch:
        pathlib.Path(scratch, "Layer.swift").write_text(SOURCE)
        types, funcs = module.gates(pathlib.Path(scratch))
    for text, expected in CASES:
        if module.is_gated(module.normalised(text, "KorvaneSDK"), types, funcs) != expected:
            wrong.append(
                f"{text}: expected {'gated' if expected else 'not gated'} "
                f"(gated types {sorted(types)}, functions {sorted(funcs)})"
            )
    return wrong


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    binary, sources = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
    code, output = check(binary, sources)
    if code != 0:
        sys.exit(f"the framework fails against its own sources:\n{output}")
    wrong = gate_cases()
    with tempfile.TemporaryDirectory() as scratch:
        code, output = check(binary, ungated_copy(sources, scratch))
        if code == 0 or "LoginContinuation" not in output:
            wrong.append(
                f"sources without their iOS 15 gates: exit {code}, expected a failure "
                f"naming LoginContinuation:\n{output}"
            )
    if wrong:
        sys.exit("\n".join(wrong))
    print(
        f"weak reach check test: the framework passes; {len(CASES)} gate cases and the ungated "
        f"sources give what they should"
    )


if __name__ == "__main__":
    main()
