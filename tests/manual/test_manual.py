"""Compares the options and messages of the manual pages with the programs, and runs the examples."""

import os
import pathlib
import re
import subprocess

import pytest
from probes import SANDBOX, sandbox_options
from tool import PATIENCE, TOOL

ROOT = pathlib.Path(__file__).parents[2]
PAGES = sorted((ROOT / "man").glob("*.1"))
TOOL_PAGE, SANDBOX_PAGE = [next(page for page in PAGES if page.stem == f"morvex-{name}").read_text("ascii")
                           for name in ("tool", "sandbox")]


def section(page, title):
    return re.search(rf"^\.S[hs] {title}\n(.*?)(?=^\.S[hs] |\Z)", page, re.M | re.S)[1]


def listed(text):
    """The explained options, and whether they take a value."""
    return {name: bool(value) for name, value in re.findall(r"^\.It Fl -?(\w+)( Ar .*)?$", text, re.M)}


def shown(text):
    """The options of a synopsis, and whether they take a value."""
    return {name: bool(value) for line in re.findall(r"^\.(?:Op|Ar|Fl) .*", text, re.M)
            for name, value in re.findall(r"Fl -?(\w+)( Ar)?", line)}


def examples(page):
    return [block.replace(r"\e", "\\") for block in
            re.findall(r"^\.Bd -literal.*?\n(.*?)^\.Ed", section(page, "EXAMPLES"), re.M | re.S)]


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name)
def test_form(page):
    done = subprocess.run(["mandoc", "-T", "lint", "-W", "warning", page], stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    assert (done.returncode, done.stdout) == (0, b"")


def test_options(probes):
    described = {"": section(TOOL_PAGE, "SYNOPSIS") + ".Ed" + section(TOOL_PAGE, "OPTIONS")}
    for title in re.findall(r"^\.Ss (.*)", TOOL_PAGE.split(".Sh COMMANDS")[1].split(".Sh CSV")[0], re.M):
        described |= dict.fromkeys(title.split(", "), section(TOOL_PAGE, title))
    assert {*described} == {"", *probes.commands}
    for command, text in described.items():
        assert listed(text) == probes.options[command] == shown(text.split(".Ed")[0]), command
        assert set(re.findall(r"^\.It Cm (\w)$", text, re.M)) == probes.columns.get(command, set()), command


def test_options_of_the_sandbox():
    assert listed(SANDBOX_PAGE) == sandbox_options() == shown(section(SANDBOX_PAGE, "SYNOPSIS"))


@pytest.mark.parametrize("page, folders", [(TOOL_PAGE, ["src"]), (SANDBOX_PAGE, ["src/platform", "sandbox"])],
                         ids=["tool", "sandbox"])
def test_messages(page, folders):
    """All text of a message between colons, numbers and words in capitals stands in the program."""
    literals = [literal for folder in folders for source in (ROOT / folder).rglob("*.[ch]*")
                for literal in re.findall(r'"((?:[^"\\\n]|\\.)*)"', source.read_text())]
    known = "\n".join(literals).replace('\\"', '"')
    messages = re.findall(r'^\.It Sy "(.*)"$', page, re.M)
    assert len(messages) >= 5
    for message in messages:
        plain = message.replace(r"\(dq", '"').replace(r"\(ga", "`")
        for piece in re.split(r"[A-Z]{2,}|\bN\b|\d+|: ", plain):
            assert piece.strip(" :\"'.") in known, message


@pytest.mark.parametrize("page, count", [(TOOL_PAGE, 8), (SANDBOX_PAGE, 1)], ids=["tool", "sandbox"])
def test_examples(server, tmp_path, page, count):
    """Without a password on the command line, the tool would ask for it."""
    options = [*server, "-P", "secret"] if page is TOOL_PAGE else []
    (tmp_path / "morvex-tool").write_text(f"#!/bin/sh\nexec {TOOL} {' '.join(options)} \"$@\"\n")
    (tmp_path / "morvex-tool").chmod(0o755)
    (tmp_path / "morvex-sandbox").symlink_to(SANDBOX)
    environment = os.environ | {"PATH": f"{tmp_path}:{os.environ['PATH']}"}
    scripts = examples(page)
    assert len(scripts) == count
    for script in scripts:
        done = subprocess.run(["bash", "-euc", script], cwd=tmp_path, env=environment, stdin=subprocess.DEVNULL, timeout=PATIENCE,
                              capture_output=True, text=True, start_new_session=True)
        told = "Got 3 metrics\n" if "monitormetrics" in script else ""
        assert (done.returncode, done.stderr) == (0, told) and done.stdout, (script, done)
