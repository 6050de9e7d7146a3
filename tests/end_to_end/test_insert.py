"""The import of stored data: to the byte, and back into the sandbox."""

import functools
import shlex
import time

import pytest
from ber import integers, real, wire
from peer import closes, expects, sends
from server import (CHECK_42, END_OF_STREAM, LOOKUP_42, NODE_42, caught, data, incident, interval, misused, refusal,
                    response, session)
from tool import WINDOWS, Run, linux

STARTED = int(time.time())
DONE = sends(response(2, wire("A7( )")))
QUIET, UNKNOWN = Run(0, "", ""), Run(1, "", "Caught unknown exception.\n")
RAW = interval(0xA0, wire("30( 30( 020101 020102 0900 ) )"))
SAWTOOTH, CONTINUOUS = [interval(kind, integers(1, 2), wire("0900")) for kind in (0xA3, 0xA5)]
ENUM, INCIDENT = interval(0xA4, integers(1, 2, 3)), incident(1, "0A00", "a")
FIVE, ROW = interval(0xA4, integers(1, 2, 3, 4, 5)), "1,2,3,4,5\n"


def asks_for_data(peer, client, table="tsdbIndex"):
    """Expects the request for all data up to the present second."""
    expects(wire(f"74( 020101 A6( '42' '{table}' 010101 020100"))(peer, client)
    end = b"".join(peer.take(client, 1) for _ in range(6))
    assert end[:2] == b"\2\4" and STARTED <= int.from_bytes(end[2:], "big") <= time.time(), end
    expects(wire("020100 020100 ) )"))(peer, client)


def puts(*intervals, table="tsdbIndex"):
    return expects(wire(f"74( 020102 A7( '42' '{table}' 020103 30(") + b"".join(intervals) + wire(") ) )"))


@pytest.fixture
def insert(tmp_path):
    """Inserts the text into an object with these data, from a file and from standard input."""
    def insertion(lines, stored, *steps):
        steps = [expects(LOOKUP_42), sends(CHECK_42), asks_for_data, sends(stored), *steps]
        (tmp_path / "in").write_bytes(lines.encode())
        result = session(["-f", str(tmp_path / "in"), "insert", "-i", "42"], *steps)
        with open(tmp_path / "in", "rb") as file:
            assert session(["insert", "-i", "42"], *steps, stdin=file) == result
        return result
    return insertion


@pytest.mark.parametrize("kind", [0xA3, 0xA5])
def test_measured(insert, kind):
    lines = ["Begin,End,Min,Avg,Max,ngood,nbad", "100,200,-0.25,1.5,3.5,7,0", ",300,200,0,,-0,0x10,-1,99999999999,",
             "2003-03-25 00:25:03,2003/03/25x00.25.04 and more,nan,-inf,1e400,1,2", "2003-13-25 00:25:03,2004-02-29 00:00:,1,1e-300,123456789,1,2",
             "2003-02-31 23:59:61,2038-01-19 03:14:07,1,1,1,1,1", ""]
    one = real("1.000000e+00")
    sent = [interval(kind, integers(100, 200), real("3.500000e+00"), real("1.500000e+00"), real("-2.500000e-01"), integers(7, 0)),
            interval(kind, integers(300, 300), real("1.600000e+01"), wire("0900 0900"), integers(4294967295, 2147483647)),
            interval(kind, integers(1048551903, 1048551904), wire("090140 090141 090160"), integers(1, 2)),
            interval(kind, integers(0, 1078012800), real("1.234568e+08"), real("1.000000e-300"), one, integers(1, 2)),
            interval(kind, integers(1046736001, 2147483647), one, one, one, integers(1, 1))]
    stored = data(1, interval(kind, integers(1, 2), wire("0900")), RAW)
    assert insert("\n".join(lines), stored, puts(*sent), DONE) == insert("\r\n".join(lines), stored, puts(*sent), DONE) == QUIET


def test_incidents_of_a_node():
    table, row = "tsdbIncident", shlex.quote('head\n1000,2,"down"\r\n2147483647,-1, \u00e9\\ \n5,128,a\rb\r\n0,0,"\n')
    sent = [incident(1000, "0A0102", '"down"'), incident(2147483647, "0A04FFFFFFFF", " \u00e9\\ "), incident(5, "0A020080", "a\rb"),
            incident(0, "0A00", '"')]
    steps = [expects(LOOKUP_42), sends(NODE_42), functools.partial(asks_for_data, table=table), sends(data(1, INCIDENT))]
    result = session(["insert", "-i", "42"], *steps, puts(*sent, table=table), DONE, shell=f'printf %s {row} | "$0" "$@"')
    assert result == QUIET


@pytest.mark.parametrize("lines, sent", [
    ("", []), ("Begin", []), (ROW, []), ("h" * 1023 + "\n" + ROW[:-1], [FIVE]), ("h" * 1024 + "\n" + ROW, []),
    ("\n99,1,4294967295,-1,99999999999\n1,,2,3,4,5,", [interval(0xA4, integers(99, 99, 4294967295, 4294967295, 4294967295)), FIVE]),
    ("\n" + ROW + ROW[:-1].rjust(1023, "0") + "\r\n" + ROW, [FIVE] * 3), ("\n" + ROW[:-1].rjust(1023, "0"), [FIVE]),
    ("\n" + ROW + ROW.rjust(1025, "0") + ROW + "fault", [FIVE]), ("\n" + ROW[:-1].rjust(1024, "0"), []),
])
def test_lines_that_are_read(insert, lines, sent):
    assert insert(lines, data(1, ENUM, RAW), *([puts(*sent), DONE] if sent else [])) == QUIET


def fault(line, count, kind):
    return caught(f"In line {line}: number of fields not {count} as it should be for {kind}")


@pytest.mark.parametrize("pattern, lines, result", [
    (SAWTOOTH, "1,2,3,4,5,6\n", fault(2, 7, "sawtooth")), (CONTINUOUS, "1,2,3,4,5,6,7\n1,2,3,4,5,6,7,8", fault(3, 7, "continuous")),
    (ENUM, ROW + "\n" + ROW, fault(3, 5, "enum")), (ENUM, "\r\n", fault(2, 5, "enum")), (ENUM, "1,2,,4,5\n", fault(2, 5, "enum")),
    (INCIDENT, '1,2,"a, b"\n', fault(2, 3, "incidents")), (INCIDENT, "1,2,a\n" * 998 + "1,2\n", fault(1000, 3, "incidents")),
    (ENUM, ROW + "1,2,3,4,5x\n", caught('Error parsing: "5x"')), (ENUM, "2003-03-2x 00:25:03,2,3,4,5\n", caught('Error parsing: "2x"')),
    (SAWTOOTH, "1,2,3,x,5,6,7\n", caught('Error parsing: "x"')), (ENUM, "1,2003-03-25 00:25,3,4,5\n", UNKNOWN),
    (ENUM, "2038-01-19 03:14:08,2,3,4,5\n", caught('Error parsing: "2038-01-19 03:14:08"')),
    pytest.param(ENUM, "1969-12-31 23:59:58,2,3,4,5\n", caught('Error parsing: "1969-12-31 23:59:58"'), marks=linux("Windows knows no such time")),
    (INCIDENT, '1,"2",a\n', caught(r'Error parsing: "\"2\""')), (INCIDENT, "-5,2,a\n", UNKNOWN),
])
def test_line_refused(insert, pattern, lines, result):
    assert insert("\n" + lines, data(1, pattern)) == result


@pytest.mark.parametrize("stored, answer, result", [
    (data(1), None, caught("no such check")), (refusal(1, 1), None, caught("no such check")), (data(1, RAW, ENUM), None, QUIET),
    *[(data(1, ENUM), answer, caught(message)) for answer, message in [
        (refusal(2, 15), "Access denied"), (b"", END_OF_STREAM), (data(2), "Wrong type in PutData::decode.")]],
])
def test_server_refuses(insert, stored, answer, result):
    assert insert("\n" + ROW, stored, *([] if answer is None else [puts(FIVE), sends(answer), closes])) == result


def test_input_that_cannot_be_read():
    steps, command = [expects(LOOKUP_42), sends(CHECK_42)], ["insert", "-i", "42"]
    assert session(["-f", "/no/x", *command], *steps) == misused('Cannot create file "/no/x"')
    opened = [] if WINDOWS else [asks_for_data, sends(data(1, ENUM))]  # Windows does not open a folder
    result = session(["-f", "/", *command], *steps, *opened)
    assert result == (misused('Cannot create file "/"') if WINDOWS else caught("Error reading input: Is a directory"))


@pytest.mark.parametrize("check", ["uptime", "state", "ping"])
def test_there_and_back(ask, tmp_path, check):
    now, path = int(time.time()) - 30000, f"Backbone.Routers,mainrouter,{check}"  # later rows may still grow

    def get(*options, **environment):
        return ask("select", *options, "-b", str(now - 900000), "-e", str(now), path, **environment)[1:]

    def put(rows, **environment):
        (tmp_path / "rows").write_text("\n".join(["any header", *rows, ""]))
        assert ask("-f", str(tmp_path / "rows"), "insert", path, **environment) == []

    rows = get("-u")
    put(rows)
    put(get(zone="Asia/Kolkata"), zone="Asia/Kolkata")
    assert get("-u") == rows and len(rows) > 1000
    begin, end, *values = rows[5].split(",")
    edited = ",".join([begin, end, *["7"] * len(values)])
    put([edited])
    assert get("-u") == [*rows[:5], edited, *rows[6:]]
