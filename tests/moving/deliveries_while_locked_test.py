#!/usr/bin/env python3
"""Mail that comes in while a user is locked: deliveries_while_locked_test.py LMTPD QUARROW"""

import collections
import contextlib
import itertools
import os
import pathlib
import pwd
import re
import smtplib
import subprocess
import sys
import threading
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "lmtpd"))
from lmtp_server import USERS, DaemonTestCase, Lmtp, unprivileged_user, until  # noqa: E402

QUARROW = os.path.abspath(sys.argv.pop(1))
USER = USERS[0]
SUBJECTS = ["work", "deep", "other"]
EX_TEMPFAIL = 75


class Sender(threading.Thread):
    """Delivers one message after the other until the user is locked, and five more."""

    def __init__(self, daemon, name):
        super().__init__()
        self.daemon_process = daemon
        self.name = name
        self.answers = {}  # of each message by its name: delivered, or to be tried again
        self.fault = None

    def run(self):
        try:
            refused = 0
            for number in itertools.count():
                name = f"{self.name}-{number}"
                self.answers[name] = self.deliver(name, SUBJECTS[number % 3])
                refused += self.answers[name] == "again"
                if refused == 5:
                    return
        except (AssertionError, OSError, smtplib.SMTPException) as fault:
            self.fault = fault


class LmtpSender(Sender):
    def run(self):
        with Lmtp(self.daemon_process.socket) as self.client:
            self.client.ehlo("test")
            super().run()

    def deliver(self, name, subject):
        assert self.client.mail("sender@example.net")[0] == 250
        code, text = self.client.rcpt(USER)
        if code == 250:
            self.client.start_data()
            self.client.send_text(f"Subject: {subject}\r\nMessage-ID: <{name}@example.net>\r\n"
                                  "\r\nbody\r\n")
            (code, text), = self.client.end_data(1)
        else:
            self.client.rset()
        assert (code, text[:5]) in [(250, b"2.0.0"), (450, b"4.2.1")], (code, text)
        return "delivered" if code == 250 else "again"


class CommandSender(Sender):
    def deliver(self, name, subject):
        message = f"Subject: {subject}\nMessage-ID: <{name}@example.net>\n\nbody\n"
        entry = pwd.getpwnam(unprivileged_user())
        as_user = {"user": entry.pw_uid, "group": entry.pw_gid,
                   "extra_groups": []} if os.geteuid() == 0 else {}
        result = subprocess.run(
            [QUARROW, "--root", self.daemon_process.folder / "root", "deliver", "-d", USER],
            input=message.encode(), capture_output=True, check=False, **as_user)
        assert result.returncode in (0, EX_TEMPFAIL), result
        if result.returncode != 0:
            assert result.stderr.startswith(b"4.2.1 "), result
        return "delivered" if result.returncode == 0 else "again"


class DeliveriesWhileLocked(DaemonTestCase):
    def stored(self, daemon):
        """How often each message is in the user's folders, by its name."""
        found = collections.Counter()
        for path in (daemon.home(USER) / "Maildir").rglob("new/*"):
            with contextlib.suppress(FileNotFoundError):  # it was taken back
                message = path.read_bytes()
                name = re.search(rb"\nMessage-ID: <(.*)@example.net>\n", message)[1]
                found[name.decode()] += 1
        return found

    def run_quarrow(self, daemon, *words):
        return subprocess.run([QUARROW, "--root", daemon.folder / "root", *words],
                              check=True, capture_output=True)

    def test_what_is_answered_with_success_is_there_when_the_user_is_locked(self):
        daemon = self.start("--workers", "4")
        # the command looks for the configuration, by which it knows that the disk is mounted
        self.run_quarrow(daemon, "init", "--catalogue", daemon.folder / "fields.xml")
        senders = [LmtpSender(daemon, f"lmtp{number}") for number in range(4)]
        senders += [CommandSender(daemon, f"command{number}") for number in range(2)]
        for sender in senders:
            sender.start()
        until(lambda: all(len(sender.answers) > 2 or sender.fault for sender in senders),
              "each sender has delivered")
        self.run_quarrow(daemon, "user", "lock", USER)
        stored_then = self.stored(daemon)
        for sender in senders:
            sender.join()
        self.assertEqual([None] * len(senders), [sender.fault for sender in senders])
        answers = {name: answer for sender in senders for name, answer in sender.answers.items()}
        delivered = {name for name, answer in answers.items() if answer == "delivered"}
        self.assertEqual(dict.fromkeys(delivered, 1), dict(self.stored(daemon)))
        self.assertLessEqual(delivered, set(stored_then))
        self.assertEqual(5 * len(senders), len(answers) - len(delivered))


if __name__ == "__main__":
    unittest.main()
