"""The workloads: what the tool does, what its peers do with the same data, and the goals."""

import contextlib
import filecmp
import os
import pty
import shutil
import sqlite3
import statistics
import subprocess
import time
from typing import NamedTuple

from ber import wire
from conversation import Turn, record, replayed, requests
from measure import Best, in_turn
from servers import ldap, postgres, sandbox

ROWS, NODES, DOMAINS = 1_000_000, 200_000, 20
LOB, LIST, LIST_TEXTS = 2 << 20, 10_000, 60 + 8  # bytes, elements, and the bytes of one of each list of texts
METRICS, DELAY = 1000, 50  # milliseconds
SMALL, LARGE, LARGE_QUICK = 100_000, 4_000_000, 1_000_000
LONG = 8_000_000  # rows that take longer than the second before progress is shown
LATEST = 2**31 - 1
WORKLOADS = {}


def workload(name):
    def add(function):
        WORKLOADS[name] = function
        return function
    return add


class Series(NamedTuple):
    """A series of the sandbox, and the columns of its CSV in a table with plain seconds."""
    path: str
    columns: dict

    @property
    def times(self):
        return [name for name in self.columns if name in ("Begin", "End", "Time")]

    def create(self, time="integer"):
        types = self.columns | dict.fromkeys(self.times, time)
        return "CREATE TABLE rows (" + ", ".join(f'"{name}" {kind}' for name, kind in types.items()) + ")"


SPAN, COUNTS = {"Begin": "integer", "End": "integer"}, {"ngood": "integer", "nbad": "integer"}
MEASURED = SPAN | {"Min": "double precision", "Avg": "double precision", "Max": "double precision"} | COUNTS
CONTINUOUS = Series(".,scale,continuous", MEASURED)
SAWTOOTH = Series(".,scale,sawtooth", MEASURED)
ENUM = Series(".,scale,enum", SPAN | {"Mask": "integer"} | COUNTS)
INCIDENTS = Series(".,scale", {"Time": "integer", "Severity": "integer", "Text": "text"})


class Bench:
    """What the workloads share: where things are, how often to run, the report; and the one large sandbox."""

    def __init__(self, programs, scratch, runner, report, quick):
        self.programs, self.scratch, self.runner, self.report = programs, scratch, runner, report
        self.rounds, self.large = (3, LARGE_QUICK) if quick else (5, LARGE)
        self.quick = quick
        self.stack = contextlib.ExitStack()
        self.started = None

    @property
    def port(self):
        """Of the sandbox with a million rows of each kind and all else, which is started when it is first asked for."""
        if self.started is None:
            # The sample tree has three domains in the root, and "generated" is one more.
            options = {"rows": ROWS, "nodes": NODES, "domains": DOMAINS - 4, "lob": LOB, "list": LIST, "keep": 4096}
            self.started = self.stack.enter_context(sandbox(self.programs, **options))
        return self.started

    def tool(self, port, *words):
        return [self.programs / "morvex-tool", "-s", "127.0.0.1", "-p", str(port), "-l", "admin", "-P", "secret", *words]

    def record(self, *words):
        return record(self.port, lambda port: self.tool(port, *words))

    def output_of(self, *command):
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def export(series, *options):
    return ["select", *options, "-e", str(LATEST), series.path]


# Export

@workload("select")
def select_local(bench):
    compare_export(bench, "select -f, continuous", CONTINUOUS, [], 2.2)


@workload("select -u")
def select_seconds(bench):
    for name, series in [("sawtooth", SAWTOOTH), ("enum", ENUM), ("incidents", INCIDENTS)]:
        compare_export(bench, f"select -u -f, {name}", series, ["-u"], 2.6)


def compare_export(bench, name, series, options, memory):
    ours, straight, theirs, asked = [bench.scratch / file for file in ("ours.csv", "straight.csv", "theirs.csv", "requests")]
    turns = bench.record(*export(series, *options))
    asked.write_bytes(requests(turns))
    answer = len(turns[-1].answer)
    database = filled_database(bench, series)
    columns = [column if options or column not in series.times else
               f"strftime('%Y-%m-%d %H:%M:%S', {column}, 'unixepoch', 'localtime') AS {column}" for column in series.columns]
    query = f"SELECT {', '.join(columns)} FROM rows"
    tool, line, peer = in_turn(
        bench.rounds,
        lambda: bench.runner.run(*bench.tool(bench.port, "-f", ours, *export(series, *options))),
        lambda: bench.runner.run(bench.programs / "straight-line", bench.port, asked, straight, *options),
        lambda: bench.runner.run("sqlite3", "-readonly", "-csv", "-header", database, query, output=theirs))
    bench.report.rate(f"`{name}`", tool, ROWS)
    if not filecmp.cmp(ours, straight, shallow=False) or not same_rows(ours, theirs):
        raise RuntimeError(f"{name}: the programs have printed different rows")
    for program, best in [("morvex-tool", tool), ("straight line", line), ("sqlite3 -csv", peer)]:
        bench.report.measured(name, program, best, ROWS)
    bench.report.goal(name, "CPU to that of sqlite3", tool.cpu / peer.cpu, 0.3)
    bench.report.goal(name, "CPU to that of the straight line", tool.cpu / line.cpu, 1.6)
    bench.report.goal(name, "peak memory to the answer's bytes", tool.peak / answer, memory)


def filled_database(bench, series):
    """A database with the rows of the series, times being plain seconds."""
    csv, database = bench.scratch / "seconds.csv", bench.scratch / "filled.db"
    subprocess.run(bench.tool(bench.port, "-f", csv, *export(series, "-u")), check=True)
    database.unlink(missing_ok=True)
    with contextlib.closing(sqlite3.connect(database)) as connection, open(csv, encoding="utf-8") as lines:
        connection.execute(series.create())
        next(lines)
        rows = (line.rstrip("\n").split(",", len(series.columns) - 1) for line in lines)  # a text stands last
        places = ", ".join("?" * len(series.columns))
        connection.executemany(f"INSERT INTO rows VALUES ({places})", ((*row[:-1], row[-1].strip('"')) for row in rows))
        connection.commit()
    return database


def same_rows(ours, theirs):
    """Up to quotes, which sqlite3 puts around local times, and the decimal that it gives a whole real."""
    plain = [path.read_bytes().replace(b'"', b"").replace(b".0,", b",") for path in (ours, theirs)]
    return plain[0] == plain[1]


# Decoding, in memory

@workload("decode")
def decode(bench):
    answer = bench.scratch / "answer"
    answer.write_bytes(bench.record(*export(CONTINUOUS))[-1].answer)
    ours, theirs = decoding(bench, answer, "decode-answer", "asn1c-decode")
    name = "decode, continuous"
    for program, seconds in [("BerReader", ours), ("ber_decode of asn1c", theirs)]:
        bench.report.timed(name, program, seconds, ROWS)
    bench.report.goal(name, "rate to that of asn1c", theirs / ours, 8, at_least=True)


@workload("listproperties")
def list_properties(bench):
    words = ["listproperties", "-a", ".,large"]
    answer = bench.scratch / "answer"
    answer.write_bytes(bench.record(*words)[-1].answer)
    ours, = decoding(bench, answer, "decode-answer")
    best, = in_turn(4 * bench.rounds, lambda: bench.runner.run(*bench.tool(bench.port, *words)))
    name = "listproperties -a, 2 MiB LOB, lists of 10,000"
    bench.report.measured(name, "morvex-tool", best)
    bench.report.timed(name, "BerReader", ours)
    bench.report.goal(name, "strings decoded", (LOB + LIST * LIST_TEXTS) / ours / 1e9, 1, " GB/s", at_least=True)


def decoding(bench, answer, *programs):
    """The least seconds that each program takes, of two rounds in each of several runs."""
    runs = [[float(bench.output_of(bench.programs / program, answer, "2")) for program in programs] for _ in range(bench.rounds)]
    return [min(seconds) for seconds in zip(*runs)]


# Import

@workload("insert")
def insert(bench):
    csv, empty, database = bench.scratch / "rows.csv", bench.scratch / "empty.db", bench.scratch / "insert.db"
    subprocess.run(bench.tool(bench.port, "-f", csv, *export(CONTINUOUS)), check=True)
    empty.unlink(missing_ok=True)
    bench.output_of("sqlite3", empty, CONTINUOUS.create("text"))

    def sqlite():
        shutil.copy(empty, database)
        return bench.runner.run("sqlite3", database, ".mode csv", f".import --skip 1 {csv} rows")

    with postgres(bench.scratch / "postgres") as psql:
        bench.output_of(*psql, CONTINUOUS.create("timestamp"))

        def copy():
            bench.output_of(*psql, "TRUNCATE rows")
            return bench.runner.run(*psql, f"\\copy rows from '{csv}' with (format csv, header)")

        tool, peer, server = in_turn(bench.rounds, lambda: inserted(bench, csv, ROWS), sqlite, copy)
        counts = [bench.output_of(*psql, "\\copy (select count(*) from rows) to stdout"),
                  bench.output_of("sqlite3", database, "SELECT count(*) FROM rows")]
    if [int(count) for count in counts] != [ROWS, ROWS]:
        raise RuntimeError(f"insert: sqlite3 and psql have stored {counts}")
    name = "insert, continuous"
    for program, best in [("morvex-tool", tool), ("sqlite3 .import", peer), ("psql \\copy", server)]:
        bench.report.measured(name, program, best, ROWS)
    bench.report.rate(f"`{name}`", tool, ROWS)
    bench.report.goal(name, "CPU to that of sqlite3", tool.cpu / peer.cpu, 0.6)
    bench.report.goal(name, "peak memory to the file's bytes", tool.peak / csv.stat().st_size, 4)
    bench.report.goal(name, "wall time to that of psql", tool.wall / server.wall, 1)


def inserted(bench, csv, rows):
    """Inserts the file into a series of one row, in a sandbox of its own: what is stored would be read first the next time."""
    with sandbox(bench.programs, rows=1) as port:
        figures = bench.runner.run(*bench.tool(port, "-f", csv, "insert", CONTINUOUS.path))
        newest = bench.output_of(*bench.tool(port, "select", "-m", "2", "-e", str(LATEST - 1), CONTINUOUS.path))
    with open(csv, "rb") as file:
        file.seek(-200, 2)
        last = file.read().decode().splitlines()[-1]
    if last not in newest:
        raise RuntimeError(f"insert: the server does not hold the last of {rows} rows")
    return figures


# Listings

@workload("listnodes")
def list_nodes(bench):
    words = ["listnodes", "-r", "generated"]
    answer = len(bench.record(*words)[-1].answer)
    tool, peer = listed(bench, bench.rounds, words, NODES)
    name = "listnodes -r"
    for program, best in [("morvex-tool", tool), ("ldapsearch -LLL", peer)]:
        bench.report.measured(name, program, best, NODES)
    bench.report.rate(f"`{name}`", tool, NODES)
    bench.report.goal(name, "CPU to that of ldapsearch", tool.cpu / peer.cpu, 1.5)
    bench.report.goal(name, "peak memory to the answer's bytes", tool.peak / answer, 5)


@workload("listdomains")
def list_domains(bench):
    tool, peer = listed(bench, 10 * bench.rounds, ["listdomains", "."], DOMAINS)
    name = f"listdomains . of {DOMAINS}"
    for program, best in [("morvex-tool", tool), ("ldapsearch -LLL", peer)]:
        bench.report.measured(name, program, best)
    bench.report.goal(name, "wall time to that of ldapsearch", tool.wall / peer.wall, 0.5)
    bench.report.goal(name, "CPU", 1000 * tool.cpu, 5, " ms")


def listed(bench, rounds, words, count):
    ours, theirs = bench.scratch / "ours.txt", bench.scratch / "theirs.txt"
    with ldap(count) as url:
        search = ["ldapsearch", "-LLL", "-x", "-H", url, "-b", "o=generated", "(siblingName=*)", "siblingName", "longLabel"]
        best = in_turn(rounds, lambda: bench.runner.run(*bench.tool(bench.port, *words), output=ours),
                       lambda: bench.runner.run(*search, output=theirs))
    counts = [ours.read_bytes().count(b"\n"), theirs.read_bytes().count(b"\ndn: ") + 1]
    if counts != [count, count]:
        raise RuntimeError(f"{words[0]}: the tool and ldapsearch have listed {counts}")
    return best


# Progress

@workload("progress")
def progress(bench):
    """The same export with standard error on a terminal, where the run shows how far it is, and elsewhere."""
    display, terminal = pty.openpty()
    with sandbox(bench.programs, rows=LONG, keep=2048) as port:
        command = bench.tool(port, "-f", os.devnull, *export(CONTINUOUS))
        pairs = [[bench.runner.run(*command, errors=errors) for errors in (terminal, subprocess.DEVNULL)] for _ in range(3 * bench.rounds)]
    if b" rows" not in os.read(display, 1 << 16):
        raise RuntimeError("progress: nothing was shown")
    for descriptor in (display, terminal):
        os.close(descriptor)
    name = f"select of {LONG:,}"
    for program, runs in zip(["morvex-tool, progress shown", "morvex-tool"], zip(*pairs)):
        bench.report.measured(name, program, Best(runs), LONG)
    share = statistics.median(shown.cpu / silent.cpu for shown, silent in pairs)  # the fastest runs differ more, by chance
    bench.report.goal(name, "CPU to that without the line", share, 1.01)


# Growth

@workload("growth")
def growth(bench):
    with contextlib.ExitStack() as stack:
        ports = {size: stack.enter_context(sandbox(bench.programs, rows=size, nodes=size, keep=8192)) for size in (SMALL, bench.large)}
        files = {size: bench.scratch / f"{size}.csv" for size in ports}

        def run(size, *words):
            return bench.runner.run(*bench.tool(ports[size], *words))

        grown(bench, "select", "rows", lambda size: run(size, "-f", files[size], *export(CONTINUOUS)))
        grown(bench, "listnodes", "nodes", lambda size: run(size, "listnodes", "-r", "generated"))
    grown(bench, "insert", "rows", lambda size: inserted(bench, files[size], size))


@workload("nesting")
def nesting(bench):
    """listmetrics of groups within groups: the recorded conversation with a deeper answer."""
    *opening, last = bench.record("listmetrics")
    with contextlib.ExitStack() as stack:
        ports = {depth: stack.enter_context(replayed([*opening, Turn(last.asked, nested(depth))])) for depth in (SMALL, bench.large)}
        grown(bench, "nesting", "levels", lambda depth: bench.runner.run(*bench.tool(ports[depth], "listmetrics")))


def nested(depth):
    named = "30( 30( 'name' 020106 A0( 'g' ) ) )"
    head = wire(f"75( 020100 AA( 30( ) 30( 30( 'Group' 020100 '1' '1' {named} 30(")
    return head + wire(f"30( 'Group' 020100 '1' '1' {named} 30(") * depth + wire(") 31( ) )") * (depth + 1) + bytes(6)


def grown(bench, what, items, run):
    """Short runs vary more: the best of five counts."""
    small, large = in_turn(3, lambda: min([run(SMALL) for _ in range(5)], key=lambda figures: figures.cpu), lambda: run(bench.large))
    name = f"growth of {what}"
    for size, best in [(SMALL, small), (bench.large, large)]:
        bench.report.measured(name, f"morvex-tool, {size:,} {items}", best, size)
    bench.report.goal(name, f"CPU each to that at {SMALL:,}", (large.cpu / bench.large) / (small.cpu / SMALL), 1.1)


# Monitoring

@workload("monitormetrics")
def monitor_metrics(bench):
    with sandbox(bench.programs, metrics=METRICS, delay=DELAY) as port:
        starts, cycles = zip(*[first_cycle(bench, port) for _ in range(bench.rounds)])
    name = f"monitormetrics of {METRICS:,}, {DELAY} ms delay"
    bench.report.goal(name, "the first line of values", 1000 * min(starts), 400, " ms")
    bench.report.goal(name, "a cycle", 1000 * min(cycles), DELAY + 50, " ms")


def first_cycle(bench, port):
    """The seconds to the first line of values, from the start of the program and from the line that announces the metrics."""
    names = [f"many.m{number}" for number in range(METRICS)]
    start = time.monotonic()
    with subprocess.Popen(bench.tool(port, "monitormetrics", *names), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) as tool:
        tool.stderr.readline()
        announced = time.monotonic()
        columns = tool.stdout.readline().count("\t") + 1
        end = time.monotonic()
        tool.kill()
    if columns != METRICS:
        raise RuntimeError(f"monitormetrics has printed {columns} columns")
    return end - start, end - announced


@workload("micro")
def micro(bench):
    """The benchmarks of single functions, which print their own table."""
    words = ["--benchmark_min_time=0.1"] if bench.quick else []
    subprocess.run([bench.programs / "morvex-bench", *words], check=True)
