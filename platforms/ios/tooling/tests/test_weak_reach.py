import re
import shutil

import pytest
from conftest import path, text

from korvane_ios import macho, weak_reach

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


@pytest.mark.parametrize(
    "demangled, gated",
    [
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
    ],
)
def test_gates_are_read_from_the_sources(tmp_path, demangled, gated):
    (tmp_path / "Layer.swift").write_text(SOURCE)
    types, funcs = weak_reach.gates(tmp_path)
    assert (
        weak_reach.is_gated(weak_reach.normalised(demangled, "KorvaneSDK"), types, funcs) == gated
    )


def recorded(sources):
    """The faults of the recorded binary's functions against `sources`."""
    graph = weak_reach.parse_functions(text("weak-reach.disassembly.txt"))
    pairs = [line.split("\t", 1) for line in text("weak-reach.demangled.txt").splitlines()]
    names = dict(pairs)
    binary = macho.parse_commands(macho.MachO("KorvaneSDK"), text("framework.load-commands.txt"))
    weak = {macho.short_name(load.name) for load in binary.loads if load.weak}
    binds = macho.parse_binds(text("framework.binds.txt"))
    targets = {bind.symbol: bind.library for bind in binds if bind.library in weak}
    reached = weak_reach.reaching(graph, targets)
    entries = sorted(name for name in reached if not weak_reach.HELPER.match(name))
    types, funcs = weak_reach.gates(sources)
    # A function the demangled names lack goes by its symbol, which no gate matches.
    return weak_reach.faults(entries, [names.get(e, e) for e in entries], reached, types, funcs)


def test_the_recorded_names_are_the_reaching_functions():
    graph = weak_reach.parse_functions(text("weak-reach.disassembly.txt"))
    names = {line.split("\t", 1)[0] for line in text("weak-reach.demangled.txt").splitlines()}
    assert names and names <= set(graph)


def test_the_recorded_framework_passes_against_its_sources():
    assert recorded(path("weak-reach-swift")) == []


def test_sources_without_their_ios_15_gates_fail_naming_the_functions(tmp_path):
    copy = tmp_path / "swift"
    shutil.copytree(path("weak-reach-swift"), copy)
    for source in copy.glob("*.swift"):
        source.write_text(re.sub(r"@available\(iOS 1[5-9][^)]*\)\s*", "", source.read_text()))
    found = recorded(copy)
    assert any("LoginContinuation" in fault for fault in found)
