"""Processes on machines, and all that came of them."""
import contextlib
import os
import pathlib
import signal
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from server_process import children  # noqa: E402


def run_inside(machine, words, log, **how):
    """Starts a command on a machine, whose output goes into the file `log`."""
    with open(log, "ab") as output:
        return subprocess.Popen([*machine.inside(), *map(str, words)], stdout=output,
                                stderr=output, **how)


def with_descendants(process):
    return [process] + [each for child in children(process) for each in with_descendants(child)]


def signal_all(process, number):
    """Sends a signal to a process and all that came of it."""
    for each in with_descendants(process.pid):
        with contextlib.suppress(ProcessLookupError):
            os.kill(each, number)


def kill_all(process):
    signal_all(process, signal.SIGKILL)
    process.wait()
