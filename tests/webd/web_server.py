"""The web server with users in a folder of its own, and a client that speaks to it."""

import contextlib
import http.client
import json
import os
import pathlib
import pwd
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from server_process import (PATIENCE, children, free_port, handing_over,  # noqa: E402
                            name_of, unprivileged_user, until)

PAGE = pathlib.Path(__file__).resolve().parents[2] / "page"
ALICE = "alice@example.org"
BOB = "bob@example.org"
DOCS = pathlib.Path(__file__).resolve().parents[2] / "docs"
API = json.loads((DOCS / "openapi.json").read_text())


def field(process, name):
    """The words of a line of a process's status."""
    for line in pathlib.Path(f"/proc/{process}/status").read_text().splitlines():
        if line.startswith(name + ":"):
            return line.split()[1:]
    return None


def check_session_answer(method, path, status, body, headers):
    """Holds an answer about sessions against the description of the API."""
    operation = API["paths"].get(path.removeprefix("/api/v1"), {}).get(method.lower(), {})
    if "session" not in operation.get("tags", ()):
        return
    response = operation["responses"].get(str(status))
    assert response, f"{method} {path}: the document does not name the status {status}"
    if "$ref" in response:
        response = API["components"]["responses"][response["$ref"].rpartition("/")[2]]
    missing = [name for name in response.get("headers", {}) if name not in headers]
    assert not missing, f"{method} {path}, {status}: without {missing}"
    content = response.get("content", {})
    assert list(content) == [kind for kind in [headers["Content-Type"]] if kind], headers
    if status == 200:
        name = content["application/json"]["schema"]["$ref"].rpartition("/")[2]
        assert set(json.loads(body)) == set(API["components"]["schemas"][name]["properties"]), body


class Connection(http.client.HTTPConnection):
    def __init__(self, path):
        super().__init__("localhost", timeout=PATIENCE)
        self.path = path

    def connect(self):
        self.sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.sock.settimeout(PATIENCE)
        self.sock.connect(self.path)


class Daemon:
    """The server, with users, in a folder of its own, which `prepare` may change before the start.
    `launcher`: words in front of its command."""

    def __init__(self, program, *options, workers=2, prepare=lambda daemon: None, launcher=()):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quarrow-webd-"))
        self.folder.chmod(0o755)
        self.socket = str(self.folder / "socket")
        for user in (ALICE, BOB):
            self.home(user).mkdir(parents=True)
            (self.home(user) / "rules").write_text("precious")
        prepare(self)
        if os.geteuid() == 0:
            entry = pwd.getpwnam("daemon")  # a user who is neither root nor the workers' one
            for path in [*self.folder.rglob("*")]:
                os.chown(path, entry.pw_uid, entry.pw_gid)
        self.log = open(self.folder / "log", "w+b")
        self.worker_count = workers
        self.command = [*launcher, program, "--user", unprivileged_user(), "--root", self.folder / "root",
                        "--listen", self.socket, "--workers", str(workers),
                        *(() if "--page" in options else ("--page", PAGE)), *options]
        self.run()

    def run(self):
        self.process = subprocess.Popen(self.command, stderr=self.log)
        try:
            until(self.is_ready, "the server is ready")
        except BaseException:
            self.close()
            raise

    def restart(self):
        self.stop()
        self.run()

    def is_ready(self):
        assert self.process.poll() is None, self.log_text()
        return len(self.workers()) == self.worker_count and len(self.named("quarrow-broker")) == 1

    def home(self, user):
        local, domain = user.split("@")
        return self.folder / "root" / domain / local

    def named(self, name):
        return [child for child in children(self.process.pid) if name_of(child) == name]

    def workers(self):
        return self.named(name_of(self.process.pid))

    def broker(self):
        # the kernel's list of children may lack one for a moment, when another one ends
        process, = until(lambda: self.named("quarrow-broker"), "there is a broker")
        return process

    def ask(self, method, path, headers=None, body=None):
        """The status, the body and the headers of the answer."""
        with contextlib.closing(Connection(self.socket)) as connection:
            with contextlib.suppress(BrokenPipeError):  # it was refused before it was sent
                connection.request(method, path, body, headers or {})
            answer = connection.getresponse()
            text = answer.read().decode()
            check_session_answer(method, path, answer.status, text, answer.headers)
            return answer.status, text, answer.headers

    def log_text(self):
        return (self.folder / "log").read_text()

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        return self.process.wait(PATIENCE)

    def close(self):
        self.stop()
        self.log.close()
        shutil.rmtree(self.folder, ignore_errors=True)


class DaemonTestCase(unittest.TestCase):
    def start(self, program, *options, **how):
        daemon = Daemon(program, *options, **how)
        self.addCleanup(daemon.close)
        return daemon


def json_of(answer):
    return json.loads(answer[1])
