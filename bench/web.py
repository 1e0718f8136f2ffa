#!/usr/bin/env -S python3 -B
"""Requests a second and their latency through quarrow-webd, how long a preview takes and delays
others, the server's memory over many requests, and with the sessions of many users.

BUILD_DIR holds a release build, TMPDIR says which disk. The requests go to the server's Unix socket,
where a proxy would be; each of 64 users has 20 rules, a connection, and one request under way at a
time:

  session  GET /session: the broker answers it, without a process for the user
  list     GET /rules
  save     PATCH /rules/1: a change that is on disk when it is answered
  preview  POST /preview, its first answer over an inbox of 500 messages

Printed are the rates, the median and the 99th percentile of the latency, and how busy one processor
was with this client: near 1, the client is what is slow. Where there is a goal, it stands behind the
figure, with "met" or "MISSED". Memory is the proportional share (Pss) of all the server's processes.
For the sessions, every user signs in once: the password is "checked" by an IMAP server of this
script's own, which takes any, so that all of quarrow-webd's part is done.
"""
import argparse
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
LARGE_USER = "large"
INBOX = 500  # messages of each user
LARGE_INBOX = 5000
PREVIEWS = 5  # of the large inbox
AT_A_TIME = 16  # users who sign in

# The goals, for a machine that does nothing else.
MOST_SECONDS = {"list": 0.005, "save": 0.05, "preview": 0.2}  # the median of one at a time
MOST_SPREAD = 10  # the 99th percentile of 8 at a time, in medians
MOST_GROWTH = 1.1  # of the memory, over all requests
MOST_FOR_LARGE = 2  # seconds for all answers of a preview
MOST_DELAY = 0.1  # seconds that two previews of one user add for another user
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


def drive(work, is_over):
    """The latencies of each kind of request. `work` is pairs of a user and a kind: that user has one
    such request under way after the other, until `is_over(done)`."""
    latencies, begun = collections.defaultdict(list), {}
    with selectors.DefaultSelector() as selector:

        def begin(user, kind):
            begun[user] = time.perf_counter()
            user.begin(kind)
            # a new socket, where the server has ended the connection after so many requests
            selector.register(user.sock, selectors.EVENT_READ, (user, kind))

        for user, kind in work:
            begin(user, kind)
        while begun:
            for key, _ in selector.select(peers.TIME_LIMIT):
                user, kind = key.data
                selector.unregister(key.fileobj)
                user.finish(kind)
                latencies[kind].append(time.perf_counter() - begun.pop(user))
                if not is_over(sum(map(len, latencies.values()))):
                    begin(user, kind)
    return latencies


def own_time():
    usage = resource.getrusage(resource.RUSAGE_SELF)
    return usage.ru_utime + usage.ru_stime


def high(latencies):
    """The 99th percentile."""
    return sorted(latencies)[len(latencies) * 99 // 100]


def measure(users, kind, seconds):
    begin, spent = time.perf_counter(), own_time()
    latencies = drive([(user, kind) for user in users],
                      lambda _: time.perf_counter() - begin > seconds)[kind]
    duration = time.perf_counter() - begin
    return Rate(len(latencies) / duration, statistics.median(latencies), high(latencies),
                (own_time() - spent) / duration)


def goal(text, is_met):
    return f"   goal: {text}, {'met' if is_met else 'MISSED'}"


def goal_of(kind, count, rate):
    if count == 1 and kind in MOST_SECONDS:
        return goal(f"median {MOST_SECONDS[kind] * 1e3:.0f} ms", rate.median <= MOST_SECONDS[kind])
    if count == 8:
        return goal(f"99 % within {MOST_SPREAD} medians", rate.high <= MOST_SPREAD * rate.median)
    return ""


def print_rates(path, seconds):
    with contextlib.ExitStack() as stack:
        users = [stack.enter_context(User(path, name)) for name in USERS]
        for kind in ("session", "list", "save", "preview"):
            for count in CONNECTIONS:
                rate = measure(users[:count], kind, seconds)
                print(f"{kind:8} {count:2} at a time {rate.rate:8.0f}/s   median "
                      f"{rate.median * 1e3:7.2f} ms   99 % {rate.high * 1e3:7.2f} ms   "
                      f"client {rate.client:.2f}{goal_of(kind, count, rate)}", flush=True)


def preview_all(user):
    """The seconds that a preview takes with all its answers, and how many these are."""
    begin = time.perf_counter()
    cursor, answers = {}, 0
    while cursor is not None:
        answer = user.ask("POST", "preview", {"filter": PREVIEWED, **cursor})
        if answer.status != 200:
            raise RuntimeError(f"preview: {answer.status} {answer.text}")
        found = json.loads(answer.text)
        cursor = {"cursor": found["cursor"]} if found["cursor"] else None
        answers += 1
    if found["examined"] != LARGE_INBOX:
        sys.exit(f"a preview came to an end after {found['examined']} messages")
    return time.perf_counter() - begin, answers


def print_large_preview(path):
    with User(path, LARGE_USER) as user:
        runs = [preview_all(user) for _ in range(PREVIEWS)]
    median = statistics.median(duration for duration, _ in runs)
    print(f"preview  {LARGE_INBOX} messages: median {median:.2f} s, in "
          f"{statistics.median_high(answers for _, answers in runs)} answers"
          f"{goal(f'{MOST_FOR_LARGE} s', median <= MOST_FOR_LARGE)}", flush=True)


def print_delay(path, seconds):
    with contextlib.ExitStack() as stack:
        other = stack.enter_context(User(path, USERS[0]))
        busy = [stack.enter_context(User(path, LARGE_USER)) for _ in range(2)]
        alone = measure([other], "list", seconds)
        end = time.perf_counter() + seconds
        latencies = drive([(other, "list"), *((user, "preview") for user in busy)],
                          lambda _: time.perf_counter() > end)["list"]
    delay = high(latencies) - alone.high
    print(f"list     beside two previews of another user: median "
          f"{statistics.median(latencies) * 1e3:.2f} ms   99 % {high(latencies) * 1e3:.2f} ms, "
          f"{alone.high * 1e3:.2f} ms without"
          f"{goal(f'{MOST_DELAY * 1e3:.0f} ms more', delay <= MOST_DELAY)}", flush=True)


def print_memory(server, requests):
    with contextlib.ExitStack() as stack:
        users = [stack.enter_context(User(server.socket, name)) for name in USERS[:8]]
        before = server.memory()
        drive([(user, "list") for user in users], lambda done: done >= requests)
        after = server.memory()
    print(f"memory   {before:.1f} MB, {after:.1f} MB after {requests} requests"
          f"{goal(f'{MOST_GROWTH:.1f} times as much', after <= MOST_GROWTH * before)}", flush=True)


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


def print_sessions(server, root, sessions):
    names = [f"session{number}@{peers.DOMAIN}" for number in range(sessions)]
    for name in names:
        (root / peers.DOMAIN / name.partition("@")[0]).mkdir()
    peers.give_away(root)
    before, begin = server.memory(), time.perf_counter()
    with multiprocessing.pool.ThreadPool(AT_A_TIME) as pool:
        cookies = pool.starmap(sign_in, [(server.socket, name, number)
                                         for number, name in enumerate(names)])
    rate = sessions / (time.perf_counter() - begin)
    print(f"sessions {before:.1f} MB, {server.memory():.1f} MB with {sessions}; "
          f"{rate:.0f} sign-ins a second, {AT_A_TIME} at a time")
    for name, cookie in zip(names, cookies):
        with Client(server.socket, {"Cookie": cookie}) as client:
            if json.loads(client.ask("GET", "session").text).get("user") != name:
                sys.exit(f"the session of {name} is lost")
    print(f"         all {sessions} are known still")


def fill_inbox(home, mail, count):
    inbox = home / "Maildir" / "cur"
    for name in ("new", "tmp", "cur"):
        (inbox.parent / name).mkdir(parents=True)
    for number, message in enumerate(itertools.islice(itertools.cycle(mail), count)):
        (inbox / f"{1777896000 + number}.M{number}.bench:2,S").write_bytes(message)


def fill_root(build, folder, mail):
    """The root, with users of the same rules and mail."""
    quarrow = peers.Quarrow(build, folder)
    first = quarrow.home(USERS[0])
    quarrow.add_user(USERS[0])
    shutil.copytree(first, quarrow.home(LARGE_USER))
    fill_inbox(quarrow.home(LARGE_USER), mail, LARGE_INBOX)
    fill_inbox(first, mail, INBOX)
    for name in USERS[1:]:
        shutil.copytree(first, quarrow.home(name))
    peers.give_away(quarrow.root)
    return quarrow.root


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", metavar="BUILD_DIR", type=pathlib.Path)
    parser.add_argument("mail", metavar="FOLDER", type=pathlib.Path, nargs="?",
                        default=peers.EXAMPLE_MAIL,
                        help="messages in files; the examples unless given")
    parser.add_argument("--seconds", type=float, default=8, help="that a rate is measured for (8)")
    parser.add_argument("--requests", type=int, default=100_000,
                        help="between two looks at the memory (100000)")
    parser.add_argument("--sessions", type=int, default=10_000, help="users who sign in (10000)")
    return parser.parse_args()


def main():
    arguments = read_arguments()
    build = arguments.build
    with peers.temporary_folder() as name:
        folder = pathlib.Path(name)
        root = fill_root(build, folder, peers.messages_of(arguments.mail))
        with Server(build, folder, root, "--trust-proxy-user") as server:
            print_rates(server.socket, arguments.seconds)
            print_large_preview(server.socket)
            print_delay(server.socket, arguments.seconds)
            print_memory(server, arguments.requests)
        make_certificate(folder)
        listener = socket.create_server(("127.0.0.1", 0), backlog=100)
        imap = multiprocessing.Process(target=serve_imap, args=(listener, folder))
        imap.start()
        try:
            with Server(build, folder, root, "--imap",
                        f"imaps://localhost:{listener.getsockname()[1]}",
                        "--imap-ca", folder / "certificate") as server:
                print_sessions(server, root, arguments.sessions)
        finally:
            imap.terminate()


if __name__ == "__main__":
    main()
