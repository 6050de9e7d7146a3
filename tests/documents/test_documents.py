"""Runs the command lines of README.md, CONTRIBUTING.md and docs/, and compares their output with the documents.

A ```console block holds commands and their exact output. A command begins with "$ ", and continues in the next line after a
backslash or "|". A line of "..." alone matches any lines. For a command that ends in "&", the test waits for the output. The
commands of a document run in order, in one bash and one folder of their own. A block of any other kind with "file=NAME"
after its language defines that file. ```sh holds commands that build, install or test, which are not run here. ```text holds
no commands. A comment "columns 1 2 of FILE: PATTERN" before a table means: these columns are, in order, the groups of all
matches of the pattern in the file.
"""

import os
import pathlib
import re
import select
import signal
import socket
import subprocess
import time

import pytest

ROOT = pathlib.Path(__file__).parents[2]
DOCUMENTS = {str(path.relative_to(ROOT)): path.read_text() for path in [*ROOT.glob("*.md"), *ROOT.glob("docs/**/*.md")]}
PATIENCE = 60  # seconds for a command
PORT = 3241    # in the documents

def blocks(text):
    """The language, the name of the file if any, and the lines of each block."""
    for block in re.finditer(r"^```(\w*)(?: file=(\S+))?\n(.*?)^```$", text, re.MULTILINE | re.DOTALL):
        yield block[1], block[2], block[3].splitlines()


def commands(lines):
    """Commands with the lines of their output."""
    found = []
    for line in lines:
        if line.startswith("$ "):
            found.append((line[2:], []))
        elif re.search(r"[\\|]$", found[-1][0]) and not found[-1][1]:
            found[-1] = (f"{found[-1][0]}\n{line}", [])
        else:
            found[-1][1].append(line)
    return found


def fits(expected, printed):
    pattern = "".join(r"(.*\n)*?" if line == "..." else re.escape(line) + r"\n" for line in expected)
    return re.fullmatch(pattern, printed if printed.endswith("\n") or not printed else printed + "\n")


class Shell:
    """A bash in the folder. It finds the programs by their names; they use a port of its own."""

    def __init__(self, folder):
        self.reserved = socket.socket()  # bound, never listening: only a socket with SO_REUSEADDR gets the port
        self.reserved.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.reserved.bind(("127.0.0.1", 0))
        self.port = self.reserved.getsockname()[1]
        (folder / "bin").mkdir()
        for name, options in [("tool", "-s 127.0.0.1 -p"), ("sandbox", "--port")]:  # some systems do not resolve localhost
            program = folder / "bin" / f"morvex-{name}"
            program.write_text(f'#!/bin/sh\nexec "{os.environ[f"MORVEX_{name.upper()}"]}" {options} {self.port} "$@"\n')
            program.chmod(0o755)
        (folder / "work").mkdir()
        source, self.input = os.pipe()
        loop = (f'while IFS= read -r -d "" -u {source} command; do '
                '(exit $status); eval "$command"; status=$?; printf "\\036"; done')
        env = {"PATH": f"{folder}/bin:{os.environ['MORVEX_EXAMPLES']}:{os.environ['PATH']}", "HOME": str(folder / "work"), "LC_ALL": "C.UTF-8",
               "TZ": "Asia/Kolkata"}  # a document that needs another zone sets it
        env |= {name: os.environ[name] for name in {*os.environ} & {"LLVM_PROFILE_FILE"}}  # where the coverage build writes
        self.process = subprocess.Popen(["bash", "-c", loop], cwd=folder / "work", env=env, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, pass_fds=[source],
                                        start_new_session=True)
        os.close(source)

    def run(self, command, expected):
        """Returns the output of the command."""
        os.write(self.input, re.sub(rf"(127\.0\.0\.1[ /]){PORT}\b", rf"\g<1>{self.port}", command).encode() + b"\0")
        printed, ended, deadline = b"", False, time.monotonic() + PATIENCE
        while not ended or command.endswith("&") and not fits(expected, self.text(printed)):
            ready, _, _ = select.select([self.process.stdout], [], [], max(0, deadline - time.monotonic()))
            more = os.read(self.process.stdout.fileno(), 65536) if ready else b""
            if not more:
                return self.text(printed) + "(and no end)"
            ended |= b"\036" in more
            printed += more.replace(b"\036", b"")
        return self.text(printed)

    def text(self, printed):
        return printed.decode(errors="replace").replace(f"127.0.0.1:{self.port}", f"127.0.0.1:{PORT}")

    def close(self):
        os.close(self.input)
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.communicate()
        self.reserved.close()


@pytest.mark.parametrize("name", [name for name, text in DOCUMENTS.items() if "\n```console\n" in text])
def test_commands_print_what_is_said(name, tmp_path):
    shell = Shell(tmp_path)
    try:
        for language, file, lines in blocks(DOCUMENTS[name]):
            if file:
                (tmp_path / "work" / file).write_text("\n".join([*lines, ""]))
            for command, expected in commands(lines) if language == "console" else []:
                printed = shell.run(command, expected)
                assert fits(expected, printed), f"$ {command}\n{printed}"
    finally:
        shell.close()
    for picture in re.findall(r"\(\S*pictures/(\S+)\)", DOCUMENTS[name]):
        made = tmp_path / "work" / picture
        assert made.read_bytes() == (ROOT / "docs/pictures" / picture).read_bytes(), f"should be as {made}"


@pytest.mark.parametrize("name", DOCUMENTS)
def test_no_command_stands_elsewhere(name):
    for language, file, lines in blocks(DOCUMENTS[name]):
        assert file or language in ("console", "sh", "text"), lines
        ours = [line for line in lines if re.match(r"(\$ |sudo |build/\S*/)?(morvex-|scripts/|cmake |apt)", line)]
        assert file or language != "text" or not ours
        assert language != "sh" or file or not any(line.startswith("morvex-") for line in lines), lines
    prose = re.sub(r"^```.*?^```$", "", DOCUMENTS[name], flags=re.MULTILINE | re.DOTALL)
    assert "```" not in prose and not re.search(r"\n\n {4}", prose), "a block that is not fenced"
    assert not re.findall(r"`morvex-\w+ [^`]*`", prose), "a command line outside a block"


def anchors(text):
    """The anchors of all headings."""
    titles = re.findall(r"^#+ (.*)", text, re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-") for title in titles}


@pytest.mark.parametrize("name", DOCUMENTS)
def test_what_is_named_is_there(name):
    folder = (ROOT / name).parent
    for target, anchor in re.findall(r"\]\((?!\w+:)([^)#]*)#?([^)]*)\)", DOCUMENTS[name]):
        assert (folder / target).exists(), target
        assert not anchor or anchor in anchors((folder / target if target else ROOT / name).read_text()), anchor
    for path in re.findall(r"[`\n]((?:bench|docs|examples|fuzz|man|sandbox|scripts|src|tests)/[\w./-]*)", DOCUMENTS[name]):
        assert (ROOT / path).exists(), path
    for preset in re.findall(r"cmake --preset (\w+)", DOCUMENTS[name]):
        assert f'"name": "{preset}"' in (ROOT / "CMakePresets.json").read_text(), preset


def test_every_document_is_in_the_index():
    index = DOCUMENTS["docs/README.md"]
    assert [name for name in DOCUMENTS if name.startswith("docs/") and f"({name[5:]})" not in index] == ["docs/README.md"]


TABLE = re.compile(r"^<!-- columns ([\d ]+) of (\S+): (.*) -->\n\|.*\n\|[-|: ]*\n((?:\|.*\n)*)", re.MULTILINE)


@pytest.mark.parametrize("name", [name for name, text in DOCUMENTS.items() if "<!-- columns" in text])
def test_tables_are_what_the_code_says(name):
    assert len(TABLE.findall(DOCUMENTS[name])) == DOCUMENTS[name].count("<!-- columns")
    for columns, path, pattern, rows in TABLE.findall(DOCUMENTS[name]):
        cells = [[cell.strip(" `") for cell in row.strip("|").split("|")] for row in rows.splitlines()]
        said = [tuple(row[int(column) - 1] for column in columns.split()) for row in cells]
        found = [match.groups() for match in re.finditer(pattern, (ROOT / path).read_text(), re.MULTILINE)]
        assert said == found, path
