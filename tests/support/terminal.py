"""A terminal for one program: types on it, and records what it shows."""

import fcntl
import os
import pty
import select
import signal
import struct
import subprocess
import termios

from tool import PATIENCE, RUN, TOOL, Run


class Terminal:
    """Leaving the context ends the program."""

    def __init__(self):
        self.keyboard, self.terminal = pty.openpty()
        self.process, self.shown, self.mode = None, b"", termios.tcgetattr(self.terminal)

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        if self.process:
            self.process.kill()
            self.process.communicate()
        os.close(self.keyboard)
        os.close(self.terminal)

    def start(self, command, **options):
        """Runs the command on this terminal; its standard streams lead there unless the options say otherwise."""
        streams = dict.fromkeys(["stdin", "stdout", "stderr"], self.terminal)
        self.process = subprocess.Popen(command, start_new_session=True, preexec_fn=self.take, **streams | options)

    def take(self):
        """Makes this the terminal of a new process, which answers to signals even if they are ignored outside the tests."""
        fcntl.ioctl(self.terminal, termios.TIOCSCTTY, 0)
        for number in (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM, signal.SIGTSTP, signal.SIGTTOU):
            signal.signal(number, signal.SIG_DFL)

    def run(self, *args, shell=RUN, **streams):
        """Starts the tool behind a line of shell. Its standard streams lead elsewhere, unless they are given."""
        pipes = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        self.start(["/bin/sh", "-c", shell, TOOL, *args], **pipes | streams)

    def prompts(self, count=1):
        """Waits for the tool's prompt, the count-th on this terminal, which must have no echo."""
        self.until(lambda: self.shown.count(b"Password: ") >= count)
        assert not self.echoes()

    def result(self):
        """The outcome of this run."""
        out, err = self.process.communicate(timeout=PATIENCE)
        self.drain()
        return Run(self.process.returncode, out.decode(), (err or b"").decode())

    def read(self, wait):
        """False if nothing comes in these seconds, or the terminal is gone."""
        try:
            more = select.select([self.keyboard], [], [], wait)[0] and os.read(self.keyboard, 65536)
        except OSError:
            return False
        self.shown += more or b""
        return bool(more)

    def drain(self):
        while self.read(0):
            pass

    def until(self, done):
        while not done():
            assert self.read(PATIENCE), f"shows only {self.shown}"

    def type(self, keys):
        os.write(self.keyboard, keys.encode())

    def hang_up(self):
        nothing = os.open(os.devnull, os.O_RDONLY)
        os.dup2(nothing, self.keyboard)
        os.close(nothing)

    def echoes(self):
        return bool(termios.tcgetattr(self.terminal)[3] & termios.ECHO)

    def unchanged(self):
        return termios.tcgetattr(self.terminal) == self.mode

    def unread(self):
        """The number of typed bytes that no program has read."""
        return struct.unpack("i", fcntl.ioctl(self.terminal, termios.FIONREAD, bytes(4)))[0]
