"""Checks a built KorvaneSDK.framework: an arm64 dynamic library for its platform (device or
Simulator) with the right install name, minimum OS, a UUID and room in its header for the code
signature an app's build adds, exporting Objective-C classes,
Korvane C symbols and its Swift layer's symbols only (no C++), with its Info.plist naming the same
platform, module map, umbrella header (importing every public header), Swift module interface
(when it has a Swift layer) and privacy manifest.

usage: python3 -m korvane_ios.framework FRAMEWORK_DIR VERSION_TEXT MINIMUM_OS PLATFORM [CLASS ...]
  PLATFORM  ios or iossimulator
  CLASS     Objective-C classes that must be exported (besides whatever else is)"""
import plistlib
import re
import subprocess
import sys
from pathlib import Path

from .macho import CODE_SIGNATURE_COMMAND_SIZE, MachOError, read

BUNDLE_PLATFORMS = {"ios": "iPhoneOS", "iossimulator": "iPhoneSimulator"}


def check_binary(failures, path, minimum_os, platform, classes):
    try:
        binary = read(path)
        exported = binary.exports()
    except MachOError as error:
        failures.append(str(error))
        return []
    if (binary.arch, binary.filetype) != ("arm64", "DYLIB"):
        failures.append(
            f"{path} is an {binary.arch} {binary.filetype}, not an arm64 Mach-O dynamic library"
        )
    if binary.install_name != "@rpath/KorvaneSDK.framework/KorvaneSDK":
        failures.append(
            f"install name is {binary.install_name!r}, not @rpath/KorvaneSDK.framework/KorvaneSDK"
        )
    if (binary.platform, binary.minimum_os) != (platform, minimum_os):
        failures.append(
            f"built for {binary.platform or 'no platform'} {binary.minimum_os}, not {platform} {minimum_os}"
        )
    if not binary.uuid:
        failures.append("no LC_UUID: crash reports could not be matched to a dSYM")
    # Xcode signs the framework when it embeds it in an app, adding the signature's load command.
    if not binary.signed and binary.header_room < CODE_SIGNATURE_COMMAND_SIZE:
        failures.append(
            f"{binary.header_room} bytes free after the load commands: no room for the code "
            "signature an app's build adds"
        )
    # Swift symbols are the Swift layer's: each names the module (10KorvaneSDK), or is an
    # extension of its Objective-C classes, whose mangling abbreviates the module as 0A3SDK.
    allowed = re.compile(
        r"^(_OBJC_(META)?CLASS_\$_\w+|_Korvane\w+|_\$s\S*(10KorvaneSDK|0A3SDK)\S*)$"
    )
    stray = [name for name in exported if not allowed.match(name)]
    if stray:
        failures.append(
            "exported symbols beyond the Objective-C API and its Swift layer: "
            + ", ".join(sorted(stray)[:20])
        )
    missing = sorted(set(classes) - set(binary.exported_classes()))
    if missing:
        failures.append("classes not exported: " + ", ".join(missing))
    return exported


def check_bundle(failures, framework, version, minimum_os, platform, exported):
    try:
        info = plistlib.loads((framework / "Info.plist").read_bytes())
    except Exception as error:  # noqa: BLE001 - any unreadable plist is a failure
        failures.append(f"Info.plist: {error}")
        info = {}
    expected = {
        "CFBundleExecutable": "KorvaneSDK",
        "CFBundlePackageType": "FMWK",
        "MinimumOSVersion": minimum_os,
        "KorvaneSDKVersion": version,
        "CFBundleShortVersionString": re.match(r"\d+\.\d+\.\d+", version).group(0),
        "CFBundleSupportedPlatforms": [BUNDLE_PLATFORMS[platform]],
        "DTPlatformName": BUNDLE_PLATFORMS[platform].lower(),
    }
    for key, value in expected.items():
        if info.get(key) != value:
            failures.append(f"Info.plist {key} is {info.get(key)!r}, expected {value!r}")
    if not info.get("CFBundleIdentifier"):
        failures.append("Info.plist has no CFBundleIdentifier")

    # With the Swift layer: its module interface, readable by later compilers, for this slice.
    swiftmodule = framework / "Modules" / "KorvaneSDK.swiftmodule"
    if any(name.startswith("_$s") for name in exported):
        triple = "arm64-apple-ios" + ("-simulator" if platform == "iossimulator" else "")
        for suffix in ("swiftinterface", "private.swiftinterface", "swiftdoc"):
            if not (swiftmodule / f"{triple}.{suffix}").is_file():
                failures.append(
                    f"the binary has a Swift layer but Modules/KorvaneSDK.swiftmodule has no {triple}.{suffix}"
                )
    elif swiftmodule.exists():
        failures.append("Modules/KorvaneSDK.swiftmodule ships without a Swift layer in the binary")

    modulemap = framework / "Modules" / "module.modulemap"
    if not modulemap.is_file() or 'umbrella header "KorvaneSDK.h"' not in modulemap.read_text():
        failures.append(
            "Modules/module.modulemap is missing or names no umbrella header KorvaneSDK.h"
        )
    headers = framework / "Headers"
    umbrella = headers / "KorvaneSDK.h"
    if not umbrella.is_file():
        failures.append("Headers/KorvaneSDK.h is missing")
    else:
        names = [h.name.lower() for h in headers.glob("*.h")]
        if len(names) != len(set(names)):
            failures.append(
                "public headers whose names differ only in case (one file on macOS): "
                + ", ".join(names)
            )
        imported = set(re.findall(r"#import <KorvaneSDK/([^>]+)>", umbrella.read_text()))
        loose = sorted(
            h.name
            for h in headers.glob("*.h")
            if h.name != "KorvaneSDK.h" and h.name not in imported
        )
        if loose:
            failures.append("public headers the umbrella does not import: " + ", ".join(loose))

    try:
        privacy = plistlib.loads((framework / "PrivacyInfo.xcprivacy").read_bytes())
        if not privacy.get("NSPrivacyAccessedAPITypes") or "NSPrivacyTracking" not in privacy:
            failures.append(
                "PrivacyInfo.xcprivacy declares no accessed API types or no tracking flag"
            )
        # Apple's rule: a manifest that says it tracks names at least one tracking domain.
        if privacy.get("NSPrivacyTracking") and not privacy.get("NSPrivacyTrackingDomains"):
            failures.append("PrivacyInfo.xcprivacy declares tracking but no tracking domain")
    except Exception as error:  # noqa: BLE001
        failures.append(f"PrivacyInfo.xcprivacy: {error}")


def main():
    if len(sys.argv) < 5 or sys.argv[4] not in BUNDLE_PLATFORMS:
        sys.exit(__doc__)
    framework = Path(sys.argv[1])
    version, minimum_os, platform, classes = sys.argv[2], sys.argv[3], sys.argv[4], sys.argv[5:]
    failures = []
    exported = check_binary(failures, framework / "KorvaneSDK", minimum_os, platform, classes)
    check_bundle(failures, framework, version, minimum_os, platform, exported)
    if failures:
        print("\n".join("framework check: " + f for f in failures), file=sys.stderr)
        sys.exit(1)
    classes_out = sum(1 for name in exported if name.startswith("_OBJC_CLASS_$_"))
    swift_out = sum(1 for name in exported if name.startswith("_$s"))
    print(
        f"{framework}: arm64 {platform} {minimum_os} dylib, {classes_out} Objective-C classes, "
        f"{len(exported) - 2 * classes_out - swift_out} C symbols and {swift_out} Swift symbols "
        f"exported, bundle complete"
    )


if __name__ == "__main__":
    main()
