"""Every command against a server that fails at each byte, mangles its answers, or does not read."""

import os
import re
import time

import pytest
from ber import item, wire
from faults import Stage, closes, finishes, plays, record, resets
from server import refusal, response
from tool import SANITIZED, Run

EVERY = int(os.environ.get("MORVEX_EVERY", 97 if SANITIZED else 41))  # which bytes are tried: every n-th, and the borders of messages
COMMANDS = {
    "listdomains": ["."], "listnodes": ["Backbone.Routers"], "listchecks": ["-r", "Backbone.Switches"],
    "listproperties": "Backbone.Routers,mainrouter aliases balance comment created dependencies gid threshold".split(),
    "select": ["-u", "-b", str(int(time.time()) - 700000), "Backbone.Routers,mainrouter,interfaces^eth0^traffic^daily"],
    "insert": ["Backbone.Routers,mainrouter,interfaces^eth0^traffic^daily"],
    "update": ["Backbone.Routers,mainrouter", "longLabel=other"], "listmetrics": [],
    "monitormetrics": ["-a", "sample.ticks", "-i", "sample.poll", "sample.wave", "-a", "sample.sawtooth"]}
SPOKEN = r"((Could not monitor: .*\n)*Got (\d) metrics\n)?"
FAILED = re.compile(SPOKEN + r"(Caught error: .*|Error getting Morvex server metrics)\n")


@pytest.fixture(scope="module")
def stage():
    with Stage() as built:
        yield built
        print(f"\n{built.runs} runs, {built.cut} bytes cut, {built.flipped} bytes flipped, at most {built.peak >> 20} MiB")


@pytest.fixture(scope="module")
def recorded(server, stage, tmp_path_factory):
    rows = tmp_path_factory.mktemp("faults") / "rows"
    rows.write_text("header\n1000,2000,1,2,3,4,5\n2000,3000,,,,1,1\n")
    return {command: record(stage, server, ["-f", str(rows)] * (command == "insert") + [command, *args])
            for command, args in COMMANDS.items()}


@pytest.fixture(params=COMMANDS)
def session(request, recorded):
    return recorded[request.param]


def whole(data):
    """The messages, each with its bytes; fails if there is anything else."""
    messages, at = [], 0
    while at < len(data):
        if data[at] in b"\0\x19":
            at += 1
            continue
        message, end = item(data, at)
        messages.append((message, data[at:end]))
        at = end
    return messages


def pieces(data):
    return [piece for _, piece in whole(data)]


def places(session):
    """Where to strike: at some bytes, and around the borders of messages."""
    size, borders = len(session.stream), [0]
    for piece in pieces(session.stream):
        borders.append(borders[-1] + len(piece))
    near = {border + by for border in borders for by in (-1, 0, 1)}
    return sorted(at for at in {*range(0, size, EVERY)} | near if 0 <= at < size)


def assert_failed(session, result):
    """An error, and not all of the output. An insertion has none, and an update has no other."""
    assert result.code == 1 and FAILED.fullmatch(result.err), result
    assert session.result.out.startswith(result.out) and (result.out == "" or result.out != session.result.out), result


@pytest.mark.parametrize("ending", [closes, resets])
def test_connection_lost(stage, session, ending):
    for end in places(session):
        assert_failed(session, stage.run(session.args, session.until(end, ending)))
        stage.cut += 1


def flat(messages):
    """The items of all messages in their order: constructed ones as the number of those inside."""
    left, items = [message for message, _ in reversed(messages)], []
    while left:
        tag, value = left.pop()
        items.append((tag, len(value) if isinstance(value, list) else value))
        left += reversed(value) if isinstance(value, list) else []
    return items


def heads(items):
    """The classes and ids of objects: they decide which lines there are."""
    return {value for at, (tag, value) in enumerate(items[:-2]) if tag == 4 and (
        items[at - 1][0] == 0x30 and items[at + 1][0] == 2 or items[at - 1][0] == 2 and items[at - 2][0] == 4)}


def words(text):
    return set(re.findall(r"[^\W_]+", re.sub(r"\\(\\|[a-z]|[0-7]{3})", " ", text)))


def assert_sound(session, flipped, result):
    """Success, with the flipped byte: the answers still are whole and to the same requests, as read by other code than the
    program's. Only a flip in an object's class or id, or in the structure, changes which lines there are; only what was
    sent is printed, but for numbers, which may be computed; and what decodes to the same prints the same."""
    sent, got = whole(session.stream), whole(flipped)
    assert [(tag, items[:1]) for (tag, items), _ in got[2:]] == [(tag, items[:1]) for (tag, items), _ in sent[2:]]
    if session.args[0] == "listmetrics" and result == Run(0, "", "Error getting Morvex server metrics\n"):
        return  # the root is no group, which this command takes for a refusal
    columns = (re.fullmatch(SPOKEN, result.err) or [None] * 4)[3]
    assert result.err == "" or int(columns) == result.out.count("\t") + 1, result
    sent, got = flat(sent), flat(got)
    changed = [before for before, after in zip(sent, got) if before != after]
    if sent == got:
        assert result == session.result
    elif len(sent) == len(got) and changed[0][1] not in heads(sent):
        assert result.out.count("\n") == session.result.out.count("\n"), (changed, result)
    if changed and changed[0][0] == 4:
        text = flipped.decode(errors="surrogateescape")
        assert all(word in text for word in words(result.out) - words(session.result.out)), (changed, result)


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


STRANGERS = refusal(1000, 15) + response(2147483647, wire("A7( )"))


@pytest.mark.parametrize("change", [
    lambda answers: answers * 2, lambda answers: [part for answer in answers for part in (answer, answer)],
    lambda answers: [STRANGERS, *answers, STRANGERS], lambda answers: answers[::-1]])
def test_answers_that_are_too_many_or_out_of_order(stage, session, change):
    changed = [(count, b"".join(change(pieces(answer)))) for count, answer in session.turns]
    assert stage.run(session.args, plays([*session.turns[:2], *changed[2:]])) == session.result
    for turn in (0, 1):
        turns = [*session.turns[:turn], (session.turns[turn][0], STRANGERS + session.turns[turn][1]), *session.turns[turn + 1:]]
        assert_failed(session, stage.run(session.args, plays(turns)))


def test_answers_that_do_not_come(stage, session):
    at = 0
    for piece in pieces(session.stream):
        rest = session.stream[at + len(piece):]
        assert_failed(session, stage.run(session.args, session.until(at, finishes, rest)))
        following = pieces(rest)[0] if rest else b""
        early = session.until(at, finishes, following + piece + rest[len(following):])
        if rest and not (session.args[0] == "monitormetrics" and at >= session.starts()[-1]):
            assert_failed(session, stage.run(session.args, early))
        at += len(piece)


def test_single_bytes(stage, session):
    assert stage.run(session.args, plays(session.turns, piece=1)) == session.result


COUNT, DEPTH = 500000, 200000
NESTED, MANY = wire("3080") * DEPTH + bytes(2 * DEPTH), wire("3080") + wire("0500") * COUNT + bytes(2)


@pytest.mark.parametrize("huge", [NESTED, MANY], ids=["nested", "many"])
def test_huge_field_that_is_skipped(stage, session, huge):
    *turns, (count, last) = session.turns
    assert stage.run(session.args, plays([*turns, (count, last[:-2] + huge + last[-2:])])) == session.result


@pytest.mark.parametrize("huge", [NESTED, MANY, wire("0484FFFFFFFF") + bytes(1 << 20), wire("0483100000") + bytes(1 << 20)],
                         ids=["nested", "many", "announced", "sent"])
def test_huge_field(stage, session, huge):
    """In place of each answer's first string."""
    for (_, answer), start in list(zip(session.turns, session.starts()))[1:]:
        if b"\4" in answer:
            assert_failed(session, stage.run(session.args, session.until(start + answer.index(b"\4"), finishes, huge)))
