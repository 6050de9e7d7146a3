"""Runs in a system without memory or without room for output, or whose calls are interrupted or refused."""

import os
import sys
from concurrent.futures import ThreadPoolExecutor

import pytest
from server import LOGIN, caught
from tool import RUN, SANITIZED, WINDOWS, Run, faulty, linux, run, sandbox

STRIDE = 1 if os.environ.get("MORVEX_EVERY") == "1" else 5  # the long form refuses every allocation
UNKNOWN, NO_ZONE = "Caught unknown exception.\n", "Caught error: Couldn't set TZ environment variable\n"
preloaded = linux("named pipes, and faults from a preloaded library")
unsanitized = pytest.mark.skipif(SANITIZED, reason="the sanitizers bring an allocator and system calls of their own")


@pytest.fixture(scope="module")
def small():
    with sandbox("--rows", "3") as options:
        yield [*options, *LOGIN]


@preloaded
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


PRINTING = ["-h", "update Backbone longLabel=new", "lm", "monitormetrics clients.connected"]
TO_FILES = ["select .,scale,enum", "listdomains .", "listnodes -r .", "listchecks -r .", "listproperties -a ."]
WRITING = "Error writing output: "
FULL, CLOSED, TOO_LARGE = [caught(WRITING + text) for text in ("No space left on device", "Bad file descriptor", "File too large")]


@pytest.mark.parametrize("args", PRINTING + TO_FILES)
def test_output_refused(small, tmp_path, args):
    ways = [([], "", ">/dev/full", FULL)]
    if args in TO_FILES:
        ways += [(["-f", "/dev/full"], "", "", FULL), (["-f", "-"], "", ">/dev/full", FULL), (["-f", ""], "", ">/dev/full", FULL)]
    if not WINDOWS:  # the server of Wine hangs if a program starts with closed streams
        ways += [([], "", ">&-", CLOSED), ([], "", "<&- >&- 2>&-", Run(1, "", "")),
                 ([], "ulimit -f 0;", f">{tmp_path}/out", TOO_LARGE)]
        ways += [(["-f", f"{tmp_path}/out"], "ulimit -f 0;", "", TOO_LARGE)] * (args in TO_FILES)
    reader, writer = os.pipe()
    os.close(reader)
    for options, limit, redirection, expected in [*ways, ([], "", "", Run(1, "", ""))]:
        result = run(*small, *options, *args.split(), shell=f'{limit} exec "$0" "$@" {redirection}', stdout=writer)
        assert result._replace(err=result.err.removeprefix("Got 1 metrics\n")) == expected, redirection
    os.close(writer)


SENDING, RECEIVING, CONNECTING = "Error writing to socket: ", "Error reading from socket: ", "Error connecting: Select returned"


@preloaded
@unsanitized
@pytest.mark.parametrize("args, faults, message", [
    ("lm", "socket:1:0:e24", "Error creating socket: Too many open files (24)"),
    ("lm", "ioctl:1:0:e25", "Error setting socket to nonblocking: Inappropriate ioctl for device (25)"),
    ("lm", "setsockopt:1:0:e12", "Error disabling Nagle: Cannot allocate memory (12)"),
    ("lm", "setsockopt:2:0:e22", "Error enabling keep-alive: Invalid argument (22)"),
    ("lm", "connect:1:0:e101", "Error connecting: Network is unreachable (101)"),
    ("lm", "connect:1:0:d115 poll:1:0:r0", "Connection timed out"),
    ("lm", "connect:1:0:d115 poll:1:0:e12", CONNECTING + ": -1"),
    ("lm", "connect:1:0:d115 poll:1:0:r1", CONNECTING + ", but socket isn't present"),
    ("lm", "connect:1:0:d4 getsockopt:1:0:e105", "Error retrieving connection status: No buffer space available (105)"),
    ("lm", "send:1:0:e11 poll:1:0:r0", SENDING + "Timeout in socket_send()"),
    ("lm", "send:3:0:e11 poll:1:0:e12", SENDING + "Bad error after sleep happened in socket_send(): Cannot allocate memory (12)"),
    ("lm", "send:3:0:r99999", SENDING + "send() sent too much - this is a Winsock error"),
    ("lm", "recv:1:0:e11 poll:1:0:r0", RECEIVING + "Timeout in socket_recv()"),
    ("lm", "recv:3:0:e11 poll:1:0:e12", RECEIVING + "Bad error happened in socket_recv(): Cannot allocate memory (12)"),
    ("-s localhost lm", "getaddrinfo:1:0:r-5", 'No addresses found when resolving "localhost"'),
    ("-s localhost lm", "getaddrinfo:1:0:r-3", 'Error resolving "localhost": Temporary failure in name resolution'),
    ("select .,scale,enum", "setenv:1:1:e12", "Couldn't set TZ environment variable"),
    ("insert .,scale,enum", "read:1:0:e5", "Error reading input: Input/output error"),
    ("lm", "write:1:0:e5", WRITING + "Input/output error"),
    ("-f /dev/null listdomains .", "close:1:0:d5", WRITING + "Input/output error"),
    ("-P wrong lm", "ioctl:4:0:e5", "socket_close: Error at ioctlsocket: Input/output error (5)"),
    ("-P wrong lm", "close:1:0:d5", "Error closing socket: Input/output error (5)"),
])
def test_call_fails(small, args, faults, message):
    result = run(*small, *args.split(), shell=faulty(faults))
    told = f"Error closing socket: {message}\nCaught error: Wrong username / password\n" if "wrong" in args else caught(message).err
    assert (result.code, result.err) == (1, told)


CROWDED = """import os, sys
while (file := os.dup(0)) < 1100:
    os.set_inheritable(file, True)
os.execv(sys.argv[1], sys.argv[1:])"""
CROWD = f"ulimit -n 2000; exec '{sys.executable}' -c '{CROWDED}' \"$0\" \"$@\""


@preloaded
@pytest.mark.parametrize("shell", [pytest.param(faulty(faults), marks=unsanitized) for faults in (
    "connect:1:0:d4 send:1:2:e4 recv:1:2:e4 poll:1:2:e4 write:1:2:e4 read:1:2:e4 open:1:2:e4 close:1:1:d4",
    "connect:1:0:d115 send:1:2:e11 recv:1:2:e11 poll:1:2:e4 write:1:2:e11 read:1:2:e11",
    "send:1:1:l1 recv:1:1:l1 write:1:1:l1 read:1:1:l1")] + [
    CROWD, pytest.param(f"ulimit -s 64; {RUN}", marks=unsanitized)], ids=["interrupted", "blocking", "bytewise", "high numbers", "small stack"])
def test_same_outcome(small, tmp_path, shell):
    rows, get = [f"{time},{time + 1},1,{len(shell)},3\n" for time in range(5, 2000, 5)], "select -u -b 1 -e 5000 .,scale,enum".split()
    (tmp_path / "rows").write_text("header\n" + "".join(rows))
    os.mkfifo(tmp_path / "pipe")
    pipe, put = ["-f", str(tmp_path / "pipe")], ["insert", ".,scale,enum"]
    with open(tmp_path / "rows", "rb") as file:
        assert run(*small, *put, shell=shell, stdin=file) == Run(0, "", "")
    shown = run(*small, *get)
    assert shown == Run(0, "Begin,End,Mask,ngood,nbad\n" + "".join(rows), "")
    assert run(*small, "-f", str(tmp_path / "rows"), *put, shell=shell) == Run(0, "", "")
    assert run(*small, *pipe, *put, shell=f"cat {tmp_path}/rows >{tmp_path}/pipe & {shell}") == Run(0, "", "")
    assert run(*small, *get, shell=shell) == run(*small, *pipe, *get, shell=f"cat {tmp_path}/pipe & {shell}") == shown
    assert run(*small, "-f", str(tmp_path / "out"), *get, shell=shell) == Run(0, "", "")
    assert (tmp_path / "out").read_text() == shown.out
    for args in ("listchecks -r .", "listproperties -a Backbone", "lm"):
        assert run(*small, *args.split(), shell=shell) == run(*small, *args.split()), args
