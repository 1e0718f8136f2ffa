#!/usr/bin/env python3
"""A server whose helper processes are taken over by each message: evil_helper_test.py PROGRAM

PROGRAM is quarrow-lmtpd with an evil running of scripts (evil_script_runner.cc) in the place of its
own. All else is the server as it is: its helpers are made, confined, watched and ended as ever.
"""
import errno
import os
import pathlib
import signal
import sys
import unittest

for folder in ("lmtpd", "support"):
    sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / folder))
from lmtp_server import USERS, DaemonTestCase, Lmtp, children, is_running, until  # noqa: E402
from refusing_kernel import refusing  # noqa: E402

ENDED = "evaluation failed: the evaluation was ended by signal "
FORBIDDEN = ["write", "unlink", "fork", "sibling", "execute", "connect", "kill", "trace",
             "read memory", "take descriptor", "receive descriptor", "ring", "raise limit"]


class EvilHelperTest(DaemonTestCase):
    def setUp(self):
        self.numbers = iter(range(1000))

    def attempt(self, daemon, deed, user=USERS[0], **fields):
        """The folder that tells what a deed came to, "" for the inbox, and the log's line."""
        number = f"deed{next(self.numbers)}"
        head = "".join(f"X-{name.capitalize()}: {value}\r\n" for name, value in fields.items())
        before = {path: path.read_bytes() for path in daemon.home(user).rglob("Maildir/**/new/*")}
        with Lmtp(daemon.socket) as client:
            client.ehlo("test")
            self.assertEqual(250, client.deliver([user], deed, name=number, head=head)[0][0])
        new = {path: path.read_bytes() for path in daemon.home(user).rglob("Maildir/**/new/*")
               if path not in before}
        self.assertEqual(1, len(new), "the message is there, once")
        for path, content in before.items():
            self.assertEqual(content, path.read_bytes(), "other messages stay as they are")
        (path, content), = new.items()
        self.assertTrue(content.replace(b"\r", b"").endswith(b"\n\nbody\n"), "the message is whole")
        line, = (line for line in daemon.log_text().splitlines() if f"<{number}@" in line)
        return path.parent.parent.name.replace("Maildir", "").lstrip("."), line

    def test_what_is_forbidden_ends_the_helper(self):
        daemon = self.start()
        (daemon.folder / "precious").write_text("precious")
        for deed in FORBIDDEN:
            with self.subTest(deed):
                folder, line = self.attempt(daemon, deed, process=daemon.workers()[0],
                                            path=daemon.folder / "precious")
                self.assertEqual("", folder)
                self.assertIn(f"{ENDED}{int(signal.SIGSYS)}", line)
        self.assertEqual("precious", (daemon.folder / "precious").read_text())

    def test_no_file_can_be_opened(self):
        daemon = self.start()
        self.attempt(daemon, "descriptors", user=USERS[1])
        worker = daemon.workers()[0]
        other, = (daemon.home(USERS[1]) / "Maildir").rglob("new/*")
        other.chmod(0o644)
        for path in [other, daemon.home(USERS[1]) / ".delivery_filter", "/etc/passwd",
                     f"/proc/{worker}/mem", f"/proc/{worker}/environ", "/proc/self/mem"]:
            with self.subTest(path):
                self.assertEqual(f"refused {errno.EACCES}",
                                 self.attempt(daemon, "open", path=path)[0])

    def test_nothing_of_the_server_or_the_message_is_within_reach(self):
        daemon = self.start()
        self.assertEqual("descriptors 0 1 2 3 4", self.attempt(daemon, "descriptors")[0])
        helpers = daemon.helpers()
        self.assertTrue(helpers)
        for helper in helpers:
            maps = pathlib.Path(f"/proc/{helper}/maps").read_text()
            self.assertIn(" r-xp ", maps)
            self.assertNotIn(" rw-s ", maps)
        # what can be mapped is the helper's own file in memory
        self.assertEqual("mapped 4", self.attempt(daemon, "map")[0])

    def test_a_helper_serves_as_many_messages_as_it_may(self):
        daemon = self.start("--workers", "1", "--helper-messages", "3")
        self.assertEqual(["seen 1", "seen 2", "seen 3"] * 2,
                         [self.attempt(daemon, "remember")[0] for _ in range(6)])

    def test_with_one_message_each_nothing_is_remembered(self):
        daemon = self.start("--workers", "1", "--helper-messages", "1")
        for number in range(6):
            helpers = daemon.helpers()
            self.assertEqual("seen 1",
                             self.attempt(daemon, "remember", user=USERS[number % 2])[0])
            worker = daemon.workers()[0]
            until(lambda: len(set(helpers) & set(filter(is_running, children(worker)))) < 2,
                  "the helper ends with its message")

    def test_growth_is_seen_from_outside(self):
        daemon = self.start("--workers", "1", "--helper-messages", "100")
        self.assertEqual("seen 1", self.attempt(daemon, "remember")[0])
        self.assertEqual("seen 2", self.attempt(daemon, "remember")[0])
        self.assertEqual("grown", self.attempt(daemon, "grow")[0])
        self.assertEqual("seen 1", self.attempt(daemon, "remember")[0])

    def test_memory_and_time_are_limited(self):
        daemon = self.start("--evaluation-time", "1")
        self.assertEqual(f"refused {errno.ENOMEM}", self.attempt(daemon, "take memory")[0])
        self.assertIn("took more than 1000 ms", self.attempt(daemon, "hang")[1])

    def test_an_answer_may_be_nonsense(self):
        daemon = self.start("--workers", "1")
        for _ in range(3):
            folder, line = self.attempt(daemon, "answer nonsense")
            self.assertEqual("", folder)
            self.assertIn("evaluation failed: the evaluation answered nonsense", line)

    def test_a_crash_is_its_own_only(self):
        daemon = self.start("--workers", "1")
        for _ in range(3):
            folder, line = self.attempt(daemon, "crash")
            self.assertEqual("", folder)
            self.assertRegex(line, ENDED + r"\d+|ended with status \d+")
        self.assertEqual("seen 1", self.attempt(daemon, "remember")[0])

    def test_without_landlock_the_log_warns(self):
        launcher = refusing("landlock")
        daemon = self.start(launcher=launcher)
        until(lambda: "warning: the kernel offers no Landlock" in daemon.log_text(), "the warning")
        self.assertEqual("done", self.attempt(daemon, "open", path="/etc/passwd")[0])
        with self.assertRaises(AssertionError) as refused:
            self.start("--require-landlock", launcher=launcher)
        self.assertIn("which --require-landlock asks for", str(refused.exception))
        self.assertNotIn("Landlock", self.start("--require-landlock").log_text())


if __name__ == "__main__":
    unittest.main()
