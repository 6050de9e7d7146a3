"""Runs the program with its output in pipes, and the sandbox. Wine runs the Windows program; its line ends and the system's
texts are then replaced by those of Linux, so that all tables hold."""

import contextlib
import os
import re
import signal
import subprocess
from typing import NamedTuple

import pytest

TOOL = os.environ["MORVEX_TOOL"]
LAUNCHER = os.environ.get("MORVEX_LAUNCHER")  # the path of wine64; not set on Linux
WINDOWS = LAUNCHER is not None
COMMAND = [LAUNCHER, TOOL] if WINDOWS else [TOOL]  # starts the program without a shell
SANITIZED = os.environ.get("MORVEX_SANITIZED") == "1"
RUN = 'exec "$0" "$@"'  # the line of shell that starts a program and does nothing else
PATIENCE = 300 if SANITIZED else 90  # seconds; a run that takes longer has failed


SYSTEM_TEXTS = {  # the texts of Wine, and those of Linux
    "Connection reset by peer. (10054)": "Connection reset by peer (104)",
    "Connection refused. (10061)": "Connection refused (111)",
}


def linux(reason):
    """Marks a test that has no counterpart on Windows, or that Wine cannot run."""
    return pytest.mark.skipif(WINDOWS, reason=f"Linux's alone: {reason}")


class Run(NamedTuple):
    code: int  # negative: the number of the signal that ended the run
    out: str
    err: str


def environment(zone):
    """This process's environment, with the given time zone, or without TZ for None. Wine takes its system's zone from TZ too."""
    env = {name: value for name, value in os.environ.items() if name != "TZ"}
    return env if zone is None else env | {"TZ": zone}


def printed(data):
    """The text of the program's output. Fails if a line of the Windows program has no carriage return."""
    shown = data.decode(errors="surrogateescape")
    if WINDOWS:
        assert not re.search(r"(?<!\r)\n", shown), shown
        shown = shown.replace("\r\n", "\n")
        for theirs, ours in SYSTEM_TEXTS.items():
            shown = shown.replace(theirs, ours)
    return shown


def command(args, zone):
    """The Windows program knows only the system's zone by a name, and uses it if TZ is not set."""
    if WINDOWS and zone and "/" in zone:
        return [LAUNCHER, "cmd.exe", "/c", f"set TZ=& {command_line(args)}"]
    return [*COMMAND, *args]


def command_line(args):
    """A line for cmd.exe that runs the program."""
    return subprocess.list2cmdline(["Z:" + TOOL.replace("/", "\\"), *args])


def run(*args, zone="UTC", shell=RUN, **streams):
    """Runs the program behind a line of shell. It has no terminal, so it cannot ask for a password."""
    streams = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE} | streams
    done = subprocess.run(["/bin/sh", "-c", shell, *command(args, zone)], env=environment(zone), timeout=PATIENCE,
                          start_new_session=True, check=False, **streams)
    return Run(done.returncode, printed(done.stdout or b""), printed(done.stderr or b""))


def faulty(rules, redirection=""):
    """The line of shell for a run whose system calls fail by the rules of tests/platform/posix/faulty_system.cpp."""
    preload = os.environ.get("MORVEX_FAULTY_SYSTEM", "")
    return f'export LD_PRELOAD="{preload}" MORVEX_FAULT="{rules}"; exec "$0" "$@" {redirection}'


@contextlib.contextmanager
def sandbox(*options):
    """Runs a sandbox and yields the options with its address. It takes the login of server.LOGIN."""
    command = [os.environ["MORVEX_SANDBOX"], "--port", "0", "--login", "anna", "--password", "secret", *options]
    process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
    host, port = re.search(r"(\S+):(\d+)$", process.stdout.readline().rstrip()).groups()
    yield ["-s", host, "-p", port]
    process.send_signal(signal.SIGTERM)
    assert process.wait(PATIENCE) == 0
