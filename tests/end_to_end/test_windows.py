"""The console and the line ends of Windows. The other end-to-end tests run there as well."""

import re
import time

import pytest
from ber import constructed, string
from peer import Peer, closes, expects, sends
from server import ACK, CLIENT_WANTS, LOGIN, OFFERS, caught
from terminal import Terminal
from tool import LAUNCHER, PATIENCE, Run, command_line, environment, printed, run, sandbox


class Console(Terminal):
    """A console of Windows, which Wine draws on a terminal."""

    def screen(self):
        """The text without control sequences."""
        plain = re.sub(rb"\x1b\[(\d*)C", lambda match: b" " * int(match[1] or 1), self.shown)
        return re.sub(rb"\x1b\[[?\d;]*[A-Za-z]|\r", b"", plain).decode()

    def answer(self, prompt, keys):
        """Types behind the prompt, once the console reads: it then switches the terminal's echo off."""
        self.until(lambda: self.screen().endswith(prompt))
        end = time.monotonic() + PATIENCE
        while self.echoes():
            assert time.monotonic() < end, "no console reads"
            self.read(0.01)
        self.type(keys)


@pytest.mark.parametrize("typed, password", [
    ("s3cret\r", "s3cret"), ("\r", ""), ("two words\r", "two words"), ("p" * 62 + "\r", "p" * 62), ("p" * 63 + "\r", "p" * 63),
    ("ab\x7fc\r", "ac"), ("p" * 64 + "\r", None), ("p" * 200 + "\r", None),
])
def test_password_prompt(tmp_path, typed, password):
    """With all streams redirected. Behind it the same console reads a word, which shows that the echo is back and no input left."""
    named = string("anna")
    message = None if password is None else constructed(0x70, string("."), named, string("Morvex Tool"), string(password))
    steps = None if message is None else [expects(CLIENT_WANTS), sends(OFFERS), expects(ACK + message), closes]
    with Peer(steps) as peer:
        command = command_line(["-s", "127.0.0.1", "-p", str(peer.port), "-l", "anna", "listdomains", "."])
        line = f"{command} <nul >out 2>err& set code=!errorlevel!& set /p word=Next: & echo [!word!]& exit !code!"
        with Console() as console:
            console.start([LAUNCHER, "cmd.exe", "/v:on", "/c", line], cwd=tmp_path, env=environment("UTC") | {"TERM": "xterm"})
            console.answer("Password: ", typed)
            console.answer("Next: ", "word\r")
            code = console.process.wait(PATIENCE)
            while console.read(0.1):
                pass
            screen = console.screen()
    result = Run(code, *[printed((tmp_path / name).read_bytes()) for name in ("out", "err")])
    assert result == caught("Error getting password" if password is None else "Wrong username / password")
    assert screen.rstrip("\n") == "Password: \nNext: word\n[word]"


def test_files(tmp_path):
    """An export has the line ends of the system, and an import takes both kinds. A name may have any letters."""
    file, head = tmp_path / "größe.csv", "Begin,End,Mask,ngood,nbad"
    with sandbox("--rows", "3") as server:
        for count, end in enumerate(("\n", "\r\n")):
            lines = [head, *[f"{at},{at + 1},1,2,{count}" for at in range(5, 9000, 5)], ""]
            file.write_bytes(end.join(lines).encode())
            for args in ("insert .,scale,enum", "select -u -b 1 -e 9999 .,scale,enum"):
                assert run(*server, *LOGIN, "-f", str(file), *args.split()) == Run(0, "", "")
            assert file.read_bytes() == "\r\n".join(lines).encode()


def test_end_of_file_mark(tmp_path):
    """Ctrl+Z does not end the standard input."""
    (tmp_path / "rows").write_bytes(b"header\n1,2,3,4,5\n1,2,3,4,\x1a\n1,2,3,4,5\n")
    with sandbox("--rows", "3") as server, open(tmp_path / "rows", "rb") as stream:
        assert run(*server, *LOGIN, "insert", ".,scale,enum", stdin=stream) == caught(r'Error parsing: "\032"')
