"""The LMTP server with faults, and messages that are delivered to it."""

import contextlib
import shutil
import smtplib
import tempfile

import faulty_calls
import lmtp_server
from setting import library

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


def server_with_faulty_calls(folder):
    return Server(folder, faulty_calls.FaultyCalls(library("faulty_calls"), folder))


class Server:
    """A daemon with faults, of which each thread has one."""

    def __init__(self, folder, faults):
        for path in (folder.parent, folder):
            path.chmod(0o755)
        self.faults = faults
        tempfile.tempdir = str(folder)
        self.daemon = lmtp_server.Daemon(
            "--workers", "1", "--max-in-memory", "50000",
            launcher=("env", *(f"{name}={value}" for name, value in faults.added.items())))
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
        self.faults.arm(fault)
        replies = attempt.replies(self.daemon.socket)
        self.faults.disarm()
        return replies

    def goes_on(self, attempt):
        """Whether the next message is delivered, without a fault."""
        lmtp_server.until(self.daemon.answers, "the server answers")
        return set(self.try_attempt(attempt).values()) == {2}

    def copies(self, recipient):
        """[(folder, content)]"""
        maildir = self.daemon.home(recipient) / "Maildir"
        return [(str(path.parent.parent.relative_to(maildir)), path.read_bytes())
                for path in maildir.glob("**/new/*")]

    def complaints(self):
        return [line for line in self.daemon.log_text().splitlines() if " info: " not in line]
