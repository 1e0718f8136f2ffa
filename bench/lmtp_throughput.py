#!/usr/bin/env -S python3 -B
"""Deliveries a second through quarrow-lmtpd, beside Dovecot's LMTP server with its Sieve plugin.

usage: lmtp_throughput.py BUILD_DIR [FOLDER]

To be run by the superuser; BUILD_DIR holds a release build, FOLDER messages in files (the examples
unless given), TMPDIR says which disk. Both servers file the same messages with the same Sieve
script into Maildirs of the same users, and answer once message and folder are fsynced: for Dovecot
mail_fsync is "optimized", its default, which does that for Maildir and is faster than "always".
First each program files every message once, and the folders must be equal. Then come rounds in
which the two take turns. Printed for 1 and 8 connections: the median rates, and the median of the
rounds' ratios. Exits with 77, saying why, where Dovecot is absent.
"""
import contextlib
import multiprocessing
import os
import pathlib
import socket
import statistics
import subprocess
import sys
import time

import peers

ROUNDS = 9
DELIVERIES = 800  # in a round
CONNECTIONS = (1, 8)
WORKERS = 10
USERS = [f"user{number}" for number in range(8)]
FIRST_USER = "first"  # gets every message once, for the verdicts


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


def as_data(message):
    """A message as it stands behind DATA."""
    end = b"" if message.endswith(b"\r\n") else b"\r\n"
    return message.replace(b"\r\n.", b"\r\n..") + end + b".\r\n"


def deliver_share(path, share, start):
    client = Client(path)
    start.wait()
    for user, data in share:
        client.deliver(user, data)
    client.close()


def rate(path, connections, data):
    """Deliveries a second over so many connections at a time, spread over users."""
    work = [(USERS[number % len(USERS)], data[number % len(data)]) for number in range(DELIVERIES)]
    start = multiprocessing.Barrier(connections + 1)
    clients = [multiprocessing.Process(target=deliver_share,
                                       args=(path, work[first::connections], start))
               for first in range(connections)]
    for client in clients:
        client.start()
    start.wait()
    began = time.monotonic()
    for client in clients:
        client.join()
    seconds = time.monotonic() - began
    if any(client.exitcode for client in clients):
        sys.exit(f"{path}: a delivery failed")
    return DELIVERIES / seconds


def wait_until_ready(path):
    for _ in range(500):
        with contextlib.suppress(OSError):
            return Client(path).close()
        time.sleep(0.02)
    sys.exit(f"{path}: no server answers")


class QuarrowServer:
    """quarrow-lmtpd over the users of a root."""

    def __init__(self, quarrow, folder):
        self.quarrow = quarrow
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
                 "--spool", self.spool, "--listen", self.socket, "--workers", str(WORKERS)],
                env=peers.clean_environment(self.spool), stderr=log)

    def stop(self):
        self.process.terminate()
        self.process.wait(peers.TIME_LIMIT)


def verdicts(path, home, data):
    client = Client(path)
    for each in data:
        client.deliver(FIRST_USER, each)
    client.close()
    return peers.filed(home(FIRST_USER) / "Maildir")


def compare(ours, theirs, data):
    for connections in CONNECTIONS:
        rates = {"quarrow-lmtpd": [], "dovecot": []}
        for _ in range(ROUNDS):
            rates["quarrow-lmtpd"].append(rate(ours, connections, data))
            rates["dovecot"].append(rate(theirs, connections, data))
        print(f"{connections} connection{'s' * (connections > 1)}, deliveries a second")
        for name, values in rates.items():
            print(f"  {name:15}{peers.summary(values)}")
        ratios = [own / other for own, other in zip(*rates.values())]
        print(f"  ratio          {peers.summary(ratios)}", flush=True)


def main(arguments):
    if len(arguments) not in (1, 2):
        sys.exit(__doc__)
    peers.skip_without(dovecot_core="dovecot", dovecot_sieve="sievec",
                       dovecot_lmtpd="/usr/lib/dovecot/lmtp")
    peers.skip_without_root()
    mail = pathlib.Path(arguments[1]) if len(arguments) == 2 else peers.EXAMPLE_MAIL
    data = [as_data(message) for message in peers.messages_of(mail)]
    with peers.temporary_folder() as name, contextlib.ExitStack() as servers:
        folder = pathlib.Path(name)
        quarrow, dovecot = peers.Quarrow(pathlib.Path(arguments[0]), folder), peers.Dovecot(
            folder, WORKERS)
        for user in [FIRST_USER, *USERS]:
            quarrow.add_user(user)
            dovecot.add_user(user, quarrow.script(user))
        server = QuarrowServer(quarrow, folder)
        for each in (server, dovecot):
            servers.callback(each.stop)
            each.start()
            wait_until_ready(each.socket)
        peers.check_verdicts(verdicts(server.socket, quarrow.home, data),
                             dovecot=verdicts(dovecot.socket, dovecot.home, data))
        compare(server.socket, dovecot.socket, data)


if __name__ == "__main__":
    main(sys.argv[1:])
