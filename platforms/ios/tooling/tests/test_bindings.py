import copy

import pytest
from conftest import data, text

from korvane_ios import bindings, macho, stubs

OVERLAY = "/usr/lib/swift/libswiftFoundation.dylib"
UIKIT_CORE = "/System/Library/PrivateFrameworks/UIKitCore.framework/UIKitCore"


def recorded_sdk(documents):
    """A stubs.Sdk over recorded tbd v5 documents, keyed by install name."""
    by_path = {}
    for name, document in documents.items():
        by_path[stubs.Sdk("iPhoneOS14.5.sdk").stub_path(name)] = document
    return stubs.Sdk("iPhoneOS14.5.sdk", load=by_path.get)


def binary():
    loaded = macho.parse_commands(macho.MachO("KorvaneSDK"), text("framework.load-commands.txt"))
    weak = macho.parse_weak_references(text("framework.nm-weak.txt"))
    return loaded.loads, macho.parse_binds(text("framework.binds.txt"), weak)


def check(documents, weak_text=None):
    loads, binds = binary()
    if weak_text is not None:
        weak = macho.parse_weak_references(weak_text)
        binds = macho.parse_binds(text("framework.binds.txt"), weak)
    return bindings.faults(loads, binds, recorded_sdk(documents))


def test_the_framework_binds_only_what_the_oldest_ios_has():
    found, checked = check(data("oldest-sdk.json"))
    assert found == []
    assert checked > 50


def first_symbol(documents, install_name):
    return documents[install_name]["main_library"]["exported_symbols"][0]["text"]["global"][0]


def without_symbol(install_name):
    def damage(documents):
        symbol = first_symbol(documents, install_name)
        documents[install_name]["main_library"]["exported_symbols"][0]["text"]["global"].remove(
            symbol
        )
        return symbol

    return damage


def without_library(install_name):
    def damage(documents):
        del documents[install_name]
        return f"{install_name}: not in"

    return damage


def without_reexport(documents):
    """UIKit's symbols are UIKitCore's, which UIKit re-exports: cut the link."""
    uikit = documents["/System/Library/Frameworks/UIKit.framework/UIKit"]["main_library"]
    uikit["reexported_libraries"][0]["names"].remove(UIKIT_CORE)
    return "bound to /System/Library/Frameworks/UIKit.framework/UIKit, which lacks it"


@pytest.mark.parametrize(
    "damage",
    [
        without_symbol(OVERLAY),
        without_symbol(UIKIT_CORE),
        without_library(OVERLAY),
        without_reexport,
    ],
    ids=["Foundation overlay symbol", "UIKit symbol", "Foundation overlay", "UIKit re-export"],
)
def test_an_sdk_without_what_is_bound_fails(damage):
    documents = copy.deepcopy(data("oldest-sdk.json"))
    words = damage(documents)
    found, _ = check(documents)
    assert any(words in fault for fault in found), found


def test_a_lazy_binding_that_is_not_weak_is_checked():
    # SwiftUI symbols of later iOS versions are weak references; without that mark they fail.
    found, _ = check(data("oldest-sdk.json"), weak_text="")
    assert any("SwiftUI" in fault and "PAAE12sizeThatFits" in fault for fault in found)


@pytest.mark.parametrize(
    "damage, words",
    [
        (lambda d: d.pop("main_library"), "main_library"),
        (lambda d: d.update(tapi_tbd_version=4), "version"),
        (lambda d: d["main_library"].pop("install_names"), "install name"),
        (
            lambda d: d["main_library"]["exported_symbols"][0]["text"].update(objc_thing=["X"]),
            "unknown symbol kind",
        ),
    ],
    ids=["no main library", "not v5", "no install name", "unknown symbol kind"],
)
def test_a_damaged_stub_is_refused(damage, words):
    document = copy.deepcopy(data("oldest-sdk.json")[OVERLAY])
    damage(document)
    with pytest.raises(stubs.StubError, match=words):
        stubs.parse(document)


def test_stub_symbol_kinds_become_linker_names():
    document = {
        "tapi_tbd_version": 5,
        "main_library": {
            "install_names": [{"name": "/usr/lib/libx.dylib"}],
            "exported_symbols": [
                {"data": {"global": ["_g", "$ld$hide$os14.0$_h"], "objc_class": ["C"]}},
                {"text": {"weak": ["_w"], "objc_eh_type": ["E"], "objc_ivar": ["C.i"]}},
            ],
            "reexported_symbols": [{"text": {"global": ["_r"]}}],
            "reexported_libraries": [{"names": ["/usr/lib/liby.dylib"]}],
        },
        "libraries": [{"install_names": [{"name": "/usr/lib/liby.dylib"}]}],
    }
    main, inlined = stubs.parse(document)
    assert main.symbols == {
        "_g",
        "_w",
        "_r",
        "_OBJC_CLASS_$_C",
        "_OBJC_METACLASS_$_C",
        "_OBJC_EHTYPE_$_E",
        "_OBJC_IVAR_$_C.i",
    }
    assert main.reexports == ["/usr/lib/liby.dylib"] and inlined.install_name.endswith("liby.dylib")
