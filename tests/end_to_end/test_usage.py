"""Command lines that the program refuses or answers without a connection."""

import pathlib

import pytest
from peer import Peer
from server import LOGIN, caught, misused
from tool import Run, run

HELP = (pathlib.Path(__file__).parent / "help.txt").read_text("ascii")
NO_PATH = "No path specified. Either use -i or supply a path."
LATE = "No arguments allowed after path specification."
BOTH_LIMITS, BOTH_FORMATS = [f"Cannot use both {pair} at the same time." for pair in ("-n and -m", "-u and -t")]
SELECT = [*LOGIN, "select"]
ORDER = "endtime must be higher than starttime"


def alone(*args):
    """Runs the program with the address of a server; it must not connect."""
    with Peer(None) as peer:
        return run("-s", "127.0.0.1", "-p", str(peer.port), *args)


@pytest.mark.parametrize("args", ["", "-h", "/h", "-l a -h nonsense", "-p 1 -S xyz -f x -h -x"])
def test_help(args):
    assert run(*args.split()) == Run(0, HELP, "")


@pytest.mark.parametrize("message, lines", [
    ("No command given.", ["-l a", "-l a -P -x", "-S xyz", "-d / /f - /P -", "-p 1", "-p 65535", "-p +80", "-p 007"]),
    ("A login must be specified.", ["nonsense", "-P b select .", "-d a -f b listdomains -x", "-s h lm"]),
    ("The -p switch takes a number. Perhaps you meant -P?", [f"-p {text} x" for text in "abc 80x 1e3 0x50 -".split()]),
    ("The port number must be between 1 and 65535",
     [f"-p {text} x" for text in "0 -1 65536 4294967297 99999999999 -99999999999".split()]),
    *[(f"Unknown option {word}", [f"{word} -h", f"-l a {word}"]) for word in "-x -lname -- --help - / -L /H".split()],
    *[(f"Missing parameter to option {word}", [word, f"-l a {word}"]) for word in "-P -S -d -f -l -p -s /l".split()],
    *[(f"Unrecognized command `{word}'", [f"-l a {word}", f"-S 1 {word} ."]) for word in ("NonSense", "selec", "lmm")],
])
def test_global_options(message, lines):
    for line in lines:
        assert run(*line.split()) == misused(message), line


LIST_ROWS = [
    (NO_PATH, ["", "-r", "-o N -r /o i"]), (LATE, [". -r", "-r . .", ". -x"]),
    *[(f"Missing parameter to option {word}", [word, f"-r {word}"]) for word in "-i -o /i".split()],
    *[(f"Unknown option {word}", [f"{word} .", f"-r -i 1 {word} -o z"]) for word in "-x -R -rr - / -h -- -I".split()],
]


@pytest.mark.parametrize("command, message, lines", [
    *[(word, *row) for word in ("listdomains", "ListNodes", "LISTCHECKS") for row in LIST_ROWS],
    *[(word, f"Unrecognized output option: '{bad}'. Allowed values are '{allowed}'", [f"-o Nip{bad} .", f"/o {bad}Q -x"])
      for word, bad, allowed in [("listdomains", "n", "Nipd"), ("listnodes", "c", "Nipdn"), ("listchecks", "P", "Nipdnc")]],
    *[("select", *row) for row in [
        (NO_PATH, ["", "-u -m 3"]), (LATE, [". .", ". -u"]), (ORDER, ["-b 5 -e 5", "-e 5 -b 6 . ."]),
        *[(f"Missing parameter to option {word}", [word, f"-b 0x -u {word}"][:1]) for word in "-b -e /i -m -n -t".split()],
        *[(f"Unknown option {word}", [f"{word} .", f"-n 1 {word} -m 1"]) for word in "-x -U -uu / -h -r".split()],
        ("Cannot starttime.", [f"-b {text} -x" for text in ["0", "000"] + [f"{text}3" for text in (
            "1899-12-31-T00:00:0", "2003-13-25-T00:25:0", "2003-00-25-T00:25:0", "2003-03-32-T00:25:0", "2003-03-00-T00:25:0",
            "2003-03-25-T24:25:0", "2003-03-25-T00:60:0", "2003-03-25-T00:25:6")]]),
        ("Cannot endtime.", ["-e 0 -x", "-e 2003-13-25-T00:25:03 ."]),
        ("Cannot limit last number entries.", ["-m 0 .", "-m -5 -x"]),
        ("Cannot limit first number entries.", ["-n 0 .", "-n -99999999999 -x"]),
        (BOTH_LIMITS, ["-n 1 -m 1 .", "-m 1 -n 1", "-n 1 -m 0 .", "-m 2 -n 0"]),
        (BOTH_FORMATS, ["-u -u .", "-t x -t y", "-u -t x .", "-t x /u"]),
    ]],
    *[("insert", *row) for row in [
        (NO_PATH, [""]), ("Missing parameter to option -i", ["-i"]), (LATE, [". .", "-i 5 .", ". -i 5", "/i 5", "-x .", "-i -i -i"]),
    ]],
    *[("ListProperties", *row) for row in [
        (NO_PATH, ["", "-a -t", "-t /a -t"]), *[(f"Missing parameter to option {word}", [word, f"-a {word}"]) for word in ("-i", "/i")],
        *[(f"Unknown option {word}", [f"{word} .", f"-t -i 1 {word} -i"]) for word in "-x -A -at / - -h --".split()],
    ]],
    *[("update", *row) for row in [
        (NO_PATH, [""]), *[(f"Missing parameter to option {word}", [word, f"-i 5 {word}"]) for word in ("-i", "/i")],
        *[(f"Unknown option {word}", [f"{word} .", f"-i 1 {word} -i"]) for word in "-a -t -I -ii / -".split()],
        *[(f"attribute=value expected, got: {word}", [f". {word}", f"-i 5 a=1 {word} b"]) for word in "x . -x -i".split()],
    ]],
])
def test_command_options(command, message, lines):
    for line in lines:
        assert alone(*LOGIN, command, *line.split()) == misused(message), line


@pytest.mark.parametrize("args, result", [
    ([""], misused("A login must be specified.")), (["-l", "", "-S", "", "select"], misused("A login must be specified.")),
    (["-l", "a", ""], misused("Unrecognized command `'")), (["-l", "a", "lm ", "."], misused("Unrecognized command `lm '")),
    (["-p", "", "x"], misused("The port number must be between 1 and 65535")), (["-p", " 80"], misused("No command given.")),
    (["-p", "80 "], misused("The -p switch takes a number. Perhaps you meant -P?")),
    ([*SELECT, "-b", "", "."], misused("Cannot starttime.")),
    ([*SELECT, "-n", ""], misused("Cannot limit first number entries.")),
    ([*SELECT, "-m", "12x", "."], caught('Error parsing: "12x"')),
    ([*SELECT, "-n", "1\t\x01", "."], caught(r'Error parsing: "1\t\001"')),
    ([*SELECT, "-b", "2003-03-25T00:25:03", "."], caught("string not in iso_format")),
    ([*SELECT, "-e", "-5", "."], caught("string not in iso_format")),
    ([*SELECT, "-b", "2003-0x-2y-T00:25:03", "."], caught('Error parsing: "0x"')),
    ([*SELECT, "-b", "2003-13-25-T00:25:0'", "."], caught(r'''Error parsing: "0\'"''')),
    *[([*LOGIN, word, "", "-x"], result) for word, result in [
        ("insert", misused(LATE)), ("update", misused("attribute=value expected, got: -x"))]],
    (["-S", "12g4", "listdomains", "."], caught("Could not parse hexstring")),
    (["-S", "0x12", "listdomains", "."], caught("Could not parse hexstring")),
    (["-S", "e" * 2081, "listdomains", "."], caught("The session key has more than 1040 bytes")),
    (["-l", "a", "SELECT", "-i", "5"], caught("Error getting password")),
])
def test_other_words(args, result):
    assert alone(*args) == result
