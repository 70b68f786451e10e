import json

import pytest
from conftest import path, text

from korvane_ios import weak_reach


def recorded(prefix="weak-reach", disassembly=None, graphs=None):
    """Function -> weak symbols, for each function the check reports in a recorded binary
    (`prefix`), with its disassembly or symbol graph directory replaced when given."""
    targets = dict(line.split("\t") for line in text(f"{prefix}.weak.txt").splitlines())
    graph = weak_reach.parse_functions(disassembly or text(f"{prefix}.disassembly.txt"))
    trees = weak_reach.parse_trees(text(f"{prefix}.trees.txt"))
    files = [path(f"{prefix}.symbols.json")] if graphs is None else graphs.glob("*.symbols.json")
    layer = weak_reach.availability(files)
    return dict(weak_reach.faults(graph, targets, weak_reach.Judge(trees, layer)))


def folded(disassembly, first, second):
    """The disassembly as llvm-objdump prints two functions the linker folded onto `first`'s
    body: both names, one after the other, before it (Swift itself turns `second` into a jump to
    `first`)."""
    lines = disassembly.splitlines()
    at = lines.index(f"{second}:")
    del lines[at : at + 2]
    lines.insert(lines.index(f"{first}:") + 1, f"{second}:")
    return "\n".join(lines) + "\n"


PROBE = "_$s5Probe3SdkC"
UNGATED_HIGH, GATED_HIGH = "_$s5Probe11ungatedHighScPyF", "_$s5Probe9gatedHighScPyF"


# Each shape of weak-probe.swift: a sync function that starts a task (or reads a priority) and can
# run on iOS 14 is reported with what it reaches (through the specialization of `Task.init` that
# calls swift_task_create); async code and code for iOS 15 and later is not reported.
TASK, HIGH = "_swift_task_create", "_$sScP4highScPvgZ"


SHAPES = [
    (f"{PROBE}12refreshLateryyyyYaYbcF", TASK),  # an async parameter
    (f"{PROBE}12refreshLateryyyyYaYbcFyyYacfU_", None),  # its task's async closure
    (f"{PROBE}05startA0yyF", TASK),  # after a gated property
    (f"{PROBE}05startA0yyFyyYacfU_", None),
    (f"{PROBE}8prefetch5asyncySb_tF", TASK),  # a label named async
    (f"{PROBE}10probeFetch2idySi_tF", TASK),  # beside a gated overload
    (f"{PROBE}10probeFetch2idySS_tYaF", None),
    (f"{PROBE}11ungatedTwinyyF", TASK),  # a merged body
    (f"{PROBE}9gatedTwinyyF", None),
    (f"{PROBE}9gatedTwinyyFyyYacfU_", None),
    (UNGATED_HIGH, HIGH),  # folded with a gated function printed after it
    (GATED_HIGH, None),
]


def probe_mismatches():
    """The shapes the check judges otherwise than SHAPES says."""
    disassembly = folded(text("weak-probe.disassembly.txt"), UNGATED_HIGH, GATED_HIGH)
    functions = weak_reach.parse_functions(disassembly)
    found = recorded("weak-probe", disassembly)
    return [
        function
        for function, reaches in SHAPES
        if function not in functions
        or not ((reaches in found.get(function, ())) if reaches else function not in found)
    ]


@pytest.fixture(scope="module")
def mismatches():
    return probe_mismatches()


@pytest.mark.parametrize("shape", range(len(SHAPES)), ids=[f for f, _ in SHAPES])
def test_sync_code_that_can_run_on_ios_14_is_reported(shape, mismatches):
    assert SHAPES[shape][0] not in mismatches


def framework_problems():
    """The recorded framework's faults, and a word if nothing in it reaches the weak library (a
    check that sees nothing passes)."""
    targets = dict(line.split("\t") for line in text("weak-reach.weak.txt").splitlines())
    graph = weak_reach.parse_functions(text("weak-reach.disassembly.txt"))
    seen = [] if weak_reach.reaching(graph, targets) else ["nothing reaches the weak library"]
    return seen + sorted(recorded())


def test_the_recorded_framework_passes_against_its_symbol_graph():
    assert framework_problems() == []


def test_the_recorded_framework_without_ios_15_availability_fails_naming_its_functions(tmp_path):
    graph = json.loads(text("weak-reach.symbols.json"))
    for symbol in graph["symbols"]:
        symbol.pop("availability", None)
    (tmp_path / "KorvaneSDK.symbols.json").write_text(json.dumps(graph))
    assert any("LoginContinuation" in name for name in recorded(graphs=tmp_path))
