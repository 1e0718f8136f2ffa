"""Users who move to another node while mail comes in, by the commands of the documentation."""
import shlex
import statistics
import subprocess
import threading
import time

import documented
from balancer import PAGE

USER, FROM, TO = "alice@example.org", "node1", "node2"  # as the page has them


class Moves:
    """Each of `users` goes from one node to another, one after the other, from start() on."""

    def __init__(self, homes, users, old, new):
        self._lines = documented.lines_below(PAGE, "## Moving a user", USER)
        self._homes, self._users, self._old, self._new = homes, users, old, new
        self._seconds, self._failure = [], ""
        self._thread = threading.Thread(target=self._run)

    def start(self):
        self._thread.start()

    def join(self):
        """The median of the seconds that a user's move takes."""
        self._thread.join()
        if self._failure:
            raise AssertionError(self._failure)
        return statistics.median(self._seconds)

    def _run(self):
        for user in self._users:
            begin = time.monotonic()
            for line in self._lines:
                done = subprocess.run(["bash", "-euo", "pipefail", "-c", self._fitting(line, user)],
                                      check=False, capture_output=True, text=True,
                                      env=self._homes.environment())
                if done.returncode != 0:
                    self._failure = f"{line}: {done.stdout}{done.stderr}"
                    return
            self._seconds.append(time.monotonic() - begin)

    def _fitting(self, line, user):
        """The page's line, for this user and these machines."""
        line = self._homes.fitting(line.replace(f"{USER} {TO}", f"{USER} {self._new.name}"))
        for name, node in [(FROM, self._old), (TO, self._new)]:
            line = line.replace(f"ssh {name} quarrow", shlex.join(map(str, node.command())))
        return line.replace(USER, user)
