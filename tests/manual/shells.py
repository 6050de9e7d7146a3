"""Interactive shells on terminals, and the words that they offer at the Tab key."""

import fcntl
import os
import pathlib
import re
import struct
import termios

from terminal import Terminal

COMPLETIONS = pathlib.Path(__file__).parents[2] / "completions"
PROMPT, END = "@prompt@", "@end@"

# A prompt unlike any typed text; a command that shows its arguments; lists without paging, one match per line.
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
SHELLS = {  # the command, the file that it reads first, and a pattern of the listed matches
    "bash": (["bash", "--noprofile", "--rcfile", "rc", "-i"], BASH, f"^([^@\n]+)$(?=[^@]*{PROMPT})"),
    "bash with its package": (["bash", "--noprofile", "--rcfile", "rc", "-i"], PACKAGE + BASH, f"^([^@\n]+)$(?=[^@]*{PROMPT})"),
    "zsh": (["zsh", "-d", "-i"], ZSH, "@match@([^@]+?) *@$"),
}


class Shell(Terminal):
    """A shell with this folder as its home and current folder."""

    def __init__(self, name, home):
        super().__init__()
        command, first, self.match = SHELLS[name]
        for file in ("rc", ".zshrc"):
            (home / file).write_text(first)
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack("4H", 500, 1000, 0, 0))
        environment = {"PATH": os.environ["PATH"], "HOME": str(home), "HOSTFILE": str(home / "hosts"), "USER": "anna",
                       "LC_ALL": "C.UTF-8", "TZ": "UTC", "TERM": "dumb"}
        self.start(command, cwd=home, env=environment)
        self.takes(PROMPT)

    def takes(self, end):
        """Takes the text up to there off the screen."""
        self.until(lambda: end.encode() in self.shown)
        text, self.shown = self.shown.split(end.encode(), 1)
        return text.decode(errors="replace").replace("\r", "")

    def offers(self, line):
        """The words that Tab lists, or else the word that it has completed."""
        self.type(f"{line}\t\1show \r")
        before, behind = self.takes(END).split("\n", 1)
        self.takes(PROMPT)
        words = re.findall("^@word@(.*)$", behind, re.M)
        completed = {words[-1]} if words != line.split() else set()
        return set(re.findall(self.match, behind, re.M)) or completed
