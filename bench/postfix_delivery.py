#!/usr/bin/env -S python3 -B
"""Deliveries a second by a Postfix through quarrow-lmtpd, beside Postfix's own virtual(8).

usage: postfix_delivery.py BUILD_DIR [FOLDER [ROUNDS]]

To be run by the superuser; BUILD_DIR holds a release build, FOLDER messages in files (the examples
unless given), TMPDIR says which disk. Two Postfixes of the script's own have the same settings but
for virtual_transport, and at most 10 deliveries at a time. virtual(8) puts all messages in the
inbox, and leaves the folder where a message lies to the system to write; quarrow-lmtpd decides by
20 rules, and synchronises the folder as well.

First each Postfix delivers every message once, and each must have arrived once. Then come rounds in
which they take turns. Each takes the messages in and holds them; the time is that from their
release until its queue is empty, and what arrived is counted again. Printed are the median rates,
and the median of the rounds' ratios. Exits with 77, saying why, where Postfix is absent.
"""
import contextlib
import pathlib
import subprocess
import sys
import time

import figures
import peers
from lmtp import QuarrowServer, wait_until_ready

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests" / "postfix"))
from postfix import Postfix  # noqa: E402

DELIVERIES = 600  # in a round
AT_A_TIME = 10
# As Debian has them, but for the number of processes, and outside of any chroot.
SERVICES = {"lmtp": f"lmtp unix - - n - {AT_A_TIME} lmtp",
            "scache": "scache unix - - n - 1 scache",  # LMTP connections are used again
            "virtual": f"virtual unix - n n - {AT_A_TIME} virtual"}
SENDER = "sender@example.net"
USERS = [f"user{number}" for number in range(8)]
FIRST_USER = "first"  # gets every message once, to see that all arrive


def address(user):
    return f"{user}@{peers.DOMAIN}"


class Agent:
    """A Postfix with a delivery agent that puts mail in `home`/USER/Maildir."""

    def __init__(self, folder, home, socket, settings):
        folder.mkdir(parents=True)
        self._home = home
        self._postfix = Postfix(folder, socket)
        user = peers.service_user()
        places = " ".join(f"{address(name)}={name}/Maildir/" for name in [FIRST_USER, *USERS])
        self._postfix.configure([
            "smtpd_client_restrictions = check_client_access static:HOLD",
            "queue_run_delay = 1h",  # what is released waits for deliver()
            f"initial_destination_concurrency = {AT_A_TIME}",
            f"virtual_mailbox_base = {home}", f"virtual_mailbox_maps = inline:{{{places}}}",
            f"virtual_uid_maps = static:{user.pw_uid}", f"virtual_gid_maps = static:{user.pw_gid}",
            *settings])
        for name, service in SERVICES.items():
            self._postfix.configure(["-M", f"{name}/unix={service}"])

    def start(self):
        self._postfix.start()

    def stop(self):
        self._postfix.stop()

    def take(self, mail):
        """Takes in (user, message) for each message, and holds it."""
        count = self._postfix.messages() + len(mail)
        with self._postfix.connect() as client:
            for user, message in mail:
                client.sendmail(SENDER, [address(user)], message)
        self._postfix.follow_until(lambda: self._postfix.messages() == count, "all is taken in")
        self._run("postsuper", "-H", "ALL")

    def deliver(self):
        """Delivers what was taken in; the seconds that it took."""
        began = time.perf_counter()
        self._run("postqueue", "-f")
        self._postfix.follow_until(self._postfix.is_empty, "the queue is empty")
        return time.perf_counter() - began

    def _run(self, program, *arguments):
        subprocess.run([program, "-c", self._postfix.folder / "config", *arguments], check=True,
                       stderr=subprocess.DEVNULL, timeout=peers.TIME_LIMIT)

    def stored(self):
        """How many messages lie in the mailboxes."""
        return sum(1 for _ in self._home.glob("*/Maildir/**/new/*"))

    def check_first(self, data):
        """Delivers every message once."""
        self.take([(FIRST_USER, message) for message in data])
        self.deliver()
        arrived = peers.filed(self._home / FIRST_USER / "Maildir")
        if arrived.keys() != set(range(len(data))) or self.stored() != len(data):
            sys.exit(f"{self._home}: of {len(data)} messages, {len(arrived)} arrived, in "
                     f"{self.stored()} files")


def rate(agent, mail):
    before = agent.stored()
    agent.take(mail)
    seconds = agent.deliver()
    if agent.stored() != before + len(mail):
        sys.exit(f"{len(mail)} messages were sent, but {agent.stored() - before} arrived")
    return len(mail) / seconds


def compare(agents, data, rounds):
    mail = [(USERS[number % len(USERS)], data[number % len(data)]) for number in range(DELIVERIES)]
    rates = {name: [] for name in agents}
    for _ in range(rounds):
        for name, agent in agents.items():
            rates[name].append(rate(agent, mail))
    topic = "deliveries by Postfix"
    for name, values in rates.items():
        figures.show(topic, name, values, "a second")
    ours, other = rates
    figures.show_ratio(topic, f"{ours} / {other}", rates[ours], rates[other])


def main(build, mail=peers.EXAMPLE_MAIL, rounds="9"):
    peers.skip_without(postfix="postfix")
    peers.skip_without_root()
    data = peers.messages_of(pathlib.Path(mail))
    with peers.temporary_folder() as name, contextlib.ExitStack() as running:
        folder = pathlib.Path(name)
        quarrow = peers.Quarrow(pathlib.Path(build), folder)
        for user in [FIRST_USER, *USERS]:
            quarrow.add_user(user)
        server = QuarrowServer(quarrow, folder, "--workers", str(AT_A_TIME), "--socket-group",
                               "postfix")
        running.callback(server.stop)
        server.start()
        wait_until_ready(server.socket)
        boxes = folder / "virtual"
        boxes.mkdir()
        peers.give_away(boxes)
        agents = {
            "quarrow-lmtpd": Agent(folder / "postfix-lmtp", quarrow.root / peers.DOMAIN,
                                   server.socket, []),
            "virtual(8)": Agent(folder / "postfix-virtual", boxes, server.socket,
                                ["virtual_transport = virtual"])}
        for agent in agents.values():
            running.callback(agent.stop)
            agent.start()
            agent.check_first(data)
        print(f"all of {len(data)} messages arrived, once each, by both ways")
        compare(agents, data, int(rounds))


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3, 4):
        sys.exit(__doc__)
    main(*sys.argv[1:])
