"""A run that is logged in holds no copy of its password or key in its memory."""

import pathlib
import re

import pytest
from ber import constructed, primitive, string, wire
from peer import Peer, expects, sends
from server import ACK, CLIENT_WANTS, NEW_SESSION_RESP, OFFERS, refusal
from terminal import Terminal
from tool import SANITIZED, Run, linux

PASSWORD = "swordfish-0123456789-abcdefghijklmnopqrstuvwxyz-ABCDEFGHIJKLMNO"
KEY = bytes((7 * number + 3) % 256 for number in range(120))
WORDS = [PASSWORD.encode(), KEY, KEY[::-1], KEY.hex().encode()]  # numbers lie in memory from the least byte up
ASKED, FAILED = wire("74( 020100 A9( 020101 30( ) 30( ) ) )"), refusal(0, 12)  # short, as they overwrite part of a buffer


def memory(process):
    """All readable memory; arguments and environment lie on the stack."""
    maps = re.findall(r"^(\w+)-(\w+) r(?!.*\[v)", (process / "maps").read_text(), re.MULTILINE)
    with open(process / "mem", "rb", 0) as file:
        for begin, end in maps:
            file.seek(int(begin, 16))
            yield file.read(int(end, 16) - int(begin, 16))


def finds_nothing(peer, client):
    """Looks for both halves of each word in the memory of the client, which waits for an answer."""
    process, = [path.parent for path in pathlib.Path("/proc").glob("[0-9]*/cmdline")
                if f"\0-p\0{peer.port}\0".encode() in path.read_bytes()]
    found = b"".join(memory(process))
    assert f"\0-p\0{peer.port}\0".encode() in found, "nothing was read"
    halves = [half for word in WORDS for half in (word[:len(word) // 2], word[len(word) // 2:])]
    assert [found.count(half) for half in halves] == [0] * len(halves)


@linux("reads the program's memory through /proc")
@pytest.mark.skipif(SANITIZED, reason="the sanitizers map more memory than can be read")
@pytest.mark.parametrize("options, message", [
    (["-l", "anna"], wire("70( '.' 'anna' 'Morvex Tool'") + string(PASSWORD) + bytes(2)),
    (["-l", "anna", "-P", PASSWORD], wire("70( '.' 'anna' 'Morvex Tool'") + string(PASSWORD) + bytes(2)),
    (["-S", KEY.hex()], constructed(0x72, primitive(0x02, KEY))),
], ids=["prompt", "password", "key"])
def test_nothing_is_kept_of_the_secrets(options, message):
    with Peer([expects(CLIENT_WANTS), sends(OFFERS), expects(ACK + message), sends(NEW_SESSION_RESP), expects(ASKED),
               finds_nothing, sends(FAILED)]) as peer, Terminal() as terminal:
        args = ["-s", "127.0.0.1", "-p", str(peer.port), *options, "lm"]
        terminal.run(*args)
        if "-P" not in options and "-S" not in options:
            terminal.prompts()
            terminal.type(PASSWORD + "\r")
        assert terminal.result() == Run(0, "", "Error getting Morvex server metrics\n")
