"""Command lines as people type them, run one after the other in one shell.

A page that shows commands and what they print is compared with the real ones by this.
"""
import pathlib
import shlex
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "scenarios"))
import run_scenario

# Behind the output of each command: no program prints zero bytes to a terminal.
END = "\nprintf '\\0%d\\0' $?\n"

copy_messages = run_scenario.copy_messages


def run(commands, folder, quarrow, **environment):
    """[(output and complaints, exit status)] of the commands, which run in `folder`."""
    steps = [f"eval {shlex.quote(line)}{END}" for line in commands]
    script = "umask 022; exec 2>&1\n" + "".join(steps)
    known = run_scenario.environment(str(quarrow), folder)
    path = f"{pathlib.Path(quarrow).resolve().parent}:{known['PATH']}"
    told = subprocess.run(["bash", "-c", script], cwd=folder, check=False,
                          env={**known, "PATH": path, **environment}, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE).stdout.decode("utf-8", "backslashreplace")
    parts = told.split("\0")
    return [(output, int(status)) for output, status in zip(parts[0::2], parts[1::2])]
