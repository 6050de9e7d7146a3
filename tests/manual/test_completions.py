"""Compares the words that shells offer in each part of a command line with those that the programs take."""

import re
import time

import pytest
from probes import sandbox_options

START = "morvex-tool -l anna"
PARTNERS = {"n": "m", "m": "n", "t": "u", "u": "t"}  # options of select that exclude each other


def dashed(letters):
    return {f"-{letter}" for letter in letters}


def test_command_words(shell, probes):
    assert shell.offers(f"{START} ") - dashed(probes.options[""]) == probes.commands


def test_options(shell, probes):
    for command, options in probes.options.items():
        line, again = (f"{START} {command}", command in ("monitormetrics", "mm")) if command else ("morvex-tool", False)
        assert shell.offers(f"{line} -") == dashed(options), command
        for letter, takes_value in options.items():
            if letter == "h":
                continue  # nothing follows it
            partner = PARTNERS.get(letter) if command == "select" else None
            left = dashed(options if again else {*options} - {letter, partner})
            assert shell.offers(f"{line} -{letter}{' 1' * takes_value} -") == left, (command, letter)
            assert not takes_value or shell.offers(f"{line} -{letter} -") == set(), (command, letter)


def test_columns(shell, probes):
    for command, letters in probes.columns.items():
        assert {offer[-1] for offer in shell.offers(f"{START} {command} -o ")} == letters
        assert {offer[-1] for offer in shell.offers(f"{START} {command} -o Ni")} == letters - {"N", "i"}


def test_times(shell):
    for option in "be":
        before, offers, after = time.gmtime(), shell.offers(f"{START} select -{option} "), time.gmtime()
        assert all(re.fullmatch(r"\S{10}-T\d\d:\d\d:\d\d", offer) for offer in offers)
        assert offers & {time.strftime("%Y-%m-%d-T00:00:00", now) for now in (before, after)}


@pytest.mark.parametrize("line, offers", [
    ("morvex-tool -h -", ""), ("morvex-tool -P ", ""), ("morvex-tool -S ", ""), ("morvex-tool -d ", "."),
    ("morvex-tool -l ", "anna"), ("morvex-tool -p ", "3241"), ("morvex-tool -s noc", "noc1.example"), (f"{START} lis -", ""),
    (f"{START} sel", "select"), (f"{START} Select -u -i 5 -n 1 -", "-b -e"), (f"{START} select . ", ""), (f"{START} select . -", ""),
    (f"{START} select -b 2026-11-01-T00:00:00 -t '%F %T' -", "-e -i -m -n"), (f"{START} select -t %H", "%H:%M"),
    (f"{START} insert -i 5 ", ""), (f"{START} listnodes -o Nx", ""), (f"{START} lm ", ""), (f"{START} mm -a clients.accepted -", "-a -c -d -i -s"),
    (f"{START} listproperties . class id ", "active longLabel siblingName version"), (f"{START} listproperties -t -i 5 id version -", ""),
    (f"{START} listproperties -i 5 s", "siblingName"), (f"{START} update . active=t", "active=true"), (f"{START} update -i 5 s", "siblingName="),
])
def test_words(shell, line, offers):
    assert shell.offers(line) == set(offers.split())


def test_files(shell):
    assert shell.offers("morvex-tool -f ser") == {"series of ping.csv"}
    assert shell.offers(f"{START} -f ./ser") == {"./series of ping.csv"}


def test_options_of_the_sandbox(shell):
    options = sandbox_options()
    assert shell.offers("morvex-sandbox --") == {f"--{name}" for name in options}
    for name, takes_value in options.items():
        if takes_value:
            assert shell.offers(f"morvex-sandbox --{name} --") == set()
            assert shell.offers(f"morvex-sandbox --{name} 1 --") == {f"--{other}" for other in options if other != name}
    assert shell.offers("morvex-sandbox --help --") == set()
