#!/usr/bin/env python3
"""What the programs promise is on the disk by then: durability_test.py LMTPD QUARROW

The system calls of the real programs are followed. Then each fsync in turn fails, and so do locks.
"""

import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

for folder in ("lmtpd", "support"):
    sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / folder))
from disk import CALLS, NAMING, disks_of  # noqa: E402
from lmtp_server import USERS, DaemonTestCase  # noqa: E402
from system_calls import calls_in, failing, signalled, tracing, why_no_trace  # noqa: E402

QUARROW = os.path.abspath(sys.argv.pop(1))
ALICE = "alice@example.org"
RULES = [".delivery_filter.xml", ".delivery_filter", ".delivery_filter.history"]
ADD = ("filter", "add", ALICE, "--name", "Work", "--if", "subject is work", "--then", "move Work")
WORK = b"Subject: work\n\nHello\n"


class FolderTestCase(unittest.TestCase):
    def setUp(self):
        reason = why_no_trace()
        if reason:
            self.skipTest(reason)

    def new_folder(self):
        folder = pathlib.Path(tempfile.mkdtemp(prefix="quarrow-durability-"))
        self.addCleanup(shutil.rmtree, folder)
        return folder


class CommandTest(FolderTestCase):
    def setUp(self):
        super().setUp()
        self.root = self.new_folder() / "root"
        self.home = self.root / "example.org" / "alice"
        self.do("init", "--catalogue", self.root / "fields.xml")
        self.do("user", "add", ALICE)

    def run_quarrow(self, *arguments, launcher=(), message=b""):
        return subprocess.run([*launcher, QUARROW, "--root", self.root, *arguments], input=message,
                              check=False, capture_output=True)

    def do(self, *arguments, **how):
        done = self.run_quarrow(*arguments, **how)
        self.assertEqual(0, done.returncode, done.stderr)

    def follow(self, *arguments, **how):
        """The calls of each process of a command that succeeds and leaves nothing to chance."""
        folder = self.new_folder()
        self.do(*arguments, launcher=tracing(folder, CALLS), **how)
        processes = calls_in(folder)
        for disk in disks_of(processes, self.root):
            self.assertEqual([], disk.faults)
        return processes

    def placed(self, *arguments, **how):
        """The files that were given their names, in order."""
        disks = disks_of(self.follow(*arguments, **how), self.root)
        return [path for disk in disks for path in disk.placed]

    def make_folder(self):
        for part in ["new", "cur", "tmp"]:
            (self.home / "Maildir" / part).mkdir(parents=True, exist_ok=True)
        (self.home / "Maildir" / "new" / "1.M1P1.mx").write_bytes(WORK)

    def test_rules_with_their_script_and_their_history(self):
        rules = [str(self.home / name) for name in RULES]
        for command in (ADD, ("undo", ALICE), ("redo", ALICE)):
            with self.subTest(command[0]):
                self.assertEqual(rules, self.placed(*command))

    def test_the_fields_of_a_user(self):
        self.assertEqual([str(self.home / ".delivery_filter.custom.xml")],
                         self.placed("field", "add", ALICE, "string", "X-Kind"))

    def test_the_settings(self):
        self.assertIn(str(self.root / "quarrow.sqlite"), self.placed("config", "set", "grade", "5"))

    def test_the_folder_of_a_user(self):
        processes = self.follow("user", "add", "bob@new.example")
        self.assertIn(str(self.root / "new.example" / "bob"),
                      [path for process in processes for call in process
                       if call.name == "mkdir" for path in call.paths()])

    def test_a_message_and_the_folders_that_are_made_for_it(self):
        self.do(*ADD)
        for folder, message in (("Maildir/.Work", WORK), ("Maildir", b"Subject: other\n\nx\n")):
            with self.subTest(folder):
                path, = self.placed("deliver", "-d", ALICE, message=message)
                self.assertEqual(str(self.home / folder / "new"), os.path.dirname(path))

    def test_a_message_though_an_end_is_asked_for_while_it_is_stored(self):
        for name in ("SIGTERM", "SIGHUP", "SIGINT"):
            with self.subTest(name):
                self.do("deliver", "-d", ALICE, launcher=signalled("fsync", name), message=WORK)
                message, = (self.home / "Maildir").glob("**/*M*")
                self.assertEqual("new", message.parent.name)
                message.unlink()

    def test_messages_that_are_filed_anew_after_what_tells_of_it(self):
        self.make_folder()
        self.do(*ADD)
        journal = str(self.home / ".refiling_journal")
        for command in (("apply", ALICE, "--yes"), ("apply", ALICE, "--undo", "--yes")):
            with self.subTest(command):
                process, = (each for each in self.follow(*command)
                            if any(call.name in NAMING for call in each))
                moved, = (i for i, call in enumerate(process)
                          if call.name in NAMING and "1.M1P1.mx" in call.text)
                noted = [i for i, call in enumerate(process)
                         if call.name == "fdatasync" and call.files() == [journal]]
                if "--undo" in command:  # done again it is no harm; forgotten it would be
                    self.assertLess(moved, noted[0])
                else:
                    self.assertLess(noted[0], moved)

    def expect_failures(self, command, calls, **how):
        """Each fsync fails in turn; the command says so, and works once they succeed."""
        for number in range(1, calls + 1):
            with self.subTest(command[0], number=number):
                done = self.run_quarrow(*command, launcher=failing("fsync", "EIO", number), **how)
                self.assertNotEqual(0, done.returncode)
                self.assertIn(b": Input/output error\n", done.stderr)

    def test_a_command_whose_fsync_fails_says_so(self):
        self.expect_failures(ADD, 6)
        self.expect_failures(("field", "add", ALICE, "string", "X-Kind"), 2)
        self.expect_failures(("user", "add", "bob@new.example"), 1)

    def test_a_lock_that_fails_is_told(self):
        for command in (ADD, ("filter", "list", ALICE), ("apply", ALICE, "--yes")):
            with self.subTest(command[0]):
                self.make_folder()
                done = self.run_quarrow(*command, launcher=failing("flock", "ENOLCK"))
                self.assertIn(done.returncode, (os.EX_TEMPFAIL, os.EX_IOERR))
                self.assertRegex(done.stderr, b": can't be locked: No locks available\n$")

    def test_a_delivery_whose_fsync_fails_takes_another_folder_or_is_tried_again(self):
        self.do(*ADD)
        for number in range(1, 5):
            shutil.rmtree(self.home / "Maildir", ignore_errors=True)
            self.do("deliver", "-d", ALICE, message=WORK, launcher=failing("fsync", "EIO", number))
            stored, = (self.home / "Maildir" / "new").iterdir()
            self.assertTrue(stored.read_bytes().endswith(WORK))
        refused = self.run_quarrow("deliver", "-d", ALICE, message=WORK,
                                   launcher=failing("fsync", "EIO"))
        self.assertEqual(os.EX_TEMPFAIL, refused.returncode)
        self.assertIn(b": Input/output error\n", refused.stderr)


class ServerTest(DaemonTestCase, FolderTestCase):
    def test_no_message_is_taken_before_it_is_on_the_disk(self):
        folder = self.new_folder()
        daemon = self.start("--journal", launcher=tracing(folder, CALLS))
        client = self.connect(daemon)
        for subject in ("work", "other"):
            self.assertEqual([250] * 2,
                             [code for code, _ in client.deliver(USERS[:2], subject)])
        daemon.signal(signal.SIGTERM)
        self.assertEqual(0, daemon.wait())
        disks = disks_of(calls_in(folder), daemon.folder / "root")
        self.assertEqual([], [fault for disk in disks for fault in disk.faults
                              if "/.delivery_journal " not in fault])
        placed = [path for disk in disks for path in disk.placed]
        self.assertEqual(4, len(placed))
        self.assertTrue(all("/new/" in path for path in placed), placed)

    def test_a_message_that_may_not_be_on_the_disk_is_asked_for_again(self):
        daemon = self.start(launcher=failing("fsync", "EIO"))
        client = self.connect(daemon)
        self.assertEqual([451], [code for code, _ in client.deliver(USERS[:1], "work")])


if __name__ == "__main__":
    unittest.main()
