"""The public API of KorvaneSDK.framework as a text listing, and the doc comment check, from one
JSON AST of the public headers: one line per class, protocol, enumeration (and case), constant,
function, method and property, each with the name Swift gives it (from the Swift tools).

usage: python3 -m korvane_ios.api_listing generate|check FRAMEWORK_DIR LISTING [SWIFT OPTIONS]
  SWIFT OPTIONS  --swiftc PATH --module-cache DIR [--swift-flag FLAG ...]
`generate` writes the listing; `check` fails on any difference from it, on a public declaration
without a doc comment, and on a listed class, method or accessor the binary lacks. The SDK is
IOS_SDK. Without --swiftc the Swift names are neither known nor compared."""

import argparse
import difflib
import os
import re
import shutil
import sys
import tempfile
from pathlib import Path

from . import doc_check, headers_ast, macho, swift_names
from .headers_ast import children, has

UNKNOWN = "?"


def clean_type(text):
    """A declared type without the Swift macros and ownership clang keeps as type sugar."""
    text = re.sub(r"NS_SWIFT_NAME\([^)]*\) |NS_REFINED_FOR_SWIFT ", "", text)
    return text.replace(" __strong", "")


def qual_type(node, key="type"):
    return clean_type(node.get(key, {}).get("qualType", ""))


def is_forward_declaration(node):
    return node["kind"] == "ObjCInterfaceDecl" and not has_any(
        node, "ObjCMethodDecl", "ObjCPropertyDecl", "SwiftNameAttr", "VisibilityAttr"
    )


def has_any(node, *kinds):
    return bool(children(node, *kinds))


class Names:
    """The Swift column: the Swift tools' name of a declaration, by its USR."""

    def __init__(self, symbols):
        self.symbols = symbols

    def get(self, usr, form):
        if self.symbols is None:
            return UNKNOWN
        symbol = self.symbols.get(usr)
        if symbol is None:
            return UNKNOWN
        if form == "member":
            return symbol.path[-1]
        if form == "error enum" and symbol.path[-1] == "Code":
            return ".".join(symbol.path[:-1])
        return symbol.dotted


def member_lines(owner, usr, node, names, problems):
    lines = []
    for child in node.get("inner", []):
        if child["kind"] == "ObjCMethodDecl" and not child.get("isImplicit"):
            lines.append(method_line(owner, usr, child, names, problems))
        elif child["kind"] == "ObjCPropertyDecl":
            lines.append(property_line(usr, child, names))
    return lines


def method_line(owner, owner_usr, node, names, problems):
    sign = "-" if node.get("instance") else "+"
    selector = node["name"]
    if has(node, "UnavailableAttr"):
        return f"  {sign} {selector} unavailable"
    # Swift names initialisers by a fixed rule; other methods of several arguments get theirs
    # from the header, so that renaming a selector cannot rename the Swift method unnoticed.
    initialiser = selector.startswith("initWith")
    if selector.count(":") > 1 and not initialiser and not has(node, "SwiftNameAttr"):
        problems.append(
            f"{sign}[{owner} {selector}] takes several arguments and has no NS_SWIFT_NAME"
        )
    params = [qual_type(p) for p in children(node, "ParmVarDecl")]
    kind = "im" if sign == "-" else "cm"
    swift = names.get(f"{owner_usr}({kind}){selector}", "member")
    designated = ", designated" if has(node, "ObjCDesignatedInitializerAttr") else ""
    signature = f"({', '.join(params)})" if params else "()"
    returns = node["returnType"]["qualType"].replace(" __strong", "")
    return f"  {sign} {selector} {signature} -> {returns}{designated} => {swift}"


def property_line(owner_usr, node, names):
    # Only what a caller sees: access, memory semantics that matter, class or instance.
    shown = [a for a in ("readonly", "copy", "weak", "class") if node.get(a)]
    kind = "cpy" if node.get("class") else "py"
    swift = names.get(f"{owner_usr}({kind}){node['name']}", "member")
    attributes = f" ({' '.join(shown)})" if shown else ""
    return f"  property {node['name']} : {qual_type(node)}{attributes} => {swift}"


def enum_flavour(node, headers):
    domain = children(node, "NSErrorDomainAttr")
    if domain:
        written = headers_ast.attribute_text(domain[0], headers)
        found = re.search(r"\(\s*(\w+)", written)  # NS_ERROR_ENUM(domain, name)
        return "error domain " + (found.group(1) if found else UNKNOWN)
    for attribute in children(node, "EnumExtensibilityAttr"):
        if "CLOSED" in headers_ast.attribute_text(attribute, headers).upper():
            return "closed"
    return "open"


def case_value(node):
    stack = list(node.get("inner", []))
    while stack:
        current = stack.pop(0)
        if current["kind"] in ("ConstantExpr", "IntegerLiteral") and "value" in current:
            return current["value"]
        stack = current.get("inner", []) + stack
    return UNKNOWN


def listing(decls, headers, symbols):
    """(lines, problems) of the declarations; `symbols` from swift_names, or None."""
    names = Names(symbols)
    problems, lines, enums_seen, typed_enums = [], [], set(), set()
    for node in decls:
        if is_forward_declaration(node):
            continue
        kind, name = node["kind"], node.get("name", "")
        if kind == "ObjCInterfaceDecl":
            usr = f"c:objc(cs){name}"
            adopted = [p["name"] for p in node.get("protocols", [])]
            conforms = f" <{', '.join(adopted)}>" if adopted else ""
            superclass = node.get("super", {}).get("name", UNKNOWN)
            lines.append(f"class {name} : {superclass}{conforms} => {names.get(usr, 'type')}")
            lines += member_lines(name, usr, node, names, problems)
        elif kind == "ObjCProtocolDecl":
            usr = f"c:objc(pl){name}"
            adopted = ", ".join(p["name"] for p in node.get("protocols", []))
            lines.append(f"protocol {name} <{adopted}> => {names.get(usr, 'type')}")
            lines += member_lines(name, usr, node, names, problems)
        elif kind == "EnumDecl" and has(node, "EnumConstantDecl"):
            if name in enums_seen:
                continue
            enums_seen.add(name)
            flavour = enum_flavour(node, headers)
            form = "error enum" if flavour.startswith("error") else "type"
            lines.append(f"enum {name} ({flavour}) => {names.get(f'c:@E@{name}', form)}")
            for case in children(node, "EnumConstantDecl"):
                swift = names.get(f"c:@E@{name}@{case['name']}", "member")
                lines.append(f"  case {case['name']} = {case_value(case)} => {swift}")
        elif kind == "TypedefDecl" and has(node, "SwiftNewTypeAttr"):
            typed_enums.add(name)
            swift = names.get(f"c:@T@{name}", "type")
            lines.append(f"typed enum {name} : {qual_type(node)} => {swift}")
        elif kind == "VarDecl":
            declared = qual_type(node).replace("const ", "").replace(" _Nonnull", "").strip()
            indent = "  " if declared in typed_enums else ""
            swift = names.get(f"c:@{name}", "type")
            # The symbol graph leaves out the umbrella header's version constants; a C global
            # without a Swift name attribute keeps its name.
            if swift == UNKNOWN and not has_any(node, "SwiftNameAttr", "SwiftPrivateAttr"):
                swift = name if names.symbols is not None else UNKNOWN
            lines.append(f"{indent}constant {name} : {declared} => {swift}")
        elif kind == "FunctionDecl":
            params = [qual_type(p) for p in children(node, "ParmVarDecl")]
            returns = qual_type(node).split("(")[0].strip()
            swift = names.get(f"c:@F@{name}", "type")
            lines.append(f"function {name}({', '.join(params)}) -> {returns} => {swift}")
    if symbols is not None:
        problems += [
            f"{line.strip()}: Swift does not see it"
            for line in lines
            if line.endswith(f"=> {UNKNOWN}")
        ]
    return lines, problems


def without_swift(lines):
    return [line.rsplit(" => ", 1)[0] for line in lines]


def declared_names(headers):
    """Every class, protocol and enumeration the headers declare, read from their text."""
    names = set()
    for text in headers.values():
        names.update(re.findall(r"^@(?:interface|protocol) (\w+)\b(?!;)", text, re.M))
        names.update(re.findall(r"NS_(?:CLOSED_)?ENUM\(\w+, (\w+)\)", text))
        names.update(re.findall(r"NS_ERROR_ENUM\(\w+, (\w+)\)", text))
    return {n for n in names if not n.endswith("()")}


def runtime_names(headers):
    """Source name -> runtime name of the classes whose headers give them another runtime name."""
    names = {}
    for text in headers.values():
        for runtime, source in re.findall(
            r'objc_runtime_name\("(\w+)"\)\)\)\s*(?:\w+\s*)?@interface (\w+)', text
        ):
            names[source] = runtime
    return names


def binary_faults(lines, exported, implemented, renamed):
    """What the listing names that the binary lacks: classes not exported (`exported` class
    names), methods and accessors not in the Objective-C method lists (`implemented`, from
    macho.parse_objc_methods). Returns (faults, methods checked)."""
    failures, owner, checked = [], None, 0
    for line in lines:
        if line.startswith("class "):
            owner = renamed.get(line.split()[1], line.split()[1])
            if owner not in exported:
                failures.append(f"class {owner} is not exported by the binary")
            continue
        if not line.startswith("  ") or owner is None:
            owner = None if not line.startswith("  ") else owner
            continue
        method = re.match(r"  ([-+]) ([\w:]+) \(", line)
        prop = re.match(r"  property (\w+) : [^=]*?(?:\(([^)]*)\))? =>", line)
        wanted = []
        if method:
            wanted.append((method.group(1), method.group(2)))
        elif prop:
            name, attributes = prop.group(1), prop.group(2) or ""
            sign = "+" if "class" in attributes.split() else "-"
            wanted.append((sign, name))
            if "readonly" not in attributes.split():
                wanted.append((sign, f"set{name[0].upper()}{name[1:]}:"))
        for sign, selector in wanted:
            checked += 1
            if (sign, owner, selector) not in implemented:
                failures.append(
                    f"{sign}[{owner} {selector}] is not in the binary's Objective-C metadata"
                )
    return failures, checked


def compare(expected, lines, swift_known, label):
    """A unified diff of the listing against `expected` (Swift column left out when unknown)."""
    if not swift_known:
        expected, lines = without_swift(expected), without_swift(lines)
    return list(difflib.unified_diff(expected, lines, label, "public headers", lineterm=""))


def arguments(argv):
    parser = argparse.ArgumentParser(prog="korvane_ios.api_listing", usage=__doc__)
    parser.add_argument("mode", choices=("generate", "check"))
    parser.add_argument("framework")
    parser.add_argument("listing", type=Path)
    parser.add_argument("--swiftc")
    parser.add_argument("--module-cache")
    parser.add_argument("--swift-flag", action="append", default=[])
    parser.add_argument("--target", default=headers_ast.TARGET)
    return parser.parse_args(argv)


def main(argv):
    args = arguments(argv)
    sdk = os.environ.get("IOS_SDK") or sys.exit("set IOS_SDK")
    framework = Path(args.framework)
    headers = {h.name: h.read_text() for h in sorted(framework.glob("Headers/*.h"))}
    try:
        with tempfile.TemporaryDirectory() as scratch:
            decls = headers_ast.dump(framework, sdk, scratch)
        symbols = None
        if args.swiftc:
            symbols = swift_names.extract(
                framework.parent, sdk, args.swiftc, args.swift_flag, args.module_cache, args.target
            )
    except (headers_ast.AstError, swift_names.SwiftNamesError) as error:
        sys.exit(f"API listing: {error}")
    if args.mode == "generate" and symbols is None:
        sys.exit("API listing: generating it needs the Swift names: pass --swiftc")
    lines, problems = listing(decls, headers, symbols)
    listed = {
        line.split()[1] for line in lines if line.startswith(("class ", "protocol ", "enum "))
    }
    problems += [
        f"{name} is declared in the headers but missing from the listing"
        for name in sorted(declared_names(headers) - listed)
    ]
    if problems:
        sys.exit("\n".join("API listing: " + p for p in problems))
    if args.mode == "generate":
        args.listing.write_text("\n".join(lines) + "\n")
        print(f"API listing: wrote {len(lines)} lines to {args.listing}")
        return 0
    expected = args.listing.read_text().splitlines() if args.listing.exists() else []
    diff = compare(expected, lines, symbols is not None, str(args.listing))
    if diff:
        # The command names this clang: another one (Swift's, say) prints types differently.
        clang_dir = os.path.dirname(shutil.which("clang") or "clang")
        sys.exit(
            "API listing: the public headers differ from the checked-in listing (if the change is "
            f"intended: PATH={clang_dir}:$PATH bash scripts/ios-listings.sh generate {framework}):\n"
            + "\n".join(diff)
        )
    binary = str(framework / "KorvaneSDK")
    try:
        exported = set(
            macho.exported_classes(macho.parse_exports(macho.objdump("--exports-trie", binary)))
        )
        implemented = macho.parse_objc_methods(macho.objdump("--objc-meta-data", binary))
    except macho.MachOError as error:
        sys.exit(f"API listing: {error}")
    failures, checked = binary_faults(lines, exported, implemented, runtime_names(headers))
    if failures:
        sys.exit("\n".join("API listing: " + f for f in failures))
    swift_note = "" if symbols is not None else " (Swift names not compared: no Swift compiler)"
    print(
        f"API listing: {len(lines)} lines match the headers{swift_note}; {checked} methods and "
        f"accessors found in the binary's Objective-C metadata"
    )
    missing = doc_check.undocumented(decls)
    for entry in missing:
        print(entry, file=sys.stderr)
    if missing:
        sys.exit(f"public headers: {len(missing)} declarations without a doc comment")
    print(f"public headers: every declaration of {len(headers)} headers has a doc comment")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
