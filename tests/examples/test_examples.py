"""The programs of examples/, in the folder that MORVEX_EXAMPLES names: against the sandbox, and against a server that fails."""

import os
import pathlib
import subprocess

import pytest
from ber import integers, real, wire
from peer import Peer, closes, expects, sends
from server import (ACK, CHECK_42, CLIENT_WANTS, END_OF_STREAM, GET_DATA, LOOKUP_ROOT, NEW_SESSION_RESP, OFFERS, data, interval,
                    refusal)
from tool import PATIENCE, Run, sandbox

NOW = 1761955200
OPENING = [expects(CLIENT_WANTS), sends(OFFERS), expects(ACK + wire("70( '.' 'anna' 'export_check' 'secret' )")),
           sends(NEW_SESSION_RESP)]
LOOKED_UP = [*OPENING, expects(LOOKUP_ROOT), sends(CHECK_42), expects(GET_DATA)]
LOST = "server unreachable or lost: "


def example(name, *args, typed="secret\n"):
    done = subprocess.run([pathlib.Path(os.environ["MORVEX_EXAMPLES"]) / name, "127.0.0.1", *args], input=typed,
                          capture_output=True, text=True, timeout=PATIENCE, check=False)
    return Run(done.returncode, done.stdout, done.stderr)


def failed(code, text):
    return Run(code, "", f"export_check: {text}\n")


@pytest.fixture(scope="module")
def port():
    with sandbox("--now", str(NOW)) as options:
        yield options[-1]


def test_list_tree(port):
    tree = (pathlib.Path(__file__).parent / "list_tree.txt").read_text()
    assert example("list_tree", port, "anna", "secret") == Run(0, tree, "")


@pytest.mark.parametrize("login, args, result", [
    ("anna", ["Backbone.Routers,backuprouter,ping", str(NOW - 600)], Run(0, """\
{"begin":1761954600,"end":1761954900,"min":20.54742,"avg":21.76831,"max":23.38777,"ngood":5,"nbad":0}
{"begin":1761954900,"end":1761955200,"min":20.37326,"avg":21.1507,"max":22.87191,"ngood":5,"nbad":0}
""", "")),
    ("anna", ["Backbone.Routers,mainrouter,new"], Run(0, "", "")),
    ("anna", ["Backbone.Routers,mainrouter,state"], failed(1, "The check measures no numbers")),
    ("anna", ["Backbone.Routers,nosuch,ping"], failed(5, "No check with the path Backbone.Routers,nosuch,ping")),
    ("anna", ["Backbone.Routers,mainrouter"], failed(5, "No check with the path Backbone.Routers,mainrouter")),
    ("otto", ["Backbone"], failed(3, "log-in refused: Wrong username / password")),
])
def test_export(port, login, args, result):
    assert example("export_check", port, login, *args) == result


@pytest.mark.parametrize("script, result", [
    ([OPENING[0], closes], failed(4, LOST + END_OF_STREAM)),
    ([*OPENING, expects(LOOKUP_ROOT), closes], failed(4, LOST + END_OF_STREAM)),
    ([*LOOKED_UP, closes], failed(4, LOST + END_OF_STREAM)),
    ([*OPENING, expects(LOOKUP_ROOT), sends(refusal(0, 15))], failed(5, "No check with the path .")),
    ([*LOOKED_UP, sends(refusal(1, 15))], failed(1, "The server refuses: Access denied")),
    ([*LOOKED_UP, sends(data(1, interval(0xA3, integers(100, 200), real("2"), real("NaN"), real("-1.5"), integers(3, 4))))],
     Run(0, '{"begin":100,"end":200,"min":-1.5,"avg":null,"max":2,"ngood":3,"nbad":4}\n', "")),
])
def test_export_from_a_server_that_fails(script, result):
    with Peer(script) as peer:
        assert example("export_check", str(peer.port), "anna", ".", "100", "1000") == result
