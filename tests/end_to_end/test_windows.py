"""What is Windows' own: the console, files with its line ends, and its C library. The other tests run there as well."""

import re
import time

import pytest
from ber import constructed, integers, string
from peer import Peer, closes, expects, sends
from server import ACK, CHECK_42, CLIENT_WANTS, GET_DATA, LOOKUP_42, LOGIN, OFFERS, caught, data, incident, interval, session
from terminal import Terminal
from tool import LAUNCHER, PATIENCE, Run, command_line, environment, printed, run, sandbox

NO_PASSWORD = caught("Error getting password")


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
    """All streams lead elsewhere. Then the same console reads a word: it must show it, and have kept nothing of the password."""
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
    assert result == (NO_PASSWORD if password is None else caught("Wrong username / password"))
    assert screen.rstrip("\n") == "Password: \nNext: word\n[word]"


HEAD, ENUM, ROW = "Begin,End,Mask,ngood,nbad\n", interval(0xA4, integers(1, 2, 3, 4, 5)), "1,2,3,4,5\n"
READS = [expects(LOOKUP_42), sends(CHECK_42), expects(GET_DATA)]
SELECT = "select -b 100 -e 1000 -i 42".split()


def test_line_ends_of_a_file(tmp_path):
    """Those of an export are the system's, and an import takes either."""
    file, rows = tmp_path / "größe.csv", lambda end, count: "".join(f"{at},{at + 1},1,2,{count}{end}" for at in range(5, 9000, 5))
    with sandbox("--rows", "3") as server:
        ask = lambda *args, **options: run(*server, *LOGIN, *args, **options)
        export, insert = "select -u -b 1 -e 9999 .,scale,enum".split(), ["insert", ".,scale,enum"]
        for count, end in enumerate(("\n", "\r\n")):
            file.write_bytes((HEAD + rows(end, count)).encode())
            assert ask("-f", str(file), *insert) == ask("-f", str(file), *export) == Run(0, "", "")
            assert file.read_bytes() == (HEAD + rows("\n", count)).replace("\n", "\r\n").encode()
            file.write_bytes((HEAD + rows(end, count + 5)).encode())
            with open(file, "rb") as stream:
                assert ask(*insert, stdin=stream) == Run(0, "", "")
            assert ask(*export) == Run(0, HEAD + rows("\n", count + 5), "")


@pytest.mark.parametrize("form", [
    "%s|%F %T|%D %R|%r", "%Y %C %y|%G-W%V-%u|%g %U %W %w|%j|%m %d %e", "%H %I %k %l %M %S %p %P|%n%t%%|%z", "%A %a|%B %b %h|%c|%x|%X",
    "%-d %_m %010Y %^a %#p %#B", "%Ey %Od %Q %&", "%", "a%", "%E", "*",
])
def test_formats(form):
    """Those that the C library there does not know as well: what Linux makes of them is the measure."""
    times = [5, 951782400, 1104537599, 1230768000, 2147483647]
    steps = [*READS, sends(data(1, *[incident(at, "0A00", "a") for at in times]))]
    lines = [time.strftime(form, time.gmtime(at)) + ',0,"a"\n' for at in times]
    assert session([*SELECT, "-t", form], *steps) == Run(0, "Time,Severity,Text\n" + "".join(lines), "")


@pytest.mark.parametrize("text, fields", [
    ("1900-01-01-T00:00:00", "s:0m:0h:0md:1mo:0yr:0"), ("1969-12-31-T23:59:59", "s:59m:59h:23md:31mo:11yr:69")])
def test_times_before_1970(text, fields):
    assert run(*LOGIN, "select", "-b", text, ".") == caught(f"Couldn't compose time from tm: ({fields}wd:0yd:0i:-1")


@pytest.mark.parametrize("lines, result", [
    (ROW + "1,2,3,4,\x1a\n" + ROW, caught(r'Error parsing: "\032"')), ("\x1a\n" + ROW, caught(
        "In line 2: number of fields not 5 as it should be for enum")),
])
def test_end_of_file_mark(tmp_path, lines, result):
    """Ctrl+Z ends no file: what stands behind it is not left out."""
    (tmp_path / "rows").write_bytes(("header\n" + lines).encode())
    with sandbox("--rows", "3") as server:
        command = [*server, *LOGIN, "insert", ".,scale,enum"]
        assert run(*command[:-2], "-f", str(tmp_path / "rows"), *command[-2:]) == result
        with open(tmp_path / "rows", "rb") as stream:
            assert run(*command, stdin=stream) == result
