"""The sandbox: its sample tree and data, and the answers to raw messages."""

import contextlib
import pathlib
import re
import resource
import socket
import threading
import time
from concurrent.futures import ThreadPoolExecutor

import pytest
from ber import integer, item, wire
from conftest import asks
from server import ACK, BOTH, CLIENT_WANTS, LOGIN, NEW_SESSION, OFFERS, caught, select, step
from tool import PATIENCE, run, sandbox

ASK_TIME, LOG_IN = wire("77( 020100 020100 )"), CLIENT_WANTS + ACK + NEW_SESSION


@pytest.fixture(scope="module")
def tree(ask):
    """Rows of all domains, nodes and checks: path, id, domain part, node, check part."""
    return [[line.split("\t") for line in ask(command, "-r", "-o", columns, ".")]
            for command, columns in [("listdomains", "pid"), ("listnodes", "pidn"), ("listchecks", "pidnc")]]


def test_sample_names_need_escaping(tree):
    for rows in tree:
        assert all(re.search(special, "\n".join(row[0] for row in rows)) for special in [r"\\,", r"\\\\"])
        assert len({row[1] for row in rows}) == len({row[0] for row in rows}) == len(rows)
    assert any(re.search(r"(?<!\\)(\\\\)*\\\.", row[2]) for row in tree[1]) and any(r"\^" in row[4] for row in tree[2])


def test_every_path_leads_back(ask, tree):
    domains, nodes, checks = tree
    below = [("listdomains", "-r", row, [other for other in domains if other[0].startswith(row[0] + ".")]) for row in domains]
    below += [("listnodes", "-o", row, [other for other in nodes if other[2] == row[2]]) for row in domains]
    below += [("listchecks", "-r", row, [other for other in checks if other[0].startswith(row[0] + ",")]) for row in nodes]

    def leads_back(case):
        command, option, row, expected = case
        options = ["-r", "-o", "pi"] if option == "-r" else ["-o", "pi"]
        lines = [f"{path}\t{key}" for path, key, *_ in expected]
        assert ask(command, *options, row[0]) == lines, row
        assert ask(command, *options, "-i", row[1]) == lines, row

    with ThreadPoolExecutor(8) as pool:  # eight clients at the same time
        list(pool.map(leads_back, below))


@pytest.mark.parametrize("options, message", [
    (["-l", "anna", "-P", "other"], "Wrong username / password"), (["-l", "nobody", "-P", "secret"], "Wrong username / password"),
    ([*LOGIN, "-d", "nowhere"], "Wrong username / password"), (["-S", "123456"], "Session expired"),
    (LOGIN, 'No Domain found that matches "no such"'),
])
def test_refusals(server, options, message):
    assert run(*server, *options, "listdomains", "no such") == caught(message)


def test_select(ask, tree):
    now = int(time.time()) - 1000  # later rows may still grow
    recent = ["select", "-u", "-b", str(now - 200000), "-e", str(now), "-i"]
    key, rows = max(((row[1], ask(*recent, row[1])[1:]) for row in tree[2]), key=lambda pair: len(pair[1]))
    spans = [tuple(map(int, row.split(",")[:2])) for row in rows]
    start, end = spans[5][0], spans[-5][1]
    kept = ask("select", "-u", "-i", key, "-e", str(end), "-b", str(start))[1:]
    assert kept == rows[rows.index(kept[0]):][:len(kept)] and {*rows[5:-4]} <= {*kept} and len(rows) > 20
    assert all(spans[rows.index(row)][1] >= start and spans[rows.index(row)][0] <= end for row in kept)


def connected(server, stream):
    """A client that has sent this."""
    client = socket.create_connection((server[1], int(server[3])), PATIENCE)
    client.sendall(stream)
    return client


def exchange(server, *messages):
    """The answers of the server to these messages, sent at once."""
    with connected(server, b"".join(messages)) as client:
        client.shutdown(socket.SHUT_WR)
        return b"".join(iter(lambda: client.recv(1 << 20), b""))


def speak(server, *requests):
    """The items of the answers to these requests, all sent at once behind a log-in."""
    stream = exchange(server, LOG_IN, *requests)
    at, items = 0, []
    while at < len(stream):
        taken, at = item(stream, at)
        items.append(taken[1])
    return items[2:]


def test_handshake_and_clock():
    with sandbox("--now", "1761955200") as server:
        for messages, answer in [
            ([wire("60( 020202FF A0( ) )")], OFFERS),
            ([wire("60( 02020300 A0( ) )")], wire("63( 'This server speaks version 2 of the protocol, not version 3' )")),
            ([wire("60( 02020203 A2( ) )")], wire("63( 'This server takes a login and a password only' )")),
            ([ACK], b""), ([CLIENT_WANTS, NEW_SESSION], b""), ([CLIENT_WANTS], OFFERS),
        ]:
            assert exchange(server, *messages) == answer, messages
        assert speak(server, ASK_TIME, wire("73( 020100 )"), ASK_TIME) == [[(2, (1761955200).to_bytes(4, "big")), (2, b"\0")]]


@pytest.mark.parametrize("keep", ["0", "1", "64"])  # MiB; the answer with all rows is larger than 1 MiB, the others are smaller
def test_kept_answers(keep, tmp_path):
    export, listing = ["select", "-u", "-e", "2147483647", ".,scale,continuous"], ["listnodes", "-r", "generated"]
    nodes = step("Domain", 1, "", below=step("Node", 0, BOTH))
    (tmp_path / "row").write_text("Begin,End,Min,Avg,Max,ngood,nbad\n60,90,1,2,3,4,5\n")
    with sandbox("--rows", "20000", "--nodes", "2000", "--keep", keep) as server:
        ask = asks(server)
        numbers = [5, 70000, 6]
        before = speak(server, *[select(number, "1", nodes) for number in numbers])
        assert [answer[0] for answer in before] == [item(integer(number), 0)[0] for number in numbers]
        assert [answer[1] for answer in before] == [before[0][1]] * 3 and "No. 1999" in str(before[0][1])
        rows, listed = ask(*export), ask(*listing)
        assert len(rows) == 20001 and len(listed) == 2000
        assert ask(*export)[-9:] == rows[-9:] and ask(*listing) == listed  # the clock takes the first rows away
        ask("update", "generated.block000001,node001999", "longLabel=changed")
        assert ask(*listing) == [*listed[:-1], listed[-1].replace("Node No. 1999", "changed")]
        ask("-f", str(tmp_path / "row"), "insert", ".,scale,continuous")
        assert ask(*export)[1] == "60,90,1,2,3,4,5"
        after = speak(server, *[select(number, "1", nodes) for number in numbers])
        assert after[0][1] == after[2][1] and "changed" in str(after) and "No. 1999" not in str(after)


def test_objects_on_demand():
    with sandbox("--domains", "17", "--rows", "9", "--lob", "2097152", "--list", "10000") as server:
        assert run(*server, *LOGIN, "listdomains", ".").out.count("\n") == 20
        incidents = re.findall('"(.*)"\n', run(*server, *LOGIN, "select", ".,scale").out)
        assert [len(text.encode()) for text in incidents] == [60] * 9
        lists = run(*server, *LOGIN, "listproperties", ".,large", "dependencies", "aliases", "gidList", "picture").out
        assert [line.count(",") for line in lists.splitlines()] == [9999, 10000, 9999, 0]  # an id set begins with one


def test_ends_under_clients_that_send_without_a_pause():
    sent = threading.Semaphore(0)

    def sends_on(client):
        with contextlib.suppress(ConnectionError):
            while not client.sendall(b"\x19" * (1 << 20)):  # padding
                sent.release()

    with sandbox() as server:  # which ends with SIGTERM
        for _ in range(6):
            threading.Thread(target=sends_on, args=[connected(server, LOG_IN)], daemon=True).start()
        assert all(sent.acquire(timeout=PATIENCE) for _ in range(60))


@pytest.mark.parametrize("limit", [0, 4])  # fewer than sockets; the standard streams and the listener
def test_descriptors_are_free_again(limit):
    with sandbox() as server:
        pid = int(pathlib.Path(f"/proc/self/task/{threading.get_native_id()}/children").read_text().split()[-1])
        limits = resource.prlimit(pid, resource.RLIMIT_NOFILE)
        resource.prlimit(pid, resource.RLIMIT_NOFILE, (limit, limits[1]))
        with connected(server, CLIENT_WANTS) as client:
            time.sleep(0.5)  # so that the server has noticed
            resource.prlimit(pid, resource.RLIMIT_NOFILE, limits)
            assert client.recv(1000) == OFFERS


# Answers to long requests pile up to 64, answers that are not due to 16 MiB; padding makes a request long.
WEEKS = wire(f"74( 020106 {'19' * 20000} A6( '7' 'tsdbIndex' 010101 {integer(1760745600).hex()} 0204690553C0 020100 020100 ) )")


@pytest.mark.parametrize("delay, asked", [("0", WEEKS), ("0", ASK_TIME), ("60000", ASK_TIME)])
def test_client_that_does_not_read(delay, asked):
    with sandbox("--delay", delay, "--now", "1761955200") as server:
        with connected(server, LOG_IN) as client:
            client.settimeout(1)
            requests, sent = memoryview(asked * (20000000 // len(asked))), 0
            with pytest.raises(TimeoutError):
                while sent < len(requests):
                    sent += client.send(requests[sent:])
            client.settimeout(PATIENCE)
            if delay == "0":
                head, one = (len(exchange(server, LOG_IN, request)) for request in (b"", asked))
                left = head + sent // len(asked) * (one - head)
                while left:
                    left -= len(client.recv(left))


def test_heavy_filter_lets_others_pass():
    term = "30( 30( 'longLabel' 020106 A0( 'x' ) ) 0A0105 )"
    heavy = select(1, "1", step("Domain", 1, "", below=step("Node", 0, BOTH, term * 1500)))
    with sandbox("--nodes", "20000") as server, connected(server, LOG_IN + heavy) as client:
        assert [len(speak(server, ASK_TIME)) for _ in range(3)] == [1, 1, 1]
        assert len(client.recv(1 << 20)) < 1000  # the answers to the log-in
