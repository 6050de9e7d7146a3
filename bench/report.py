"""The tables of a run, and its machine."""

import datetime
import os
import pathlib
import platform
import subprocess

PACKAGES = ["g++", "sqlite3", "postgresql-[0-9][0-9]", "ldap-utils", "asn1c"]


def table(head, rows):
    """A table that reads well as plain text and is Markdown; nothing without rows. Cells that begin with a digit, and their
    heads, stand to the right."""
    if not rows:
        return ""
    widths = [max(len(row[column]) for row in [head, *rows]) for column in range(len(head))]
    right = [any(row[column][:1].isdigit() for row in rows) for column in range(len(head))]
    lines = [[cell.rjust(width) if figures else cell.ljust(width) for cell, width, figures in zip(row, widths, right)]
             for row in [head, *rows]]
    rule = ["-" * (width - figures) + ":" * figures for width, figures in zip(widths, right)]
    return "".join(f"| {' | '.join(line)} |\n" for line in [lines[0], rule, *lines[1:]])


class Report:
    def __init__(self):
        self.rates, self.figures, self.goals = [], [], []

    def measured(self, workload, program, best, items=None):
        """A program's figures; items is how many rows or objects it went through."""
        each = [f"{1e9 * best.cpu / items:.0f}", f"{best.peak / items:.0f}"] if items else ["", ""]
        self.figures.append([workload, program, f"{best.cpu:.4f}", f"{best.wall:.4f}", f"{best.peak / 1e6:.1f}", *each,
                             f"{100 * best.spread:.0f} %"])

    def timed(self, workload, program, seconds, items=None):
        """The same for times measured inside a program."""
        self.figures.append([workload, program, f"{seconds:.4f}", "", "", f"{1e9 * seconds / items:.0f}" if items else "", "", ""])

    def rate(self, command, best, items):
        """The rate and the memory of a command, for users."""
        self.rates.append([command, f"{items / best.wall / 1e6:.2f} million", f"{best.peak / items:.0f} bytes"])

    def goal(self, workload, what, value, limit, unit="", at_least=False):
        met = value >= limit if at_least else value <= limit
        self.goals.append([workload, what, f"{value:#.3g}{unit}", f"{'at least' if at_least else 'at most'} {limit:g}{unit}",
                           "yes" if met else "**no**"])

    def blocks(self):
        """The parts of docs/performance.md that hold figures, by name."""
        figures = table(["Workload", "Program", "CPU s", "Wall s", "Peak MB", "CPU ns each", "Bytes each", "Spread"], self.figures)
        goals = table(["Workload", "Goal", "Measured", "Limit", "Met"], self.goals)
        return {"rates": table(["Command", "Rows a second", "Memory a row"], self.rates), "figures": figures, "goals": goals,
                "machine": surroundings()}


def surroundings():
    """The machine, the date and the versions."""
    models = [line.split(":")[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name")]
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    query = subprocess.run(["dpkg-query", "-W", "-f", "${Package} ${Version}, ", *PACKAGES], capture_output=True, text=True)
    commit = subprocess.run(["git", "rev-parse", "--short", "HEAD"], capture_output=True, text=True).stdout.strip()
    return (f"{datetime.date.today():%-d %B %Y}, commit {commit or 'unknown'}; {(models or [platform.machine()])[0]},"
            f" {os.cpu_count()} cores, {memory:.0f} GiB;\n"
            f"{platform.system()} {platform.release()}; {query.stdout.strip(', ')}.\n")


def put_into(document, blocks):
    """Replaces what stands in the document between the two marks of each block."""
    path = pathlib.Path(document)
    text = path.read_text()
    for name, block in blocks.items():
        begin, end = f"<!-- scripts/bench: {name} -->\n", "<!-- end -->\n"
        head, rest = text.split(begin)
        text = head + begin + block + end + rest.split(end, 1)[1]
    path.write_text(text)
