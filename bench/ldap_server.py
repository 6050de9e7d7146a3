"""A canned LDAP server (RFC 4511): whoever binds may search, and gets the same entries whatever was asked.

Usage: ldap_server.py ENTRIES

Prints its port, and serves one client after the other until it is killed. The entries are those that the sandbox
generates as nodes, with the same two attributes, encoded before anybody asks.
"""

import pathlib
import socket
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "tests" / "support"))

from ber import integer, primitive, string

SEQUENCE, SET, ENUMERATED = 0x30, 0x31, 0x0A
BIND, BIND_RESPONSE, SEARCH, ENTRY, DONE = 0x60, 0x61, 0x63, 0x64, 0x65
SUCCESS = primitive(ENUMERATED, b"\0") + string("") + string("")
SEARCH_ID = 2  # the number of the search, the client's second message after the bind


def message(number, operation, content):
    return primitive(SEQUENCE, integer(number) + primitive(operation, content))


def entry(number):
    name = f"node{number:06}"
    values = {"siblingName": name, "longLabel": f"Node No. {number}"}
    attributes = [primitive(SEQUENCE, string(key) + primitive(SET, string(value))) for key, value in values.items()]
    return string(f"cn={name},ou=block{number // 1000:06},o=generated") + primitive(SEQUENCE, b"".join(attributes))


def messages(client):
    """The number and the operation of each message that the client sends."""
    with client.makefile("rb") as stream:
        while head := stream.read(2):
            length = head[1]
            if length >= 0x80:
                length = int.from_bytes(stream.read(length - 0x80), "big")
            content = stream.read(length)
            yield int.from_bytes(content[2:2 + content[1]], "big"), content[2 + content[1]]


def serve(client, answer):
    client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    for number, operation in messages(client):
        if operation == BIND:
            client.sendall(message(number, BIND_RESPONSE, SUCCESS))
        elif operation == SEARCH and number == SEARCH_ID:
            client.sendall(answer)
        else:
            return


def main():
    entries = [message(SEARCH_ID, ENTRY, entry(number)) for number in range(int(sys.argv[1]))]
    answer = b"".join(entries) + message(SEARCH_ID, DONE, SUCCESS)
    with socket.create_server(("127.0.0.1", 0)) as listener:
        print(listener.getsockname()[1], flush=True)
        while True:
            with listener.accept()[0] as client:
                serve(client, answer)


if __name__ == "__main__":
    main()
