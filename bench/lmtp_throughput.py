#!/usr/bin/env -S python3 -B
"""Deliveries a second through quarrow-lmtpd, beside a bare loop that only writes, and beside
Dovecot's LMTP server with its Sieve plugin.

usage: lmtp_throughput.py BUILD_DIR [FOLDER]

To be run by the superuser; BUILD_DIR holds a release build with benchmarks, FOLDER messages in files (the examples
unless given), TMPDIR says which disk. Both servers file the same messages with the same Sieve
script into Maildirs of the same users, and answer once message and folder are fsynced: for Dovecot
mail_fsync is "optimized", its default, which does that for Maildir and is faster than "always".
The bare loop does what no durable delivery can do without: for each message it writes a file in
tmp, fsyncs it, renames it into new and fsyncs that, without a protocol or rules.

First each program files every message once, and the folders must be equal. Then come short rounds
in which they take turns. Printed for 1 and 8 connections: the median rates, the medians of the
rounds' ratios, and the processor time of quarrow-lmtpd and all its processes for a delivery. At
last the system calls are counted, by strace where it is there, that put something on the disk.
Exits with 77, saying why, where Dovecot is absent.
"""
import collections
import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import sys

import figures
import peers
from lmtp import Client, QuarrowServer, wait_until_ready

ROUNDS = 15
DELIVERIES = 600  # in a round
COUNTED_DELIVERIES = 100
CONNECTIONS = (1, 8)
WORKERS = 10
LEAST_BESIDE = {"bare loop": 0.75, "dovecot": 1.5}  # of the other's rate
USERS = [f"user{number}" for number in range(8)]
FIRST_USER = "first"  # gets every message once, for the verdicts


def as_data(message):
    """A message as it stands behind DATA."""
    end = b"" if message.endswith(b"\r\n") else b"\r\n"
    return message.replace(b"\r\n.", b"\r\n..") + end + b".\r\n"


class Load:
    """The program that delivers: so many at a time, spread over the users."""

    def __init__(self, build, folder, messages):
        self.program = build.resolve() / "bench" / "delivery_load"
        self.messages = folder / "messages"
        self.messages.mkdir()
        for number, message in enumerate(messages):
            (self.messages / f"{number:06}").write_bytes(as_data(message))

    def start(self, kind, place, connections, users):
        return subprocess.Popen([self.program, kind, place, str(connections), str(DELIVERIES),
                                 self.messages, *users], stdout=subprocess.PIPE)

    def rate_of(self, started):
        """Deliveries a second, once it has ended."""
        output, _ = started.communicate()
        if started.returncode != 0:
            sys.exit(f"{self.program}: exit status {started.returncode}")
        return float(output)

    def rate(self, kind, place, connections, users):
        return self.rate_of(self.start(kind, place, connections, users))


def verdicts(path, home, messages):
    client = Client(path)
    for message in messages:
        client.deliver(FIRST_USER, as_data(message))
    client.close()
    return peers.filed(home(FIRST_USER) / "Maildir")


def bare_maildirs(folder):
    for user in USERS:
        for name in ("tmp", "new"):
            (folder / user / name).mkdir(parents=True)
    return folder


def processor_time(server):
    """Seconds that the server and its processes have had, those that ended included."""
    ticks = 0
    processes = [server]
    while processes:
        process = processes.pop()
        with contextlib.suppress(OSError):  # it ends meanwhile; its parent has its time then
            fields = pathlib.Path(f"/proc/{process}/stat").read_text().rpartition(") ")[2].split()
            ticks += sum(map(int, fields[11:15]))
            children = pathlib.Path(f"/proc/{process}/task/{process}/children").read_text()
            processes += map(int, children.split())
    return ticks / os.sysconf("SC_CLK_TCK")


def compare(ours, dovecot, maildirs, load):
    """`ours` is the server."""
    addresses = [f"{user}@{peers.DOMAIN}" for user in USERS]
    targets = {"quarrow-lmtpd": ("lmtp", ours.socket, addresses),
               "bare loop": ("bare", maildirs, USERS), "dovecot": ("lmtp", dovecot, addresses)}
    for connections in CONNECTIONS:
        rates = {name: [] for name in targets}
        before = processor_time(ours.process.pid)
        for _ in range(ROUNDS):
            for name, (kind, place, users) in targets.items():
                rates[name].append(load.rate(kind, place, connections, users))
        spent = (processor_time(ours.process.pid) - before) / (ROUNDS * DELIVERIES)
        topic = f"deliveries over {connections} connection{'s' * (connections > 1)}"
        print(f"\n{topic}")
        for name, values in rates.items():
            figures.show(topic, name, values, "a second")
        for name, goal in LEAST_BESIDE.items():
            figures.show_ratio(topic, f"quarrow-lmtpd / {name}", rates["quarrow-lmtpd"],
                               rates[name], at_least=goal)
        figures.show(topic, "quarrow-lmtpd, processor time", [spent * 1e6], "us a delivery")


def is_on_disk(call):
    """Whether the call makes a file for a message, or waits for the disk."""
    return call.startswith(("fsync(", "fdatasync(", "sync")) or (
        call.startswith("openat(") and ("O_CREAT" in call or "O_TMPFILE" in call))


def count_calls(server, messages):
    if not shutil.which("strace"):
        print("system calls not counted: strace is absent")
        return
    trace = server.spool / "trace"
    with subprocess.Popen(["strace", "-f", "-p", str(server.process.pid), "-o", trace,
                           *(f"-p{worker}" for worker in server.workers())],
                          stderr=subprocess.PIPE) as strace:
        for _ in range(1 + len(server.workers())):
            strace.stderr.readline()  # "Process ... attached"
        client = Client(server.socket)
        for number in range(COUNTED_DELIVERIES):
            client.deliver(USERS[number % len(USERS)],
                           as_data(messages[number % len(messages)]))
        client.close()
        strace.terminate()
    counts = collections.Counter()
    for line in trace.read_text(errors="replace").splitlines():
        call = re.sub(r"^\d+ +", "", line)
        if is_on_disk(call):
            counts["new files" if call.startswith("openat") else "synchronisations"] += 1
    for name in ("new files", "synchronisations"):
        figures.show("what a delivery asks of the disk", name,
                     [counts[name] / COUNTED_DELIVERIES], "a delivery")


def main(arguments):
    if len(arguments) not in (1, 2):
        sys.exit(__doc__)
    peers.skip_without(dovecot_core="dovecot", dovecot_sieve="sievec",
                       dovecot_lmtpd="/usr/lib/dovecot/lmtp")
    peers.skip_without_root()
    mail = pathlib.Path(arguments[1]) if len(arguments) == 2 else peers.EXAMPLE_MAIL
    messages = peers.messages_of(mail)
    with peers.temporary_folder() as name, contextlib.ExitStack() as servers:
        folder = pathlib.Path(name)
        quarrow, dovecot = peers.Quarrow(pathlib.Path(arguments[0]), folder), peers.Dovecot(
            folder, WORKERS)
        for user in [FIRST_USER, *USERS]:
            quarrow.add_user(user)
            dovecot.add_user(user, quarrow.script(user))
        server = QuarrowServer(quarrow, folder, "--workers", str(WORKERS))
        for each in (server, dovecot):
            servers.callback(each.stop)
            each.start()
            wait_until_ready(each.socket)
        peers.check_verdicts(verdicts(server.socket, quarrow.home, messages),
                             dovecot=verdicts(dovecot.socket, dovecot.home, messages))
        load = Load(pathlib.Path(arguments[0]), folder, messages)
        compare(server, dovecot.socket, bare_maildirs(folder / "bare"), load)
        count_calls(server, messages)


if __name__ == "__main__":
    main(sys.argv[1:])
