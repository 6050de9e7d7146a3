"""The listing and the monitoring of the server's own metrics, with canned answers and with the sandbox."""

import re
import subprocess

import pytest
from peer import closes, expects, sends
from server import END_OF_STREAM, LOGIN, call, called, caught, made, prop, refusal, session, text, value
from tool import COMMAND, Run

NO_METRICS = "Error getting Morvex server metrics\n"


def branch(kind, name, *children):
    return made(kind, "", text("name", name), *children)


def metric(kind, name, unit="", description=""):
    return made(kind, f"id-{name}", text("unit", unit) + text("name", name) + text("description", description))


TREE = [
    metric("Timing", "m10", "us", "A b, c"), branch("Group", "m9", metric("CounterInt64", "\u00e9"), branch("Group", "none")),
    metric("GaugeDouble", "m010"), metric("Text", "M9", "", "tab\there"), metric("GaugeInt64", ""),
    branch("Table", "m9.5", metric("Timing", "z", "s"), branch("Instance", "b"), branch("Instance", "a10"),
           branch("Table", "in", branch("Instance", "x"), metric("Timing", "y", "s")), branch("Instance", "a9"),
           branch("Table", "void", metric("Timing", "y")), branch("Group", "g", metric("GaugeInt64", "h"))),
    branch("Table", "a", metric("Timing", "y"), branch("Group", "g", metric("Timing", "y"))), metric("Instance", "stray"),
]
LISTING = """\tGaugeInt64\t\t
M9\tText\t\ttab\there
m9.\u00e9\tCounterInt64\t\t
m9.5.*.g.h\tGaugeInt64\t\t
m9.5.*.in.*.y\tTiming\ts\t
Where * in {x}
m9.5.*.z\tTiming\ts\t
Where * in {a9,a10,b}
m10\tTiming\tus\tA b, c
m010\tGaugeDouble\t\t
stray\tInstance\t\t
"""


@pytest.mark.parametrize("args, answer, result", [
    *[(args, called(0, "", branch("Group", "root", *TREE)), Run(0, LISTING, "")) for args in ("listmetrics", "-f /no/where LM -x y")],
    *[("lm", answer, Run(0, "", NO_METRICS)) for answer in (refusal(0, 12), called(0), called(0, "", *TREE[:2]))],
    ("lm", called(0, "", branch("Table", "")), caught("Invalid argument")),
    ("lm", called(0, "", branch("Group", "", metric("Timing", "a"), made("Timing", "5", text("name", "b")))),
     caught('Property "unit" not found in 5', "a\tTiming\t\t\n")),
    ("lm", called(0, "", branch("Group", "", metric("Timing", "a"), made("Timing", "", prop("name", 7, "A0( 'b' )")))),
     caught("Type mismatch")),
])
def test_listing(args, answer, result):
    assert session(args.split(), expects(call(0, 1)), sends(answer)) == result


def test_deep_tree():
    depth, level = 100000, branch("Group", "g", branch("Table", "t", branch("Instance", "i"), b"|"))
    head, _, tail = level.partition(b"|")
    root = branch("Group", "", head * depth, metric("Timing", "m"), tail * depth)
    listing = "g.t.*." * depth + "m\tTiming\t\t\n" + "Where * in {i}\n" * depth
    assert session(["lm"], expects(call(0, 1)), sends(called(0, "", root))) == Run(0, listing, "")


def timing(n, total, squares, low=1, high=9):
    fields = {"n": n, "min": low, "max": high, "sum": total, "sumSquares": squares}
    return "".join(value(number, name) for name, number in fields.items())


def monitored(args, metrics, *steps, **options):
    """Runs monitormetrics for these metrics, each a name, class and unit. The steps follow their descriptions."""
    asked, answers = zip(*[(call(at, 3, name), called(at, "", made(kind, name, text("unit", unit))))
                           for at, (name, kind, unit) in enumerate(metrics)])
    described = [expects(b"".join(asked)), sends(b"".join(answers))]
    return session(["monitormetrics", *args.split()], *described, *steps, **options)


MANY, TWO, BIG, DOUBLE = 2**64 - 1, timing(2, 10, 100), "18446744073709551615", prop("value", 4, "A4( 09%s )")
MONITORS = [  # options and name, class, unit, and for each of two polls the value and the shown text
    ("counter.up", "CounterInt64", "", value(2**64 - 3), "-", value(4), "7"),
    ("-s share", "Timing", "ms", TWO, "-", timing(9, 5000010, 100), "between 1000.0% and 100000.0%"),
    ("none", "Timing", "", TWO, "-", TWO, "0.0%"),
    ("double", "GaugeDouble", "%", DOUBLE % "00", "0", DOUBLE % "08 0031323334353637", "1.23457e+06"),
    ("-i spread", "Timing", "us", TWO, "-", timing(6, 30, 220, 0, MANY), f"4: 5.0 +/- 2.6 [0;{BIG}]"),
    ("nothing", "Timing", "us", TWO, "-", timing(2, 10, 100, 1, 0), "0: nan +/- nan"),
    ("single", "Timing", "us", TWO, "-", timing(3, 15, 125, 7, 7), "1: 5.0 +/- nan [7;7]"),
    ("-c count", "Timing", "us", TWO, "-", timing(1, 10, 100), BIG), ("-a number", "Timing", "us", TWO, "2", timing(3, 10, 100), "3"),
    ("-s sum", "Timing", "us", TWO, "2: 10", timing(MANY, MANY, 0), f"{BIG}: {BIG}"),
    ("-i all", "Timing", "us", timing(4, 20, 120, 5, 4), "4: 5.0 +/- 2.6", timing(0, 0, 0, 1, 0), "0: nan +/- nan"),
    ("counter", "CounterInt64", "", value(MANY), BIG, value(0), "0"),
    ("gauge", "GaugeInt64", "", value(8) + value(9, "more"), "8", value(7), "7"),
    ("-d counter.back", "CounterInt64", "", value(5), "-", value(3), "18446744073709551614"),
    ("-a last", "GaugeInt64", "", value(1), "1", None, ""),
]


def test_two_cycles():
    words, kinds, units, first, shown, second, changed = zip(*MONITORS)
    names, count, cycles = [word.split()[-1] for word in words], len(words), []
    for start, values in [(count + 1, first), (2 * count + 1, second)]:
        answers = [called(at, sent) if sent else refusal(at, 1, "'no longer' 'there'") for at, sent in enumerate(values, start)]
        cycles += [expects(b"".join(call(at, 2, name) for at, name in enumerate(names, start))),
                   sends(b"".join(answers[::2] + answers[1::2][::-1]))]
    metrics = [("text", "Text", ""), *zip(names, kinds, units)]
    code, out, err = monitored(" ".join(["text", *words, "-d"]), metrics, *cycles)
    assert (code, err) == (1, f"Could not monitor: text\nGot {count} metrics\nno longer\nthere\n{NO_METRICS}")
    lines = [line.split("\t") for line in out.replace("-nan", "nan").split("\n")]
    assert re.fullmatch(r"\d+\.\d%", share := lines[1][1]) and 1000 <= float(share[:-1]) <= 100000
    assert lines == [[*shown], [changed[0], share, *changed[2:]]]


def one(kind, answer, *steps, args="a", **options):
    return monitored(args, [("a", kind, "s")], expects(call(1, 2, "a")), sends(answer), *steps, **options)


@pytest.mark.parametrize("kind, answer, err", [
    ("GaugeInt64", refusal(1, 1, "'why' 'so'"), "why\nso\n" + NO_METRICS), ("CounterInt64", refusal(1, 1, ""), NO_METRICS),
    ("GaugeDouble", called(1, value(7, "Value")), NO_METRICS), ("Timing", called(1, TWO.replace("'sum'", "'x'")), NO_METRICS),
    ("GaugeDouble", called(1, value(7)), "Caught error: Type mismatch for property: value, wanted 4 got 16\n"),
    ("GaugeInt64", called(1, DOUBLE % "00"), "Caught error: Type mismatch for property: value, wanted 16 got 4\n"),
    ("GaugeInt64", b"", f"Caught error: {END_OF_STREAM}\n"),
])
def test_poll_without_a_value(kind, answer, err):
    assert one(kind, answer, closes) == Run(1, "", f"Got 1 metrics\n{err}")


@pytest.mark.parametrize("name, asked, answer, err", [
    ("a.*.b", "a.*.b", refusal(1, 1), "Could not monitor: a.*.b\n"),
    ("..a..b.", "a.b", called(1), "Could not monitor: ..a..b.\n"),
    ("-x", "-x", called(1, "", *TREE[:2]), "Could not monitor: -x\n"),
    ("x", "x", called(1, "", made("Timing", "5", "")), caught('Property "unit" not found in 5').err),
])
def test_metric_that_is_unknown(name, asked, answer, err):
    described = [sends(called(0, "", metric("Text", "text"))), sends(answer), sends(called(2, "", metric("Timing", "other")))]
    asked = expects(call(0, 3, "text") + call(1, 3, asked) + call(2, 3, "other"))
    result = session(["MM", "-a", "text", name, "other"], asked, *described)
    assert result == Run(1, "", "Could not monitor: text\n" + err)


def test_metrics_of_the_sandbox(ask, server):
    rows = [line.split("\t") for line in ask("lm") if "*" not in line]
    texts = [name for name, kind, *_ in rows if kind == "Text"]
    command = [*COMMAND, *server, *LOGIN, "mm", *[name for name, *_ in rows], "sample.queues.queue1.length"]
    with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) as process:
        columns = process.stdout.readline().split("\t")
        process.kill()
        told = process.stderr.read()
    assert told == "".join(f"Could not monitor: {name}\n" for name in texts) + f"Got {len(columns)} metrics\n"
    assert len(columns) == len(rows) - len(texts) + 1 > 10 and "-" in columns
