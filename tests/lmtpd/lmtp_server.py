"""The LMTP server with users in a folder of its own, and a client that speaks to it."""

import contextlib
import os
import pathlib
import pwd
import shutil
import signal
import smtplib
import socket
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from server_process import (PATIENCE, children, free_port, handing_over,  # noqa: E402
                            name_of, unprivileged_user, until)

PROGRAM = os.path.abspath(sys.argv.pop(1))  # the first argument of the test
USERS = [f"user{number}@example.org" for number in range(5)]
SCRIPT = b"""require ["fileinto", "reject"];
if header :contains "subject" "work" { fileinto "Work"; stop; }
if header :contains "subject" "spam" { discard; stop; }
if header :contains "subject" "advert" { reject "No adverts"; stop; }
if header :contains "subject" "deep" { fileinto "A/B"; stop; }
"""
FOLDERS = {"work": ".Work", "deep": ".A.B", "other": ""}


def is_running(process):
    """Whether the process is there, and not only waits for its parent to ask how it ended."""
    with contextlib.suppress(OSError):
        return "\nState:\tZ" not in pathlib.Path(f"/proc/{process}/status").read_text()
    return False


def connected(address, source="127.0.0.1"):
    """A connection to a path, or to a port of this host."""
    if isinstance(address, int):
        return socket.create_connection(("127.0.0.1", address), PATIENCE, (source, 0))
    client = socket.socket(socket.AF_UNIX)
    client.settimeout(PATIENCE)
    try:
        client.connect(str(address))
    except OSError:
        client.close()
        raise
    return client


class Lmtp(smtplib.LMTP):
    """A client whose reads end when the server is mute."""

    def __init__(self, path):
        super().__init__(path)
        self.sock.settimeout(PATIENCE)

    def deliver(self, recipients, subject, name="1", body="body", head=""):
        """Sends one message, the lines `head` first; the recipients' replies, in order."""
        assert self.mail("sender@example.net")[0] == 250
        for recipient in recipients:
            assert self.rcpt(recipient)[0] == 250
        self.start_data()
        self.send_text(f"{head}Subject: {subject}\r\n"
                       f"Message-ID: <{name}@example.net>\r\n\r\n{body}\r\n")
        return self.end_data(len(recipients))

    def start_data(self):
        self.putcmd("data")
        assert self.getreply()[0] == 354

    def send_text(self, text):
        self.sock.sendall(text.encode())

    def end_data(self, replies):
        self.sock.sendall(b".\r\n")
        return [self.getreply() for _ in range(replies)]


class Daemon:
    """The server, with users, in a folder of its own, which `change` may change before the start.
    Options name that folder as {folder}."""

    def __init__(self, *options, launcher=(), change=lambda daemon: None):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quarrow-lmtpd-"))
        self.socket = str(self.folder / "socket")
        self.config = self.folder / "config"
        self.metrics = self.folder / "metrics"
        self.is_behind_proxy = "--proxy-protocol" in options
        self.config.write_text("workers=2\n")
        (self.folder / "spool").mkdir()
        for user in USERS:
            self.home(user).mkdir(parents=True)
            (self.home(user) / ".delivery_filter").write_bytes(SCRIPT)
        self.give_away()
        change(self)
        self.log = open(self.folder / "log", "w+b")
        self.process = subprocess.Popen(
            [*launcher, PROGRAM, "--config", self.config, "--user", unprivileged_user(),
             "--root", self.folder / "root", "--spool", self.folder / "spool",
             "--listen", self.socket, "--host-name", "mx.example.org",
             "--metrics", self.metrics, "--health", self.folder / "health",
             *(option.replace("{folder}", str(self.folder)) for option in options)],
            stderr=self.log)
        try:
            until(self.answers, "the server answers")
            # the first worker may answer before the others are there
            workers = int(options[options.index("--workers") + 1]) if "--workers" in options else 2
            until(lambda: len(self.workers()) == workers, "all workers are there")
        except BaseException:
            self.close()
            raise

    def give_away(self):
        if os.geteuid() != 0:
            return
        entry = pwd.getpwnam(unprivileged_user())
        for path in [self.folder, *self.folder.rglob("*")]:
            os.chown(path, entry.pw_uid, entry.pw_gid)

    def answers(self):
        assert self.process.poll() is None, self.log_text()
        with contextlib.suppress(OSError), connected(self.socket) as client:
            if self.is_behind_proxy:
                client.sendall(b"PROXY UNKNOWN\r\n")
            return client.recv(100).startswith(b"220 ")
        return False

    def home(self, user):
        local, domain = user.split("@")
        return self.folder / "root" / domain / local

    def messages(self, user, folder=""):
        new = self.home(user) / "Maildir" / folder / "new"
        return [path.read_bytes() for path in new.glob("*")]

    def log_text(self):
        return (self.folder / "log").read_text()

    def show_complaints(self):
        """Prints the log without its information, for the reader of a test that fails."""
        sys.stderr.writelines(line for line in self.log_text().splitlines(keepends=True)
                              if " info: " not in line)

    def workers(self):
        return [child for child in children(self.process.pid)
                if name_of(child) not in ("inspection", "quarrow-monitor", None)]

    def monitors(self):
        return [child for child in children(self.process.pid)
                if name_of(child) == "quarrow-monitor"]

    def helpers(self):
        """The processes that evaluate: one with messages, perhaps, and one that waits for each
        worker."""
        return [child for worker in self.workers() for child in children(worker)
                if name_of(child) == "quarrow-helper"]

    def signal(self, number):
        self.process.send_signal(number)

    def wait(self):
        return self.process.wait(PATIENCE)

    def close(self):
        if self.process.poll() is None:
            self.signal(signal.SIGTERM)
            self.wait()
        self.show_complaints()
        self.log.close()
        shutil.rmtree(self.folder)


class DaemonTestCase(unittest.TestCase):
    def start(self, *options, **how):
        daemon = Daemon(*options, **how)
        self.addCleanup(daemon.close)
        return daemon

    def connect(self, daemon):
        client = Lmtp(daemon.socket)
        self.addCleanup(client.close)
        client.ehlo("test")
        return client
