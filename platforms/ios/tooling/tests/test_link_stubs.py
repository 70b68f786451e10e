import copy

import pytest
from conftest import data

from korvane_ios import link_stubs, simulator_sdk, stubs

OVERLAY = "/usr/lib/swift/libswiftFoundation.dylib"


def foundation_document(symbols):
    return {
        "tapi_tbd_version": 5,
        "main_library": {
            "install_names": [
                {"name": "/System/Library/Frameworks/Foundation.framework/Foundation"}
            ],
            "exported_symbols": [{"text": {"global": symbols}}],
        },
    }


def test_the_overlay_gains_foundations_swift_symbols_it_lacks():
    overlay = data("oldest-sdk.json")[OVERLAY]
    own = sorted(stubs.parse(overlay)[0].symbols)
    foundation = foundation_document(["_$sNew1", own[0], "_NSNotSwift", "_$sNew0"])
    merged, count = link_stubs.merged_overlay(overlay, foundation)
    (library,) = stubs.parse(merged)
    assert count == 2
    assert library.symbols == set(own) | {"_$sNew0", "_$sNew1"}
    assert stubs.parse(overlay)[0].symbols == set(own)  # the input is left as it was


def test_a_damaged_overlay_is_refused():
    overlay = copy.deepcopy(data("oldest-sdk.json")[OVERLAY])
    del overlay["main_library"]["install_names"]
    with pytest.raises(stubs.StubError):
        link_stubs.merged_overlay(overlay, foundation_document(["_$sX"]))


def test_the_swiftui_core_stub_names_its_target_and_symbols():
    text = link_stubs.swiftui_stub("arm64-ios-simulator", ["_$s7SwiftUI1AV", "_$s7SwiftUI1BV"])
    assert "targets:         [ arm64-ios-simulator ]" in text
    assert "'_$s7SwiftUI1AV',\n                       '_$s7SwiftUI1BV'" in text
    assert "PrivateFrameworks/SwiftUICore.framework/SwiftUICore" in text


def test_simulator_stubs_name_the_simulator_wherever_the_device_was():
    document = {
        "tapi_tbd_version": 5,
        "main_library": {
            "target_info": [{"target": "arm64-ios"}, {"target": "x86_64-macos"}],
            "exported_symbols": [{"targets": ["arm64-ios", "x86_64-macos"], "text": {}}],
        },
        "libraries": [{"target_info": [{"target": "arm64-ios"}]}],
    }
    retargeted = simulator_sdk.retarget_targets(document)
    assert retargeted["main_library"]["target_info"] == [
        {"target": "arm64-ios-simulator"},
        {"target": "x86_64-macos"},
    ]
    assert retargeted["main_library"]["exported_symbols"][0]["targets"] == [
        "arm64-ios-simulator",
        "x86_64-macos",
    ]
    assert retargeted["libraries"][0]["target_info"] == [{"target": "arm64-ios-simulator"}]
