"""Finds the options and columns that the programs take, by trying them."""

import os
import pathlib
import re
import string
import subprocess

from server import LOGIN
from tool import run

SOURCES = pathlib.Path(__file__).parents[2] / "src"
SANDBOX = os.environ["MORVEX_SANDBOX"]
NO_LOGIN = "Caught error: Error getting password\n"  # a run with the right usage ends so, as it has no terminal


class Probes:
    """For each command word its options, by letter, and whether they take a value. The word "" has the global options."""

    def __init__(self, server):
        self.server = server
        words = set(re.findall(r'"(\w+)"', "".join(file.read_text() for file in SOURCES.glob("*.cpp"))))
        self.commands = {word for word in words if "Unrecognized command" not in run("-l", "a", word).err}
        assert {"select", "mm"} < self.commands
        self.options = {}
        for command in ["", *self.commands]:
            found = {letter: self.takes(command, letter) for letter in string.ascii_letters}
            self.options[command] = {letter: takes for letter, takes in found.items() if takes is not None}
        self.columns = {command: {letter for letter in string.ascii_letters if self.runs(command, "-o", letter, ".")}
                        for command in self.commands if "o" in self.options[command]}

    @staticmethod
    def runs(command, *args):
        return run("-l", "a", command, *args).err == NO_LOGIN

    def takes(self, command, letter):
        """Whether the option takes a value. None: there is no such option."""
        if command in ("monitormetrics", "mm"):  # any other word is the name of a metric
            err = run(*self.server, *LOGIN, command, f"-{letter}", "none").err
            assert err in (f"Could not monitor: -{letter}\n", "Could not monitor: none\n")
            return False if "none" in err else None
        code, out, err = run(*(["-l", "a", command] if command else []), f"-{letter}")
        if err == NO_LOGIN or f"Unknown option -{letter}\n" in err:  # it is a path, or is ignored
            return None
        assert code == 0 or re.search("No path|No command|Missing parameter", err), err
        return "Missing parameter" in err


def sandbox_options():
    text = subprocess.run([SANDBOX, "--help"], stdout=subprocess.PIPE, text=True, check=True).stdout
    return {name: bool(value) for name, value in re.findall(r"^  --(\w+)( [A-Z]+)?", text, re.M)}
