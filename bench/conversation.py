"""Conversations of the tool with a server: recorded by a relay, and replayed to the tool."""

import contextlib
import dataclasses
import select
import socket
import subprocess
import threading


@dataclasses.dataclass
class Turn:
    """What the tool asks, and the answer to it."""
    asked: bytearray = dataclasses.field(default_factory=bytearray)
    answer: bytearray = dataclasses.field(default_factory=bytearray)


def record(port, command):
    """Runs the command with the port of a relay to the server, and returns the turns of the conversation."""
    turns = [Turn()]
    with socket.create_server(("127.0.0.1", 0)) as listener:
        tool = subprocess.Popen(command(listener.getsockname()[1]), stdout=subprocess.DEVNULL)
        client = listener.accept()[0]
    with client, socket.create_connection(("127.0.0.1", port)) as server:
        while True:
            for ready in select.select([client, server], [], [])[0]:
                data = ready.recv(1 << 20)
                if not data:
                    if tool.wait() != 0:
                        raise RuntimeError("A conversation to be recorded has failed")
                    return turns
                if ready is server:
                    turns[-1].answer += data
                    client.sendall(data)
                else:
                    if turns[-1].answer:
                        turns.append(Turn())
                    turns[-1].asked += data
                    server.sendall(data)


def requests(turns):
    return b"".join(turn.asked for turn in turns)


@contextlib.contextmanager
def replayed(turns):
    """A server that plays the turns to whoever connects, one after the other; yields its port. It takes from the client
    as many bytes as were asked then, whatever they are."""
    listener = socket.create_server(("127.0.0.1", 0))

    def serve():
        while True:
            client, address = listener.accept()
            if address == waker.getsockname():
                return
            with client:
                for turn in turns:
                    client.recv(len(turn.asked), socket.MSG_WAITALL)
                    client.sendall(turn.answer)

    with listener, socket.socket() as waker:
        waker.bind(("127.0.0.1", 0))
        thread = threading.Thread(target=serve)
        thread.start()
        try:
            yield listener.getsockname()[1]
        finally:
            waker.connect(listener.getsockname())
            thread.join()
