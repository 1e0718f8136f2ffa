"""What ends an evaluation: a script that overflows the interpreter's stack whatever the message,
and messages during which their helper is killed.

Such mail belongs in the inbox, with a note. The server knows nothing of this: the scripts are
hand-written ones, and a kill is aimed at a helper that is busy with one message for so long as only
a certain message takes.
"""
import contextlib
import itertools
import os
import pathlib
import re
import signal

import users

WITH_A_CRASHING_SCRIPT = users.USERS[30:33]
WITH_HEAVY_MAIL = users.USERS[35:40]  # one of each group, whose rules stay in force

# Whoever compiles this expression calls himself for each parenthesis.
CRASHING_SCRIPT = b"""require "regex";
if header :regex "subject" "%b" { stop; }
""" % (b"(" * 30000)
# Stands behind the rules. Each star tries every place behind the one before it, for ages.
HEAVY_TEST = b'if header :matches "x-weight" "' + b"*a" * 13 + b'*b" { discard; }\n'
WEIGHT = b"X-Weight: " + b"a" * 900
HEAVY = 0.3  # seconds of processor time for one message; ordinary ones take milliseconds

SIGNALS = [signal.SIGSEGV, signal.SIGBUS, signal.SIGABRT, signal.SIGKILL]

# A sanitizer ends a process that crashes in its own way. Where a random kill hits a helper that has
# just taken the place of a killed one, the message meets none at all.
DIED = re.compile(r"evaluation failed: (the evaluation (was ended by signal|ended with status) \d+|"
                  r"no evaluation could be started)")


def message_text(number):
    return b"\n".join([b"From: heavy@example.com", b"Message-ID: <heavy%d@example.com>" % number,
                       b"Subject: Heavy", WEIGHT, b"", b"Heavy", b""])


def busy_since_it_waited(process):
    """How often the process has waited for something, and the processor time that it has had."""
    status = pathlib.Path(f"/proc/{process}/status").read_text()
    waits = int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)", status, re.MULTILINE)[1])
    times = pathlib.Path(f"/proc/{process}/stat").read_text().rpartition(") ")[2].split()[11:13]
    return waits, sum(map(int, times)) / os.sysconf("SC_CLK_TCK")


class Crashes:
    """Puts the scripts in place, sends the messages, and kills."""

    def __init__(self, system):
        self._system = system
        self._numbers = itertools.count()
        self._signals = itertools.cycle(SIGNALS)
        self._first_seen = {}  # the time that a helper had, by the helper and how often it waited
        self.killed = set()
        for user in WITH_A_CRASHING_SCRIPT:
            self._script(user).write_bytes(CRASHING_SCRIPT)
        for user in WITH_HEAVY_MAIL:
            with open(self._script(user), "ab") as script:
                script.write(HEAVY_TEST)

    def _script(self, user):
        return users.home(self._system.root, user) / ".delivery_filter"

    def send(self):
        """A round of heavy messages."""
        self._system.sent["Heavy"] = users.HEAVY
        for user in WITH_HEAVY_MAIL:
            file = self._system.folder / "heavy"
            file.write_bytes(message_text(next(self._numbers)))
            self._system.postfix.send("-F", file, "-f", users.HEAVY.sender, "-t", user)
        return True

    def kill(self):
        """Kills each helper that evaluates a heavy message."""
        for helper in self._system.lmtp.helpers():
            if helper not in self.killed and self._is_at_it(helper):  # a signal may take its time
                with contextlib.suppress(ProcessLookupError):
                    os.kill(helper, next(self._signals))
                self.killed.add(helper)

    def _is_at_it(self, helper):
        with contextlib.suppress(OSError, TypeError):  # the process ends meanwhile
            waits, time = busy_since_it_waited(helper)
            return time - self._first_seen.setdefault((helper, waits), time) > HEAVY
        return False


def ends_evaluation(user, mail):
    return mail == users.HEAVY or user in WITH_A_CRASHING_SCRIPT
