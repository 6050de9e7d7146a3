"""A server that plays a script, a list of steps, to one connection."""

import contextlib
import os
import socket
import struct
import threading

PATIENCE = 120  # seconds without a byte from the client; a longer silence fails the test


def expects(data):
    """The client must send exactly these bytes now."""
    def step(peer, client):
        got, ending = bytearray(), "the bytes differ"
        try:
            while len(got) < len(data) and data.startswith(got) and (more := peer.take(client, len(data) - len(got))):
                got += more
        except TimeoutError as error:
            ending = str(error)
        if got != data:
            same = len(os.path.commonprefix([got, data]))
            shown = slice(max(0, same - 60), same + 20)
            raise AssertionError(f"{ending} at {same}\nexpected: {data[shown].hex(' ')}\nreceived: {got[shown].hex(' ')}")
    return step


def sends(data, piece=None):
    """Sends the bytes, whole or in pieces of the given size, unless the client is gone."""
    def step(peer, client):
        with contextlib.suppress(ConnectionError):
            for start in range(0, len(data), piece or len(data) or 1):
                client.sendall(data[start:start + (piece or len(data))])
    return step


def closes(peer, client):
    client.close()


def resets(peer, client):
    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    client.close()


class Peer:
    """Behind its last step it stays silent, and the client must end without another byte. With None for a script, nobody
    may connect. Leaving the context raises the failure of a step."""

    def __init__(self, script):
        self.script = script
        self.received = bytearray()
        self.failure = None
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.waker = socket.socket()  # connects last, so that accept returns in any case
        self.waker.bind(("127.0.0.1", 0))
        self.thread = threading.Thread(target=self.serve)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, kind, error, trace):
        with self.listener, self.waker:
            self.waker.connect(("127.0.0.1", self.port))
            self.thread.join()
        assert kind or self.failure is None, self.failure

    def serve(self):
        client, address = self.listener.accept()
        with client:
            try:
                connected = address != self.waker.getsockname()
                assert connected == (self.script is not None), f"connected: {connected}"
                if connected:
                    self.play(client)
            except Exception as error:
                self.failure = f"{error}\nall that came: {self.received[:4000].hex(' ')}"

    def play(self, client):
        client.settimeout(PATIENCE)
        client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        for step in self.script:
            step(self, client)
        if client.fileno() >= 0:
            assert not self.take(client, 65536), "bytes behind the end of the script"

    def take(self, client, count):
        try:
            data = client.recv(count)
        except ConnectionError:
            data = b""  # a client that ends with unread data resets the connection
        self.received += data
        return data
