import copy
import json

import pytest
from conftest import data, text

from korvane_ios import api_listing, doc_check, headers_ast, macho, swift_names

HEADERS = {"Tiny.h": text("Tiny.h")}


def decls():
    return headers_ast.parse_dump(text("tiny.ast.json"))


def symbols(graph=None):
    return swift_names.parse(graph or data("tiny.symbols.json"))


def find(nodes, name):
    for node in nodes:
        if node.get("name") == name and node.get("inner"):
            return node
        if found := find(node.get("inner", []), name):
            return found
    return None


def test_the_listing_is_the_recorded_one():
    lines, problems = api_listing.listing(decls(), HEADERS, symbols())
    assert problems == []
    assert lines == text("tiny.api").splitlines()


def test_every_tiny_declaration_is_documented():
    assert doc_check.undocumented(decls()) == []


def test_without_swift_names_only_the_swift_column_goes_unchecked():
    lines, problems = api_listing.listing(decls(), HEADERS, None)
    expected = text("tiny.api").splitlines()
    assert problems == []
    assert api_listing.compare(expected, lines, False, "tiny.api") == []
    assert api_listing.compare(expected, lines, True, "tiny.api") != []


def test_a_completion_handler_form_wins_over_async():
    graph = data("tiny.symbols.json")
    usr = "c:objc(cs)KorvaneTinyThing(cm)tell:"
    entry = next(s for s in graph["symbols"] if s["identifier"]["precise"] == usr)
    async_form = copy.deepcopy(entry)
    async_form["pathComponents"][-1] = "tell()"
    async_form["declarationFragments"].append({"kind": "keyword", "spelling": "async"})
    for order in ([entry, async_form], [async_form, entry]):
        graph["symbols"] = order
        assert symbols(graph)[usr].path[-1] == "tell(_:)"


def renamed(graph):
    """The Swift importer names a method differently (a selector word Swift drops)."""
    for symbol in graph["symbols"]:
        if symbol["pathComponents"][-1] == "move(x:y:)":
            symbol["pathComponents"][-1] = "move(_:y:)"
    return graph


def unseen(graph):
    graph["symbols"] = [s for s in graph["symbols"] if "onThing" not in s["identifier"]["precise"]]
    return graph


@pytest.mark.parametrize(
    "damage, words",
    [(renamed, "move(_:y:)"), (unseen, "Swift does not see it")],
    ids=["renamed in Swift", "missing from Swift"],
)
def test_swift_names_that_change_are_reported(damage, words):
    lines, problems = api_listing.listing(
        decls(), HEADERS, symbols(damage(data("tiny.symbols.json")))
    )
    diff = api_listing.compare(text("tiny.api").splitlines(), lines, True, "tiny.api")
    assert any(words in line for line in diff + problems)


def drop_comment(name):
    def damage(nodes):
        node = find(nodes, name)
        node["inner"] = [c for c in node["inner"] if c["kind"] != "FullComment"]

    return damage


def drop_swift_name(nodes):
    node = find(nodes, "moveWithX:y:")
    node["inner"] = [c for c in node["inner"] if c["kind"] != "SwiftNameAttr"]


@pytest.mark.parametrize(
    "name",
    ["KorvaneTinyThing", "shared", "moveWithX:y:", "KorvaneTinyLevelLoud", "KorvaneTinyKind"],
)
def test_a_declaration_without_a_doc_comment_is_named(name):
    nodes = decls()
    drop_comment(name)(nodes)
    missing = doc_check.undocumented(nodes)
    assert len(missing) == 1 and missing[0].startswith("Tiny.h:") and name in missing[0]


def test_an_unavailable_declaration_needs_no_doc_comment():
    nodes = decls()
    assert find(nodes, "init") is not None and doc_check.undocumented(nodes) == []


def test_a_method_of_several_arguments_needs_a_swift_name():
    nodes = decls()
    drop_swift_name(nodes)
    _, problems = api_listing.listing(nodes, HEADERS, symbols())
    assert problems == [
        "-[KorvaneTinyThing moveWithX:y:] takes several arguments and has no NS_SWIFT_NAME"
    ]


@pytest.mark.parametrize(
    "edit, words",
    [
        (lambda h: h.replace("NS_CLOSED_ENUM", "NS_ENUM"), "enum KorvaneTinyLevel (open)"),
        (
            lambda h: h.replace(
                "NS_ERROR_ENUM(KorvaneTinyErrorDomain", "NS_ERROR_ENUM(OtherDomain"
            ),
            "(error domain OtherDomain)",
        ),
    ],
    ids=["enum opened", "other error domain"],
)
def test_attribute_arguments_come_from_the_header(edit, words):
    lines, _ = api_listing.listing(decls(), {"Tiny.h": edit(text("Tiny.h"))}, symbols())
    assert any(line.startswith(words) or words in line for line in lines)


@pytest.mark.parametrize(
    "damage",
    [
        lambda t: t[: len(t) // 2],
        lambda t: t.replace('"kind"', '"sort"', 1),
        lambda t: "[" + t,
    ],
    ids=["truncated", "declaration without kind", "not a declaration"],
)
def test_a_damaged_ast_is_refused(damage):
    with pytest.raises(headers_ast.AstError):
        headers_ast.parse_dump(damage(text("tiny.ast.json")))


def test_a_missing_attribute_range_is_refused():
    nodes = decls()
    attribute = find(nodes, "KorvaneTinyLevel")
    for enum in [n for n in nodes if n.get("name") == "KorvaneTinyLevel" and n.get("inner")]:
        for child in enum["inner"]:
            child.pop("range", None)
    with pytest.raises(headers_ast.AstError):
        api_listing.listing(nodes, HEADERS, symbols())
    assert attribute is not None


@pytest.mark.parametrize(
    "damage", [lambda g: g.pop("symbols"), lambda g: g["symbols"][0].pop("kind")]
)
def test_a_damaged_symbol_graph_is_refused(damage):
    graph = data("tiny.symbols.json")
    damage(graph)
    with pytest.raises(swift_names.SwiftNamesError):
        swift_names.parse(graph)


LISTING = """class KorvaneTinyThing : NSObject => TinyThing
  property name : NSString * _Nonnull (readonly copy) => name
  property count : NSInteger => count
  - moveWithX:y: (NSInteger, NSInteger) -> void => move(x:y:)
  + tell: (id) -> void => tell(_:)
  - init unavailable
""".splitlines()
METADATA = """00000000000a1000 0x0 _OBJC_CLASS_$_KorvaneTinyThing
    baseMethods 0x0
           name 0x1 moveWithX:y:
           name 0x2 name
           name 0x3 count
           name 0x4 setCount:
    baseProperties 0x0
Meta Class
    baseMethods 0x0
           name 0x5 tell:
"""


@pytest.mark.parametrize(
    "damage, words",
    [
        (lambda m, e: (m, e), None),
        (lambda m, e: (m.replace("setCount:", "setCounter:"), e), "-[KorvaneTinyThing setCount:]"),
        (lambda m, e: (m.replace("0x5 tell:", "0x5 told:"), e), "+[KorvaneTinyThing tell:]"),
        (lambda m, e: (m, set()), "class KorvaneTinyThing is not exported"),
    ],
    ids=["complete", "setter missing", "class method missing", "class not exported"],
)
def test_the_binary_has_what_the_listing_names(damage, words):
    metadata, exported = damage(METADATA, {"KorvaneTinyThing"})
    implemented = macho.parse_objc_methods(metadata)
    failures, checked = api_listing.binary_faults(LISTING, exported, implemented, {})
    assert checked == 5
    assert (failures == []) if words is None else any(words in f for f in failures)
