#!/usr/bin/env python3
"""A Postfix in front of two nodes, which quarrow-homes tells where users live: mail waits while a
user is moved from one to the other, or while the table is missing, and none is bounced.

usage: run_homes.py QUARROW QUARROW_HOMES QUARROW_LMTPD
"""
import contextlib
import os
import pathlib
import subprocess
import sys
import tempfile

import set_up
from postfix import PATIENCE, Postfix

ALICE, STRANGER = "alice@example.org", "stranger@example.org"
OTHERS = ["carol@example.org", "dave@example.org", "eve@example.org"]
SENDER = "bob@example.net"
MAIL = "Subject: Hello\r\n\r\nHello\r\n"


class Node:
    """A machine that users can live on: a root, and the server in front of it."""

    def __init__(self, program, folder):
        self.user = folder / "root" / "example.org" / "alice"
        for user in (self.user, self.user.with_name("eve")):
            user.mkdir(parents=True)
        set_up.MailSystem.own(folder / "root")
        self.server = set_up.LmtpServer(program, folder, folder / "root")
        self.transport = f"lmtp:unix:{self.server.socket}"

    def messages(self):
        return len(list((self.user / "Maildir" / "new").glob("*")))


class Front:
    """Postfix, the table, and the server that tells it."""

    def __init__(self, quarrow, homes, folder):
        self._quarrow = quarrow
        self.table = folder / "table" / "homes.sqlite"
        socket = folder / "homes"
        (folder / "postfix").mkdir()
        self.postfix = Postfix(folder / "postfix", folder / "nothing")
        maps = f"proxy:socketmap:unix:{socket}"
        self.postfix.configure([f"transport_maps={maps}:transport",
                                f"virtual_mailbox_maps={maps}:user"])
        with open(folder / "homes.log", "wb") as log:
            self._server = subprocess.Popen(
                [homes, "--user", set_up.SERVICE_USER, "--homes", self.table, "--listen", socket,
                 "--socket-group", "postfix"], stderr=log)
        self.postfix.start()

    def close(self):
        self.postfix.stop()
        self._server.terminate()
        self._server.wait(PATIENCE)

    def home(self, *words):
        subprocess.run([self._quarrow, "home", *words, "--homes", self.table], check=True)

    def answer_to(self, recipient):
        """What Postfix says to RCPT: the code."""
        with self.postfix.connect() as client:
            client.mail(SENDER)
            return client.rcpt(recipient)[0]

    def send(self, user):
        with self.postfix.connect() as client:
            client.sendmail(SENDER, [user], MAIL)

    def forget(self):
        """Has Postfix' queue manager ask for another user: it remembers the last one that it asked
        for, for half a minute."""
        before = len(self.postfix.attempts)
        self.send(OTHERS[2])
        self.postfix.follow_until(
            lambda: any(attempt.recipient == OTHERS[2] and attempt.status == "sent"
                        for attempt in self.postfix.attempts[before:]), "the other message arrives")

    def has_arrived(self):
        return any(attempt.status == "sent" for attempt in self.postfix.attempts) and \
            self.postfix.is_empty()

    def waits(self):
        """Whether a message was tried and is to be tried again, since its user is moved."""
        return any((attempt.status, attempt.code) == ("deferred", "4.2.1")
                   for attempt in self.postfix.attempts)


def check(what, is_right):
    print(("right: " if is_right else "WRONG: ") + what)
    return is_right


def run(front, nodes):
    for name, node in nodes.items():
        front.home("node", "add", name, node.transport)
    for user in (ALICE, *OTHERS):
        front.home("set", user, "node1")
    code = front.answer_to(STRANGER)
    yield check(f"a stranger is refused for good: {code}", code == 550)

    front.send(ALICE)
    front.postfix.follow_until(front.has_arrived, "the message arrives")
    yield check("mail goes to the user's node", nodes["node1"].messages() == 1)

    with front.postfix.connect() as client:  # a new one may be told to come again
        client.mail(SENDER)
        code = client.rcpt(ALICE)[0]
        front.home("moving", ALICE)
        front.forget()
        client.data(MAIL)
    front.postfix.follow_until(front.waits, "the message is tried")
    yield check("mail that was taken waits while the user is moved", code == 250 and
                [node.messages() for node in nodes.values()] == [1, 0])
    front.home("move", ALICE, "node2")
    front.forget()
    front.postfix.follow_until(front.postfix.is_empty, "the message arrives")
    yield check("then it goes to the other node",
                [node.messages() for node in nodes.values()] == [1, 1])

    aside = front.table.parent.rename(front.table.parent.parent / "aside")
    # not again for one of whom Postfix has asked: the process that did remembers the answer
    code = front.answer_to(OTHERS[0])
    yield check(f"while the table is missing, a user is to be tried again: {code}", code == 451)
    aside.rename(front.table.parent)
    code = front.answer_to(OTHERS[1])
    yield check(f"once it is back, the user is known: {code}", code == 250)
    yield check("nothing was bounced", "status=bounced" not in front.postfix.log())


def main(quarrow, homes, lmtpd):
    set_up.skip_unless_possible()
    with tempfile.TemporaryDirectory(prefix="quarrow-postfix-") as name, \
            contextlib.ExitStack() as stack:
        folder = pathlib.Path(name)
        folder.chmod(0o755)
        nodes = {}
        for node in ("node1", "node2"):
            (folder / node).mkdir()
            nodes[node] = Node(lmtpd, folder / node)
            stack.callback(nodes[node].server.kill)
        front = Front(quarrow, homes, folder)
        stack.callback(front.close)
        return 0 if all(list(run(front, nodes))) else 1


if __name__ == "__main__":
    sys.exit(main(*map(os.path.abspath, sys.argv[1:])))
