"""A system that fails: no memory, no room for output, calls that are interrupted or refused."""

import os
from concurrent.futures import ThreadPoolExecutor

import pytest
from server import LOGIN, caught
from tool import SANITIZED, Run, faulty, run, sandbox

STRIDE = 1 if os.environ.get("MORVEX_EVERY") == "1" else 5  # the long form leaves nothing out
UNKNOWN, NO_ZONE = "Caught unknown exception.\n", "Caught error: Couldn't set TZ environment variable\n"
unsanitized = pytest.mark.skipif(SANITIZED, reason="the sanitizers bring an allocator and system calls of their own")


@pytest.fixture(scope="module")
def small():
    with sandbox("--rows", "3") as options:
        yield [*options, *LOGIN]


@unsanitized
@pytest.mark.parametrize("step", [0, 1], ids=["alone", "from"])
@pytest.mark.parametrize("args", ["select -b 1 .,scale,enum", "insert .,scale,sawtooth", "listnodes -r Backbone"])
def test_memory_refused(small, tmp_path, args, step):
    def starve(number, outcome="e12"):
        (tmp_path / f"{number}").write_text(f"header\n{number},{number},1,2,3,4,5\n")
        files = ["-f", str(tmp_path / f"{number}")] if "insert" in args else []
        return run(*small, *files, *args.split(), zone="Europe/Copenhagen", shell=faulty(f"alloc:{number}:{step}:{outcome}"))

    whole = starve(1, "c0")
    numbers, stored = range(1, int(whole.err) + 1, STRIDE), []
    assert len(numbers) * STRIDE > 100
    with ThreadPoolExecutor(2) as pool:
        for number, result in zip(numbers, pool.map(starve, numbers)):
            stored += [f"{number},{number},1,2,3,4,5"] if result.code == 0 else []
            known = [Run(0, whole.out, ""), *[Run(1, result.out, text) for text in (UNKNOWN, NO_ZONE)]]
            assert result in known and whole.out.startswith(result.out), number
    if "insert" in args:
        rows = run(*small, *"select -u -b 1 -e 1000000 .,scale,sawtooth".split()).out.splitlines()
        assert {*stored} <= {*rows}
