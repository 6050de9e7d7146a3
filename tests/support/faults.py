"""Sessions with a server, recorded, and played to the program again with faults: thousands of runs, each checked."""

import contextlib
import os
import re
import resource
import select
import signal
import socket
import struct
from typing import NamedTuple

from peer import sends
from server import LOGIN
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
        """Plays the stream up to there, in step with the program but for the rest, which it need not have asked for."""
        turn = max(turn for turn, start in enumerate(self.starts()) if start <= end)
        last = (self.turns[turn][0], self.stream[self.starts()[turn]:end] + rest)
        return plays([*self.turns[:turn], last], ending)


def finishes(_, client):
    """Sends no more, but takes what still comes. The program may have gone before."""
    with contextlib.suppress(OSError):
        client.shutdown(socket.SHUT_WR)


def plays(turns, ending=finishes, piece=None):
    def play(client):
        for count, answer in turns:
            client.setsockopt(socket.IPPROTO_TCP, socket.TCP_QUICKACK, 1)  # as the program's next message waits for it
            if len(client.recv(count, socket.MSG_WAITALL)) < count:
                return
            sends(answer, piece)(None, client)
        ending(None, client)
    return play


class Stage:
    """Where the program runs: one listener and two pipes for all runs, so that one takes a few milliseconds."""

    def __init__(self, small=False):
        self.runs = self.cut = self.flipped = 0
        self.listener = socket.create_server(("127.0.0.1", 0))
        if small:  # so are the segments, which keeps the program's own buffer from growing fast
            for option in (socket.SO_RCVBUF, socket.SO_SNDBUF):
                self.listener.setsockopt(socket.SOL_SOCKET, option, 4096)
            self.listener.setsockopt(socket.IPPROTO_TCP, socket.TCP_MAXSEG, 536)
        self.listener.settimeout(PATIENCE)
        self.nothing = os.open(os.devnull, os.O_RDONLY)
        self.readers, self.writers = zip(os.pipe(), os.pipe())
        for reader in self.readers:
            os.set_blocking(reader, False)

    def run(self, args, play, memory=MEMORY):
        """Ends the program behind its first line if it never ends by itself."""
        command = [*COMMAND, "-s", "127.0.0.1", "-p", str(self.listener.getsockname()[1]), *LOGIN, *args]
        streams = [(os.POSIX_SPAWN_DUP2, source, target) for target, source in enumerate([self.nothing, *self.writers])]
        child = os.posix_spawn(command[0], command, environment("UTC"), file_actions=streams, setsid=True)
        try:
            if not (SANITIZED or WINDOWS):
                resource.prlimit(child, resource.RLIMIT_AS, (memory, memory))
            with self.accept() as client:
                with contextlib.suppress(ConnectionError):
                    play(client)
                out, ended = self.output(child, args[0] == ENDLESS)
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.kill(child, signal.SIGKILL)
            status = os.waitpid(child, 0)[1]
        self.runs += 1
        result = Run(os.waitstatus_to_exitcode(status) if ended else 0, printed(out), printed(self.take(1)))
        assert result.code in (0, 1) and not re.search("Sanitizer|runtime error", result.err), result
        return result

    def accept(self):
        client = self.listener.accept()[0]
        client.settimeout(None)
        for limit in (socket.SO_RCVTIMEO, socket.SO_SNDTIMEO):
            client.setsockopt(socket.SOL_SOCKET, limit, struct.pack("ll", PATIENCE, 0))
        client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        return client

    def output(self, child, first_line):
        """What the program prints, and whether it ended; else there is the first line that was wanted of it."""
        out = bytearray()
        with os.fdopen(os.pidfd_open(child), "rb", 0) as end:
            while not (first_line and b"\n" in out):
                ready = select.select([end, self.readers[0]], [], [], PATIENCE)[0]
                assert ready, f"still runs, and printed {out[-1000:]}"
                out += self.take(0)
                if end in ready:
                    return out + self.take(0), True
        return out, False

    def take(self, stream):
        data = b""
        with contextlib.suppress(BlockingIOError):
            while more := os.read(self.readers[stream], 1 << 20):
                data += more
        return data


def record(stage, server, args):
    """What the program and the server say to each other. All polls of a cycle are one turn: their answers may come early."""
    turns, endless = [], args[0] == ENDLESS

    def relay(client):
        with socket.create_connection((server[1], int(server[3]))) as upstream:
            while True:
                ready = select.select([client, upstream, *stage.readers[:endless]], [], [])[0]
                data = b"" if stage.readers[0] in ready else ready[0].recv(65536)
                if not data:
                    return
                (upstream if ready[0] is client else client).sendall(data)
                if ready[0] is client and not (turns and turns[-1][1] == b""):
                    turns.append([0, b""])
                turns[-1][ready[0] is upstream] += len(data) if ready[0] is client else data

    result = stage.run(args, relay)
    assert result.code == 0 and all(answer for _, answer in turns), result  # else the faults would be held against one
    first_poll = 2 + sum(not arg.startswith("-") for arg in args[1:]) if endless else len(turns)
    polls = [[sum(counts), b"".join(answers)] for counts, answers in [zip(*turns[first_poll:])] * endless]
    return Session(args, turns[:first_poll] + polls, result)
