#!/usr/bin/env python3
"""The clock is set back, the machine gets another name, and two machines have the same one.

usage: clock_and_name_test.py QUARROW_LMTPD QUARROW LIBRARIES [--long] [unittest arguments]
"""
import concurrent.futures
import os
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from setting import IS_LONG, USER, done, home, library, message  # noqa: E402

NOW = 1900000000
YEAR = 365 * 24 * 3600
MESSAGES = 1000 if IS_LONG else 120  # more than the names that a delivery tries


def machine(time=NOW, host="mx.example.org", process=None):
    """The environment of a process there."""
    added = {"LD_PRELOAD": library("strange_machine"), "STRANGE_TIME": str(time),
             "STRANGE_HOST": host, "ASAN_OPTIONS": "verify_asan_link_order=0"}
    if process:
        added["STRANGE_PROCESS"] = str(process)
    return {**os.environ, **added}


class ClockAndName(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        done(self.root, "init", "--catalogue", self.root / "fields.xml")
        done(self.root, "user", "add", USER)

    def deliver(self, number, environment):
        done(self.root, "deliver", "-d", USER, message=message(f"number {number:04}."),
             environment=environment)

    def stored(self):
        """{path: subject} of all messages."""
        maildir = home(self.root) / "Maildir"
        return {path: path.read_text().split("Subject: ")[1].partition("\n")[0]
                for part in ("new", "cur") for path in maildir.glob(f"**/{part}/*")}

    def assert_all_there(self, count):
        stored = self.stored()
        self.assertEqual(sorted(f"number {number:04}." for number in range(count)),
                         sorted(stored.values()))
        unique = {path.name.partition(":")[0] for path in stored}
        self.assertEqual(count, len(unique), "a mail client would take two messages for one")

    def test_two_machines_that_are_the_same_take_nothing_from_each_other(self):
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            list(pool.map(lambda number: self.deliver(number, machine(process=4711)),
                          range(MESSAGES)))
        self.assert_all_there(MESSAGES)

    def test_a_message_that_a_client_has_seen_keeps_its_name_for_itself(self):
        for number in range(3):
            self.deliver(number, machine(process=4711))
            for path in self.stored():
                if path.parent.name == "new":
                    path.rename(path.parent.parent / "cur" / f"{path.name}:2,S")
        self.assert_all_there(3)

    def test_a_clock_that_is_set_back_changes_nothing(self):
        times = NOW, NOW - YEAR, NOW - 1, 1, NOW + YEAR
        for number, time in enumerate(times):
            environment = machine(time, process=4711)
            self.deliver(number, environment)
            done(self.root, "filter", "add", USER, "--name", f"Rule {number}", "--if",
                 f"string subject contains rule{number}", "--then", f"move Folder{number}",
                 environment=environment)
            done(self.root, "deliver", "--journal", "-d", USER,
                 message=message(f"rule{number}"), environment=environment)
            folder = home(self.root) / "Maildir" / f".Folder{number}" / "new"
            self.assertEqual(1, len(list(folder.iterdir())))
        for number in reversed(range(1, len(times))):
            done(self.root, "undo", USER, environment=machine(times[-number]))
        self.assertEqual(["Rule 0"], self.names_of_filters())
        self.assertEqual(2 * len(times), len(self.stored()))

    def names_of_filters(self):
        listed = done(self.root, "filter", "list", USER, "--format", "tab").decode()
        return [f"Rule {number}" for number in range(9) if f"Rule {number}" in listed]

    def test_a_machine_that_gets_another_name_goes_on(self):
        for number, host in enumerate(("old", "new.example.org", "old", "", "a/b:c d")):
            self.deliver(number, machine(host=host, process=4711))
        self.assert_all_there(5)


if __name__ == "__main__":
    unittest.main()
