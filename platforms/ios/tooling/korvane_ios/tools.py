"""Running the external tools the checks read: output is read whole, a failure is an error."""

import os
import shutil
import subprocess
from pathlib import Path


class ToolError(Exception):
    """A tool failed or could not be found, or its output was not what a reader expects."""


def run(args, *, cwd=None, env=None, input_text=None):
    """The tool's standard output; ToolError with its standard error when it fails."""
    try:
        done = subprocess.run(
            [str(a) for a in args],
            capture_output=True,
            text=True,
            cwd=cwd,
            env=env,
            input=input_text,
        )
    except OSError as error:
        raise ToolError(f"{args[0]}: {error}") from error
    if done.returncode != 0:
        shown = " ".join(str(a) for a in args[1:])
        raise ToolError(f"{Path(str(args[0])).name} {shown}: {done.stderr.strip()}")
    return done.stdout


def find(*candidates):
    """The first candidate that is an executable path or a command on PATH, else None."""
    for candidate in candidates:
        if not candidate:
            continue
        if os.sep in candidate:
            if os.access(candidate, os.X_OK):
                return candidate
        elif found := shutil.which(candidate):
            return found
    return None
