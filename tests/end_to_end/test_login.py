"""The opening of a session, to the byte, with its refusals, and the password prompt."""

import os
import socket
import termios
from signal import SIGHUP, SIGINT, SIGKILL, SIGQUIT, SIGTERM

import pytest
from ber import constructed, string, wire
from peer import Peer, closes, expects, resets, sends
from server import (ACK, CLIENT_WANTS, END_OF_STREAM, LOGIN, NEW_SESSION, NEW_SESSION_RESP, OFFERS, RESET, caught, converse)
from terminal import Terminal
from tool import RUN, SANITIZED, Run, faulty, linux, run, sandbox

REFUSED, EXPIRED, WRONG_TYPE = "Wrong username / password", "Session expired", "Protocol error: Wrong type"
OTHER_VERSION = "Server does not support our version of the protocol"
OUT_OF_RANGE = "data out of range in BerIntegerTemplate<int>::readDone 0 <= {} <= 65535"
LIST = ["listdomains", "."]
NEGOTIATION = [expects(CLIENT_WANTS), sends(OFFERS)]


def new_session(domain, login, password):
    return constructed(0x70, string(domain), string(login), string("Morvex Tool"), string(password))


@pytest.mark.parametrize("options, message", [
    (LOGIN, NEW_SESSION),
    (["-l", "anna", "-P", ""], wire("70( '.' 'anna' 'Morvex Tool' 0400 )")),
    (["-l", "x", "/P", "-x", "-l", "b\\c d", "-d", ""], wire("70( '' 'b\\c d' 'Morvex Tool' '-x' )")),
    (["-l", "\u00e5", "-P", "1", "-d", "ops.east"], wire("70( 'ops.east' 0402C3A5 'Morvex Tool' '1' )")),
    (["-l", "n" * 128, "-P", "p" * 128, "-d", "d" * 1024], new_session("d" * 1024, "n" * 128, "p" * 128)),
    (["-l", "n" * 129, "-P", "p"], b""), (["-l", "n", "-P", "p" * 129], b""), ([*LOGIN, "-d", "d" * 1025], b""),
    (["-S", "1a2B"], wire("72( 02021A2B )")), (["-S", "00FF", *LOGIN], wire("72( 0201FF )")),
    (["-S", "abc", "-l", "x"], wire("72( 02020ABC )")), (["-S", "0"], wire("72( 0200 )")),
    (["-S", "e" * 2080], constructed(0x72, wire("02820410") + b"\xee" * 1040)),
])
def test_login_message(options, message):
    result = converse([*options, *LIST], *NEGOTIATION, *([expects(ACK + message), closes] if message else []))
    assert result == caught(EXPIRED if "-S" in options else REFUSED)


@pytest.mark.parametrize("answer, message", [
    (closes, END_OF_STREAM), pytest.param(resets, RESET, marks=linux("under Wine a reset that comes before the read is an end")),
    ("63( 'not today' )", "Server rejected us: not today"), ("63( '' )", "Server rejected us: "),
    ("62( )", WRONG_TYPE), ("60( 02020203 A0( ) )", WRONG_TYPE), ("71( 0200 0200 '' '' '' )", WRONG_TYPE),
    ("60( 02020100 61( 1600 1600 1600 010100 ) )", WRONG_TYPE),  # the opening that switches to the other tag set
    ("61( 02020100 A0( ) )", OTHER_VERSION), ("61( 02020300 A0( ) )", OTHER_VERSION), ("61( 020103 A0( ) )", OTHER_VERSION),
    ("61( 02020203 A1( 010100 ) )", OTHER_VERSION), ("61( 02020203 A2( ) )", OTHER_VERSION),
    ("61( 0203010000", OUT_OF_RANGE.format(65536)), ("61( 0201FF", OUT_OF_RANGE.format(-1)),
    ("61( 02020203 )", "Got to few fields of constructed value"),
    ("61( 02020203 A480", "Unexpected tag 37 received in Union ServerOffers.this->authentication, BerReader: ServerOffers:2"),
    (b"HTTP/1.1 400 Bad Request\r\n\r\n".hex(), "Unknown tag 66, BerReader: "), ("63( 0484FFFFFFFF", "String exceeds allowed length 4294967295 > 1024"),
])
def test_first_answer_refused(answer, message):
    answer = sends(wire(answer)) if isinstance(answer, str) else answer
    assert converse([*LOGIN, *LIST], expects(CLIENT_WANTS), answer) == caught(message)


@pytest.mark.parametrize("answer", [
    closes, resets, "63( 'why' )", "62( )", "61( 02020203 A0( ) )", "71( 02021234 020100 'root' '' )", "71( 0401",
    "71( 02021234 020100 0421", "6E80", "75( 020100 A0( 30( ) ) )", "8585"])
@pytest.mark.parametrize("options, message, text", [
    (LOGIN, NEW_SESSION, REFUSED), (["-S", "7"], wire("72( 020107 )"), EXPIRED)])
def test_second_answer_refused(options, message, text, answer):
    answer = sends(wire(answer)) if isinstance(answer, str) else answer
    assert converse([*options, *LIST], *NEGOTIATION, expects(ACK + message), answer) == caught(text)


@pytest.mark.parametrize("piece", [None, 1, 7919])
@pytest.mark.parametrize("offers", [
    OFFERS, wire("61( 02020200 A0( ) )"), wire("61( 020202FF A0( ) )"),
    wire("00 00 19 61( 19 02020203 A0( 020101 30( 0500 ) ) 'more' 30( 30( ) ) )"),  # as a newer server may send
    wire("6108 02020203 A0( )"), wire("618108 02820002 0203 A000"),                 # definite lengths
    wire("61( 02020203 A0( )") + wire("3080") * 200000 + bytes(400002),              # deep nesting where it is skipped
])
def test_offers_accepted(offers, piece):
    steps = [expects(CLIENT_WANTS), sends(offers, piece if len(offers) < 100 else 7919), expects(ACK + NEW_SESSION), closes]
    assert converse([*LOGIN, *LIST], *steps) == caught(REFUSED)


def watched(_, client):
    """The client's end of the connection has a timer: the first probe of this server comes within a minute."""
    ends = [f":{address[1]:04X}" for address in (client.getpeername(), client.getsockname())]
    timer = ""
    while not timer or timer.startswith("01"):  # until its message is acknowledged
        with open("/proc/net/tcp", encoding="ascii") as table:
            rows = [line.split() for line in table]
        timer = "".join(row[5] for row in rows if [row[1][-5:], row[2][-5:]] == ends)
    assert timer.startswith("02:") and 3000 < int(timer[3:], 16) <= 6000, timer  # hundredths of a second


def test_key_of_the_answer_may_differ():
    steps = [expects(CLIENT_WANTS), watched, sends(OFFERS), expects(ACK + wire("72( 020107 )")), sends(NEW_SESSION_RESP)]
    assert converse(["-S", "7", "listdomains", ""], *steps) == caught("path invalid or not specified")


def test_unreachable():
    with socket.create_server(("127.0.0.1", 0)) as listener:
        port = str(listener.getsockname()[1])
    assert run("-s", "127.0.0.1", "-p", port, *LOGIN, *LIST) == caught("Error connecting: Connection refused (111)")
    code, out, err = run("-s", "no such host", *LOGIN, *LIST)
    assert (code, out) == (1, "") and err.startswith('Caught error: Error resolving "no such host": ')


TERMINAL = linux("its terminals; test_windows.py has the console")


ANSWERS = [("s3cret\r", "s3cret"), ("\r", ""), ("two words\n", "two words"), ("p" * 63 + "\r", "p" * 63), ("ab\x7fc\r", "ac")]
KEYS = ["p" * 64 + "\r", "p" * 6000 + "\r", "abc\x03", "\x03", "\x1c", "\x16\x03 quoted\n", "\x16\x1a quoted\n", "\x04"]  # without an answer


def answer(typed, password, faults=""):
    """Asks for the password on a terminal, and logs in if there is one. With faults, the caller ignores SIGTERM."""
    steps = None if password is None else [*NEGOTIATION, expects(ACK + new_session(".", "anna", password)), closes]
    with Peer(steps) as peer, Terminal() as terminal:
        terminal.run("-s", "127.0.0.1", "-p", str(peer.port), "-l", "anna", *LIST, shell=f"trap '' TERM; {faulty(faults)}" if faults else RUN)
        if typed:
            terminal.prompts()
            if faults:
                terminal.process.send_signal(SIGTERM)  # stays ignored
            terminal.type(typed) if isinstance(typed, str) else terminal.process.send_signal(typed)
        assert terminal.result() == caught(REFUSED if steps else "Error getting password")
        return terminal.shown, terminal.unchanged(), terminal.unread()


@TERMINAL
@pytest.mark.parametrize("typed, password", [*ANSWERS, *[(typed, None) for typed in (*KEYS, SIGHUP, SIGINT, SIGQUIT, SIGTERM)]])
def test_password_prompt(typed, password):
    assert answer(typed, password) == (b"Password: \r\n", True, 0)


@TERMINAL
@pytest.mark.skipif(SANITIZED, reason="the sanitizers bring system calls of their own")
@pytest.mark.parametrize("faults, typed", [
    pytest.param("open:2:0:e6", "", marks=pytest.mark.skipif("LLVM_PROFILE_FILE" in os.environ, reason="coverage opens files")),
    *[(fault, "") for fault in ("open:1:1:e6", "tcgetattr:1:0:e5", "tcsetattr:1:0:e5",
                                "write:1:0:e5", "write:1:0:r0", "poll:1:0:e12")],
    *[(fault, "x\n") for fault in ("write:2:0:e5", "read:1:0:e5", "tcsetattr:2:0:e5")],
    ("tcsetattr:1:2:e4 write:1:2:e4 poll:1:2:e4 read:1:2:e4", "sed\x7fcret \n"),
])
def test_password_prompt_in_a_system_that_fails(faults, typed):
    password = "secret " if "e4" in faults else None
    assert answer(typed, password, faults)[1:] == ("tcsetattr:2" not in faults, 0)


@TERMINAL
def test_terminal_hangs_up():
    for _ in range(20):  # the end of the terminal and the signal about it come in either order
        with Terminal() as terminal:
            terminal.run("-l", "anna", *LIST)
            terminal.prompts()
            terminal.hang_up()
            assert terminal.result() == caught("Error getting password")


ASKED = b"Password: \r\n"


@TERMINAL
def test_prompts_on_one_terminal_wait_for_each_other():
    pipe = '"$0" "$@" select .,scale,enum | "$0" "$@" insert .,scale,enum'
    with sandbox("--rows", "3") as server, Terminal() as other:
        other.run(*server, "-l", "anna", "lm")
        other.prompts()  # concerns this terminal alone
        for number in range(100):
            with Terminal() as terminal:
                streams = [{}, {"stdin": terminal.terminal}, {"stderr": terminal.terminal}][number % 3]
                terminal.mode[3] |= termios.ECHONL  # cannot be told from the mode of the other prompt
                termios.tcsetattr(terminal.terminal, termios.TCSANOW, terminal.mode)
                terminal.run(*server, "-l", "anna", shell=pipe, **streams)
                for count in (1, 2):
                    terminal.prompts(count)
                    terminal.type("secret\r")
                assert (terminal.result(), terminal.shown, terminal.unchanged()) == (Run(0, "", ""), ASKED * 2, True)
        other.type("abc\x1a")  # stops nothing, as no shell could continue it
        other.prompts(2)
        other.type("secret\r")
        assert other.result().code == 0


@TERMINAL
def test_prompts_that_are_stopped_or_killed():
    """One stops in the background, another at Ctrl+Z. The first prompts in the foreground and is killed, the other logs in."""
    jobs = 'set -m; "$0" "$@" & echo $!; wait; "$0" "$@"; echo stopped >/dev/tty; read word </dev/tty; fg %1; fg %2'
    with sandbox() as server, Terminal() as terminal:
        terminal.run(*server, "-l", "anna", "lm", shell=jobs)
        terminal.prompts()
        terminal.type("abc\x1a")
        terminal.until(lambda: terminal.shown.endswith(b"stopped\r\n"))
        assert terminal.unchanged()
        terminal.type("word\r")
        terminal.prompts(2)
        os.kill(int(terminal.process.stdout.readline()), SIGKILL)
        terminal.prompts(3)
        terminal.type("secret\r")
        assert terminal.result().code == 0
        assert (terminal.shown, terminal.unchanged()) == (ASKED + b"stopped\r\nword\r\nPassword: " + ASKED, True)
