"""Runs the real program: on pipes, behind a line of shell, or with a terminal of its own; and the sandbox. The Windows
program is started by Wine; its line ends and the system's texts are brought to those of Linux, so that all tables hold."""

import contextlib
import fcntl
import os
import pty
import re
import select
import signal
import struct
import subprocess
import termios
from typing import NamedTuple

import pytest

TOOL = os.environ["MORVEX_TOOL"]
LAUNCHER = os.environ.get("MORVEX_LAUNCHER")  # the path of wine64; not set if the system starts the program itself
WINDOWS = LAUNCHER is not None
COMMAND = [LAUNCHER, TOOL] if WINDOWS else [TOOL]  # of a process that is the program
SANITIZED = os.environ.get("MORVEX_SANITIZED") == "1"
PATIENCE = 300 if SANITIZED else 90  # seconds; a run that takes longer has failed


SYSTEM_TEXTS = {  # what Windows says, as Wine has it, and Linux's words for the same
    "Connection reset by peer. (10054)": "Connection reset by peer (104)",
    "Connection refused. (10061)": "Connection refused (111)",
}


def linux(reason):
    """Marks what the Windows program has no counterpart of, or Wine cannot show."""
    return pytest.mark.skipif(WINDOWS, reason=f"Linux's alone: {reason}")


class Run(NamedTuple):
    code: int  # negative: the number of the signal that ended the run
    out: str
    err: str


def environment(zone):
    """This process's, in the given time zone; None takes TZ out. Wine takes the system's zone from it as well."""
    env = {name: value for name, value in os.environ.items() if name != "TZ"}
    return env if zone is None else env | {"TZ": zone}


def printed(data):
    """What the program printed. The Windows program must have ended each line as its system does."""
    shown = data.decode(errors="surrogateescape")
    if WINDOWS:
        assert not re.search(r"(?<!\r)\n", shown), shown
        shown = shown.replace("\r\n", "\n")
        for theirs, ours in SYSTEM_TEXTS.items():
            shown = shown.replace(theirs, ours)
    return shown


def command(args, zone):
    """On Windows only the system's zone has a name, and it counts if TZ is not set."""
    if WINDOWS and zone and "/" in zone:
        return [LAUNCHER, "cmd.exe", "/c", f"set TZ=& {command_line(args)}"]
    return [*COMMAND, *args]


def command_line(args):
    """A line for cmd.exe that runs the program."""
    return subprocess.list2cmdline(["Z:" + TOOL.replace("/", "\\"), *args])


def run(*args, zone="UTC", shell='exec "$0" "$@"', **streams):
    """The program has no terminal, so that nothing can ask the person who runs the tests."""
    streams = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE} | streams
    done = subprocess.run(["/bin/sh", "-c", shell, *command(args, zone)], env=environment(zone), timeout=PATIENCE,
                          start_new_session=True, check=False, **streams)
    return Run(done.returncode, printed(done.stdout or b""), printed(done.stderr or b""))


def faulty(rules, redirection=""):
    """The shell for a run in a system that fails by these rules of tests/platform/posix/faulty_system.cpp."""
    preload = os.environ.get("MORVEX_FAULTY_SYSTEM", "")
    return f'export LD_PRELOAD="{preload}" MORVEX_FAULT="{rules}"; exec "$0" "$@" {redirection}'


def take(terminal):
    """Makes it the terminal of a new process, which answers to signals, also where those who run the tests ignore them."""
    fcntl.ioctl(terminal, termios.TIOCSCTTY, 0)
    for number in (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM):
        signal.signal(number, signal.SIG_DFL)


def run_on_terminal(typed, *args):
    """Types the text as soon as the prompt stands, or sends the signal, or hangs up for None; the standard streams lead
    elsewhere. Returns the run, and unless the terminal is gone, what it showed, whether it had its echo at the prompt and
    at the end, and how many typed bytes nobody read."""
    keyboard, terminal = pty.openpty()
    has_echo = lambda: bool(termios.tcgetattr(terminal)[3] & termios.ECHO)
    process = subprocess.Popen([TOOL, *args], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                               start_new_session=True, preexec_fn=lambda: take(terminal))
    try:
        screen = b""
        while not screen.endswith(b": "):
            assert select.select([keyboard], [], [], PATIENCE)[0], f"no prompt, only {screen}"
            screen += os.read(keyboard, 1024)
        echo = [has_echo()]
        if typed is None:
            os.close(keyboard)
        elif isinstance(typed, str):
            os.write(keyboard, typed.encode())
        else:
            process.send_signal(typed)
        out, err = process.communicate(timeout=PATIENCE)
    finally:
        process.kill()
        process.wait()
    result = Run(process.returncode, out.decode(), err.decode())
    if typed is None:
        os.close(terminal)
        return result, None, None, None
    echo.append(has_echo())
    left = struct.unpack("i", fcntl.ioctl(terminal, termios.FIONREAD, bytes(4)))[0]
    os.close(terminal)
    try:
        while more := os.read(keyboard, 1024):
            screen += more
    except OSError:
        os.close(keyboard)  # the failure is how a terminal ends
    return result, screen.decode(), echo, left


@contextlib.contextmanager
def sandbox(*options):
    """Runs a sandbox, and yields the options that lead the program there; the login is that of server.LOGIN."""
    command = [os.environ["MORVEX_SANDBOX"], "--port", "0", "--login", "anna", "--password", "secret", *options]
    process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
    host, port = re.search(r"(\S+):(\d+)$", process.stdout.readline().rstrip()).groups()
    yield ["-s", host, "-p", port]
    process.send_signal(signal.SIGTERM)
    assert process.wait(PATIENCE) == 0
