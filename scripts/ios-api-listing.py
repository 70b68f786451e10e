#!/usr/bin/env python3
"""The public API of KorvaneSDK.framework as a text listing, generated from the public headers with
clang's AST dump: one line per class, protocol, enumeration (and case), constant, function, method
and property, each with the name Swift sees it under.

usage: ios-api-listing.py generate FRAMEWORK_DIR LISTING   write the listing
       ios-api-listing.py check FRAMEWORK_DIR LISTING      fail on any difference from the listing,
                                                          and check the binary against it
The SDK is taken from IOS_SDK. `check` also requires every listed class to be exported by the
framework binary and every listed method and property accessor of a class to be in the binary's
Objective-C metadata."""
import difflib
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

# Public declarations are the ones whose names carry one of these.
NAME_FILTERS = ["Korvane", "AuthInterceptor"]
TARGET = "arm64-apple-ios14.0"


class Node:
    def __init__(self, depth, text):
        self.depth, self.text, self.children = depth, text, []

    @property
    def kind(self):
        return self.text.split(" ", 1)[0]

    def child_kinds(self, kind):
        return [c for c in self.children if c.kind == kind]

    def quoted(self):
        found = re.search(r'"([^"]*)"', self.text)
        return found.group(1) if found else None

    def swift_name(self, default=None):
        """The NS_SWIFT_NAME, else `default`; NS_REFINED_FOR_SWIFT alone prefixes that with "__"."""
        for attribute in self.child_kinds("SwiftNameAttr"):
            return attribute.quoted()
        if default is not None and self.child_kinds("SwiftPrivateAttr"):
            return "__" + default
        return default

    def unavailable(self):
        return bool(self.child_kinds("UnavailableAttr"))


def parse_tree(lines):
    """The AST dump's tree: two characters of "| ", "|-", "`-" or spaces per level."""
    roots, stack = [], []
    for line in lines:
        prefix = re.match(r"^[ |`\-]*", line).group(0)
        depth = len(prefix) // 2
        node = Node(depth, line[len(prefix) :])
        while stack and stack[-1].depth >= depth:
            stack.pop()
        (stack[-1].children if stack else roots).append(node)
        stack.append(node)
    return roots


def dump_blocks(framework, sdk):
    source = Path(framework).parent / "api-listing.m"
    source.write_text("#import <KorvaneSDK/KorvaneSDK.h>\n")
    blocks = []
    for name_filter in NAME_FILTERS:
        done = subprocess.run(
            [
                "clang",
                f"--target={TARGET}",
                "-isysroot",
                sdk,
                "-iframework",
                f"{sdk}/System/Library/SubFrameworks",
                "-fobjc-arc",
                "-F",
                str(Path(framework).parent),
                "-fsyntax-only",
                "-fno-color-diagnostics",
                "-Xclang",
                "-ast-dump",
                "-Xclang",
                f"-ast-dump-filter={name_filter}",
                str(source),
            ],
            capture_output=True,
            text=True,
        )
        if done.returncode != 0:
            sys.exit(f"clang could not read the public headers:\n{done.stderr}")
        current = None
        for line in done.stdout.splitlines():
            if line.startswith("Dumping "):
                current = []
                blocks.append(current)
            elif current is not None and line.strip():
                current.append(line)
    return [parse_tree(block)[0] for block in blocks if block]


def qual_type(text):
    """The declared type of a decl line: the first quoted type ('T' or 'T':'desugared')."""
    found = re.search(r"'([^']*)'", after_range(text))
    return clean_type(found.group(1)) if found else ""


def after_range(text):
    """What follows a decl line's source range "<...>" (which may nest angle brackets)."""
    start = text.find("<")
    if start < 0:
        return text
    depth = 0
    for index in range(start, len(text)):
        depth += {"<": 1, ">": -1}.get(text[index], 0)
        if depth == 0:
            return text[index + 1 :]
    return ""


def decl_name(node):
    # After the range: a location (col:12, line:9:35 or path:37:26), then flags, then the name.
    found = re.match(
        r"\s*\S+:\d+(?::\d+)? (?:(?:referenced|used|implicit|invalid) )*([A-Za-z_]\w*)",
        after_range(node.text),
    )
    return found.group(1) if found else None


def clean_type(text):
    """A declared type without the Swift macros clang keeps as type sugar."""
    text = re.sub(r"NS_SWIFT_NAME\([^)]*\) |NS_REFINED_FOR_SWIFT ", "", text)
    return text.replace(" __strong", "")


def lower_first(word):
    match = re.match(r"^([A-Z]+)(?=[A-Z][a-z]|$)", word)
    if match and len(match.group(1)) > 1:
        return match.group(1).lower() + word[len(match.group(1)) :]
    return word[:1].lower() + word[1:]


def method_line(owner, node, problems):
    found = re.search(r" ([-+]) ([\w:]+) '([^']*)'", node.text)
    if not found:
        return None
    sign, selector, returns = found.groups()
    if " implicit " in node.text:
        return None  # property accessors, listed with their property
    if node.unavailable():
        return f"  {sign} {selector} unavailable"
    params = [qual_type(p.text) for p in node.child_kinds("ParmVarDecl")]
    swift = node.swift_name()
    init = re.match(r"^initWith(\w)(\w*):(.*)$", selector)
    if swift is None and init:
        # Swift's rule for initialisers: initWithNibName:bundle: is init(nibName:bundle:).
        labels = [init.group(1).lower() + init.group(2)] + [
            p for p in init.group(3).split(":") if p
        ]
        swift = f"init({''.join(label + ':' for label in labels)})"
    if swift is None:
        colons = selector.count(":")
        if colons == 0:
            swift = f"{selector}()"
        elif colons == 1:
            swift = f"{selector[:-1]}(_:)"
        else:
            problems.append(
                f"{sign}[{owner} {selector}] takes several arguments and has no NS_SWIFT_NAME"
            )
            swift = "?"
    if not node.child_kinds("SwiftNameAttr"):
        swift = node.swift_name(swift)
    designated = ", designated" if node.child_kinds("ObjCDesignatedInitializerAttr") else ""
    signature = f"({', '.join(params)})" if params else "()"
    return f"  {sign} {selector} {signature} -> {returns.replace(' __strong', '')}{designated} => {swift}"


def property_line(node):
    found = re.search(r"(?:col|line):[\d:]+ (\w+) '([^']*)'(?::'[^']*')?((?: \w+)*)$", node.text)
    if not found:
        return None
    name, declared, attributes = found.groups()
    # Only what a caller sees: access, memory semantics that matter, class or instance.
    shown = [
        a
        for a in attributes.split()
        if a in ("readonly", "copy", "weak", "class") or a.startswith("getter=")
    ]
    swift = node.swift_name(name)
    return f"  property {name} : {clean_type(declared)}{' (' + ' '.join(shown) + ')' if shown else ''} => {swift}"


def is_forward_declaration(node):
    return node.kind == "ObjCInterfaceDecl" and not any(
        c.kind in ("ObjCMethodDecl", "ObjCPropertyDecl", "SwiftNameAttr", "VisibilityAttr")
        for c in node.children
    )


def error_domain(attribute):
    """The domain an NS_ERROR_ENUM names: clang 14 dumps a reference to it, clang 19 its bare name."""
    found = re.search(r"Var \S+ '(\w+)'", attribute) or re.search(r"> (\w+)$", attribute)
    return found.group(1)


def listing(roots):
    roots = [r for r in roots if not is_forward_declaration(r)]
    problems, lines, enums_seen = [], [], set()
    typed_enums = {}
    for node in roots:
        kind, name = node.kind, decl_name(node)
        if kind == "ObjCInterfaceDecl":
            superclass = re.search(
                r"super ObjCInterface \S+ '(\w+)'", "\n".join(c.text for c in node.children)
            )
            adopted = [
                c.quoted() or re.search(r"'(\w+)'", c.text).group(1)
                for c in node.child_kinds("ObjCProtocol")
            ]
            conforms = f" <{', '.join(adopted)}>" if adopted else ""
            lines.append(
                f"class {name} : {superclass.group(1) if superclass else '?'}{conforms} => "
                f"{node.swift_name(name)}"
            )
            for child in node.children:
                line = (
                    method_line(name, child, problems)
                    if child.kind == "ObjCMethodDecl"
                    else property_line(child)
                    if child.kind == "ObjCPropertyDecl"
                    else None
                )
                if line:
                    lines.append(line)
        elif kind == "ObjCProtocolDecl":
            adopted = [
                re.search(r"'(\w+)'", c.text).group(1) for c in node.child_kinds("ObjCProtocol")
            ]
            lines.append(f"protocol {name} <{', '.join(adopted)}> => {node.swift_name(name)}")
            for child in node.children:
                line = (
                    method_line(name, child, problems)
                    if child.kind == "ObjCMethodDecl"
                    else property_line(child)
                    if child.kind == "ObjCPropertyDecl"
                    else None
                )
                if line:
                    lines.append(line)
        elif kind == "EnumDecl" and node.child_kinds("EnumConstantDecl"):
            if name in enums_seen:
                continue
            enums_seen.add(name)
            flavour = (
                "error domain " + error_domain(node.child_kinds("NSErrorDomainAttr")[0].text)
                if node.child_kinds("NSErrorDomainAttr")
                else "closed"
                if any("Closed" in c.text for c in node.child_kinds("EnumExtensibilityAttr"))
                else "open"
            )
            lines.append(f"enum {name} ({flavour}) => {node.swift_name(name)}")
            for case in node.child_kinds("EnumConstantDecl"):
                case_name = decl_name(case)
                values = re.findall(
                    r"(?:value: Int|IntegerLiteral \S+ <[^>]*> '[^']*') (-?\d+)",
                    "\n".join(descendant_texts(case)),
                )
                swift = case.swift_name(
                    lower_first(case_name[len(name) :] if case_name.startswith(name) else case_name)
                )
                lines.append(f"  case {case_name} = {values[0] if values else '?'} => {swift}")
        elif kind == "TypedefDecl" and node.child_kinds("SwiftNewTypeAttr"):
            swift = node.swift_name(name)
            typed_enums[name] = swift
            lines.append(f"typed enum {name} : {qual_type(node.text)} => {swift}")
        elif kind == "VarDecl":
            declared = qual_type(node.text).replace("const ", "").replace(" _Nonnull", "").strip()
            swift = node.swift_name()
            if swift is None and declared in typed_enums and name.startswith(declared):
                swift = f"{typed_enums[declared]}.{lower_first(name[len(declared):])}"
            lines.append(
                f"  constant {name} : {declared} => {swift or name}"
                if declared in typed_enums
                else f"constant {name} : {declared} => {swift or name}"
            )
        elif kind == "FunctionDecl":
            params = [qual_type(p.text) for p in node.child_kinds("ParmVarDecl")]
            returns = qual_type(node.text).split("(")[0].strip()
            lines.append(
                f"function {name}({', '.join(params)}) -> {returns} => {node.swift_name(name)}"
            )
    return lines, problems


def descendant_texts(node):
    for child in node.children:
        yield child.text
        yield from descendant_texts(child)


def declared_names(framework):
    """Every class, protocol and enumeration the headers declare, read from their text."""
    names = set()
    for header in Path(framework, "Headers").glob("*.h"):
        text = header.read_text()
        names.update(re.findall(r"^@(?:interface|protocol) (\w+)\b(?!;)", text, re.M))
        names.update(re.findall(r"NS_(?:CLOSED_)?ENUM\(\w+, (\w+)\)", text))
        names.update(re.findall(r"NS_ERROR_ENUM\(\w+, (\w+)\)", text))
    return {n for n in names if not n.endswith("()")}


def implemented_methods(metadata):
    """(sign, class, selector) for every entry of every class's method lists. Read from the lists
    themselves: with identical code folded, an entry's implementation may carry another name."""
    found, owner, sign, in_methods = set(), None, "-", False
    for line in metadata.splitlines():
        header = re.match(r"^[0-9a-fA-F]+ 0x[0-9a-fA-F]+ _OBJC_CLASS_\$_(\w+)", line)
        stripped = line.strip()
        if header:
            owner, sign, in_methods = header.group(1), "-", False
        elif stripped == "Meta Class":
            sign, in_methods = "+", False
        elif stripped.startswith("baseMethods"):
            in_methods = True
        elif stripped.startswith(("baseProtocols", "ivars", "weakIvarLayout", "baseProperties")):
            in_methods = False
        elif in_methods and owner and (entry := re.match(r"name 0x[0-9a-fA-F]+ (\S+)$", stripped)):
            found.add((sign, owner, entry.group(1)))
    return found


def runtime_names(framework):
    """Source name -> runtime name of the classes whose headers give them another runtime name."""
    names = {}
    for header in Path(framework, "Headers").glob("*.h"):
        for runtime, source in re.findall(
            r'objc_runtime_name\("(\w+)"\)\)\)\s*(?:\w+\s*)?@interface (\w+)', header.read_text()
        ):
            names[source] = runtime
    return names


def check_binary(framework, lines):
    binary = str(Path(framework, "KorvaneSDK"))
    renamed = runtime_names(framework)
    metadata = subprocess.run(
        ["llvm-objdump", "--macho", "--objc-meta-data", binary], capture_output=True, text=True
    ).stdout
    implemented = implemented_methods(metadata)
    trie = subprocess.run(
        ["llvm-objdump", "--macho", "--exports-trie", binary], capture_output=True, text=True
    ).stdout
    exported = set(re.findall(r"_OBJC_CLASS_\$_(\w+)", trie))
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
            getter = re.search(r"getter=(\w+)", attributes)
            wanted.append((sign, getter.group(1) if getter else name))
            if "readonly" not in attributes.split():
                wanted.append((sign, f"set{name[0].upper()}{name[1:]}:"))
        for sign, selector in wanted:
            checked += 1
            if (sign, owner, selector) not in implemented:
                failures.append(
                    f"{sign}[{owner} {selector}] is not in the binary's Objective-C metadata"
                )
    return failures, checked


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in ("generate", "check"):
        sys.exit(__doc__)
    mode, framework, listing_path = sys.argv[1], sys.argv[2], Path(sys.argv[3])
    sdk = os.environ.get("IOS_SDK") or sys.exit("set IOS_SDK")
    lines, problems = listing(dump_blocks(framework, sdk))
    listed = {
        line.split()[1] for line in lines if line.startswith(("class ", "protocol ", "enum "))
    }
    problems += [
        f"{name} is declared in the headers but missing from the listing"
        for name in sorted(declared_names(framework) - listed)
    ]
    if problems:
        sys.exit("\n".join("API listing: " + p for p in problems))
    text = "\n".join(lines) + "\n"
    if mode == "generate":
        listing_path.write_text(text)
        print(f"API listing: wrote {len(lines)} lines to {listing_path}")
        return
    expected = listing_path.read_text() if listing_path.exists() else ""
    if text != expected:
        diff = difflib.unified_diff(
            expected.splitlines(),
            text.splitlines(),
            str(listing_path),
            "public headers",
            lineterm="",
        )
        # The command names this clang: another one (Swift's, say) prints the headers' macros differently.
        clang_dir = os.path.dirname(shutil.which("clang") or "clang")
        sys.exit(
            "API listing: the public headers differ from the checked-in listing (if the change is "
            f"intended: IOS_SDK={sdk} PATH={clang_dir}:$PATH python3 scripts/ios-api-listing.py generate "
            f"{framework} {listing_path}):\n" + "\n".join(diff)
        )
    failures, checked = check_binary(framework, lines)
    if failures:
        sys.exit("\n".join("API listing: " + f for f in failures))
    print(
        f"API listing: {len(lines)} lines match the headers; {checked} methods and accessors found in the "
        f"binary's Objective-C metadata"
    )


if __name__ == "__main__":
    main()
