"""Makes an iPhoneSimulator SDK out of an iPhoneOS SDK that has no simulator counterpart (an SDK
unpacked off macOS). Headers are shared with the device SDK through hard links; every .tbd stub is
rewritten (tbd v5, arm64 only) to name the arm64 simulator instead of the device, which is all the
linker needs to link a simulator binary against it, and every Swift module gets an interface for
the arm64 Simulator beside its device one. The folder is named iPhoneSimulator<version>.sdk,
as build tools expect, and its settings name the simulator platform.

Runs once per SDK: a finished copy carries a stamp naming its source and this script's format, and
is reused while both match. Prints the simulator SDK's path.

usage: python3 -m korvane_ios.simulator_sdk DEVICE_SDK [DEST_DIR]
  DEST_DIR  where the simulator SDK goes (default: beside DEVICE_SDK)"""
import json
import os
import plistlib
import re
import shutil
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from . import stubs

FORMAT = "korvane-simulator-sdk 2"
STAMP = ".korvane-simulator-sdk"
DEVICE_TARGET = "arm64-ios"
SIMULATOR_TARGET = "arm64-ios-simulator"


def retarget_targets(node):
    """Swaps the device target for the simulator's wherever a v5 document names targets."""
    if isinstance(node, dict):
        return {
            key: (
                SIMULATOR_TARGET
                if key == "target" and value == DEVICE_TARGET
                else [SIMULATOR_TARGET if t == DEVICE_TARGET else t for t in value]
                if key == "targets" and isinstance(value, list)
                else retarget_targets(value)
            )
            for key, value in node.items()
        }
    if isinstance(node, list):
        return [retarget_targets(item) for item in node]
    return node


def retarget_stub(stub):
    """Rewrites one stub in place (it is a hard link into the device SDK: unlink first). Returns an
    error text, or None. A stub without arm64 is dropped: nothing for the simulator to link."""
    # Some snapshots store a stub's symbolic link as a file holding the target's name: make it a
    # link again, so that it follows the retargeted target.
    if stub.stat().st_size < 256:
        target = stub.read_bytes().strip().decode(errors="replace")
        if "\n" not in target and (stub.parent / target).is_file():
            stub.unlink()
            stub.symlink_to(target)
            return None
    try:
        document = retarget_targets(stubs.to_json(stub))
    except stubs.StubError as error:
        stub.unlink()
        return None if "arm64" in str(error) else f"{stub}: {error}"
    stub.unlink()
    stub.write_text(json.dumps(document, indent=1))
    return None


def simulator_interfaces(sdk):
    """Gives every Swift module of the SDK an interface for the arm64 Simulator. A device SDK has
    arm64e-apple-ios interfaces only; the same text serves once the target it names is the
    Simulator's, since compilers build each module from its interface anyway. Inside the SDK, they
    count as the SDK's: dsymutil leaves them out of dSYMs as it does any SDK module."""
    written = 0
    for interface in sdk.rglob("*.swiftmodule/arm64e-apple-ios.swiftinterface"):
        text = re.sub(
            r"-target arm64e-apple-ios([0-9.]+)",
            r"-target arm64-apple-ios\1-simulator",
            interface.read_text(),
        )
        interface.with_name("arm64-apple-ios-simulator.swiftinterface").write_text(text)
        written += 1
    return written


def retarget_settings(sdk, version):
    settings = sdk / "SDKSettings.json"
    if settings.exists():
        data = json.loads(settings.read_text())
        data["CanonicalName"] = f"iphonesimulator{version}"
        data["DisplayName"] = f"iOS {version} Simulator"
        data.setdefault("DefaultProperties", {})["PLATFORM_NAME"] = "iphonesimulator"
        settings.unlink()
        settings.write_text(json.dumps(data, indent=1))
    plist = sdk / "SDKSettings.plist"
    if plist.exists():
        data = plistlib.loads(plist.read_bytes())
        data["CanonicalName"] = f"iphonesimulator{version}"
        data["DisplayName"] = f"iOS {version} Simulator"
        data.setdefault("DefaultProperties", {})["PLATFORM_NAME"] = "iphonesimulator"
        plist.unlink()
        plist.write_bytes(plistlib.dumps(data))


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    device = Path(sys.argv[1]).resolve()
    match = re.fullmatch(r"iPhoneOS(\d+(?:\.\d+)*)\.sdk", device.name)
    if not match or not (device / "usr" / "include").is_dir():
        sys.exit(f"{device} is not an iPhoneOS<version>.sdk folder")
    version = match.group(1)
    dest = Path(sys.argv[2]).resolve() if len(sys.argv) == 3 else device.parent
    simulator = dest / f"iPhoneSimulator{version}.sdk"
    stamp_text = f"{FORMAT}\n{device}\n"
    stamp = simulator / STAMP
    if stamp.exists() and stamp.read_text() == stamp_text:
        print(simulator)
        return

    try:
        stubs.readtapi()
    except stubs.StubError as error:
        sys.exit(str(error))
    partial = dest / f".iPhoneSimulator{version}.sdk.partial"
    shutil.rmtree(partial, ignore_errors=True)
    # Hard links share the headers; the same volume is needed for that, else a plain copy.
    try:
        subprocess.run(["cp", "-al", str(device), str(partial)], check=True, capture_output=True)
    except subprocess.CalledProcessError:
        shutil.copytree(device, partial, symlinks=True)
    stub_paths = [p for p in partial.rglob("*.tbd") if p.is_file() and not p.is_symlink()]
    with ThreadPoolExecutor(max_workers=os.cpu_count() or 2) as pool:
        errors = [e for e in pool.map(retarget_stub, stub_paths) if e]
    if errors:
        sys.exit("could not retarget the SDK's stubs:\n" + "\n".join(errors[:20]))
    retarget_settings(partial, version)
    interfaces = simulator_interfaces(partial)
    (partial / STAMP).write_text(stamp_text)
    shutil.rmtree(simulator, ignore_errors=True)
    partial.rename(simulator)
    print(
        f"retargeted {len(stub_paths)} stubs and {interfaces} Swift interfaces for {SIMULATOR_TARGET}",
        file=sys.stderr,
    )
    print(simulator)


if __name__ == "__main__":
    main()
