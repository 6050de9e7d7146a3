"""Records sessions with a server, and plays them to the program again with faults."""

import contextlib
import re
import resource
import select
import socket
import struct
import subprocess
from typing import NamedTuple

from peer import sends
from server import LOGIN, call
from tool import COMMAND, PATIENCE, SANITIZED, WINDOWS, Run, environment, printed

MEMORY = 16 << 20  # bytes of address space for a run, code and stack included; the sanitizers, and Wine, take terabytes
ENDLESS = "monitormetrics"


class Session(NamedTuple):
    args: list
    turns: list  # pairs: how many bytes the program sends, and the answer to them
    result: Run

    @property
    def stream(self):
        return b"".join(answer for _, answer in self.turns)

    def starts(self):
        """Where the answers start in the stream."""
        return [sum(len(answer) for _, answer in self.turns[:turn]) for turn in range(len(self.turns))]

    def until(self, end, ending, rest=b""):
        """Plays the stream up to this byte, each answer behind its request, and then the rest at once."""
        turn = max(turn for turn, start in enumerate(self.starts()) if start <= end)
        last = (self.turns[turn][0], self.stream[self.starts()[turn]:end] + rest)
        return plays([*self.turns[:turn], last], ending)


def finishes(_, client):
    """Sends no more, but takes what still comes. The program may be gone already."""
    with contextlib.suppress(OSError):
        client.shutdown(socket.SHUT_WR)


def plays(turns, ending=finishes, piece=None):
    def play(client):
        for count, answer in turns:
            if len(client.recv(count, socket.MSG_WAITALL)) < count:
                return
            sends(answer, piece)(None, client)
        ending(None, client)
    return play


class Stage:
    """Where the program runs. All runs share one listener, so that one takes a few milliseconds."""

    def __init__(self, small=False, host="127.0.0.1", **variables):
        self.runs = self.cut = self.flipped = 0
        self.process, self.variables = None, variables
        self.listener = socket.create_server((host, 0))
        if small:  # small segments keep the program's own buffer from growing fast
            for option in (socket.SO_RCVBUF, socket.SO_SNDBUF):
                self.listener.setsockopt(socket.SOL_SOCKET, option, 4096)
            self.listener.setsockopt(socket.IPPROTO_TCP, socket.TCP_MAXSEG, 536)
        self.listener.settimeout(PATIENCE)

    def run(self, args, play, memory=MEMORY):
        """Ends the program behind its first line if it never ends by itself."""
        host, port = self.listener.getsockname()
        command = [*COMMAND, "-s", host, "-p", str(port), *LOGIN, *args]
        with subprocess.Popen(command, env=environment("UTC") | self.variables, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, start_new_session=True) as self.process:
            try:
                if not (SANITIZED or WINDOWS):
                    resource.prlimit(self.process.pid, resource.RLIMIT_AS, (memory, memory))
                with self.accept() as client:
                    with contextlib.suppress(ConnectionError):
                        play(client)
                    line = self.first_line() if args[0] == ENDLESS else b""
                    if whole := line.endswith(b"\n"):
                        self.process.kill()
                    out, err = self.process.communicate(timeout=PATIENCE)
            finally:
                self.process.kill()
        self.runs += 1
        result = Run(0 if whole else self.process.returncode, printed(line + out), printed(err))
        assert result.code in (0, 1) and not re.search("Sanitizer|runtime error", result.err), result
        return result

    def accept(self):
        client = self.listener.accept()[0]
        client.settimeout(None)
        for limit in (socket.SO_RCVTIMEO, socket.SO_SNDTIMEO):
            client.setsockopt(socket.SOL_SOCKET, limit, struct.pack("ll", PATIENCE, 0))
        client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        return client

    def first_line(self):
        assert select.select([self.process.stdout], [], [], PATIENCE)[0], "prints nothing"
        return self.process.stdout.readline()


def record(stage, server, args):
    """Runs the program against the server. All descriptions of metrics are one turn, and all polls, as answers come early."""
    turns, endless = [], args[0] == ENDLESS

    def relay(client):
        with socket.create_connection((server[1], int(server[3]))) as upstream:
            while True:
                ready = select.select([client, upstream, *[stage.process.stdout][:endless]], [], [])[0]
                data = b"" if stage.process.stdout in ready else ready[0].recv(65536)
                if not data:
                    return
                (upstream if ready[0] is client else client).sendall(data)
                if ready[0] is client and not (turns and turns[-1][1] == b""):
                    turns.append([0, b""])
                turns[-1][ready[0] is upstream] += len(data) if ready[0] is client else data

    result = stage.run(args, relay)
    assert result.code == 0 and all(answer for _, answer in turns), result  # a session that fails by itself proves nothing
    if endless:
        described = sum(len(call(number, 3, name)) for number, name in enumerate(arg for arg in args[1:] if arg[0] != "-"))
        polled = next(at for at in range(2, len(turns)) if sum(count for count, _ in turns[2:at]) == described)
        turns[2:] = [[sum(counts), b"".join(answers)] for counts, answers in (zip(*turns[2:polled]), zip(*turns[polled:]))]
    return Session(args, turns, result)
