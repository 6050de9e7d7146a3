"""Interactive shells on terminals of their own: what they offer when somebody types a line and the Tab key."""

import fcntl
import os
import pathlib
import pty
import re
import select
import struct
import subprocess
import termios

from tool import PATIENCE, take

COMPLETIONS = pathlib.Path(__file__).parents[2] / "completions"
PROMPT, END = "@prompt@", "@end@"

# A prompt that nobody types, a command that shows its arguments, and lists that are whole, a match on a line.
BASH = f"""
PS1={PROMPT}
show() {{ printf '@word@%s\\n' "$@"; printf '@%s@\\n' end; }}
bind 'set show-all-if-ambiguous on'
bind 'set completion-query-items 0'
bind 'set page-completions off'
bind 'set completion-display-width 0'
bind 'set bell-style none'
for program in tool sandbox; do source {COMPLETIONS}/morvex-$program.bash; done
"""
PACKAGE = "source /usr/share/bash-completion/bash_completion\n"
ZSH = f"""
PS1={PROMPT} LISTMAX=100000
show() {{ printf '@word@%s\\n' "$@"; printf '@%s@\\n' end }}
setopt no_beep no_auto_menu no_list_ambiguous no_prompt_cr no_always_last_prompt
fpath=({COMPLETIONS} $fpath)
autoload -Uz compinit && compinit -u -d ~/dump
zmodload zsh/complist
zstyle ':completion:*' verbose no
zstyle ':completion:*:default' list-colors 'no=' 'sp=@' 'lc=@match@' 'rc=' 'ec=@\\n'
"""
SHELLS = {  # how each is started, what it reads first, and the matches that it lists, on a screen behind the typed line
    "bash": (["bash", "--noprofile", "--rcfile", "rc", "-i"], BASH, f"^([^@\n]+)$(?=[^@]*{PROMPT})"),
    "bash with its package": (["bash", "--noprofile", "--rcfile", "rc", "-i"], PACKAGE + BASH, f"^([^@\n]+)$(?=[^@]*{PROMPT})"),
    "zsh": (["zsh", "-d", "-i"], ZSH, "@match@([^@]+?) *@$"),
}


class Shell:
    """Its home and current folder is the given one."""

    def __init__(self, name, home):
        command, first, self.match = SHELLS[name]
        for file in ("rc", ".zshrc"):
            (home / file).write_text(first)
        self.keyboard, terminal = pty.openpty()
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("4H", 500, 1000, 0, 0))
        environment = {"PATH": os.environ["PATH"], "HOME": str(home), "HOSTFILE": str(home / "hosts"), "USER": "anna",
                       "LC_ALL": "C.UTF-8", "TZ": "UTC", "TERM": "dumb"}
        self.process = subprocess.Popen(command, cwd=home, env=environment, stdin=terminal, stdout=terminal, stderr=terminal,
                                        start_new_session=True, preexec_fn=lambda: take(terminal))
        os.close(terminal)
        self.screen = ""
        self.until(PROMPT)

    def until(self, end):
        """What has appeared up to there, and takes it off."""
        while end not in self.screen:
            assert select.select([self.keyboard], [], [], PATIENCE)[0], f"no {end}, only {self.screen!r}"
            self.screen += os.read(self.keyboard, 65536).decode(errors="replace").replace("\r", "")
        text, self.screen = self.screen.split(end, 1)
        return text

    def offers(self, line):
        """What is listed at Tab, or else the word that Tab has completed."""
        os.write(self.keyboard, f"{line}\t\1show \r".encode())
        shown = self.until(END)
        self.until(PROMPT)
        before, behind = shown.split("\n", 1)
        words = re.findall("^@word@(.*)$", behind, re.M)
        completed = {words[-1]} if words != line.split() else set()
        return set(re.findall(self.match, behind, re.M)) or completed

    def end(self):
        os.close(self.keyboard)
        self.process.wait(PATIENCE)
