"""The system calls of a program, as strace(1) sees them, and faults that it puts into them."""

import dataclasses
import os
import pathlib
import re
import subprocess

# The tracer is a process beside the program, which stays the child of the test that it was. No
# sanitizer looks for leaks in a process that is traced.
STRACE = ("strace", "-D", "-qq", "-f", "-E",
          "ASAN_OPTIONS=" + os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0")


def why_no_trace():
    """Why no program can be traced here; empty where it can."""
    try:
        done = subprocess.run([*STRACE, "-o", "/dev/null", "true"], check=False,
                              capture_output=True)
    except FileNotFoundError:
        return "strace is missing"
    return "" if done.returncode == 0 else "no process may be traced here"


def tracing(folder, calls):
    """The words in front of a command that have `calls` written into `folder`."""
    return [*STRACE, "-ff", "-y", "-s", "4096", "-e", "signal=none", "-e", f"trace={calls}",
            "-o", str(pathlib.Path(folder) / "calls")]


def failing(call, error, when="1+"):
    """The words in front of a command for which `call` fails, from the first time in each process
    or as `when` tells."""
    return [*STRACE, "-o", "/dev/null", "-e", f"trace={call}", "-e",
            f"inject={call}:error={error}:when={when}"]


def signalled(call, name):
    """The words in front of a command that is sent the signal `name` when it comes to `call`."""
    return [*STRACE, "-o", "/dev/null", "-e", f"trace={call}", "-e",
            f"inject={call}:signal={name}:when=1"]


@dataclasses.dataclass
class Call:
    name: str
    text: str  # the arguments, as strace writes them
    result: int

    def files(self):
        """The paths of the descriptors among the arguments."""
        return re.findall(r"(?:^|, )(?:\d+|AT_FDCWD)<([^>]*)>", self.text)

    def paths(self):
        """The paths that the arguments name; a descriptor in front is the folder they are below."""
        found = re.findall(r'(?:(?:\d+|AT_FDCWD)<([^>]*)>, )?"((?:[^"\\]|\\.)*)"', self.text)
        return [os.path.normpath(os.path.join(folder, name)) for folder, name in found]


def calls_in(folder):
    """The calls that succeeded of each process that was traced into `folder`, in their order."""
    processes = []
    for path in sorted(pathlib.Path(folder).glob("calls.*")):
        found = re.findall(r"^(\w+)\((.*)\)\s+= (\d+)", path.read_text(errors="replace"), re.M)
        processes.append([Call(name, text, int(result)) for name, text, result in found])
    return processes
