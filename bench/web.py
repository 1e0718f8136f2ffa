#!/usr/bin/env -S python3 -B
"""Requests a second and their latency through quarrow-webd, its memory over 100,000 requests, and
with the sessions of 10,000 users.

usage: web.py BUILD_DIR [FOLDER]

BUILD_DIR holds a release build, FOLDER messages in files (the examples unless given), TMPDIR says
which disk. The requests go to the server's Unix socket, where a proxy would be; each of 64 users has
20 rules, a connection, and one request under way at a time:

  session  GET /session: the broker answers it, without a process for the user
  list     GET /rules
  save     PATCH /rules/1: a change that is on disk when it is answered
  preview  POST /preview over an inbox of 500 messages; not measured where the server has none

Printed are the rates, the median and the 99th percentile of the latency, and how busy one processor
was with this client: near 1, the client is what is slow. Memory is the proportional share (Pss) of
all the server's processes. For the sessions, every user signs in once: the password is "checked" by
an IMAP server of this script's own, which takes any, so that all of quarrow-webd's part is done.
"""
import asyncio
import collections
import contextlib
import http.client
import itertools
import json
import multiprocessing.pool
import os
import pathlib
import re
import resource
import selectors
import shutil
import socket
import ssl
import statistics
import subprocess
import sys
import time

import peers

CONNECTIONS = (1, 8, 64)
USERS = [f"user{number}" for number in range(max(CONNECTIONS))]
SECONDS = 8  # that a rate is measured for
INBOX = 500  # messages
REQUESTS = 100_000  # between two looks at the memory
SESSIONS = 10_000
AT_A_TIME = 16  # users who sign in
PREVIEWED = {"name": "Offers", "enabled": True, "relation": "allof",
             "tests": [{"type": "string", "field": "subject", "comparator": "contains",
                        "value": "offer", "negative": False, "match_case": False}],
             "actions": [{"method": "move", "target": "Offers"}]}

Rate = collections.namedtuple("Rate", "rate median high client")


def children(process):
    with contextlib.suppress(OSError):
        text = pathlib.Path(f"/proc/{process}/task/{process}/children").read_text()
        for child in map(int, text.split()):
            yield child
            yield from children(child)


class Server:
    """quarrow-webd over the users of a root, between the beginning and the end of `with`."""

    def __init__(self, build, folder, root, *options):
        self.socket = str(folder / "socket")
        self._command = [build.resolve() / "apps" / "quarrow-webd" / "quarrow-webd",
                         "--user", peers.SERVICE_USER, "--root", root,
                         "--catalogue", root / "fields.xml", "--listen", self.socket,
                         "--workers", str(max(CONNECTIONS)), *options]
        if os.geteuid() != 0:
            del self._command[1:3]
        self._log = folder / "log"

    def __enter__(self):
        with open(self._log, "wb") as log:
            self._process = subprocess.Popen(self._command, stderr=log)
        for _ in range(500):
            with contextlib.suppress(OSError), Client(self.socket, {}) as client:
                client.ask("GET", "session")
                return self
            time.sleep(0.02)
        sys.exit(f"quarrow-webd does not answer: {self._log.read_text()}")

    def __exit__(self, *_):
        self._process.terminate()
        self._process.wait(peers.TIME_LIMIT)

    def memory(self):
        """Megabytes."""
        kilobytes = 0
        for process in [self._process.pid, *children(self._process.pid)]:
            with contextlib.suppress(OSError):  # the child of a request is gone
                text = pathlib.Path(f"/proc/{process}/smaps_rollup").read_text()
                kilobytes += int(re.search(r"^Pss: +(\d+)", text, re.MULTILINE)[1])
        return kilobytes / 1024


class Client(http.client.HTTPConnection):
    """A connection of a user, with the headers that each of its requests has."""

    def __init__(self, path, headers):
        super().__init__("localhost", timeout=peers.TIME_LIMIT)
        self.path = path
        self.headers = headers

    def connect(self):
        self.sock = socket.socket(socket.AF_UNIX)
        self.sock.settimeout(peers.TIME_LIMIT)
        self.sock.connect(self.path)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def ask(self, method, resource_name, body=None, **headers):
        self.send_only(method, resource_name, body, **headers)
        return self.receive()

    def send_only(self, method, resource_name, body=None, **headers):
        own = {"Content-Type": "application/json"} if body is not None else {}
        own |= {name.replace("_", "-"): value for name, value in headers.items()}
        self.request(method, f"/api/v1/{resource_name}",
                     None if body is None else json.dumps(body), {**self.headers, **own})

    def receive(self):
        """The answer with its body, read."""
        answer = self.getresponse()
        answer.text = answer.read()
        return answer


class User(Client):
    """A user whom the proxy has let in."""

    def __init__(self, path, name):
        super().__init__(path, {"X-Quarrow-User": f"{name}@{peers.DOMAIN}"})
        self.headers["X-Quarrow-Token"] = json.loads(self.ask("GET", "session").text)["token"]
        self._revision = self.ask("GET", "rules").headers["ETag"]
        self._enabled = itertools.cycle([False, True])

    def begin(self, kind):
        if kind == "save":
            self.send_only("PATCH", "rules/1", {"enabled": next(self._enabled)},
                           If_Match=self._revision)
        elif kind == "preview":
            self.send_only("POST", "preview", {"filter": PREVIEWED, "folder": "INBOX"})
        else:
            self.send_only("GET", {"list": "rules"}.get(kind, kind))

    def finish(self, kind):
        answer = self.receive()
        if answer.status != 200:
            raise RuntimeError(f"{kind}: {answer.status} {answer.text}")
        if kind == "save":
            self._revision = answer.headers["ETag"]


def drive(users, kind, is_over):
    """The latencies of requests, of which each user has one under way, until `is_over(done)`."""
    latencies, begun = [], {}
    with selectors.DefaultSelector() as selector:

        def begin(user):
            begun[user] = time.perf_counter()
            user.begin(kind)
            # a new socket, where the server has ended the connection after so many requests
            selector.register(user.sock, selectors.EVENT_READ, user)

        for user in users:
            begin(user)
        while begun:
            for key, _ in selector.select(peers.TIME_LIMIT):
                selector.unregister(key.fileobj)
                key.data.finish(kind)
                latencies.append(time.perf_counter() - begun.pop(key.data))
                if not is_over(len(latencies)):
                    begin(key.data)
    return latencies


def own_time():
    usage = resource.getrusage(resource.RUSAGE_SELF)
    return usage.ru_utime + usage.ru_stime


def measure(users, kind):
    begin, spent = time.perf_counter(), own_time()
    latencies = drive(users, kind, lambda _: time.perf_counter() - begin > SECONDS)
    duration = time.perf_counter() - begin
    latencies.sort()
    return Rate(len(latencies) / duration, statistics.median(latencies),
                latencies[len(latencies) * 99 // 100], (own_time() - spent) / duration)


def has_preview(user):
    user.begin("preview")
    return user.receive().status != 404


def print_rates(path):
    with contextlib.ExitStack() as stack:
        users = [stack.enter_context(User(path, name)) for name in USERS]
        kinds = ["session", "list", "save"] + ["preview"] * has_preview(users[0])
        for kind in kinds:
            for count in CONNECTIONS:
                rate = measure(users[:count], kind)
                print(f"{kind:8} {count:2} at a time {rate.rate:8.0f}/s   median "
                      f"{rate.median * 1e3:7.2f} ms   99 % {rate.high * 1e3:7.2f} ms   "
                      f"client {rate.client:.2f}", flush=True)
        if "preview" not in kinds:
            print("preview  not measured: the server has none")


def print_memory(server):
    with contextlib.ExitStack() as stack:
        users = [stack.enter_context(User(server.socket, name)) for name in USERS[:8]]
        before = server.memory()
        drive(users, "list", lambda done: done >= REQUESTS)
        print(f"memory   {before:.1f} MB, {server.memory():.1f} MB after {REQUESTS} requests",
              flush=True)


async def say_yes(reader, writer):
    """An IMAP server's side of a sign-in, for any password."""
    with contextlib.suppress(OSError, ValueError):
        writer.write(b"* OK [CAPABILITY IMAP4rev1 AUTH=PLAIN SASL-IR] ready\r\n")
        while line := await reader.readline():
            tag, command, *_ = line.split()
            if command == b"LOGOUT":
                break
            if command == b"CAPABILITY":
                writer.write(b"* CAPABILITY IMAP4rev1 AUTH=PLAIN SASL-IR\r\n")
            writer.write(tag + b" OK done\r\n")
        writer.close()


def serve_imap(listener, folder):
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(folder / "certificate", folder / "key")

    async def serve():
        server = await asyncio.start_server(say_yes, sock=listener, ssl=context)
        await server.serve_forever()

    asyncio.run(serve())


def make_certificate(folder):
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                    "ec_paramgen_curve:prime256v1", "-nodes", "-subj", "/CN=localhost",
                    "-keyout", folder / "key", "-out", folder / "certificate"],
                   check=True, stderr=subprocess.DEVNULL)


def sign_in(path, name, number):
    """The session's cookie; each user comes from an address of their own."""
    address = f"10.{number >> 16}.{number >> 8 & 255}.{number & 255}"
    with Client(path, {"X-Real-IP": address}) as client:
        answer = client.ask("POST", "session", {"user": name, "password": "any"})
        if answer.status >= 300:
            raise RuntimeError(f"{name}: {answer.status} {answer.text}")
        return answer.headers["Set-Cookie"].partition(";")[0]


def print_sessions(server, root):
    names = [f"session{number}@{peers.DOMAIN}" for number in range(SESSIONS)]
    for name in names:
        (root / peers.DOMAIN / name.partition("@")[0]).mkdir()
    peers.give_away(root)
    before, begin = server.memory(), time.perf_counter()
    with multiprocessing.pool.ThreadPool(AT_A_TIME) as pool:
        cookies = pool.starmap(sign_in, [(server.socket, name, number)
                                         for number, name in enumerate(names)])
    rate = SESSIONS / (time.perf_counter() - begin)
    print(f"sessions {before:.1f} MB, {server.memory():.1f} MB with {SESSIONS}; "
          f"{rate:.0f} sign-ins a second, {AT_A_TIME} at a time")
    for name, cookie in zip(names, cookies):
        with Client(server.socket, {"Cookie": cookie}) as client:
            if json.loads(client.ask("GET", "session").text).get("user") != name:
                sys.exit(f"the session of {name} is lost")
    print(f"         all {SESSIONS} are known still")


def fill_root(build, folder, mail):
    """The root, with users of the same rules and mail."""
    quarrow = peers.Quarrow(build, folder)
    quarrow.add_user(USERS[0])
    inbox = quarrow.home(USERS[0]) / "Maildir" / "cur"
    for name in ("new", "tmp", "cur"):
        (inbox.parent / name).mkdir(parents=True, exist_ok=True)
    for number, message in enumerate(itertools.islice(itertools.cycle(peers.messages_of(mail)),
                                                      INBOX)):
        (inbox / f"{1777896000 + number}.M{number}.bench:2,S").write_bytes(message)
    for name in USERS[1:]:
        shutil.copytree(quarrow.home(USERS[0]), quarrow.home(name))
    peers.give_away(quarrow.root)
    return quarrow.root


def main(arguments):
    if len(arguments) not in (1, 2):
        sys.exit(__doc__)
    build = pathlib.Path(arguments[0])
    mail = pathlib.Path(arguments[1]) if len(arguments) == 2 else peers.EXAMPLE_MAIL
    with peers.temporary_folder() as name:
        folder = pathlib.Path(name)
        root = fill_root(build, folder, mail)
        with Server(build, folder, root, "--trust-proxy-user") as server:
            print_rates(server.socket)
            print_memory(server)
        make_certificate(folder)
        listener = socket.create_server(("127.0.0.1", 0), backlog=100)
        imap = multiprocessing.Process(target=serve_imap, args=(listener, folder))
        imap.start()
        try:
            with Server(build, folder, root, "--imap",
                        f"imaps://localhost:{listener.getsockname()[1]}",
                        "--imap-ca", folder / "certificate") as server:
                print_sessions(server, root)
        finally:
            imap.terminate()


if __name__ == "__main__":
    main(sys.argv[1:])
