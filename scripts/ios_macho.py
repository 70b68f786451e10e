#!/usr/bin/env python3
"""What the iOS checks read from a Mach-O binary, through llvm-objdump: file type, architecture,
platform and minimum OS, UUID, linked and exported names. Importable by the other iOS scripts, and
a command line of its own:

usage: ios_macho.py expect BINARY FILETYPE PLATFORM [LINKED_DYLIB]
  FILETYPE  DYLIB or EXECUTE;  PLATFORM  ios or iossimulator"""
import re
import subprocess
import sys
from dataclasses import dataclass, field

# LC_BUILD_VERSION platform numbers, and the names the XCFramework format uses for them.
PLATFORMS = {"2": "ios", "IOS": "ios", "7": "iossimulator", "IOSSIMULATOR": "iossimulator"}


class MachOError(Exception):
    pass


def objdump(*args):
    # Output is read whole before anything looks at it: no early-exiting reader on a pipe.
    done = subprocess.run(["llvm-objdump", "--macho", *args], capture_output=True, text=True)
    if done.returncode != 0:
        raise MachOError(f"llvm-objdump {' '.join(args)}: {done.stderr.strip()}")
    return done.stdout


@dataclass
class MachO:
    path: str
    filetype: str = ""
    arch: str = ""
    platform: str = ""
    minimum_os: str = ""
    uuid: str = ""
    install_name: str = ""
    linked: list = field(default_factory=list)

    def exports(self):
        trie = objdump("--exports-trie", self.path)
        return re.findall(r"^0x[0-9A-Fa-f]+\s+(?:\[[^\]]*\]\s+)?(\S+)", trie, re.M)

    def exported_classes(self):
        return sorted(
            name.split("$_", 1)[1] for name in self.exports() if name.startswith("_OBJC_CLASS_$_")
        )


def read(path):
    binary = MachO(str(path))
    header = objdump("--private-header", binary.path)
    found = re.search(r"MH_MAGIC_64\s+(\S+)\s+\S+\s+\S+\s+(\S+)", header)
    if not found:
        raise MachOError(f"{path} is not a 64-bit Mach-O file")
    binary.arch = found.group(1).lower()
    binary.filetype = found.group(2)
    commands = objdump("--private-headers", binary.path)
    build = re.search(r"cmd LC_BUILD_VERSION.*?platform (\S+).*?minos (\S+)", commands, re.S)
    if build:
        binary.platform = PLATFORMS.get(build.group(1).upper(), build.group(1))
        binary.minimum_os = build.group(2)
    uuid = re.search(r"cmd LC_UUID.*?uuid (\S+)", commands, re.S)
    binary.uuid = uuid.group(1).upper() if uuid else ""
    identity = re.search(r"cmd LC_ID_DYLIB.*?name (\S+)", commands, re.S)
    binary.install_name = identity.group(1) if identity else ""
    binary.linked = re.findall(
        r"cmd LC_(?:LOAD|LOAD_WEAK|REEXPORT)_DYLIB.*?name (\S+)", commands, re.S
    )
    return binary


def main():
    if len(sys.argv) not in (5, 6) or sys.argv[1] != "expect":
        sys.exit(__doc__)
    _, _, path, filetype, platform, *dylib = sys.argv
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
    main()
