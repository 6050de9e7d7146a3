"""Compares the tool with its peers, and prints the tables of docs/performance.md.

Called by scripts/bench, which builds and installs what this needs.
"""

import argparse
import os
import pathlib
import re
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "support"))

from measure import Runner
from report import Report, put_into
from workloads import WORKLOADS, Bench


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench", description="Measures the tool beside its peers. It takes about five minutes on an idle machine.")
    parser.add_argument("pattern", nargs="?", default="", help=f"a regular expression; of {', '.join(WORKLOADS)}, those that it fits")
    parser.add_argument("--quick", action="store_true", help="fewer runs, and less growth: about four minutes")
    parser.add_argument("--markdown", action="store_true", help="puts the tables into docs/performance.md as well; takes all workloads")
    options = parser.parse_args()
    if options.markdown and options.pattern:
        parser.error("--markdown takes all workloads")
    os.environ.update(TZ="Europe/Copenhagen", LC_ALL="C.UTF-8")

    report = Report()
    with tempfile.TemporaryDirectory(prefix="morvex-bench-") as folder:
        scratch = pathlib.Path(folder)
        scratch.chmod(0o755)  # the database server, which does not run as root, has to enter it
        programs = ROOT / "build" / "release" / "bin"
        bench = Bench(programs, scratch, Runner(programs, scratch), report, options.quick)
        with bench.stack:
            for name, run in WORKLOADS.items():
                if re.search(options.pattern, name):
                    print(f"Measuring {name}", file=sys.stderr, flush=True)
                    run(bench)
    blocks = report.blocks()
    print("\n".join(filter(None, blocks.values())), end="")
    if options.markdown:
        put_into(ROOT / "docs" / "performance.md", blocks)


if __name__ == "__main__":
    main()
