"""Listing and changing the properties of an object: to the byte, and in the sandbox."""

import pytest
from ber import integer, real, wire
from peer import closes, expects, sends
from server import (END_OF_STREAM, ID_42, LOGIN, NAME, caught, data, made, prop, refusal, response, select, selected, session,
                    step, text, thing)
from tool import Run, run, sandbox

SAME, DONE = "Values are the same, not updating object.\n", "Succesfully updated object.\n"
GAVE_UP = Run(1, "", "Couldn't update object because of concurrent updates. Tried 10 times, giving up.\n")


def asks(number, names=None):
    """The look-up of object 42 with these properties, or with all."""
    last = step(".", 2, "", ID_42) if names is None else step(".", 0, f"{NAME} {names}", ID_42)
    return expects(select(number, "root", step(".", 1, NAME, below=last)))


def finds(number, properties, version="v1", piece=None):
    check = made("Check", "42", text("siblingName", "ping") + properties, version=version)
    return sends(selected(number, thing("Domain", "root", "", check)), piece)


def writes(number, properties, version="v1"):
    return expects(wire(f"74( {integer(number).hex()} A2( '42' '{version}' 30( {properties} ) ) )"))


def update(words, *steps):
    return session(["update", "-i", "42", *words], *steps)


LISTED = [  # type word and value on the wire, and their texts
    (1, "A5( 010101 )", "true", "Boolean"), (0x7E0001, "A5( 010100 )", "false", "Const Boolean"),
    (2, "A3( 020500FFFFFFFF )", "4294967295", "Unsigned Integer"), (10, "A3( 020107 )", "7", "Index"),
    (0x5C0003, "A2( 020480000000 )", "-2147483648", "Signed Integer, NULL allowed"), (4, "A4( 0900 )", "0.000000", "Floating Point Number"),
    (0x180004, f"A4( {real('-1e-05').hex()} )", "-0.000010", "Floating Point Number, Computed"),
    (4, f"A4( {real('nan').hex()} )", "nan", "Floating Point Number"), (4, "A4( 090141 )", "-inf", "Floating Point Number"),
    (0x500005, "A2( 0201FF )", "-1", "Date, Read Only"), (0x400006, "A0( 0400 )", '""', "String, Primary Key"),
    (0x800006, "A0( 04076122620A01C3A9 )", '"a\\"b\\n\\001\u00e9"', "String"), (7, "A0( 'a,\"b\\' )", 'a,"b\\', "Id"),
    (8, "A1( 30( 'a,b' '' 'c\\' ) )", ",a\\,b,,c\\\\", "Id Set"), (8, "A1( 30( ) )", "", "Id Set"),
    (11, "A1( 30( ) )", "", "String List"), (9, "A6( )", "(NULL)", "Action"), (9, "A5( 010100 )", "action", "Action"),
    (13, "A3( 02040A0B0C0D )", "0a:0b:0c:0d", "GID"),
    (11, "A1( 30( 'a, ' 0402220A ) )", '"a, ", "\\"\\n"', "String List"), (12, "A7( 04024D00 )", "TQA=", "BLOB"),
    (14, "A8( 30( 020101 020500FFFFFFFF ) )", "00:00:00:01,ff:ff:ff:ff", "GID List"), (15, "A0( '.1.3' )", ".1.3", "SNMP OID"),
    (0x10005, "A3( 02010D )", "13", "Enumeration"), (0x8003FFFF, "A3( 020500FFFFFFFF )", "-1", "Const Enumeration"),
    (0xC0040006, "A6( )", "(NULL)", "String, NULL allowed"), (0, "A6( )", "(NULL)", "(Unknown type: 0)"),
    (16, "AA( 020107 )", "(Unknown type)16", "(Unknown type: 16)"), (17, "A9( 020107 )", "(Unknown type)17", "(Unknown type: 17)"),
    (18, "AB( 020107 )", "(Unknown type)18", "(Unknown type: 18)"),
    (0x80040013, "AC( 'lob' )", "(Unknown type)-2147221485", "(Unknown type: -2147221485), NULL allowed"),
]
EVERY_TYPE = "".join(prop(f"p{row:02}", word, value) for row, (word, value, *_) in reversed([*enumerate(LISTED)]))
ROWS = [("id", "42", "Const Id"), ("class", "Check", "Const Class Type"), ("version", "v1", "Version String, Read Only"),
        *[(f"p{row:02}", value, kind) for row, (_, _, value, kind) in enumerate(LISTED)], ("siblingName", '"ping"', "String")]
NOTICE = "Notice: Both -a and specific properties specified.\n-a includes all properties.\n"


@pytest.mark.parametrize("options, asked, names, typed, err", [
    ("-a -i 42", None, None, False, ""), ("/t /a -i 42", None, None, True, ""), ("-i 42 -a -t id p03", None, None, True, NOTICE),
    ("-t -i 42", "", [], True, ""), ("-i 42 siblingName version", "'siblingName' 'version'", ["version", "siblingName"], False, ""),
    ("-i 42 -t version class id", "'version' 'class' 'id'", ["id", "class", "version"], True, ""),
    ("-t -i 42 p12 p01 p12 none", "'p12' 'p01' 'p12' 'none'", ["p01", "p12"], True, ""),
])
def test_listed_properties(options, asked, names, typed, err):
    lines = [f"{name}={value}{f' ({kind})' * typed}\n" for name, value, kind in ROWS if names is None or name in names]
    for piece in (None, 1):
        steps = [asks(0, asked), finds(0, EVERY_TYPE + text("p00", "second"), piece=piece)]
        assert session(["listproperties", *options.split()], *steps) == Run(0, "".join(lines), err)


def test_value_of_another_type():
    properties = text("a", "1") + prop("bad", 1, "A0( 'x' )")
    result = session(["listproperties", "-a", "-i", "42"], asks(0), finds(0, properties))
    assert result == caught("Null given for boolean property: bad", 'id=42\nclass=Check\nversion=v1\na="1"\n')


FALSE, SEVEN, NULL, NONE = "A5( 010100 )", "A3( 020107 )", "A6( )", "A1( 30( ) )"


@pytest.mark.parametrize("word, current, given, sent", [
    (1, FALSE, "False", None), (4, "A4( 0900 )", "1e-7", None),
    (4, "A4( 0900 )", "-1e-7", f"A4( {real('-1.000000e-07').hex()} )"),
    (6, "A0( 'a=b' )", "a=b", None), (8, NONE, ",,", None), (12, "A7( 04014D )", "T\nQ", None), (6, NULL, "inherited", None),
    (0x60006, "A0( 'x' )", "null", NULL), (0x1005F, SEVEN, "NULL", NULL), (16, "AA( 020107 )", "null", NULL), (9, NULL, "NULL", NULL),
    (0x40002, SEVEN, "INHERITED", (0x80040002, NULL)), (0x40009, FALSE, "action", (9, NULL)),
    (1, FALSE, "yes", caught('Error parsing: "yes"')), (5, SEVEN, "2003-03-25", caught('Error parsing: "2003-03-25"')),
    (10, SEVEN, "12\t", caught(r'Error parsing: "12\t"')), (0x10005, SEVEN, "ES_ALERT", caught('Error parsing: "ES_ALERT"')),
    (13, SEVEN, "1:2:3:4:5", caught('Malformed GID: "1:2:3:4:5"')), (4, NULL, "1,5", caught('Error parsing: "1,5"')),
    (14, NULL, "1:2:3:zz", caught('Malformed GID component: Unexpected character: "z" in hex string "zz"')),
])
def test_changed_value(word, current, given, sent):
    steps, result = [asks(0, "'p'"), finds(0, prop("p", word, current))], Run(0, DONE if sent else SAME, "")
    if isinstance(sent, Run):
        result = sent
    elif sent:
        sent = (word, sent) if isinstance(sent, str) else sent
        steps += [writes(1, prop("p", *sent)), sends(response(1, wire("A2( 'v2' )")))]
    assert update([f"p={given}"], *steps) == result


CHANGES = [  # type word, current value, given text, sent value
    (1, FALSE, "-7", "A5( 010101 )"), (0x60002, SEVEN, "-1", "A3( 020500FFFFFFFF )"), (3, NULL, "-99999999999", "A2( 020480000000 )"),
    (4, NULL, "nan", "A4( 090160 )"), (5, NULL, "", "A2( 020100 )"), (6, NULL, '"Null"\\n', "A0( '\"Null\"\\n' )"),
    (0x160006, "A0( 'x' )", "", "A0( 0400 )"), (7, NULL, "a,b", "A0( 'a,b' )"), (8, NONE, ",a\\,,b,", "A1( 30( 'a\\' 'b' ) )"),
    (9, NULL, "action", NULL), (10, SEVEN, "08", "A3( 020108 )"), (11, NONE, "a, b", "A1( 30( 'a' ' b' ) )"),
    (12, NULL, "T Q==!", "A7( 04014D )"), (13, SEVEN, "1:2::f:FF", "A3( 020401020FFF )"), (15, NULL, "1.3", "A0( '1.3' )"),
    (14, "A8( 30( ) )", ",0:0:0:80,ff:0:0:0,", "A8( 30( 02020080 020500FF000000 ) )"), (0xA0010006, NULL, "0", "A3( 020100 )"),
]


def test_several_changes():
    found = [prop(f"p{row:02}", word, current) for row, (word, current, *_) in enumerate(CHANGES)]
    found += [prop("un", 19, "AC( 'x' )"), text("z", "0"), text("keep", "b=c"), prop("big", 0x20012, NULL)]
    sent = [text("new", "null"), *[prop(f"p{row:02}", word, value) for row, (word, _, _, value) in enumerate(CHANGES)], text("z", "2")]
    words = ["z=1", "big=0", "un=5", "z=2", "new=null", "keep=b=c", *[f"p{row:02}={given}" for row, (*_, given, _) in enumerate(CHANGES)]]
    steps = [asks(0, " ".join(f"'{word.split('=')[0]}'" for word in words)), finds(0, "".join(found))]
    result = update(words, *steps, writes(1, "".join(sent)), sends(response(1, wire("A2( )"))))
    assert result == Run(0, f"Error unknown type18\nError unknown type19\n{DONE}", "")
    assert update([], asks(0, ""), finds(0, "")) == Run(0, SAME, "")
    refused = caught('Property "p09" is an action and takes only "action", got: "go"', "Error unknown type18\n")
    assert update([word.replace("=action", "=go") for word in words], *steps) == refused


@pytest.mark.parametrize("answer, result", [
    (refusal(1, 15, "'one' 'two, three'"), Run(0, "Error updating 42:\none\ntwo, three\n", "")),
    (refusal(1, 9, ""), Run(0, "Error updating 42:\nProperty updated with illegal type\n", "")),
    (data(1), caught("Wrong type in Select::decode.")), (b"", caught(END_OF_STREAM)),
])
def test_answer_to_an_update(answer, result):
    steps = [asks(0, "'p'"), finds(0, text("p", "1")), writes(1, text("p", "2")), sends(answer), closes]
    assert update(["p=2"], *steps) == result


def test_conflicts():
    rounds = [step for at in range(0, 20, 2) for step in (
        asks(at, "'p'"), finds(at, text("p", str(at)), f"v{at}"), writes(at + 1, text("p", "x"), f"v{at}"), sends(refusal(at + 1, 3)))]
    assert update(["p=x"], *rounds) == GAVE_UP
    for at in (2, 18):
        steps = [*rounds[:2 * at], asks(at, "'p'")]
        accepted = [finds(at, "", "w"), writes(at + 1, text("p", "x"), "w"), sends(response(at + 1, wire("A2( 'z' )")))]
        assert update(["p=x"], *steps, *accepted) == Run(0, DONE, "")
        assert update(["p=x"], *steps, finds(at, text("p", "x"), "w")) == Run(0, SAME, "")
        assert update(["p=x"], *steps, sends(refusal(at, 1))) == caught('No object found that matches "42"')


RICH = "Backbone.Routers,mainrouter"
def test_updates_in_the_sandbox(ask):
    names = ["comment", "null2", "threshold"]
    version = ask("listproperties", RICH, "version")
    for words, answer in [(["null9=action"], DONE), ([], SAME)]:
        assert ask("update", RICH, "comment=a=b", "null2=-1", "threshold=inherited", *words) == [answer[:-1]]
    changed = ask("listproperties", RICH, *names)
    assert changed == ['comment="a=b"', "null2=4294967295", "threshold=(NULL)"] and ask("listproperties", RICH, "version") != version
    key = ask("listproperties", RICH, "id")[0].removeprefix("id=")
    for words, reasons in [("nosuch=1 comment=z", ['"nosuch" does not exist']), ("active=null", ['"active" cannot be null']),
                           ("siblingName=", ['"siblingName" cannot have this value']), ("offset=1", ['"offset" is read-only']),
                           ("seriesIndex=5 null3=1 created=5", ['"created" is read-only', '"seriesIndex" is constant'])]:
        assert ask("update", "-i", key, *words.split()) == [f"Error updating {key}:", *[f"Property {text}" for text in reasons]]
    assert ask("listproperties", RICH, *names) == changed


def test_conflicts_in_the_sandbox():
    for count, result in [(1, Run(0, DONE, "")), (10, GAVE_UP)]:
        with sandbox("--conflicts", str(count)) as server:
            command = [*server, *LOGIN, "update", RICH, "comment=x"]
            assert run(*command) == result and run(*command) == Run(0, DONE if count == 10 else SAME, "")
