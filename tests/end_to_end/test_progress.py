"""The line that long work shows on a terminal. Here the work is long because the server falls silent: the line then counts
everything that has come, at any speed of the machine."""

import os
import termios
import time

import pytest
from ber import integers
from peer import closes, expects, sends
from server import (CHECK_42, END_OF_STREAM, GET_DATA, LIST_DOMAINS, LOOKUP_42, LOOKUP_ROOT, ROOT, caught, data, incident, interval,
                    selected, session, thing)
from test_insert import DONE, asks_for_data, puts
from terminal import Terminal
from tool import Run, linux

pytestmark = linux("Wine has a console of its own")

ENUM = [interval(0xA4, integers(row, row + 1, 3, 4, 5)) for row in range(1200)]
SELECT = ["select", "-u", "-b", "100", "-e", "1000", "-i", "42"]
TO_DATA = [expects(LOOKUP_42), sends(CHECK_42), expects(GET_DATA)]


class Screen(Terminal):
    """A terminal that knows the few control characters of the line."""

    def lines(self):
        """Without blank ends. A last line that is blank has one blank for each column left of the cursor."""
        lines, column = [""], 0
        for char in self.shown.decode():
            if char == "\n":
                lines.append("")
            elif char == "\r":
                column = 0
            else:
                lines[-1] = lines[-1][:column] + char + lines[-1][column + 1:]
                column += 1
        return [line.rstrip() for line in lines[:-1]] + [lines[-1].rstrip() or " " * column]

    def shows(self, line):
        return lambda peer, client: self.until(lambda: self.lines()[-1] == line)

    def after(self):
        """All lines at the end."""
        self.drain()
        return self.lines()


@pytest.fixture
def screen():
    with Screen() as screen:
        yield screen


def kilobytes(count):
    return f"{count // 1000}.{count % 1000 // 100} kB"


def test_select(screen, tmp_path):
    answer = data(1, *ENUM)
    half = data(1, *ENUM[:600])[:-6]  # without the ends of three lists
    assert answer.startswith(half)
    steps = [expects(LOOKUP_42), screen.shows("Received 0.0 kB, 0 objects"), sends(CHECK_42), expects(GET_DATA), sends(half, 1000),
             screen.shows(f"Received {kilobytes(len(half))}, 600 rows"), sends(answer[len(half):-2]),
             screen.shows(f"Received {kilobytes(len(answer) - 2)}, 1,200 rows"), sends(answer[-2:])]
    assert session(["-f", str(tmp_path / "out"), *SELECT], *steps, stderr=screen.terminal, stdout=screen.terminal) == Run(0, "", "")
    assert screen.after() == [""] and (tmp_path / "out").read_text().count("\n") == 1201


def test_output_that_is_slow(screen, tmp_path):
    os.mkfifo(tmp_path / "out")
    reader = os.open(tmp_path / "out", os.O_RDONLY | os.O_NONBLOCK)
    os.set_blocking(reader, True)

    def reads(peer, client):
        while not screen.lines()[-1].startswith("Written"):
            time.sleep(0.11)
            os.read(reader, 65536)
            screen.read(0)
        assert screen.lines()[-1] == "Written 262.6 kB, 518 rows"  # the first block
        while os.read(reader, 65536):
            pass

    answer = data(1, *[incident(5, "0A0101", 500 * "x")] * 1036)
    steps = [*TO_DATA, sends(answer[:-2]), screen.shows(f"Received {kilobytes(len(answer) - 2)}, 1,036 rows"), sends(answer[-2:]), reads]
    assert session(["-f", str(tmp_path / "out"), *SELECT], *steps, stderr=screen.terminal) == Run(0, "", "")
    assert screen.after() == [""]
    os.close(reader)


def test_listing(screen):
    answer = selected(1, thing("Domain", "root", "", *[thing("Domain", f"d{key}", "name", label="Label") for key in range(50)]))
    steps = [expects(LOOKUP_ROOT), sends(ROOT), expects(LIST_DOMAINS), sends(answer[:-2]),
             screen.shows(f"Received {kilobytes(len(answer) - 2)}, 51 objects"), sends(answer[-2:])]
    result = session(["listdomains", "."], *steps, stderr=screen.terminal)
    assert result == Run(0, "".join(f"Label\td{key}\tname\n" for key in range(50)), "") and screen.after() == [""]


def test_insert(screen, tmp_path):
    (tmp_path / "in").write_text("header\n" + "".join(f"{row},{row + 1},3,4,5\n" for row in range(1200)))
    sent = []
    steps = [expects(LOOKUP_42), sends(CHECK_42), asks_for_data, sends(data(1, ENUM[0])), lambda peer, _: sent.append(-len(peer.received)),
             puts(*ENUM), lambda peer, _: sent.append(len(peer.received)),
             lambda peer, client: screen.shows(f"Sent {kilobytes(sum(sent))}, 1,200 rows")(peer, client), DONE]
    with open(tmp_path / "in", "rb") as file:
        assert session(["insert", "-i", "42"], *steps, stderr=screen.terminal, stdin=file) == Run(0, "", "")
    assert screen.after() == [""]


def test_message_takes_its_place(screen):
    half = data(1, *ENUM[:21])[:-6]
    steps = [*TO_DATA, sends(half), screen.shows(f"Received {kilobytes(len(half))}, 21 rows"), closes]
    assert session(SELECT, *steps, stderr=screen.terminal) == Run(1, "", "")
    assert screen.after() == [caught(END_OF_STREAM).err.rstrip(), ""]


def silent(peer, client):
    """Long enough for the line to appear."""
    time.sleep(1.3)


BACKGROUND = 'exec 3<>{name}; stty tostop <&3; set -m; "$0" "$@" & wait $!'


@pytest.mark.parametrize("options, streams, shell", [
    ([], [], ""), (["-f", "{name}"], ["stderr"], ""), ([], ["stderr", "stdout"], ""),
    ([], ["stderr"], BACKGROUND), ([], ["stderr"], "halted"), ([], ["stderr"], "gone"),
], ids=["pipe", "file", "output", "background", "halted", "gone"])
def test_nothing_is_shown(screen, options, streams, shell):
    if shell == "halted":
        termios.tcflow(screen.terminal, termios.TCOOFF)
    name = os.ttyname(screen.terminal)
    how = {"shell": shell.format(name=name)} if "$0" in shell else {}
    hangs_up = [lambda *_: screen.hang_up()] * (shell == "gone")
    result = session([option.format(name=name) for option in options] + SELECT, *TO_DATA, *hangs_up, silent,
                     sends(data(1, ENUM[0])), **dict.fromkeys(streams, screen.terminal), **how)
    if shell == "halted":
        termios.tcflow(screen.terminal, termios.TCOON)
    rows = "Begin,End,Mask,ngood,nbad\n0,1,3,4,5\n"
    on_screen = bool(options) or "stdout" in streams
    assert result == Run(0, "" if on_screen else rows, "") and screen.shown == b""
    assert screen.after() == (rows if on_screen else "").split("\n")


@pytest.mark.parametrize("args", [["listproperties", "-i", "42"], ["update", "-i", "42"]])
def test_other_commands(screen, args):
    result = session(args, silent, lambda peer, client: peer.take(client, 65536), closes, stderr=screen.terminal)
    assert result == Run(1, "", "") and screen.after() == [caught(END_OF_STREAM).err.rstrip(), ""] and screen.shown.count(b"\r") == 1
