"""The tests read recorded tool output from fixtures/ (see record_fixtures.py) and need no SDK,
no Swift toolchain and no LLVM."""

import json
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

FIXTURES = Path(__file__).resolve().parent / "fixtures"


def path(name):
    """A fixture's path, looked up when called, so that a test can swap in damaged copies."""
    return FIXTURES / name


def text(name):
    return path(name).read_text()


def data(name):
    return json.loads(text(name))


@pytest.fixture
def fixtures():
    return FIXTURES
