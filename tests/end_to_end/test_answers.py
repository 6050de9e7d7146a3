"""Requests to the byte, and the output of the program for canned answers, good and bad."""

import subprocess

import pytest
from ber import constructed, integer, integers, real, wire
from peer import Peer, expects, sends
from server import (BOTH, CHECK_42, CLIENT_WANTS, GET_DATA, GET_LAST, LIST_DOMAINS, LOGIN, LOOKUP_42, LOOKUP_ROOT, NAME,
                    NODE_42, ROOT, caught, converse, data, incident, interval, misused, refusal, response, select, selected,
                    session, step, thing)
from terminal import Terminal
from tool import SANITIZED, TOOL, WINDOWS, Run, environment, linux, run

LOOKUP_BACKBONE = wire("""74( 020100 A0( 31( 'root' )
    30( 'Domain' 020100 0500
        30( 30( 'Domain' 020100 0500 30( ) 30( )
                30( 30( 30( 'siblingName' 020106 A0( 'Back\\bone' ) ) 0A00 ) ) 31( 'siblingName' ) ) )
        30( ) 30( ) 31( 'siblingName' ) )
    020100 ) )""")
BACKBONE = selected(0, thing("Domain", "root", "", thing("Domain", "7", "Back\\bone")))
LIST_NODES = select(1, "7", step("Domain", 0, NAME, below=step("Node", 0, BOTH)))
NODES = selected(1, thing("Domain", "7", "Back\\bone", thing("Node", "8", "a,1", label="Main \u00e9"),
                          thing("Node", "9", "b.2", label="")))
ACTIVE = "30( 30( 'active' 020101 A5( 010101 ) ) 0A00 )"
CHECK_TAIL = step("Node", 0, NAME, below=step("CheckGroup", 1, NAME, below=step(
    "Check", 4, BOTH, ACTIVE, below=step("CheckAccumulation", 0, BOTH))))
LIST_CHECKS = select(1, "root", step("Domain", 1, NAME, below=CHECK_TAIL))
LIST_NODE_CHECKS = select(1, "42", CHECK_TAIL)
CHECK = thing("Check", "9", "c\\d", thing("CheckAccumulation", "10", "sum", label="Sum"), label="Ping")
EXPORT = thing("DomainExport", "11", "x")
OWN, LAST = thing("Check", "12", "own", label="Own"), thing("Check", "13", "", label="")
CHECKS = selected(1, thing("Domain", "root", "", thing(
    "Domain", "2", "a.b", thing("Node", "3", "n,1", thing("CheckGroup", "4", "g^", CHECK), EXPORT, OWN),
    thing("Domain", "5", "", thing("Node", "6", "m\\", LAST)))))
CHECKS_OF_NODE = selected(1, thing("Node", "42", "box", thing("Node", "7", "in"), thing("Check", "9", "http", label="Web")))
LIST_ALL_DOMAINS = select(1, "root", step(".", 0, "", below=step("Domain", 1, BOTH)))
DOMAINS = selected(1, thing("Domain", "root", "", thing("Domain", "2", "a", thing("Domain", "3", "b.", label="B"), label="A"),
                            thing("Domain", "4", "c", label="C")))
NO_NAME = "Expected property name got: \"%s\" after parsing '[': parsing "


@pytest.mark.parametrize("piece", [None, 1])
@pytest.mark.parametrize("args, lookup, found, query, answer, out", [
    ("listnodes Back\\\\\\\\bone", LOOKUP_BACKBONE, BACKBONE, LIST_NODES, NODES,
     "Main \u00e9\t8\tBack\\\\\\\\bone,a\\,1\n\t9\tBack\\\\\\\\bone,b.2\n"),
    ("listchecks -r -o Nipdnc .", LOOKUP_ROOT, ROOT, LIST_CHECKS, CHECKS,
     "Ping\t9\ta\\\\.b,n\\,1,g\\\\^^c\\\\\\\\d\ta\\.b\tn,1\t^g\\^^c\\\\d\n"
     "Sum\t10\ta\\\\.b,n\\,1,g\\\\^^c\\\\\\\\d^sum\ta\\.b\tn,1\t^g\\^^c\\\\d^sum\n"
     "Own\t12\ta\\\\.b,n\\,1,own\ta\\.b\tn,1\t^own\n\t13\ta\\\\.b.,m\\\\,\ta\\.b.\tm\\\t^\n"),
    ("listchecks /r -o cdp -i 42 . -x", LOOKUP_42, NODE_42, LIST_NODE_CHECKS, CHECKS_OF_NODE, "^http\t.\t.,box,http\n"),
    ("LISTdomains /r /o d -o pp .", LOOKUP_ROOT, ROOT, LIST_ALL_DOMAINS, DOMAINS, "a\ta\na.b\\\\.\ta.b\\\\.\nc\tc\n"),
    ("listdomains -o  .", LOOKUP_ROOT, ROOT, LIST_DOMAINS, DOMAINS, "\n\n\n"),
    ("listdomains .", LOOKUP_ROOT, ROOT, LIST_DOMAINS, refusal(1, 15), ""),
    ("listdomains .", LOOKUP_ROOT, ROOT, LIST_DOMAINS, selected(1), ""),
])
def test_listing(piece, args, lookup, found, query, answer, out):
    steps = [expects(lookup), sends(found, piece), expects(query), sends(answer, piece)]
    assert session(args.split(" "), *steps) == Run(0, out, "")


@pytest.mark.parametrize("command, answer, message", [
    ("listdomains", refusal(0, 2), 'No Domain found that matches "."'),
    ("listnodes", selected(0), 'No Domain found that matches "."'),
    ("listchecks", selected(0, thing("Domain", "other", "")), 'No Domain or Node found that matches "."'),
    ("select", refusal(0, 99), 'No Check or Node or DomainExport or CheckAccumulation found that matches "."'),
    ("listnodes", selected(0, thing("Node", "root", "")), "Path does not specify a Domain, as it should."),
    ("listchecks", selected(0, thing("Check", "root", "")), "Path does not specify a Domain or Node, as it should."),
    ("select", ROOT, "Path does not specify a Check or Node or DomainExport or CheckAccumulation, as it should."),
    ("listdomains", selected(0, thing("Domain", "root", "", thing("Node", "1", "a"), thing("Node", "1", "a"))),
     "Path is ambiguous."),
    ("listdomains", selected(0, thing("Domain", "root", "", constructed(0x30, wire("'Node' 0200 '5' '' 30( ) 30( ) 31( )")))),
     'Property "siblingName" not found in 5'),
    ("insert", ROOT, "Path does not specify a Check or Node or DomainExport or CheckAccumulation, as it should."),
    ("listproperties", refusal(0, 2), 'No object found that matches "."'),
    ("update", selected(0, thing("Domain", "root", "", thing("Node", "1", "a"), thing("Node", "2", "b"))), "Path is ambiguous."),
    ("listdomains", data(0), "Wrong type in Select::decode."),
])
def test_lookup_fails(command, answer, message):
    assert session([command, "."], expects(LOOKUP_ROOT), sends(answer)) == caught(message)


@pytest.mark.parametrize("args, message", [
    (["listdomains", ""], "path invalid or not specified"), (["listnodes", ",box"], "path invalid or not specified"),
    (["select", "a,b,c,d"], "Too many ,'s in path specification"),
    (["select", "-i", 'a"'], 'Unterminated string literal: parsing .*[siblingName] > .[siblingName] { id = "a"" }'),
    (["listproperties", ".", "a", "Type"], f"{NO_NAME % 'Type'}Domain[siblingName, a, Type]"),
    (["update", "-i", "5", "a=b", "=x"], f'{NO_NAME % "]"}.*[siblingName] > .[siblingName, a, ] {{ id = "5" }}'),
    *[([command, ".", "x" + value, name + value], f"{NO_NAME % found}Domain[siblingName, x, {name}]")
      for command, value in (("listproperties", ""), ("update", "=1")) for name, found in (("", "]"), ("*", "*"))],
    *[([command, ".", name + value], f"{NO_NAME % found}Domain[siblingName,  {name}]")
      for command, value in (("listproperties", ""), ("update", "=1")) for name, found in (("", "]"), ("*", "*"))],
    (["listnodes", "n" * 1025], "String exceeds allowed length 1025 > 1024"),
])
def test_paths_that_are_not_sent(args, message):
    assert session(args) == caught(message)


def test_very_long_path():
    count = 15000 if WINDOWS else 60000  # a command line of Windows holds 32767 characters
    path = "a" + ".a" * (count - 1)
    named = "30( 30( 'siblingName' 020106 A0( 'a' ) ) 0A00 )"
    (head, tail), (front, back) = [map(wire, step("Domain", 0, NAME, terms, below="|").split("|")) for terms in ("", named)]
    request = wire("74( 020100 A0( 31( 'root' )") + head + front * count + back * count + tail + wire("020100 ) )")
    result = session(["listdomains", path], expects(request), sends(refusal(0, 2)))
    assert result == caught(f'No Domain found that matches "{path}"')


def test_very_long_filter(server):
    terms = '0"' + "&a=1" * (7500 if WINDOWS else 30000) + '&id="0'  # the longest argument of a command line
    assert run(*server, *LOGIN, "listdomains", "-i", terms) == caught(f'No Domain found that matches "{terms}"')


RAW = interval(0xA0, wire("30( 30( 020101 020102 0900 ) )"))
OLD_CONTINUOUS = interval(0xA2, integers(1, 2), real("1"), real("2"), wire("30( 0900 )"))
SAWTOOTH = interval(0xA3, integers(100, 200), real("3.5"), real("1234567"), real("-0.25"), integers(4294967295, 0))
ENUM = interval(0xA4, integers(300, 400, 4294967295, 7, 8))
CONTINUOUS = interval(0xA5, integers(500, 600), real("1e-05"), real("0.0001"), wire("0900"), integers(60, 1))
SHORT = interval(0xA5, integers(-1, -2147483648), wire("0900"))
SPECIAL = interval(0xA3, integers(1, 2), wire("090140"), wire("090141"), real("nan"), integers(1, 2))
WRITTEN_NAN = interval(0xA3, integers(1, 2), wire("090160"), real("inf"), real("-inf"))
NOTE = incident(5, "0A00", "a")
SERIES, ENUMS, INCIDENTS = "Begin,End,Min,Avg,Max,ngood,nbad\n", "Begin,End,Mask,ngood,nbad\n", "Time,Severity,Text\n"
UNKNOWN = "Data of unknown type\n"
EXPORT_42 = selected(0, thing("Domain", "root", "", thing("DomainExport", "42", "out")))  # a class without a part in paths
ENUM_ROW = "300,400,4294967295,7,8\n"


@pytest.mark.parametrize("piece", [None, 1])
@pytest.mark.parametrize("options, intervals, out, err", [
    ("-u", [SAWTOOTH, ENUM, CONTINUOUS, NOTE],
     f'{SERIES}100,200,-0.25,1.23457e+06,3.5,4294967295,0\n{ENUM_ROW}500,600,0,0.0001,1e-05,60,1\n5,0,"a"\n', ""),
    ("-u", [SHORT, SPECIAL, WRITTEN_NAN],
     SERIES + "4294967295,2147483648,0,0,0,0,0\n1,2,nan,-inf,inf,1,2\n1,2,-inf,inf,0,0,0\n", ""),
    ("-n 3", [CONTINUOUS, SHORT], SERIES + "1970-01-01 00:08:20,1970-01-01 00:10:00,0,0.0001,1e-05,60,1\n",
     "Caught error: Couldn't get localtime for time 18446744073709551615\n"),
    ("-m 3", [incident(0, "0A00", 'a "quoted", text\nof two lines'), incident(86399, "0A01FF", "\u00e9")],
     INCIDENTS + '1970-01-01 00:00:00,0,"a "quoted", text\nof two lines"\n1970-01-01 23:59:59,-1,"\u00e9"\n', ""),
    ("-u", [RAW, OLD_CONTINUOUS], "", UNKNOWN * 2), ("-u", [RAW, ENUM], ENUM_ROW, UNKNOWN), ("-u", [], "", ""),
    ("-u -m 1", [ENUM, NOTE], INCIDENTS + '5,0,"a"\n', ""), ("-u -n 1", [ENUM, RAW], ENUMS + ENUM_ROW, ""),
    ("-t %s", [NOTE], INCIDENTS + '5,0,"a"\n', ""), ("-t %A,%d%%", [NOTE], INCIDENTS + 'Thursday,01%,0,"a"\n', ""),
    ("-t " + "x" * 255, [NOTE], INCIDENTS + "x" * 255 + ',0,"a"\n', ""), ("-t " + "x" * 256, [NOTE], INCIDENTS + ',0,"a"\n', ""),
    ("-t ", [NOTE], INCIDENTS + ',0,"a"\n', ""),
    ("-u", [incident(5, "0A00", "x" * 65536)], f'{INCIDENTS}5,0,"{"x" * 65536}"\n', ""),
])
def test_select(piece, options, intervals, out, err):
    args = ["select", "-b", "100", "-e", "1000", *options.split(" "), "-i", "42"]
    steps = [expects(LOOKUP_42), sends(CHECK_42, piece), expects(GET_DATA), sends(data(1, *intervals), piece)]
    assert session(args, *steps) == Run(int(err.startswith("Caught")), out, err)


@pytest.mark.parametrize("options, found, query, answer, result", [
    ("-m 1", CHECK_42, GET_LAST, wire("75( 020101 A9( 020103 30( A4( 020107 020108 020109 ) ) ) )"),
     Run(0, ENUMS + "7,8,9,0,0\n", "")),
    ("-b 5 -m 1", CHECK_42, GET_LAST, wire("75( 020101 A9( 020100 ") + RAW + bytes(4), Run(0, "", UNKNOWN)),
    ("-m 1", CHECK_42, GET_LAST, refusal(1, 1), caught("Error retrieving result")),
    ("-m 1", CHECK_42, GET_LAST, data(1), caught("Wrong type in GetLastData::decode.")),
    pytest.param("-b 1900-01-01-T00:00:00 -e 4294967295", CHECK_42,
                 GET_DATA.replace(integer(100), integer(-2**31)).replace(integer(1000), integer(2**31 - 1)), data(1), Run(0, "", ""),
                 marks=linux("times before 1970")),
    ("-m 1", EXPORT_42, GET_LAST, wire("75( 020101 A9( 020100 ") + ENUM + bytes(4), Run(0, ENUMS + ENUM_ROW, "")),
    ("-b 100 -e 1000", NODE_42, GET_DATA.replace(wire("'tsdbIndex'"), wire("'tsdbIncident'")), refusal(1, 14), Run(0, "", "")),
])
def test_other_requests(options, found, query, answer, result):
    steps = [expects(LOOKUP_42), sends(found), expects(query), sends(answer)]
    assert session(["select", "-u", *options.split(), "-i", "42"], *steps) == result


SELECT = "select -u -b 100 -e 1000 -i 42".split()
SELECT_STEPS = [expects(LOOKUP_42), sends(CHECK_42), expects(GET_DATA)]
LIST_STEPS = [expects(LOOKUP_ROOT), sends(ROOT), expects(LIST_DOMAINS)]


def date(zone, *args):
    return subprocess.run(["date", *args], env=environment(zone), stdout=subprocess.PIPE, text=True, check=True).stdout


@pytest.mark.parametrize("zone", ["UTC", "CET-1", "GMT5:30", "", None, "Europe/Copenhagen", "Asia/Kolkata", *[
    pytest.param(name, marks=linux(reason)) for name, reason in [
        (":Asia/Kolkata", "its notation"), ("America/St_Johns", "rules of bygone years")]]])
def test_time_zones(zone):
    times = [0, 954032399, 954032400, 1000000000, 1100000000, 2147483647]
    start = integer(int(date(zone, "-d", "2003-03-25 00:25:03", "+%s")))
    request = GET_DATA.replace(integer(100), start).replace(integer(1000), integer(2147483647))
    steps = [*SELECT_STEPS[:2], expects(request), sends(data(1, *[incident(time, "0A00", "") for time in times]))]
    lines = [date(zone, "-d", f"@{time}", '+%Y-%m-%d %H:%M:%S,0,""') for time in times]
    result = session("select -b 2003-03-25-T00:25:03 -e 2106-02-07-T06:28:16 -i 42".split(), *steps, zone=zone)
    assert result == Run(0, INCIDENTS + "".join(lines), "")


TO_LIST = "75( 020101 A6( 020103 30( "
IN_LIST = ", BerReader: Response:2, GetDataResp:2, ListOfDataInterval:1"
TO_TEXT = TO_LIST + "30( A1( 020100 0A00 "


@pytest.mark.parametrize("answer, message", [
    ("74( 020101 A5( 020100 ) )", "Wrong type. Expected Response"), ("62( )", "Wrong type. Expected Response"),
    ("75( 020101 AA( 30( ) 30( ) ) )", "Wrong type in GetData::decode."), ("A880", "Unknown tag 69, BerReader: "),
    ("75( 0201FF", "data out of range in BerIntegerTemplate<int>::readDone 0 <= -1 <= 2147483647"),
    (TO_LIST + "30( A680", "Unexpected tag 53 received in Union DataInterval.this->data" + IN_LIST + ", DataInterval:1"),
    (TO_TEXT + "1600", f"Tag mismatch, got 176 expected BE_STRING_CURRENT{IN_LIST}, DataInterval:1, DataIntervalIncident:3"),
    (TO_TEXT + "0484FFFFFFFF", "String exceeds allowed length 4294967295 > 65536"), (TO_TEXT + "0485", "Length field too long"),
    (TO_LIST + "30( A5( 020100 020100 093D", "Data value exceeds maximum allowed length 61 > 60"),
])
def test_hostile_answers(answer, message):
    limit = "unlimited" if SANITIZED or WINDOWS else "524288"  # KiB; the program must not allocate announced lengths
    steps = [*SELECT_STEPS, sends(wire(answer))]
    assert session(SELECT, *steps, shell=f'ulimit -v {limit}; exec "$0" "$@"') == caught(message)


def test_deep_answers():
    depth, level = 200000, wire("30( 'Domain' 020100 '8' '' 30( 30( 'siblingName' 020106 A0( 'a' ) ) ) 30(")
    root = wire("A0( 30( 30( 'Domain' 020100 'root' '' 30( ) 30(")
    deep = [response(number, root + level * depth + wire(") 31( ) )") * (depth + 1) + bytes(4)) for number in (0, 1)]
    request = LIST_DOMAINS.replace(wire("'root'"), wire("'8'"))
    found = session(["listdomains", "."], expects(LOOKUP_ROOT), sends(deep[0]), expects(request), sends(refusal(1, 2)))
    assert found == Run(0, "", "")
    assert session(["listdomains", "-o", "i", "."], *LIST_STEPS, sends(deep[1])) == Run(0, "8\n" * depth, "")


PLACE, LEVEL = "Tag mismatch, got 40 expected BE_OBJECT_CURRENT, BerReader: Response:2, SelectResp:1, ListOfObject:1", ", Object:6, ListOfObject:1"


def broken_below(depth):
    return wire("75( 020100 A0( 30(") + wire("30( '' 020100 '' '' 30( ) 30(") * depth + wire("0500")


@linux("terminals")
@pytest.mark.parametrize("answer, text, shown", [
    (constructed(0x63, wire("040B") + b"\t\x1b[2J\r\xc3\xa9\xc2\x9b\xff"), "Server rejected us: \t\x1b[2J\r\u00e9\x9b\udcff",
     "Server rejected us: \t\\033[2J\\r\u00e9\\302\\233\\377"),
    (broken_below(8), PLACE + LEVEL * 8, PLACE + LEVEL * 8),
    (broken_below(50000), PLACE + LEVEL * 50000, PLACE + LEVEL * 3 + ", Object:6, ... 99,983 more ..." + LEVEL * 5),
], ids=["controls", "shallow", "deep"])
def test_messages_on_a_terminal(answer, text, shown):
    """In a pipe the bytes as they are; on a terminal nothing that commands it, and no place that fills the screen."""
    steps = [expects(CLIENT_WANTS), sends(answer)]
    assert converse([*LOGIN, "lm"], *steps).err.split(", ") == caught(text).err.split(", ")
    with Peer(steps) as peer, Terminal() as terminal:
        terminal.start([TOOL, "-s", "127.0.0.1", "-p", str(peer.port), *LOGIN, "lm"])
        terminal.until(lambda: terminal.shown.endswith(b"\n"))
        assert terminal.shown.decode() == f"Caught error: {shown}\r\n"


def test_file_that_cannot_be_opened():
    assert session(["-f", "/", *SELECT], *SELECT_STEPS[:2]) == misused('Cannot open file "/"')
    assert session(["-f", "/no/x", "listdomains", "."], *LIST_STEPS, sends(DOMAINS)) == misused('Cannot open file "/no/x"')


def test_order_of_both_streams():
    steps = [*SELECT_STEPS, sends(data(1, ENUM, RAW, ENUM))]
    assert session(SELECT, *steps, stderr=subprocess.STDOUT) == Run(0, ENUMS + ENUM_ROW + UNKNOWN + ENUM_ROW, "")
    unlabelled = selected(1, thing("Domain", "root", "", thing("Domain", "2", "a", label="A"), thing("Domain", "3", "b")))
    result = session(["listdomains", "."], *LIST_STEPS, sends(unlabelled), stderr=subprocess.STDOUT)
    assert result == Run(1, 'A\t2\ta\nCaught error: Property "longLabel" not found in 3\n', "")
