"""The servers for the programs: each is a context manager, which stops its server at the end."""

import contextlib
import os
import pathlib
import pwd
import shutil
import subprocess
import sys


@contextlib.contextmanager
def started(command):
    """Runs a server; yields its first line of output."""
    process = subprocess.Popen([str(word) for word in command], stdout=subprocess.PIPE, text=True)
    try:
        line = process.stdout.readline().strip()
        if not line:
            raise RuntimeError(f"{command[0]} did not start")
        yield line
    finally:
        process.terminate()
        process.wait()
        process.stdout.close()


@contextlib.contextmanager
def sandbox(programs, **options):
    """The sandbox with these options; yields its port."""
    words = [word for option, value in options.items() for word in (f"--{option}", value)]
    with started([programs / "morvex-sandbox", "--port", 0, *words]) as line:
        yield int(line.rsplit(":", 1)[1])


@contextlib.contextmanager
def ldap(entries):
    """The canned LDAP server; yields its URL."""
    with started([sys.executable, pathlib.Path(__file__).parent / "ldap_server.py", entries]) as port:
        yield f"ldap://127.0.0.1:{port}"


@contextlib.contextmanager
def postgres(folder):
    """A cluster of its own with the settings that it comes with, on a socket in the folder; yields a command to which a
    statement is added. The server refuses to run as root, so it then runs as the user of the package."""
    binaries = max(pathlib.Path("/usr/lib/postgresql").glob("*/bin"), key=lambda path: float(path.parent.name))
    folder.mkdir(mode=0o755)
    user = []
    if os.geteuid() == 0:
        user = ["runuser", "-u", "postgres", "--"]
        shutil.chown(folder, pwd.getpwnam("postgres").pw_uid)

    def call(program, *words):
        subprocess.run([*user, binaries / program, "-D", folder / "data", *words], cwd=folder, check=True,
                       stdout=subprocess.DEVNULL)

    call("initdb", "-U", "bench", "-A", "trust", "-E", "UTF8", "--no-sync")
    call("pg_ctl", "-w", "-l", folder / "log", "-o", f"-k {folder} -c listen_addresses=", "start")
    try:
        yield [binaries / "psql", "-q", "-h", folder, "-U", "bench", "-d", "postgres", "-c"]
    finally:
        call("pg_ctl", "-w", "-m", "immediate", "stop")
