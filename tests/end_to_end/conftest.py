import pytest
from server import LOGIN
from tool import WINDOWS, Run, run, sandbox

collect_ignore = [] if WINDOWS else ["test_windows.py"]


def pytest_make_parametrize_id(val):
    """Short, as pytest puts the name into the environment of each run, and some rows hold megabytes."""
    return getattr(val, "__name__", repr(val)[:40])


@pytest.fixture(scope="module")
def server():
    with sandbox() as options:
        yield options


def asks(server):
    def lines(*args, **options):
        result = run(*server, *LOGIN, *args, **options)
        assert result == Run(0, result.out, ""), args
        return result.out.splitlines()
    return lines


@pytest.fixture(scope="module")
def ask(server):
    return asks(server)
