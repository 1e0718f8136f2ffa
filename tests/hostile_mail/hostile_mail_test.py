#!/usr/bin/env python3
"""Hostile mail, delivered by the command and by the LMTP server: every message is stored byte for
byte, where the rules want it.

usage: hostile_mail_test.py QUARROW_LMTPD QUARROW [unittest arguments]
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

TESTS = pathlib.Path(__file__).resolve().parent.parent
sys.path += [str(TESTS / "lmtpd"), str(TESTS.parent / "bench")]

import lmtp_server  # noqa: E402
import messages  # noqa: E402
import peers  # noqa: E402

USER = lmtp_server.USERS[0]
SENDER = "sender@example.net"
HEADERS_OF_LMTP = re.compile(
    rb"Return-Path: <%b>\nDelivered-To: %b\nReceived: from .*\n\tby .*\n\tfor .*\n"
    % (SENDER.encode(), USER.encode()))
NOTE = re.compile(r' note="(.*)"$')
QUARROW = os.path.abspath(sys.argv.pop(1))
# Sanitizers and other work on the machine make evaluations slow; bench/growth.py tells how much
# time they take.
PATIENCE = ["--evaluation-time", "60"]


def rules():
    """(test, action) of each rule."""
    *others, _ = peers.rules()
    yield from ((test, f"move {folder}") for test, _, folder in others)
    yield "string subject begin_with Hostile", "move Hostile"


def run(root, *arguments, message=None):
    return subprocess.run([QUARROW, "--root", root, *arguments], input=message, check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)


def make_user(root):
    """A root with the user's rules; the user's folder."""
    for arguments in [("init", "--catalogue", root / "fields.xml"), ("user", "add", USER)]:
        done = run(root, *arguments)
        assert done.returncode == 0, done.stderr
    for number, (test, action) in enumerate(rules()):
        done = run(root, "filter", "add", USER, "--name", f"Rule {number}", "--if", test,
                   "--then", action)
        assert done.returncode == 0, done.stderr
    local, domain = USER.split("@")
    return root / domain / local


def take_out(maildir):
    """What is in a Maildir, with its folder, "" for the inbox; nothing is in it any more."""
    found = [(path.parent.parent.relative_to(maildir), path.read_bytes())
             for path in maildir.glob("**/new/*")]
    if maildir.exists():
        shutil.rmtree(maildir)
    return [(str(folder).strip("."), content) for folder, content in found]


def wanted_folder(outcome):
    return "Hostile" if outcome == messages.FILED else ""


def wanted_note(outcome):
    return "" if outcome == messages.FILED else outcome


class ByTheCommand(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.maildir = make_user(self.root) / "Maildir"

    def test_every_message_is_where_the_rules_want_it(self):
        for row in messages.table():
            with self.subTest(row.name):
                done = run(self.root, "deliver", "-d", USER, *PATIENCE, message=row.content)
                note = wanted_note(row.outcome)
                complaint = f"quarrow: {USER}: {note}\n" if note else ""
                self.assertEqual((0, complaint), (done.returncode, done.stderr.decode()))
                self.assert_stored(row)

    def assert_stored(self, row):
        (folder, content), = take_out(self.maildir)
        self.assertEqual(wanted_folder(row.outcome), folder)
        # not assertEqual, which would show megabytes
        self.assertTrue(content == b"Delivered-To: %b\n" % USER.encode() + row.content)

    def test_nothing_at_all_is_no_message(self):
        done = run(self.root, "deliver", "-d", USER, message=b"")
        self.assertEqual(os.EX_TEMPFAIL, done.returncode)
        self.assertEqual([], take_out(self.maildir))


class ByTheServer(unittest.TestCase):
    def setUp(self):
        self.daemon = lmtp_server.Daemon(*PATIENCE)
        self.addCleanup(self.daemon.close)
        with tempfile.TemporaryDirectory() as folder:
            script = make_user(pathlib.Path(folder)) / ".delivery_filter"
            home = self.daemon.home(USER)
            (home / ".delivery_filter").write_bytes(script.read_bytes())
        self.maildir = home / "Maildir"
        self.client = lmtp_server.Lmtp(self.daemon.socket)
        self.addCleanup(self.client.close)
        self.client.ehlo("test")

    def send(self, content):
        """The reply's code and enhanced code."""
        self.client.mail(SENDER)
        self.client.rcpt(USER)
        self.client.start_data()
        text = re.sub(rb"^\.", b"..", content, flags=re.MULTILINE).replace(b"\n", b"\r\n")
        self.client.sock.sendall(text)
        (code, text), = self.client.end_data(1)
        return f"{code} {text.split()[0].decode()}"

    def note(self):
        """That of the latest delivery, whose line precedes the reply."""
        found = NOTE.search(self.daemon.log_text().splitlines()[-1])
        return found[1] if found else ""

    def test_every_message_is_where_the_rules_want_it(self):
        for row in messages.table():
            with self.subTest(row.name):
                content = messages.folded(row.content)
                if content != row.content:
                    self.assertEqual("554 5.5.2", self.send(row.content))
                    self.assertEqual([], take_out(self.maildir))
                self.assertEqual("250 2.0.0", self.send(content))
                self.assertEqual(wanted_note(row.outcome), self.note())
                self.assert_stored(content, row)

    def assert_stored(self, content, row):
        (folder, stored), = take_out(self.maildir)
        self.assertEqual(wanted_folder(row.outcome), folder)
        headers = HEADERS_OF_LMTP.match(stored)
        self.assertIsNotNone(headers)
        self.assertTrue(stored[headers.end():] == content)

    def test_an_empty_message_is_one(self):
        self.assertEqual("250 2.0.0", self.send(b""))
        self.assertEqual(messages.NO_RULE, self.note())
        (folder, stored), = take_out(self.maildir)
        self.assertEqual("", folder)
        self.assertIsNotNone(HEADERS_OF_LMTP.fullmatch(stored))


if __name__ == "__main__":
    unittest.main()
