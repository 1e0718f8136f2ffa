#!/usr/bin/env python3
"""What goes wrong around the web server, made to happen: faults_test.py PROGRAM QUARROW

Clients that save at once, a server that is killed, a disk that is full, a damaged document, a
password server that hangs, slow clients.
"""
import contextlib
import json
import os
import pathlib
import random
import select
import signal
import socket
import subprocess
import sys
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from web_server import (ALICE, BOB, PATIENCE, Connection, DaemonTestCase,  # noqa: E402
                        children, json_of, until)

PROGRAM, QUARROW = (os.path.abspath(sys.argv.pop(1)) for _ in range(2))
API = "/api/v1"
JSON = {"Content-Type": "application/json"}


def filter_named(name):
    return {"name": name, "enabled": True, "relation": "allof",
            "tests": [{"type": "string", "field": "subject", "comparator": "is", "value": name,
                       "negative": False, "match_case": False}],
            "actions": [{"method": "move", "target": "W"}]}


def family(process):
    """A process and all that come from it."""
    return [process] + [each for child in children(process) for each in family(child)]


def send(processes, number):
    for process in processes:
        with contextlib.suppress(ProcessLookupError):
            os.kill(process, number)


def kill(daemon):
    """Ends all processes of the server, which make no further ones meanwhile."""
    stopped = []
    while (found := family(daemon.process.pid)) != stopped:
        stopped = found
        send(stopped, signal.SIGSTOP)
    send(stopped, signal.SIGKILL)


class User:
    """A client of a user, who keeps the session's headers."""

    def __init__(self, daemon, user=ALICE):
        self.daemon = daemon
        self.headers = {"X-Quarrow-User": user}
        session = json_of(self.ask("GET", "/session"))
        self.headers.update({**JSON, "X-Quarrow-Token": session["token"]})

    def ask(self, method, path, body=None, **headers):
        text = None if body is None else json.dumps(body)
        return self.daemon.ask(method, API + path, {**self.headers, **headers}, text)

    def change(self, method, path, body, etag):
        return self.ask(method, path, body, **{"If-Match": etag})

    def etag(self):
        return self.ask("GET", "/rules")[2]["ETag"]

    def names(self):
        return [each["name"] for each in json_of(self.ask("GET", "/rules"))["filters"]]


class FaultTestCase(DaemonTestCase):
    options = ("--trust-proxy-user",)

    def setUp(self):
        self.daemon = self.start(PROGRAM, *self.options)
        self.initialise(self.daemon.folder / "root")

    def initialise(self, root):
        subprocess.run([QUARROW, "--root", root, "init", "--catalogue", root / "fields.xml"],
                       stdout=subprocess.DEVNULL, check=True)


class SavingAtOnceTest(FaultTestCase):
    def save(self, user, method, path, body):
        """Makes a change on whatever the rules are then."""
        etag = user.etag()
        while (answer := user.change(method, path, body, etag))[0] == 412:
            etag = answer[2]["ETag"]
            self.assertEqual(etag.strip('"'), json_of(answer)["current"]["revision"])
        self.assertLess(answer[0], 300, answer[1])
        return json_of(answer)["filters"]

    def test_two_browsers_save_a_hundred_times_and_nothing_is_lost(self):
        """Each counts the name of its own rule up, and never sees one of the two go back."""
        users = [User(self.daemon) for _ in range(2)]
        for user in users:
            self.save(user, "POST", "/rules", filter_named("0"))
        numbers = [each["id"] for each in json_of(users[0].ask("GET", "/rules"))["filters"]]

        def count_up(user, mine):
            seen = {number: 0 for number in numbers}
            for name in range(1, 51):
                filters = self.save(user, "PUT", f"/rules/{mine}", filter_named(str(name)))
                names = {each["id"]: int(each["name"]) for each in filters}
                self.assertEqual(name, names[mine])
                for number in numbers:
                    self.assertGreaterEqual(names[number], seen[number])
                seen = names

        with ThreadPoolExecutor(2) as pool:
            list(pool.map(count_up, users, numbers))
        self.assertEqual(["50", "50"], users[0].names())

    def test_the_command_at_the_same_time(self):
        user = User(self.daemon)
        root = self.daemon.folder / "root"

        def add_by_command():
            for number in range(20):
                subprocess.run([QUARROW, "--root", root, "filter", "add", ALICE, "--name",
                                f"c{number}", "--if", f"subject is c{number}", "--then", "move W",
                                "--catalogue", root / "fields.xml"],
                               check=True, stdout=subprocess.DEVNULL)

        mine = [f"w{number}" for number in range(20)]
        with ThreadPoolExecutor(1) as pool:
            by_command = pool.submit(add_by_command)
            for name in mine:
                self.save(user, "POST", "/rules", filter_named(name))
            by_command.result()
        self.assertEqual(sorted(mine + [f"c{number}" for number in range(20)]),
                         sorted(user.names()))


class KilledTest(DaemonTestCase):
    SAVES = 200
    TIMES = 20

    def test_what_was_saved_is_there_after_each_kill(self):
        chance = random.Random(20)
        daemon = self.start(PROGRAM, "--trust-proxy-user")
        subprocess.run([QUARROW, "--root", daemon.folder / "root", "init", "--catalogue",
                        daemon.folder / "root" / "fields.xml"], stdout=subprocess.DEVNULL, check=True)
        # One rule that takes a new name with each save: names that come later are newer ones.
        user = User(daemon)
        self.assertEqual(201, user.change("POST", "/rules", filter_named("0"), user.etag())[0])
        number = json_of(user.ask("GET", "/rules"))["filters"][0]["id"]
        deaths = sorted(chance.sample(range(1, self.SAVES), self.TIMES))
        said = sent = 0
        while sent < self.SAVES:
            user = User(daemon)
            killer = None
            while sent < self.SAVES:
                if deaths and sent >= deaths[0]:
                    deaths.pop(0)
                    delay = chance.uniform(0, 0.03)
                    killer = threading.Timer(delay, kill, [daemon])
                    killer.start()
                try:
                    name = str(sent + 1)
                    etag = user.etag()
                    sent += 1
                    answer = user.change("PUT", f"/rules/{number}", filter_named(name), etag)
                except (OSError, TypeError, ValueError):
                    break  # it was killed
                if answer[0] == 200:
                    said = sent
                elif answer[0] not in (500, 503):  # its child or its broker was killed
                    self.fail(answer)
                if killer and not killer.is_alive():
                    break
            if killer:
                killer.join()
                daemon.restart()
            name, = User(daemon).names()
            self.assertGreaterEqual(int(name), said)
            self.assertLessEqual(int(name), sent)
            script = (daemon.home(ALICE) / ".delivery_filter").read_text()
            self.assertIn(f'"{name}"', script)
        self.assertEqual([], deaths)


class DiskTest(FaultTestCase):
    def test_a_document_that_is_damaged_is_told_and_kept(self):
        user = User(self.daemon)
        self.assertEqual(201, user.change("POST", "/rules", filter_named("a"), user.etag())[0])
        document, = (path for path in self.daemon.home(ALICE).iterdir()
                     if b"<" in path.read_bytes()[:100] and path.suffix != ".history")
        damaged = document.read_bytes()[:-20]
        document.write_bytes(damaged)
        etag = user.etag()
        shown = user.ask("GET", "/rules")
        self.assertTrue(shown[0] >= 400 or json_of(shown)["remarks"], shown[1])
        changed = user.change("POST", "/rules", filter_named("b"), etag or '"000000000000"')
        if changed[0] >= 400:
            self.assertEqual(damaged, document.read_bytes())
        else:
            self.assertIn("a", user.names() + [text for text in json_of(changed)["remarks"]])
        self.assertEqual(200, User(self.daemon, BOB).ask("GET", "/rules")[0])

    @unittest.skipUnless(os.geteuid() == 0, "only the superuser makes a file system")
    def test_a_full_disk_is_told_and_loses_nothing(self):
        home = self.daemon.home(ALICE)
        owner = home.stat()
        made = subprocess.run(["mount", "-t", "tmpfs", "-o",
                               f"size=64k,uid={owner.st_uid},gid={owner.st_gid},mode=755",
                               "tmpfs", home], check=False, stderr=subprocess.DEVNULL)
        if made.returncode != 0:
            self.skipTest("this machine mounts no file system")
        self.addCleanup(subprocess.run, ["umount", home], check=False)
        user = User(self.daemon)
        saved = []
        for number in range(200):
            answer = user.change("POST", "/rules", filter_named(f"n{number}"), user.etag())
            if answer[0] != 201:
                break
            saved.append(f"n{number}")
        self.assertEqual(507, answer[0], answer[1])
        self.assertEqual("application/problem+json", answer[2]["Content-Type"])
        self.assertEqual(saved, user.names())
        self.assertEqual(201, User(self.daemon, BOB).change(
            "POST", "/rules", filter_named("b"), User(self.daemon, BOB).etag())[0])


class HungPasswordServerTest(DaemonTestCase):
    def test_sign_ins_that_hang_leave_workers_for_others(self):
        with socket.create_server(("127.0.0.1", 0), backlog=100) as hung:
            daemon = self.start(PROGRAM, "--imap", f"imap://127.0.0.1:{hung.getsockname()[1]}",
                                "--request-time", "600", workers=12)
            body = json.dumps({"user": ALICE, "password": "x"})
            clients = []
            for number in range(30):
                client = Connection(daemon.socket)
                self.addCleanup(client.close)
                client.request("POST", API + "/session", body,
                               {**JSON, "X-Real-IP": f"192.0.{number}.1"})
                clients.append(client)
            with hung.accept()[0]:
                self.assertEqual(401, daemon.ask("GET", API + "/session")[0])
                answered = [client for client in clients
                            if select.select([client.sock], [], [], 0)[0]]
                self.assertLess(len(answered), len(clients))
                self.assertEqual({429}, {client.getresponse().status for client in answered})
            kill(daemon)


class ImpatientServerTest(DaemonTestCase):
    REQUEST = b"GET /api/v1/session HTTP/1.1\r\nHost: x\r\n"

    def client(self, *options):
        client = socket.socket(socket.AF_UNIX)
        self.addCleanup(client.close)
        client.settimeout(PATIENCE)
        client.connect(self.start(PROGRAM, "--trust-proxy-user", *options).socket)
        return client

    def test_a_silent_client_is_cut_off(self):
        for said, answer in ((b"", b""), (self.REQUEST, b"HTTP/1.1 408 ")):
            client = self.client("--client-patience", "1")
            client.sendall(said)
            with client.makefile("rb") as answers:
                self.assertTrue(answers.read().startswith(answer))

    def test_a_client_that_sends_in_drops_is_cut_off(self):
        client = self.client("--transaction-time", "1")
        client.sendall(self.REQUEST + b"X: ")

        def drop():
            with contextlib.suppress(OSError):
                client.sendall(b"x")
            return select.select([client], [], [], 0.1)[0]

        until(drop, "an end")
        self.assertRegex(client.recv(4096), b"^HTTP/1.1 408 ")


class SlowClientTest(FaultTestCase):
    options = ("--trust-proxy-user",)

    def test_slow_clients_on_every_worker_are_cut_off(self):
        """Each sends a byte whenever it may; the server ends that, and serves others then."""
        slow = []
        for _ in self.daemon.workers():
            client = socket.socket(socket.AF_UNIX)
            client.settimeout(PATIENCE)
            client.connect(self.daemon.socket)
            client.sendall(b"GET /api/v1/session HTTP/1.1\r\nHost: x\r\nX: ")
            slow.append(client)
        self.assertEqual(200, User(self.daemon).ask("GET", "/rules")[0])
        cut_off, *_ = select.select(slow, [], [], PATIENCE)[0]
        self.assertRegex(cut_off.recv(4096), rb"^(HTTP/1\.1 (408|503) |$)")
        for client in slow:
            client.close()


if __name__ == "__main__":
    unittest.main()
