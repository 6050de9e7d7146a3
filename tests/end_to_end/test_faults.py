"""Every command against a server that fails at any byte, mangles its answers, or does not read."""

import itertools
import os
import re
import resource
import threading
import time
from concurrent.futures import ThreadPoolExecutor

import pytest
from ber import integers, item, string, wire
from faults import ENDLESS, MEMORY, Stage, finishes, plays, record
from link import THERE, cable
from peer import closes, resets
from server import call, called, data, interval, made, refusal, response, selected, text, thing, value
from tool import SANITIZED, WINDOWS, Run, linux

EVERY = int(os.environ.get("MORVEX_EVERY", 97 if SANITIZED else 997 if WINDOWS else 41))  # strikes at each n-th byte and at the borders of messages
COMMANDS = {
    "listdomains": ["."], "listnodes": ["Backbone.Routers"], "listchecks": ["-r", "Backbone.Switches"],
    "listproperties": "Backbone.Routers,mainrouter aliases balance comment created dependencies gid threshold".split(),
    "select": ["-u", "-b", str(int(time.time()) - 700000), "Backbone.Routers,mainrouter,interfaces^eth0^traffic^daily"],
    "insert": ["Backbone.Routers,mainrouter,interfaces^eth0^traffic^daily"],
    "update": ["Backbone.Routers,mainrouter", "longLabel=other"], "listmetrics": [],
    ENDLESS: ["-a", "sample.ticks", "-i", "sample.poll", "sample.wave", "-a", "sample.sawtooth"]}
SPOKEN = r"((Could not monitor: .*\n)*Got \d+ metrics\n)?"
FAILED = re.compile(SPOKEN + r"(Caught error: .*|Error getting Morvex server metrics)\n")
BROKEN = re.compile(SPOKEN + r"Caught error: Error writing to socket: .*: (Connection reset by peer \(104\)|Broken pipe \(32\))\n")
LOST = re.compile("(^|\n)Caught error: (Error reading|Error writing to socket|Wrong username / password)")


@pytest.fixture(scope="module")
def stage():
    built = Stage()
    yield built
    print(f"\n{built.runs} runs, {built.cut} cut off, {built.flipped} with a byte flipped")


@pytest.fixture(scope="module")
def recorded(server, stage, tmp_path_factory):
    rows = tmp_path_factory.mktemp("faults") / "rows"
    rows.write_text("header\n1000,2000,1,2,3,4,5\n2000,3000,1,2,3,4,5\n")
    return {command: record(stage, server, ["-f", str(rows)] * (command == "insert") + [command, *args])
            for command, args in COMMANDS.items()}


@pytest.fixture(params=COMMANDS)
def session(request, recorded):
    return recorded[request.param]


def pieces(data):
    """The bytes of each message. Only padding may stand between them."""
    found = []
    while data := data.lstrip(b"\0\x19"):
        found.append(data[:item(data, 0)[1]])
        data = data[len(found[-1]):]
    return found


def places(session):
    """The bytes to strike: every n-th, and those around the borders of messages."""
    borders = itertools.accumulate(map(len, pieces(session.stream)), initial=0)
    near = {border + by for border in borders for by in (-1, 0, 1)}
    size = len(session.stream)
    return sorted(at for at in {*range(0, size, EVERY)} | near if 0 <= at < size)


def assert_failed(session, result):
    """An error, and at most a part of the output; insert and update have none then."""
    assert result.code == 1 and FAILED.fullmatch(result.err), result
    assert session.result.out.startswith(result.out) and (result.out == "" or result.out != session.result.out), result


@pytest.mark.parametrize("ending", [closes, resets])
def test_connection_lost(stage, session, ending):
    for end in places(session):
        result = stage.run(session.args, session.until(end, ending))
        assert_failed(session, result)
        assert LOST.search(result.err), result
        stage.cut += 1


def assert_sound(session, flipped, result):
    """Success in spite of the flip: the independent reader finds whole answers to the same requests, and answers with the
    same content print the same."""
    sent, got = [[item(piece, 0)[0] for piece in pieces(data)] for data in (session.stream, flipped)]
    assert [(tag, items[:1]) for tag, items in got[2:]] == [(tag, items[:1]) for tag, items in sent[2:]]
    if session.args[0] != "listmetrics" or result.out:  # this command takes a root that is no group for a refusal
        assert re.fullmatch(SPOKEN, result.err), result
    assert sent != got or result == session.result


def test_flipped_byte(stage, session):
    for at in places(session):
        flipped = bytearray(session.stream)
        flipped[at] ^= 1 << at % 8
        result = stage.run(session.args, session.until(at, finishes, bytes(flipped[at:])))
        stage.flipped += 1
        if result.code:
            assert_failed(session, result)
        else:
            assert_sound(session, bytes(flipped), result)


STRANGERS = refusal(1000, 15) + bytes(3) + response(2147483647, wire("A7( )")) + b"\x19"  # with padding


@pytest.mark.parametrize("change", [
    lambda answers: answers * 2, lambda answers: [part for answer in answers for part in (answer, answer)],
    lambda answers: [STRANGERS, *answers, STRANGERS], lambda answers: answers[::-1]])
def test_answers_that_are_too_many_or_out_of_order(stage, session, change):
    changed = [(count, b"".join(change(pieces(answer)))) for count, answer in session.turns]
    assert stage.run(session.args, plays([*session.turns[:2], *changed[2:]])) == session.result
    for turn in (0, 1):
        start = session.starts()[turn]
        assert_failed(session, stage.run(session.args, session.until(start, finishes, STRANGERS + session.stream[start:])))


def test_answers_that_do_not_come(stage, session):
    at = 0
    for piece in pieces(session.stream):
        rest = session.stream[at + len(piece):]
        assert_failed(session, stage.run(session.args, session.until(at, finishes, rest)))
        following = pieces(rest)[0] if rest else b""
        early = session.until(at, finishes, following + piece + rest[len(following):])
        if rest and not (session.args[0] == ENDLESS and at >= session.starts()[2]):
            assert_failed(session, stage.run(session.args, early))
        at += len(piece)


def test_single_bytes(stage, session):
    assert stage.run(session.args, plays(session.turns, piece=1)) == session.result


COUNT, DEPTH, ROWS = 500000, 200000, 500000 if EVERY < 10 else 50000
NESTED, MANY = wire("3080") * DEPTH + bytes(2 * DEPTH), wire("3080") + wire("0500") * COUNT + bytes(2)
ANNOUNCED, SENT = wire("0484FFFFFFFF") + bytes(1 << 20), wire("0483100000") + bytes(1 << 20)


@pytest.mark.parametrize("huge", [NESTED, MANY, ANNOUNCED, SENT], ids=["nested", "many", "announced", "sent"])
def test_huge_field(stage, session, huge):
    """In place of each answer's first string; and behind the fields that are read, where it is skipped."""
    for (_, answer), start in list(zip(session.turns, session.starts()))[1:]:
        if b"\4" in answer:
            assert_failed(session, stage.run(session.args, session.until(start + answer.index(b"\4"), finishes, huge)))
    *turns, (count, last) = session.turns
    if huge is not ANNOUNCED:
        assert stage.run(session.args, plays([*turns, (count, last[:-2] + huge + last[-2:])]), 2 * MEMORY) == session.result


@pytest.mark.parametrize("command, answer, out", [
    ("select", data(1, interval(0xA4, integers(*range(5))) * ROWS), "Begin,End,Mask,ngood,nbad\n" + "0,1,2,3,4\n" * ROWS),
    ("listdomains", selected(1, thing("Domain", "1", "", thing("Domain", "2", "a", label="A") * ROWS)), "A\t2\ta\n" * ROWS),
], ids=["select", "listdomains"])
def test_huge_output(stage, recorded, command, answer, out):
    args, (*turns, (count, _)), _ = recorded[command]
    result = stage.run(args, plays([*turns, (count, answer)]), memory=MEMORY + (2 << 10) * ROWS)
    assert (result.code, result.err) == (0, "") and result.out == out


NAME, POLLS = ".".join(["n" * 900] * 3), 1900  # more bytes than the sockets take while the server does not read
METRIC = made("GaugeInt64", "", text("unit", ""))


def calls(method, start, *answer):
    """The turns of one call for each metric; the answers are long, and their content is short."""
    padding = string("x" * 4096) if method == 2 else b""
    return [(len(call(number, method, NAME)), called(number, *answer)[:-2] + padding + bytes(2))
            for number in range(start, start + POLLS)]


@pytest.fixture(scope="module")
def narrow():
    """A stage for arguments of megabytes, with small sockets."""
    limits = resource.getrlimit(resource.RLIMIT_STACK)
    resource.setrlimit(resource.RLIMIT_STACK, (64 << 20, limits[1]))  # a quarter of it is for arguments
    yield Stage(small=True)
    resource.setrlimit(resource.RLIMIT_STACK, limits)


@pytest.fixture(scope="module")
def monitors(recorded):
    return [*recorded[ENDLESS].turns[:2], *calls(3, 0, "", METRIC)]


@linux("arguments of megabytes")
def test_polls_that_are_answered_one_by_one(narrow, monitors):
    turns = [*monitors, *calls(2, POLLS, value(7))]
    result = narrow.run([ENDLESS, *[NAME] * POLLS], plays(turns), memory=128 << 20)
    assert result == Run(0, "\t".join(["7"] * POLLS) + "\n", f"Got {POLLS} metrics\n")


@pytest.mark.parametrize("ending", [closes, resets])
def test_server_that_stops_reading(narrow, monitors, recorded, ending, tmp_path):
    def leaves(peer, client):
        time.sleep(0.5)  # by then the program most probably waits; it must fail either way
        ending(peer, client)

    (tmp_path / "rows").write_text("header\n" + "1000,2000,1,2,3,4,5\n" * 200000)
    inserted = ["-f", str(tmp_path / "rows"), *recorded["insert"].args[2:]]
    monitoring = [([ENDLESS, *[NAME] * POLLS], monitors)] * (not WINDOWS)  # arguments are shorter there
    for args, turns in [(inserted, recorded["insert"].turns[:-1]), *monitoring]:
        result = narrow.run(args, plays(turns, leaves), memory=128 << 20)
        assert (result.code, result.out) == (1, "") and BROKEN.fullmatch(result.err), result


GONE = r"(Error (reading from|writing to) socket: .*(No route to host \(113\)|Connection timed out \(110\))|Wrong username / password)"
SOON = "setsockopt:3:0:v1 setsockopt:3:0:v1 setsockopt:4:0:v3000"  # probes each second, and three for what was sent


@linux("its times can be shortened")
@pytest.mark.skipif(SANITIZED, reason="the sanitizers bring a library of their own")
def test_server_that_vanishes(recorded, tmp_path):
    """The cable is pulled while runs wait for each answer, within it, send a large file, and sleep between two cycles."""
    (tmp_path / "rows").write_text("header\n" + "1000,2000,1,2,3,4,5\n" * 500000)
    insert, monitor = recorded["insert"], recorded[ENDLESS]
    runs = [(["-f", str(tmp_path / "rows"), *insert.args[2:]], plays, insert.turns[:-1]), (monitor.args, plays, monitor.turns)]
    runs += [(session.args, session.until, start + within) for session in (recorded["select"], insert, monitor)
             for start in session.starts() for within in (0, 5)]
    with cable() as (here, there, pull):
        ready = threading.Barrier(len(runs), pull)

        def run(args, script, place):
            stage = there.submit(Stage, host=THERE, LD_PRELOAD=os.environ["MORVEX_FAULTY_SYSTEM"], MORVEX_FAULT=SOON).result()
            args = ["mm" if arg == ENDLESS else arg for arg in args]  # by this name the stage waits for its end
            return stage.run(args, script(place, lambda peer, client: ready.wait()), memory=128 << 20)

        def run_all():
            with ThreadPoolExecutor(len(runs)) as pool:
                return list(pool.map(run, *zip(*runs)))

        for result in here.submit(run_all).result():
            assert result.code == 1 and re.search(f"(^|\n)Caught error: {GONE}\n$", result.err), result
