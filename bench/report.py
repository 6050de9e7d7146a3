"""The tables of a run, and where it was."""

import datetime
import os
import pathlib
import platform
import subprocess

BEGIN, END = "<!-- scripts/bench --markdown: begin -->\n", "<!-- scripts/bench --markdown: end -->\n"
PACKAGES = ["g++", "sqlite3", "postgresql-[0-9][0-9]", "ldap-utils", "asn1c"]


def table(head, rows):
    """A table that reads well as plain text and is Markdown. All columns but the first two hold figures."""
    widths = [max(len(row[column]) for row in [head, *rows]) for column in range(len(head))]
    align = [str.ljust, str.ljust, *[str.rjust] * (len(head) - 2)]
    lines = ["| " + " | ".join(fit(cell, width) for fit, cell, width in zip(align, row, widths)) + " |" for row in [head, *rows]]
    rule = ["-" * (width + 2) if fit is str.ljust else "-" * (width + 1) + ":" for fit, width in zip(align, widths)]
    return "\n".join([lines[0], "|" + "|".join(rule) + "|", *lines[1:]]) + "\n"


class Report:
    def __init__(self):
        self.figures, self.goals = [], []

    def measured(self, workload, program, best, items=None):
        """A program's figures; items is how many rows or objects it went through."""
        each = [f"{1e9 * best.cpu / items:.0f}", f"{best.peak / items:.0f}"] if items else ["", ""]
        self.figures.append([workload, program, f"{best.cpu:.4f}", f"{best.wall:.4f}", f"{best.peak / 1e6:.1f}", *each,
                             f"{100 * best.spread:.0f} %"])

    def timed(self, workload, program, seconds, items=None):
        """The same for what is measured inside of a program."""
        self.figures.append([workload, program, f"{seconds:.4f}", "", "", f"{1e9 * seconds / items:.0f}" if items else "", "", ""])

    def goal(self, workload, what, value, limit, unit="", at_least=False):
        met = value >= limit if at_least else value <= limit
        self.goals.append([workload, what, f"{value:.2f}{unit}", f"{'at least' if at_least else 'at most'} {limit:g}{unit}",
                           "yes" if met else "**no**"])

    def text(self):
        figures = table(["Workload", "Program", "CPU s", "Wall s", "Peak MB", "CPU ns each", "Bytes each", "Spread"], self.figures)
        goals = table(["Workload", "Goal", "Measured", "Limit", "Met"], self.goals)
        return f"{figures}\n{goals}\n{surroundings()}"


def surroundings():
    """The machine, the day and the versions."""
    models = [line.split(":")[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name")]
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES")
    query = subprocess.run(["dpkg-query", "-W", "-f", "${Package} ${Version}, ", *PACKAGES], capture_output=True, text=True)
    commit = subprocess.run(["git", "rev-parse", "--short", "HEAD"], capture_output=True, text=True).stdout.strip()
    return (f"{datetime.date.today():%-d %B %Y}, commit {commit or 'unknown'}; {(models or [platform.machine()])[0]}, {os.cpu_count()} cores,"
            f" {memory / 2**30:.0f} GiB;\n{platform.system()} {platform.release()}; {query.stdout.strip(', ')}.\n")


def put_into(document, text):
    """Replaces what stands between the two marks of the document."""
    path = pathlib.Path(document)
    head, rest = path.read_text().split(BEGIN)
    path.write_text(head + BEGIN + text + END + rest.split(END)[1])
