"""What the iOS checks read from a Mach-O binary, through llvm-objdump: file type, architecture,
platform and minimum OS, UUID, install name and loaded libraries, sections, exported names, bindings, the
Objective-C method lists and the disassembly. The parse functions take llvm-objdump's text; `read`
and the other readers run it.

usage: python3 -m korvane_ios.macho expect BINARY FILETYPE PLATFORM [LINKED_DYLIB]
  FILETYPE  DYLIB or EXECUTE;  PLATFORM  ios or iossimulator"""

import re
import sys
from dataclasses import dataclass, field

from .tools import ToolError, run

# LC_BUILD_VERSION platform numbers, and the names the XCFramework format uses for them.
PLATFORMS = {"2": "ios", "IOS": "ios", "7": "iossimulator", "IOSSIMULATOR": "iossimulator"}
LOAD_KINDS = ("LC_LOAD_DYLIB", "LC_LOAD_WEAK_DYLIB", "LC_REEXPORT_DYLIB")
MACH_HEADER_64_SIZE = 32
# What codesign adds to an unsigned binary's load commands (a linkedit_data_command).
CODE_SIGNATURE_COMMAND_SIZE = 16


class MachOError(Exception):
    pass


def objdump(*args):
    try:
        return run(["llvm-objdump", "--macho", *args])
    except ToolError as error:
        raise MachOError(str(error)) from error


@dataclass(frozen=True)
class Load:
    kind: str  # one of LOAD_KINDS
    name: str  # the install name

    @property
    def weak(self):
        return self.kind == "LC_LOAD_WEAK_DYLIB"


@dataclass(frozen=True)
class Bind:
    library: str  # llvm-objdump's short name of the library (see short_name)
    symbol: str
    weak_import: bool


@dataclass
class MachO:
    path: str
    filetype: str = ""
    arch: str = ""
    platform: str = ""
    minimum_os: str = ""
    uuid: str = ""
    install_name: str = ""
    loads: list = field(default_factory=list)
    signed: bool = False  # has an LC_CODE_SIGNATURE
    header_room: int = 0  # bytes free between the load commands and the first section

    @property
    def linked(self):
        return [load.name for load in self.loads]

    def exports(self):
        return parse_exports(objdump("--exports-trie", self.path))

    def exported_classes(self):
        return exported_classes(self.exports())

    def binds(self):
        weak = parse_weak_references(run(["llvm-nm", "-m", self.path]))
        return parse_binds(objdump("--bind", "--lazy-bind", self.path), weak)


def parse_header(text):
    """(arch, filetype) from `--private-header`."""
    found = re.search(r"MH_MAGIC_64\s+(\S+)\s+\S+\s+\S+\s+(\S+)", text)
    if not found:
        raise MachOError("not a 64-bit Mach-O file")
    return found.group(1).lower(), found.group(2)


def split_commands(text):
    """The load commands of `--private-headers`, as (command name, its text)."""
    parts = re.split(r"^Load command \d+\n", text, flags=re.M)[1:]
    commands = []
    for part in parts:
        found = re.search(r"^\s*cmd (\S+)", part, re.M)
        if not found:
            raise MachOError("a load command without its cmd line")
        commands.append((found.group(1), part))
    return commands


def parse_commands(binary, text):
    """Fills platform, minimum OS, UUID, install name and loads from `--private-headers`."""
    commands = split_commands(text)
    if not commands:
        raise MachOError("no load commands")
    for name, body in commands:
        value = lambda key: (re.search(rf"^\s*{key} (\S+)", body, re.M) or [None, ""])[1]
        if name == "LC_BUILD_VERSION":
            platform = value("platform")
            binary.platform = PLATFORMS.get(platform.upper(), platform)
            binary.minimum_os = value("minos")
        elif name == "LC_UUID":
            binary.uuid = value("uuid").upper()
        elif name == "LC_ID_DYLIB":
            binary.install_name = value("name")
        elif name == "LC_CODE_SIGNATURE":
            binary.signed = True
        elif name in LOAD_KINDS:
            if not value("name"):
                raise MachOError(f"{name} without a name")
            binary.loads.append(Load(name, value("name")))
    return binary


@dataclass(frozen=True)
class Section:
    segment: str
    name: str
    address: int
    size: int
    offset: int
    type: str


SECTION_FIELDS = ("sectname", "segname", "addr", "size", "offset", "type")


def parse_sections(text):
    """Every section of `llvm-objdump --macho --private-headers`, and the __TEXT segment's
    address (the image base that __init_offsets counts from)."""
    base = None
    for command in re.split(r"^Load command \d+\n", text, flags=re.M)[1:]:
        segment = command.split("\nSection\n", 1)[0]  # its own fields, not its sections'
        if re.search(r"^\s*cmd LC_SEGMENT_64$", segment, re.M) and re.search(
            r"^\s*segname __TEXT$", segment, re.M
        ):
            found = re.search(r"^\s*vmaddr (0x[0-9a-fA-F]+)$", segment, re.M)
            if not found:
                raise MachOError("the __TEXT segment has no vmaddr line")
            base = int(found.group(1), 16)
    if base is None:
        raise MachOError("no __TEXT segment in the load commands")
    sections = []
    for block in re.split(r"^Section\n", text, flags=re.M)[1:]:
        fields = dict(re.findall(rf"^\s*({'|'.join(SECTION_FIELDS)}) (\S+)", block, re.M))
        if missing := sorted(set(SECTION_FIELDS) - set(fields)):
            raise MachOError(f"a section without {', '.join(missing)}")
        sections.append(
            Section(
                fields["segname"],
                fields["sectname"],
                int(fields["addr"], 16),
                int(fields["size"], 16),
                int(fields["offset"]),
                fields["type"],
            )
        )
    return base, sections


def header_room(header_text, commands_text):
    """Bytes free after the load commands (`--private-header` gives their size) up to the first
    section with contents in the file (`--private-headers`): where a tool that adds a load
    command, such as codesign, puts it."""
    found = re.search(r"MH_MAGIC_64\s+\S+\s+\S+\s+\S+\s+\S+\s+\d+\s+(\d+)", header_text)
    if not found:
        raise MachOError("no size of the load commands in the header")
    _, sections = parse_sections(commands_text)
    offsets = [section.offset for section in sections if section.offset and section.size]
    return min(offsets, default=0) - MACH_HEADER_64_SIZE - int(found.group(1))


def parse_exports(text):
    return re.findall(r"^0x[0-9A-Fa-f]+\s+(?:\[[^\]]*\]\s+)?(\S+)", text, re.M)


def exported_classes(exports):
    return sorted(name.split("$_", 1)[1] for name in exports if name.startswith("_OBJC_CLASS_$_"))


def parse_weak_references(text):
    """The undefined symbols `llvm-nm -m` marks weak: the ones bound with weak import."""
    return set(re.findall(r"^\s*\(undefined\) weak external (\S+)", text, re.M))


def parse_binds(text, weak_references=frozenset()):
    """Every entry of `--bind --lazy-bind` (both tables end in "dylib symbol"). llvm-objdump
    marks weak imports in the bind table only; for lazy bindings `weak_references` (from
    parse_weak_references) tells."""
    binds = []
    for line in text.splitlines():
        weak = "(weak_import)" in line
        fields = line.replace("(weak_import)", "").split()
        if len(fields) >= 5 and fields[2].startswith("0x"):
            weak = weak or fields[-1] in weak_references
            binds.append(Bind(fields[-2], fields[-1], weak))
    return binds


def short_name(install_name):
    """The library name llvm-objdump prints in bind tables."""
    name = install_name.rsplit("/", 1)[-1]
    return re.sub(r"\.[A-Z0-9]$", "", re.sub(r"\.dylib$", "", name))


def parse_objc_methods(metadata):
    """(sign, class, selector) for every entry of every class's method lists in
    `--objc-meta-data`. Read from the lists themselves: with identical code folded, an entry's
    implementation may carry another name."""
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


def read(path):
    binary = MachO(str(path))
    try:
        header = objdump("--private-header", binary.path)
        binary.arch, binary.filetype = parse_header(header)
        commands = objdump("--private-headers", binary.path)
        parse_commands(binary, commands)
        binary.header_room = header_room(header, commands)
    except MachOError as error:
        raise MachOError(f"{path}: {error}") from error
    return binary


def main(argv):
    if len(argv) not in (4, 5) or argv[0] != "expect":
        sys.exit(__doc__)
    _, path, filetype, platform, *dylib = argv
    try:
        binary = read(path)
    except MachOError as error:
        sys.exit(str(error))
    wrong = []
    if (binary.arch, binary.filetype, binary.platform) != ("arm64", filetype, platform):
        wrong.append(
            f"an {binary.arch} {binary.filetype} for {binary.platform or 'no platform'}, "
            f"not an arm64 {filetype} for {platform}"
        )
    if dylib and dylib[0] not in binary.linked:
        wrong.append(f"does not link {dylib[0]}")
    if wrong:
        sys.exit(f"{path}: " + "; ".join(wrong))


if __name__ == "__main__":
    main(sys.argv[1:])
