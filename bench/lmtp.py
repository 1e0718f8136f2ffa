"""The LMTP server that is measured, and a client for it."""

import contextlib
import pathlib
import socket
import subprocess
import sys
import time

import peers


class Client:
    """An LMTP client that sends the commands of a message at once (RFC 2920)."""

    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(peers.TIME_LIMIT)
        self.socket.connect(path)
        self.replies = self.socket.makefile("rb")
        self.expect(b"220")
        self.socket.sendall(b"LHLO client.example.net\r\n")
        self.expect(b"250")

    def expect(self, code):
        line = self.replies.readline()
        while line[3:4] == b"-":
            line = self.replies.readline()
        if not line.startswith(code):
            raise RuntimeError(f"{code} expected, but the reply is {line}")

    def deliver(self, user, data):
        self.socket.sendall(b"MAIL FROM:<sender@example.net>\r\nRCPT TO:<%s@%s>\r\nDATA\r\n" %
                            (user.encode(), peers.DOMAIN.encode()))
        for code in (b"250", b"250", b"354"):
            self.expect(code)
        self.socket.sendall(data)
        self.expect(b"250")

    def close(self):
        self.socket.sendall(b"QUIT\r\n")
        self.expect(b"221")
        self.socket.close()


def wait_until_ready(path):
    for _ in range(500):
        with contextlib.suppress(OSError):
            return Client(path).close()
        time.sleep(0.02)
    sys.exit(f"{path}: no server answers")


class QuarrowServer:
    """quarrow-lmtpd over the users of a root, with these options besides."""

    def __init__(self, quarrow, folder, *options):
        self.quarrow = quarrow
        self.options = options
        self.socket = str(folder / "quarrow-lmtp")
        self.spool = folder / "spool"
        self.log = folder / "quarrow-log"

    def start(self):
        self.spool.mkdir()
        peers.give_away(self.spool)
        peers.give_away(self.quarrow.root)
        with open(self.log, "wb") as log:
            self.process = subprocess.Popen(
                [self.quarrow.server, "--user", peers.SERVICE_USER, "--root", self.quarrow.root,
                 "--spool", self.spool, "--listen", self.socket, *self.options],
                env=peers.clean_environment(self.spool), stderr=log)

    def workers(self):
        path = pathlib.Path(f"/proc/{self.process.pid}/task/{self.process.pid}/children")
        return path.read_text().split()

    def stop(self):
        self.process.terminate()
        self.process.wait(peers.TIME_LIMIT)
