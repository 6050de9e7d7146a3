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

from server import LOGIN
from tool import PATIENCE, SANITIZED, TOOL, Run, environment

MEMORY = 64 << 20  # bytes of address space for a run, and of memory; the sanitizers need more


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


def closes(client):
    client.close()


def resets(client):
    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    client.close()


def finishes(client):
    """Sends no more, but takes what still comes. The program may have gone before."""
    with contextlib.suppress(OSError):
        client.shutdown(socket.SHUT_WR)


def plays(turns, ending=finishes, piece=None):
    def play(client):
        for count, answer in turns:
            client.setsockopt(socket.IPPROTO_TCP, socket.TCP_QUICKACK, 1)  # as the program's next message waits for it
            if len(client.recv(count, socket.MSG_WAITALL)) < count:
                return
            for start in range(0, len(answer), piece or len(answer) or 1):
                client.sendall(answer[start:start + (piece or len(answer))])
        ending(client)
    return play


def endless(args):
    return args[0] == "monitormetrics"


class Stage:
    """Where the program runs: one listener and two pipes for all runs, so that one takes a few milliseconds."""

    def __init__(self):
        self.runs = self.cut = self.flipped = self.peak = 0
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.listener.settimeout(PATIENCE)
        self.nothing = os.open(os.devnull, os.O_RDONLY)
        self.readers, self.writers = zip(os.pipe(), os.pipe())
        for reader in self.readers:
            os.set_blocking(reader, False)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.listener.close()
        for descriptor in [self.nothing, *self.readers, *self.writers]:
            os.close(descriptor)

    def run(self, args, play, memory=MEMORY, port=None):
        """Ends the program behind its first line if it never ends by itself."""
        command = [TOOL, "-s", "127.0.0.1", "-p", str(port or self.listener.getsockname()[1]), *LOGIN, *args]
        streams = [(os.POSIX_SPAWN_DUP2, source, target) for target, source in enumerate([self.nothing, *self.writers])]
        child = os.posix_spawn(TOOL, command, environment("UTC"), file_actions=streams, setsid=True)
        try:
            if not SANITIZED:
                resource.prlimit(child, resource.RLIMIT_AS, (memory, memory))
            client = self.listener.accept()[0]
            client.settimeout(None)
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVTIMEO, struct.pack("ll", PATIENCE, 0))
            client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            with client:
                with contextlib.suppress(ConnectionError):
                    play(client)
                out, stopped = self.output(child, endless(args))
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.kill(child, signal.SIGKILL)
            _, status, usage = os.wait4(child, 0)
        err = self.take(1)
        self.runs, self.peak = self.runs + 1, max(self.peak, usage.ru_maxrss << 10)
        result = Run(0 if stopped else os.waitstatus_to_exitcode(status), out.decode(errors="surrogateescape"),
                     err.decode(errors="surrogateescape"))
        assert result.code in (0, 1) and not re.search("Sanitizer|runtime error", result.err), result
        assert usage.ru_maxrss << 10 <= memory * (8 if SANITIZED else 1), usage
        return result

    def output(self, child, first_line):
        """What the program prints, and whether a first line was all that was wanted of it."""
        ended, out = os.pidfd_open(child), bytearray()
        poller = select.poll()
        for descriptor in (ended, self.readers[0]):
            poller.register(descriptor, select.POLLIN)
        try:
            while not (first_line and b"\n" in out):
                events = [descriptor for descriptor, _ in poller.poll(PATIENCE * 1000)]
                assert events, f"still runs, and printed {out[-1000:]}"
                out += self.take(0)
                if ended in events:
                    return out + self.take(0), False
            return out, True
        finally:
            os.close(ended)

    def take(self, stream):
        data = b""
        with contextlib.suppress(BlockingIOError):
            while more := os.read(self.readers[stream], 1 << 20):
                data += more
        return data


def record(stage, server, args):
    """What the program and the server say to each other. All polls of a cycle are one turn: their answers may come early."""
    turns = []

    def relay(client):
        with socket.create_connection((server[1], int(server[3]))) as upstream:
            while ready := select.select([client, upstream, *stage.readers[:endless(args)]], [], [])[0]:
                if stage.readers[0] in ready:
                    return
                data = ready[0].recv(65536)
                if not data:
                    return
                (upstream if ready[0] is client else client).sendall(data)
                if ready[0] is client and not (turns and turns[-1][1] == b""):
                    turns.append([0, b""])
                turns[-1][ready[0] is upstream] += len(data) if ready[0] is client else data

    result = stage.run(args, relay)
    first_poll = 2 + sum(not arg.startswith("-") for arg in args[1:]) if endless(args) else len(turns)
    polls = [[sum(count for count, _ in turns[first_poll:]), b"".join(answer for _, answer in turns[first_poll:])]]
    return Session(args, turns[:first_poll] + polls * endless(args), result)
