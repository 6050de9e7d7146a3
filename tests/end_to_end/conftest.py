import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "support"))


def pytest_make_parametrize_id(val):
    """Short: a name reaches the environment of each run, and some rows hold megabytes."""
    return getattr(val, "__name__", repr(val)[:40])
