#!/usr/bin/env python3
"""Checks a built KorvaneSDK.framework: an arm64 iOS dynamic library with the right install name and
minimum OS, exporting Objective-C classes and Korvane C symbols only (no C++), with its Info.plist,
module map, umbrella header (importing every public header) and privacy manifest.

usage: ios-check-framework.py FRAMEWORK_DIR VERSION_TEXT MINIMUM_OS [CLASS ...]
  CLASS  Objective-C classes that must be exported (besides whatever else is)"""
import plistlib
import re
import subprocess
import sys
from pathlib import Path

failures = []


def fail(message):
    failures.append(message)


def tool(*args):
    # Output is read whole before anything looks at it: no early-exiting reader on a pipe.
    done = subprocess.run(args, capture_output=True, text=True)
    if done.returncode != 0:
        fail(f"{' '.join(args)} exited with {done.returncode}: {done.stderr.strip()}")
    return done.stdout


def check_binary(binary, minimum_os, classes):
    header = tool("llvm-objdump", "--macho", "--private-header", str(binary))
    if not re.search(r"MH_MAGIC_64\s+ARM64\s+\S+\s+\S+\s+DYLIB", header):
        fail(f"{binary} is not an arm64 Mach-O dynamic library:\n{header}")
    install_name = tool("llvm-objdump", "--macho", "--dylib-id", str(binary)).split()[-1:]
    if install_name != ["@rpath/KorvaneSDK.framework/KorvaneSDK"]:
        fail(f"install name is {install_name}, not @rpath/KorvaneSDK.framework/KorvaneSDK")
    commands = tool("llvm-objdump", "--macho", "--private-headers", str(binary))
    build = re.search(r"cmd LC_BUILD_VERSION.*?platform (\S+).*?minos (\S+)", commands, re.S)
    if not build or build.group(1).upper() not in ("2", "IOS") or build.group(2) != minimum_os:
        fail(f"not built for iOS {minimum_os}: {build.groups() if build else 'no LC_BUILD_VERSION'}")
    trie = tool("llvm-objdump", "--macho", "--exports-trie", str(binary))
    exported = re.findall(r"^0x[0-9A-Fa-f]+\s+(?:\[[^\]]*\]\s+)?(\S+)", trie, re.M)
    allowed = re.compile(r"^(_OBJC_(META)?CLASS_\$_\w+|_Korvane\w+)$")
    stray = [name for name in exported if not allowed.match(name)]
    if stray:
        fail("exported symbols beyond the Objective-C API: " + ", ".join(sorted(stray)[:20]))
    exported_classes = {name.split("$_", 1)[1] for name in exported if name.startswith("_OBJC_CLASS_$_")}
    missing = sorted(set(classes) - exported_classes)
    if missing:
        fail("classes not exported: " + ", ".join(missing))
    return exported


def check_bundle(framework, version, minimum_os):
    try:
        info = plistlib.loads((framework / "Info.plist").read_bytes())
    except Exception as error:  # noqa: BLE001 - any unreadable plist is a failure
        fail(f"Info.plist: {error}")
        info = {}
    expected = {
        "CFBundleExecutable": "KorvaneSDK",
        "CFBundlePackageType": "FMWK",
        "MinimumOSVersion": minimum_os,
        "KorvaneSDKVersion": version,
        "CFBundleShortVersionString": re.match(r"\d+\.\d+\.\d+", version).group(0),
    }
    for key, value in expected.items():
        if info.get(key) != value:
            fail(f"Info.plist {key} is {info.get(key)!r}, expected {value!r}")
    if not info.get("CFBundleIdentifier"):
        fail("Info.plist has no CFBundleIdentifier")

    modulemap = framework / "Modules" / "module.modulemap"
    if not modulemap.is_file() or 'umbrella header "KorvaneSDK.h"' not in modulemap.read_text():
        fail("Modules/module.modulemap is missing or names no umbrella header KorvaneSDK.h")
    headers = framework / "Headers"
    umbrella = headers / "KorvaneSDK.h"
    if not umbrella.is_file():
        fail("Headers/KorvaneSDK.h is missing")
    else:
        names = [h.name.lower() for h in headers.glob("*.h")]
        if len(names) != len(set(names)):
            fail("public headers whose names differ only in case (one file on macOS): " + ", ".join(names))
        imported = set(re.findall(r"#import <KorvaneSDK/([^>]+)>", umbrella.read_text()))
        loose = sorted(h.name for h in headers.glob("*.h") if h.name != "KorvaneSDK.h" and h.name not in imported)
        if loose:
            fail("public headers the umbrella does not import: " + ", ".join(loose))

    try:
        privacy = plistlib.loads((framework / "PrivacyInfo.xcprivacy").read_bytes())
        if not privacy.get("NSPrivacyAccessedAPITypes") or "NSPrivacyTracking" not in privacy:
            fail("PrivacyInfo.xcprivacy declares no accessed API types or no tracking flag")
    except Exception as error:  # noqa: BLE001
        fail(f"PrivacyInfo.xcprivacy: {error}")


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    framework = Path(sys.argv[1])
    version, minimum_os, classes = sys.argv[2], sys.argv[3], sys.argv[4:]
    exported = check_binary(framework / "KorvaneSDK", minimum_os, classes)
    check_bundle(framework, version, minimum_os)
    if failures:
        print("\n".join("framework check: " + f for f in failures), file=sys.stderr)
        sys.exit(1)
    classes_out = sum(1 for name in exported if name.startswith("_OBJC_CLASS_$_"))
    print(f"{framework}: arm64 iOS {minimum_os} dylib, {classes_out} Objective-C classes and "
          f"{len(exported) - 2 * classes_out} C symbols exported, bundle complete")


if __name__ == "__main__":
    main()
