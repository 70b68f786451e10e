"""Records the tests' fixtures from the real tools: run once by hand after a change the fixtures
should follow, with an SDK, a Swift toolchain and a built device framework.

usage: python3 record_fixtures.py FRAMEWORK_DIR OLD_SDK
  FRAMEWORK_DIR  build/ios/iphoneos/KorvaneSDK.framework (built with the Swift layer)
  OLD_SDK        the oldest supported iOS's SDK (/opt/ios-sdk/iPhoneOS14.5.sdk)
IOS_SDK names the SDK to build against, SWIFTC the Swift compiler and KORVANE_SWIFT_CACHE the
module cache, as for scripts/ios-build.sh. Each fixture is trimmed to what its tests read."""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))

from korvane_ios import at_load, headers_ast, macho, stubs, swift_names, weak_reach  # noqa: E402

FIXTURES = HERE / "fixtures"
AST_KEYS = {"kind", "name", "type", "qualType", "returnType", "inner", "loc", "file", "line"}
AST_KEYS |= {"offset", "tokLen", "instance", "isImplicit", "readonly", "copy", "weak", "class"}
AST_KEYS |= {"super", "protocols", "value", "range", "begin", "end", "expansionLoc", "spellingLoc"}
RANGED = ("NSErrorDomainAttr", "EnumExtensibilityAttr")
COMMANDS = ("LC_ID_DYLIB", "LC_UUID", "LC_BUILD_VERSION", "LC_LOAD_DYLIB", "LC_LOAD_WEAK_DYLIB")


def trim_ast(node):
    if isinstance(node, list):
        return [trim_ast(item) for item in node]
    if not isinstance(node, dict):
        return node
    kept = {}
    for key, value in node.items():
        if key not in AST_KEYS or (key == "range" and node.get("kind") not in RANGED):
            continue
        if key == "file":
            value = Path(value).name
        elif key == "inner" and node.get("kind") == "FullComment":
            value = []
        elif key in ("super",) or (key == "protocols"):
            value = trim_ast(value) if key == "protocols" else {"name": value["name"]}
        else:
            value = trim_ast(value)
        kept[key] = value
    return kept


def record_ast(sdk, swiftc, swift_flags, cache):
    with tempfile.TemporaryDirectory() as scratch:
        framework = Path(scratch, "KorvaneSDK.framework")
        (framework / "Headers").mkdir(parents=True)
        (framework / "Modules").mkdir()
        shutil.copy(FIXTURES / "Tiny.h", framework / "Headers" / "KorvaneSDK.h")
        (framework / "Modules" / "module.modulemap").write_text(
            'framework module KorvaneSDK {\n  umbrella header "KorvaneSDK.h"\n  export *\n}\n'
        )
        decls = headers_ast.dump(framework, sdk, scratch)
        text = "".join(json.dumps(trim_ast(d)) + "\n" for d in decls)
        (FIXTURES / "tiny.ast.json").write_text(text.replace("KorvaneSDK.h", "Tiny.h"))
        symbols = swift_names.extract(scratch, sdk, swiftc, swift_flags, cache, headers_ast.TARGET)
        del symbols  # parsed once to fail early; the fixture keeps the graph's own form
        out = Path(scratch, "graph")
        out.mkdir()
        subprocess.run(
            [Path(swiftc).parent / "swift-symbolgraph-extract", "-module-name", "KorvaneSDK"]
            + ["-target", headers_ast.TARGET, "-sdk", sdk, "-F", scratch]
            + ["-module-cache-path", cache, *swift_flags, "-minimum-access-level", "private"]
            + ["-output-dir", out],
            check=True,
        )
        graph = json.loads((out / "KorvaneSDK.symbols.json").read_text())
    kept = [
        {
            "identifier": {"precise": s["identifier"]["precise"]},
            "pathComponents": s["pathComponents"],
            "kind": {"identifier": s["kind"]["identifier"]},
            "declarationFragments": [
                f for f in s.get("declarationFragments", []) if f.get("kind") == "keyword"
            ],
        }
        for s in graph["symbols"]
        if s["identifier"]["precise"].startswith("c:")
    ]
    (FIXTURES / "tiny.symbols.json").write_text(json.dumps({"symbols": kept}, indent=1) + "\n")


def objdump(*args):
    return macho.objdump(*args)


def record_binary(binary, old_sdk):
    """The device binary's headers, a sample of its bindings and their libraries' stubs."""
    (FIXTURES / "framework.private-header.txt").write_text(objdump("--private-header", binary))
    exports = macho.parse_exports(objdump("--exports-trie", binary))
    (FIXTURES / "framework.classes.txt").write_text(
        "\n".join(macho.exported_classes(exports)) + "\n"
    )
    commands = macho.split_commands(objdump("--private-headers", binary))
    (FIXTURES / "framework.load-commands.txt").write_text(
        "".join(
            f"Load command {i}\n{body}"
            for i, (name, body) in enumerate(commands)
            if name in COMMANDS
        )
    )
    nm = subprocess.run(["llvm-nm", "-m", binary], capture_output=True, text=True).stdout
    binds_text = objdump("--bind", "--lazy-bind", binary).replace(binary, "KorvaneSDK")
    weak = macho.parse_weak_references(nm)
    # Every bindings line of the weakly loaded library, SwiftUI, UIKit and the Foundation overlay
    # (the libraries the damage cases take symbols from), and the first few of every other.
    per_library, kept = {}, []
    for line in binds_text.splitlines():
        fields = line.replace("(weak_import)", "").split()
        if len(fields) >= 5 and fields[2].startswith("0x"):
            library = fields[-2]
            per_library[library] = per_library.get(library, 0) + 1
            keep = library in ("SwiftUI", "libswift_Concurrency", "libswiftFoundation")
            if keep or per_library[library] <= 3:
                kept.append(line)
        elif line.strip() and not line.startswith("__"):
            kept.append(line)
    (FIXTURES / "framework.binds.txt").write_text("\n".join(kept) + "\n")
    symbols = {line.split()[-1].replace("(weak_import)", "") for line in kept}
    symbols |= {line.split()[-2] for line in kept if "(weak_import)" in line}
    (FIXTURES / "framework.nm-weak.txt").write_text(
        "".join(
            line + "\n"
            for line in nm.splitlines()
            if "(undefined) weak external" in line and line.split()[3] in symbols
        )
    )
    record_stubs(binary, old_sdk, kept)


# A library that runs code at load in each way the at_load check knows (a C++ global with a
# dynamic initializer, a constructor function, +load of a class and of a category), and, with
# CLEAN defined, one whose constants and lazy set-up run nothing at load.
AT_LOAD_SOURCE = r"""
#import <Foundation/Foundation.h>
#include <string>
#ifdef CLEAN
NSString* const kName = @"name";
const std::string& lazyText() {
  static const std::string text(40, 'x');
  return text;
}
#else
std::string globalText(40, 'x');
__attribute__((constructor)) static void beforeMain() { setenv("AT_LOAD", "1", 0); }
@interface LoadedClass : NSObject
@end
@implementation LoadedClass
+ (void)load {}
@end
@interface NSObject (LoadedCategory)
@end
@implementation NSObject (LoadedCategory)
+ (void)load {}
@end
#endif
"""
# Linked with chained fixups (lld's default: initializers as __init_offsets), with classic ones
# (a __mod_init_func of pointers), and clean.
AT_LOAD_LINKS = {
    "chained": ([], []),
    "classic": ([], ["-Wl,-no_fixup_chains"]),
    "clean": (["-DCLEAN"], []),
}


def record_at_load(sdk):
    """Each library's sections and symbols as the at_load check reads them, with the bytes of
    the sections that run code at load (hexadecimal)."""
    recorded = {}
    with tempfile.TemporaryDirectory() as scratch:
        source = Path(scratch, "at_load.mm")
        source.write_text(AT_LOAD_SOURCE)
        for name, (defines, link) in AT_LOAD_LINKS.items():
            library = Path(scratch, f"{name}.dylib")
            subprocess.run(
                ["clang++", "--target=arm64-apple-ios14.0", "-isysroot", sdk, "-nostdinc++"]
                + ["-isystem", f"{sdk}/usr/include/c++/v1", "-Oz", "-shared", "-fuse-ld=lld"]
                + [*defines, *link, "-framework", "Foundation", source, "-o", library],
                check=True,
            )
            headers = objdump("--private-headers", library)
            base, sections = macho.parse_sections(headers)
            data = library.read_bytes()
            read = {
                s.name: data[s.offset : s.offset + s.size].hex()
                for s in sections
                if s.size and at_load.entries(s, data[s.offset : s.offset + s.size], base)
            }
            commands = re.split(r"^Load command \d+\n", headers, flags=re.M)[1:]
            text_segment = next(
                c.split("\nSection\n", 1)[0] + "\n"
                for c in commands
                if re.search(r"^\s*segname __TEXT$", c.split("\nSection\n", 1)[0], re.M)
            )
            kept = [
                "Section\n" + block.split("\nLoad command ", 1)[0].rstrip("\n") + "\n"
                for block in re.split(r"^Section\n", headers, flags=re.M)[1:]
                if re.search(
                    r"sectname (__init_offsets|__mod_init_func|__objc_nl\w+)$", block, re.M
                )
            ]
            symbols = subprocess.run(
                ["llvm-nm", "-n", "--defined-only", library], capture_output=True, text=True
            ).stdout
            recorded[name] = {
                "headers": "Load command 0\n" + text_segment + "".join(kept),
                "symbols": symbols,
                "contents": read,
            }
    (FIXTURES / "at-load.json").write_text(json.dumps(recorded, indent=1) + "\n")


def record_release(build):
    """What the release check reads of both slices: load commands of the binaries and their
    dSYMs, and the property lists of the XCFramework and its frameworks."""
    xcframework = build / "KorvaneSDK.xcframework"
    shutil.copy(xcframework / "Info.plist", FIXTURES / "xcframework.Info.plist")
    for identifier, slice_name in (("ios-arm64", "device"), ("ios-arm64-simulator", "simulator")):
        framework = xcframework / identifier / "KorvaneSDK.framework"
        shutil.copy(framework / "Info.plist", FIXTURES / f"{slice_name}.Info.plist")
        dwarf = "dSYMs/KorvaneSDK.framework.dSYM/Contents/Resources/DWARF/KorvaneSDK"
        for kind, path in (
            (slice_name, framework / "KorvaneSDK"),
            (f"{slice_name}-dsym", xcframework / identifier / dwarf),
        ):
            commands = macho.split_commands(objdump("--private-headers", path))
            (FIXTURES / f"{kind}.load-commands.txt").write_text(
                objdump("--private-header", path).split("\n", 1)[1]
                + "".join(
                    f"Load command {i}\n{body}"
                    for i, (name, body) in enumerate(commands)
                    if name in COMMANDS[:3]
                )
            )


def record_stubs(binary, old_sdk, bind_lines):
    """The old SDK's stubs of the libraries the sampled bindings reach, each with only the
    symbols bound to it and the re-exports that lead to them."""
    sdk = stubs.Sdk(old_sdk)
    loaded = macho.parse_commands(macho.MachO(binary), objdump("--private-headers", binary))
    names = {macho.short_name(load.name): load.name for load in loaded.loads}
    documents = {}

    def provider(install_name, symbol, path):
        library = sdk.library(install_name)
        if library is None or install_name in path:
            return None
        if symbol in library.symbols:
            return path + [install_name]
        for child in library.reexports:
            if found := provider(child, symbol, path + [install_name]):
                return found
        return None

    for bind in macho.parse_binds("\n".join(bind_lines)):
        install_name = names.get(bind.library)
        if install_name is None or install_name.startswith("@"):
            continue
        chain = provider(install_name, bind.symbol, []) or [install_name]
        for at, name in enumerate(chain):
            document = documents.setdefault(
                name,
                {"main_library": {"install_names": [{"name": name}]}, "tapi_tbd_version": 5},
            )
            main = document["main_library"]
            if at + 1 < len(chain):
                reexports = main.setdefault("reexported_libraries", [{"names": []}])[0]["names"]
                if chain[at + 1] not in reexports:
                    reexports.append(chain[at + 1])
            elif sdk.library(name) is not None and sdk.exports(name, bind.symbol):
                exported = main.setdefault("exported_symbols", [{"text": {"global": []}}])
                exported[0]["text"]["global"].append(bind.symbol)
    for load in loaded.loads:  # every library loaded without weak linking exists
        if not load.weak and not load.name.startswith("@") and sdk.library(load.name):
            documents.setdefault(
                load.name,
                {"main_library": {"install_names": [{"name": load.name}]}, "tapi_tbd_version": 5},
            )
    (FIXTURES / "oldest-sdk.json").write_text(
        json.dumps(documents, indent=1, sort_keys=True) + "\n"
    )


# Subtrees of a demangled name that the weak reach check does not read.
PRUNED = ("ArgumentTuple", "ReturnType", "LabelList", "DependentGenericSignature", "TypeList")


def record_weak_reach(binary, demangle, graphs, prefix="weak-reach"):
    """What the weak reach check reads of a binary: the weakly bound symbols, the disassembly of
    every function that can reach one, their demangle trees and the symbol graph's entries for
    them and for the types they are in."""
    targets = weak_reach.weak_symbols(macho.read(binary))
    (FIXTURES / f"{prefix}.weak.txt").write_text(
        "".join(f"{symbol}\t{library}\n" for symbol, library in sorted(targets.items()))
    )
    disassembly = objdump("-d", "--no-show-raw-insn", binary)
    reached = weak_reach.reaching(weak_reach.parse_functions(disassembly), targets)
    kept, keep = [], False
    for line in disassembly.splitlines():
        if line and not line[0].isspace() and line.endswith(":"):
            keep = line[:-1] in reached
        if keep and (
            line.endswith(":") or weak_reach.REFERENCE.search(line) or weak_reach.CALL.match(line)
        ):
            kept.append(line)
    (FIXTURES / f"{prefix}.disassembly.txt").write_text("\n".join(kept) + "\n")
    swift = sorted(name for name in reached if name.startswith("_$s"))
    trees = subprocess.run(
        [demangle, "-tree-only"], input="\n".join(swift), capture_output=True, text=True
    ).stdout
    pruned, below = [], None
    for line in trees.splitlines():
        depth = len(line) - len(line.lstrip())
        if below is not None and depth > below and line.strip():
            continue
        below = depth if line.strip().startswith(tuple(f"kind={k}" for k in PRUNED)) else None
        pruned.append(line)
    (FIXTURES / f"{prefix}.trees.txt").write_text("\n".join(pruned) + "\n")
    graph = weak_reach.availability(Path(graphs).glob("*.symbols.json"))
    used = {weak_reach.declaration(name, graph.usrs) for name in swift}
    paths = {weak_reach.type_path(tree) for tree in weak_reach.parse_trees(trees).values()}
    symbols = []
    for path in sorted(Path(graphs).glob("*.symbols.json")):
        for symbol in json.loads(path.read_text())["symbols"]:
            kind = symbol["kind"]["identifier"]
            path = tuple(symbol["pathComponents"])
            if symbol["identifier"]["precise"] in used or (
                kind in weak_reach.TYPE_KINDS and path in paths
            ):
                ios = [a for a in symbol.get("availability", []) if a.get("domain") == "iOS"]
                symbols.append(
                    {
                        "identifier": {"precise": symbol["identifier"]["precise"]},
                        "kind": {"identifier": kind},
                        "pathComponents": symbol["pathComponents"],
                        **({"availability": ios} if ios else {}),
                    }
                )
    (FIXTURES / f"{prefix}.symbols.json").write_text(
        json.dumps({"symbols": symbols}, indent=1) + "\n"
    )


def record_weak_probe(sdk, swiftc, swift_flags, cache, demangle):
    """The weak reach check's inputs for weak-probe.swift, built as the layer is built (weak
    concurrency runtime, identical code folding) into a library of its own."""
    target = "arm64-apple-ios14.0"
    with tempfile.TemporaryDirectory() as scratch:
        library, graphs = Path(scratch, "libProbe.dylib"), Path(scratch, "graphs")
        graphs.mkdir()
        subprocess.run(
            [swiftc, "-target", target, "-sdk", sdk, "-module-cache-path", cache, *swift_flags]
            + ["-parse-as-library", "-module-name", "Probe", "-Osize", "-emit-module"]
            + ["-runtime-compatibility-version", "none", "-Xfrontend", "-disable-all-autolinking"]
            + ["-Xfrontend", "-swift-async-frame-pointer=always"]
            + ["-emit-module-path", Path(scratch, "Probe.swiftmodule")]
            + ["-c", FIXTURES / "weak-probe.swift", "-o", Path(scratch, "Probe.o")],
            check=True,
        )
        subprocess.run(
            ["clang", f"--target={target}", "-isysroot", sdk, "-shared", "-fuse-ld=lld"]
            + [Path(scratch, "Probe.o"), f"-L{sdk}/usr/lib/swift", "-lswiftCore", "-lobjc"]
            + ["-Wl,-weak-lswift_Concurrency", "-Wl,--icf=all", "-Wl,-no_fixup_chains"]
            + ["-o", library],
            check=True,
        )
        subprocess.run(
            [Path(swiftc).parent / "swift-symbolgraph-extract", "-module-name", "Probe"]
            + ["-target", target, "-sdk", sdk, "-I", scratch, "-module-cache-path", cache]
            + [*swift_flags, "-minimum-access-level", "private", "-output-dir", graphs],
            check=True,
        )
        record_weak_reach(str(library), demangle, graphs, "weak-probe")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    framework, old_sdk = Path(sys.argv[1]), sys.argv[2]
    sdk, swiftc = os.environ["IOS_SDK"], os.environ.get("SWIFTC", "/opt/swift/usr/bin/swiftc")
    cache = Path(os.environ.get("KORVANE_SWIFT_CACHE", Path.home() / ".cache/korvane-swift"))
    flags = ["-resource-dir", str(cache / "resource-dir"), "-I", str(cache / "shims")]
    record_ast(sdk, swiftc, flags, str(cache / "modules" / "iphoneos"))
    binary = str(framework / "KorvaneSDK")
    record_binary(binary, old_sdk)
    demangle = str(Path(swiftc).parent / "swift-demangle")
    record_weak_reach(binary, demangle, framework.parent / "swift" / "symbol-graphs")
    record_weak_probe(sdk, swiftc, flags, str(cache / "modules" / "iphoneos"), demangle)
    record_release(framework.parent.parent)
    record_at_load(sdk)
    for fixture in sorted(FIXTURES.iterdir()):
        if fixture.is_file():
            print(f"{fixture.name}: {fixture.stat().st_size} bytes")


if __name__ == "__main__":
    main()
