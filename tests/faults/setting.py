"""What the tests of this folder share: programs, a root with users, and how much is tried.

Each test is called with QUARROW_LMTPD, QUARROW and the folder of the libraries that are loaded in
front of them, perhaps with --long, and with unittest's arguments behind.
"""

import concurrent.futures
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import threading

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "lmtpd"))
import lmtp_server  # noqa: E402,F401 takes the first argument

QUARROW, LIBRARIES = (os.path.abspath(sys.argv.pop(1)) for _ in range(2))
IS_LONG = "--long" in sys.argv
if IS_LONG:
    sys.argv.remove("--long")
IS_SANITIZED = b"__asan_init" in pathlib.Path(QUARROW).read_bytes()
# Of so many calls, one fails: sanitized programs take five times as long.
STEP = 4 if IS_SANITIZED and not IS_LONG else 1
USER = "alice@example.org"


def library(name):
    return f"{LIBRARIES}/lib{name}.so"


def run(root, *arguments, message=b"", environment=None):
    return subprocess.run([QUARROW, "--root", root, *arguments], input=message, check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment)


def done(root, *arguments, **how):
    """What the command printed, which has to succeed."""
    result = run(root, *arguments, **how)
    assert result.returncode == 0, (arguments, result)
    return result.stdout


def home(root, user=USER):
    local, domain = user.split("@")
    return root / domain / local


def add_rule(root, name, user=USER):
    """Messages whose subject holds `name` go to the folder `name`."""
    done(root, "filter", "add", user, "--name", name, "--if", f"string subject contains {name}",
         "--then", f"move {name}")


def message(subject, body="body\n"):
    return f"Subject: {subject}\n\n{body}".encode()


def copy_folder(template, folder):
    """With second names as second names."""
    known = {}

    def copy(source, target):
        status = os.stat(source)
        if status.st_nlink > 1 and status.st_ino in known:
            os.link(known[status.st_ino], target)
        else:
            shutil.copy2(source, target)
        known[status.st_ino] = target

    shutil.copytree(template, folder, copy_function=copy)


class Sandboxes:
    """Folders in which one thread each works: Sandboxes(make).each(work, items)."""

    def __init__(self, make, threads=os.cpu_count()):
        """`make` is given an empty folder, and gives what the thread's work is given first."""
        self.make = make
        self.own = threading.local()
        self.folder = tempfile.mkdtemp(prefix="quarrow-faults-")
        self.pool = concurrent.futures.ThreadPoolExecutor(threads)

    def each(self, work, items):
        """work(sandbox, item) for each item. The results, in order."""
        return list(self.pool.map(lambda item: work(self.sandbox(), item), items))

    def sandbox(self):
        if not hasattr(self.own, "sandbox"):
            self.own.sandbox = self.make(pathlib.Path(tempfile.mkdtemp(dir=self.folder)))
        return self.own.sandbox

    def close(self):
        self.pool.shutdown()
        shutil.rmtree(self.folder)
