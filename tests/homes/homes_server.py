"""A table of users' homes, the server that tells it, and a client that asks."""
import contextlib
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from server_process import PATIENCE, unprivileged_user, until  # noqa: E402

FIRST = "lmtp:inet:[127.0.0.1]:2401"
SECOND = "lmtp:inet:[127.0.0.1]:2402"
MOVING = "OK retry:4.2.1 The mailbox is being moved"
ALICE, BOB, CAROL, DAVE = (f"{name}@example.org" for name in ("alice", "bob", "carol", "dave"))


def netstring(text):
    return f"{len(text)}:{text},".encode()


class Client:
    """A connection to the server at a path."""

    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(PATIENCE)
        try:
            self._socket.connect(str(path))
        except OSError:
            self._socket.close()
            raise
        self._bytes = self._socket.makefile("rb")

    def close(self):
        self._bytes.close()
        self._socket.close()

    def send(self, data):
        self._socket.sendall(data)

    def reply(self):
        """The next reply; None when the server has hung up."""
        with contextlib.suppress(ConnectionError):
            length = b"".join(iter(lambda: self._bytes.read(1), b":")) if self._bytes.peek(1) else b""
            return self._bytes.read(int(length) + 1)[:-1].decode() if length else None
        return None

    def ask(self, request):
        self.send(netstring(request))
        return self.reply()


class Table:
    """A table with two nodes, where three users live, in a folder of its own; carol is moved."""

    def __init__(self, quarrow):
        self.quarrow = quarrow
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quarrow-homes-"))
        self.folder.chmod(0o755)
        self.file = self.folder / "table" / "homes.sqlite"
        self.home("node", "add", "node1", FIRST)
        self.home("node", "add", "node2", SECOND)
        self.home("import", text=f"{ALICE} node1\n{BOB} node2\n{CAROL} node1\n")
        self.home("moving", CAROL)

    def run(self, *words, text=""):
        return subprocess.run([self.quarrow, "home", *words, "--homes", self.file], input=text,
                              capture_output=True, text=True, check=False, timeout=PATIENCE)

    def home(self, *words, text=""):
        done = self.run(*words, text=text)
        assert done.returncode == 0, done.stderr
        return done.stdout

    def close(self):
        shutil.rmtree(self.folder)


class Daemon:
    """The server of a table, in a folder of its own. `launcher`: words in front of its command."""

    def __init__(self, program, table, *options, workers=2, launcher=()):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quarrow-homes-server-"))
        if os.geteuid() == 0:
            shutil.chown(self.folder, unprivileged_user())
        self.path = self.folder / "socket"
        self.metrics = self.folder / "metrics"
        self.log = open(self.folder / "log", "w+b")
        self.process = subprocess.Popen(
            [*launcher, program, "--user", unprivileged_user(), "--homes", table.file, "--listen", self.path,
             "--metrics", self.metrics, "--workers", str(workers), *options], stderr=self.log)
        try:
            until(self.answers, "the server answers")
        except BaseException:
            self.close()
            raise

    def answers(self):
        assert self.process.poll() is None, self.log_text()
        with contextlib.suppress(OSError):
            return bool(self.ask("user x"))
        return False

    def client(self):
        return contextlib.closing(Client(self.path))

    def ask(self, request):
        with self.client() as client:
            return client.ask(request)

    def log_text(self):
        return (self.folder / "log").read_text()

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        return self.process.wait(PATIENCE)

    def close(self):
        if self.process.poll() is None:
            self.stop()
        self.log.close()
        shutil.rmtree(self.folder)
