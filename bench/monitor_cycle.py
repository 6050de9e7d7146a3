"""Measures one cycle of monitormetrics over many metrics on a slow link.

Usage: monitor_cycle.py FOLDER_OF_PROGRAMS [METRICS [DELAY_MS]]

The sandbox server holds every answer back for the delay. A cycle begins when the program has announced its
metrics, and ends with the line that it prints.
"""
import subprocess
import sys
import time

programs = sys.argv[1]
metrics = int(sys.argv[2]) if len(sys.argv) > 2 else 500
delay = int(sys.argv[3]) if len(sys.argv) > 3 else 50

sandbox = subprocess.Popen(
    [f"{programs}/morvex-sandbox", "--port", "0", "--metrics", str(metrics), "--delay", str(delay)],
    stdout=subprocess.PIPE, text=True)
port = sandbox.stdout.readline().strip().rsplit(":", 1)[1]
try:
    tool = subprocess.Popen(
        [f"{programs}/morvex-tool", "-s", "127.0.0.1", "-p", port, "-l", "admin", "-P", "secret",
         "monitormetrics", *(f"many.m{i}" for i in range(metrics))],
        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    announced = tool.stderr.readline()
    begin = time.monotonic()
    columns = tool.stdout.readline().count("\t") + 1
    seconds = time.monotonic() - begin
    tool.kill()
    tool.wait()
finally:
    sandbox.terminate()
    sandbox.wait()
print(f"{announced.strip()}; one cycle with {columns} columns and {delay} ms delay: {1000 * seconds:.0f} ms")
