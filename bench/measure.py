"""Runs programs and measures their time and memory."""

import pathlib
import statistics
import subprocess
from typing import NamedTuple


class Figures(NamedTuple):
    """One run: elapsed seconds, seconds of processor time in user and system mode, and peak memory in bytes."""
    wall: float
    cpu: float
    peak: int


class Best:
    """Several runs: the least of each time, as whatever else the machine does only ever adds to it, and the most memory.

    spread is how far the median of the processor times lies above the least, as a share of it: where it is large, the
    machine was busy, and the least may be too much as well.
    """

    def __init__(self, runs):
        self.wall = min(run.wall for run in runs)
        self.cpu = min(run.cpu for run in runs)
        self.peak = max(run.peak for run in runs)
        self.spread = statistics.median(run.cpu for run in runs) / self.cpu - 1


class Runner:
    """Runs programs through bin/resources; resources.cpp gives the reason."""

    def __init__(self, programs, scratch):
        self.resources = pathlib.Path(programs, "resources")
        self.figures = pathlib.Path(scratch, "figures")

    def run(self, *command, output=subprocess.DEVNULL, errors=None):
        """Runs it to its end, which must be a success. output is where standard output goes, by default nowhere; errors the
        same for standard error, by default where that of this process goes."""
        if isinstance(output, pathlib.Path):
            with open(output, "wb") as file:
                return self.run(*command, output=file, errors=errors)
        words = [str(word) for word in (self.resources, self.figures, *command)]
        subprocess.run(words, stdin=subprocess.DEVNULL, stdout=output, stderr=errors, check=True)
        wall, user, system, peak, status = self.figures.read_text().split()
        if status != "0":
            raise RuntimeError(f"Status {status} of {' '.join(words[2:])}")
        return Figures(float(wall), float(user) + float(system), 1024 * int(peak))


def in_turn(rounds, *runs):
    """Calls the functions in turn, A B A B, so that all of them see the same machine. Returns the best of each."""
    figures = [[run() for run in runs] for _ in range(rounds)]
    return [Best(column) for column in zip(*figures)]
