"""Every public declaration of the headers carries a doc comment (`///` above it or `///<` after
it, which clang attaches to it), read from the same JSON AST as the API listing. Declarations
marked NS_UNAVAILABLE cannot be called and need none; forward declarations are not declarations
of their own."""

from pathlib import Path

from .headers_ast import children, has

TOP_LEVEL = (
    "ObjCInterfaceDecl",
    "ObjCProtocolDecl",
    "EnumDecl",
    "TypedefDecl",
    "VarDecl",
    "FunctionDecl",
)
MEMBERS = ("ObjCMethodDecl", "ObjCPropertyDecl", "EnumConstantDecl")


def declarations(decls):
    """Top-level declarations (forward ones and empty enum references left out) and members."""
    for node in decls:
        kind = node["kind"]
        if kind not in TOP_LEVEL:
            continue
        if kind == "ObjCInterfaceDecl" and not node.get("inner"):
            continue
        if kind == "ObjCProtocolDecl" and not node.get("inner") and not node.get("protocols"):
            continue
        if kind == "EnumDecl" and not has(node, "EnumConstantDecl"):
            continue
        yield node
        for member in children(node, *MEMBERS):
            if not member.get("isImplicit"):
                yield member


def undocumented(decls):
    """FILE:LINE: KIND NAME of every public declaration without a doc comment."""
    missing = []
    for node in declarations(decls):
        if has(node, "UnavailableAttr") or has(node, "FullComment"):
            continue
        loc = node.get("loc", {})
        loc = loc.get("expansionLoc", loc)
        where = f"{Path(loc.get('file', '?')).name}:{loc.get('line', '?')}"
        missing.append(f"{where}: {node['kind']} {node.get('name', '')}")
    return missing
