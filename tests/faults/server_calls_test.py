#!/usr/bin/env python3
"""Each call for files of the LMTP server fails once in a delivery, and the worker is killed before
and behind it.

usage: server_calls_test.py QUARROW_LMTPD QUARROW LIBRARIES [--long] [unittest arguments]
"""
import contextlib
import os
import pathlib
import shutil
import smtplib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from setting import IS_LONG, Sandboxes, library  # noqa: E402

import faulty_calls  # noqa: E402
import lmtp_server  # noqa: E402

SENDER = "sender@example.net"
FIRST, SECOND = lmtp_server.USERS[:2]
GONE = 0  # in the place of a reply: the connection ended


class Attempt:
    """A message that is delivered, and the first digits of the replies to its recipients."""

    def __init__(self, name, recipients, subject, body, is_folder_there):
        self.name = name
        self.recipients = recipients
        self.subject = subject
        self.body = body
        self.is_folder_there = is_folder_there

    def replies(self, socket):
        """{recipient: 2, 4, 5, or GONE}"""
        with contextlib.suppress(OSError, smtplib.SMTPException):
            with lmtp_server.Lmtp(socket) as client:
                return self.replies_of(client)
        return dict.fromkeys(self.recipients, GONE)

    def replies_of(self, client):
        client.ehlo("test")
        client.mail(SENDER)
        found = {recipient: client.rcpt(recipient)[0] // 100 for recipient in self.recipients}
        accepted = [recipient for recipient, reply in found.items() if reply == 2]
        if not accepted:
            return found
        reply = client.docmd("data")[0]
        if reply != 354:
            return {**found, **dict.fromkeys(accepted, reply // 100)}
        client.send_text(f"Subject: {self.subject}\r\n\r\n{self.body}\r\n")
        client.sock.sendall(b".\r\n")
        found.update(dict.fromkeys(accepted, GONE))
        with contextlib.suppress(OSError, smtplib.SMTPException):
            for recipient in accepted:
                found[recipient] = client.getreply()[0] // 100
        return found

    def is_whole(self, stored):
        text = f"Subject: {self.subject}\n\n{self.body}\n".replace("\r\n", "\n")
        return stored.endswith(text.encode()) and stored.count(b"Subject:") == 1


ATTEMPTS = (
    Attempt("a new folder", [FIRST], "work", "body", False),
    Attempt("a folder", [FIRST], "work", "body", True),
    Attempt("two recipients", [FIRST, SECOND], "work", "body", True),
    Attempt("a message in a file", [FIRST], "work", "line\r\n" * 20000, True),
)


class Server:
    """A daemon with faults, of which each thread has one."""

    def __init__(self, folder):
        for path in (folder.parent, folder):
            path.chmod(0o755)
        self.calls = faulty_calls.FaultyCalls(library("faulty_calls"), folder)
        environment = self.calls.environment()
        names = ("LD_PRELOAD", "FAULTS_CONTROL", "FAULTS_FOLDER", "ASAN_OPTIONS")
        tempfile.tempdir = str(folder)
        self.daemon = lmtp_server.Daemon(
            "--workers", "1", "--max-in-memory", "50000",
            launcher=("env", *(f"{name}={environment[name]}" for name in names)))
        tempfile.tempdir = None
        self.daemon.show_complaints = lambda: None  # there are many, as there should be

    def try_attempt(self, attempt, fault=None):
        for recipient in attempt.recipients:
            shutil.rmtree(self.daemon.home(recipient) / "Maildir", ignore_errors=True)
        if attempt.is_folder_there:
            assert set(attempt.replies(self.daemon.socket).values()) == {2}
            for recipient in attempt.recipients:
                for path in (self.daemon.home(recipient) / "Maildir").glob("**/new/*"):
                    path.unlink()
        self.calls.arm(fault)
        replies = attempt.replies(self.daemon.socket)
        self.calls.disarm()
        return replies

    def copies(self, recipient):
        """[(folder, content)]"""
        maildir = self.daemon.home(recipient) / "Maildir"
        return [(str(path.parent.parent.relative_to(maildir)), path.read_bytes())
                for path in maildir.glob("**/new/*")]

    def complaints(self):
        return [line for line in self.daemon.log_text().splitlines() if " info: " not in line]


class CallsOfServer(unittest.TestCase):
    def setUp(self):
        self.servers = Sandboxes(self.make_server, 4)
        self.addCleanup(self.servers.close)

    def make_server(self, folder):
        server = Server(folder)
        self.addCleanup(server.daemon.close)
        return server

    def test_a_message_that_was_answered_for_is_there_once(self):
        for attempt in ATTEMPTS:
            with self.subTest(attempt.name):
                server = self.servers.sandbox()
                self.assertEqual({2}, set(server.try_attempt(attempt).values()))
                calls = [call for call in server.calls.record() if call.number > 0]
                faults = [fault for call in calls for fault in faults_in(call)]
                found = self.servers.each(lambda server, fault: list(wrong(server, attempt, fault)),
                                          faults)
                print(f"{attempt.name}: {len(calls)} calls, {len(faults)} faults", file=sys.stderr)
                self.assertFalse(any(found), "\n".join(what for each in found for what in each))


def faults_in(call):
    """A worker that follows one that was killed comes after a second: the short run kills fewer."""
    yield from faulty_calls.faults_of(call)
    if IS_LONG or call.number % 3 == 0:
        yield from faulty_calls.kills_at(call, IS_LONG)


def wrong(server, attempt, fault):
    before = len(server.complaints())
    replies = server.try_attempt(attempt, fault)
    if server.calls.count() < fault.first:
        yield f"{fault}: there was no such call"
    is_told = len(server.complaints()) > before
    for recipient, reply in replies.items():
        copies = server.copies(recipient)
        folders = [folder for folder, _ in copies]
        wanted = {2: (["."], [".Work"]) if is_told else ([".Work"],), 4: ([],),
                  GONE: ([], [".Work"], ["."])}
        if folders not in wanted.get(reply, ()) or \
                not all(attempt.is_whole(content) for _, content in copies):
            yield f"{fault}: {replies}, stored for {recipient}: {folders}"
    lmtp_server.until(server.daemon.answers, "the server answers")
    if set(server.try_attempt(attempt).values()) != {2}:
        yield f"{fault}: the next message is refused"


if __name__ == "__main__":
    unittest.main()
