#!/usr/bin/env -S python3 -B
"""Deliveries a second by one, two and three nodes that share nothing.

usage: nodes.py BUILD_DIR [FOLDER]

To be run by the superuser; BUILD_DIR holds a release build with benchmarks, FOLDER messages in
files (the examples unless given). Each node is a quarrow-lmtpd with users and a disk of its own,
which writes 400 times a second at most: so the disks are the bound, as they are where nodes are
machines, and not this machine's processors. In rounds that take turns, 1, 2 and 3 nodes take mail
over 8 connections each. Printed are the rates, and the ratio of each to as many times that of one
node. Exits with 77, saying why, where disks can't be slowed down.
"""
import contextlib
import pathlib
import subprocess
import sys

import figures
import peers
import slow_disk
from lmtp import QuarrowServer, wait_until_ready
from lmtp_throughput import Load

NODES = 3
WRITES = 400  # of a disk, in a second
CONNECTIONS = 8
ROUNDS = 5
LEAST = 0.9  # of as many times the rate of one node
USERS = [f"user{number}" for number in range(CONNECTIONS)]
TOPIC = "deliveries by nodes with slow disks"


class Node:
    def __init__(self, build, folder, number, stack):
        place = folder / f"disk{number}"
        group = stack.enter_context(slow_disk.slow_disk(place, WRITES))
        quarrow = peers.Quarrow(build, place)
        for user in USERS:
            quarrow.add_user(user)
        self.server = QuarrowServer(quarrow, place, "--workers", str(CONNECTIONS + 2))
        with group.entered():
            self.server.start()
        stack.callback(self.server.stop)
        wait_until_ready(self.server.socket)


def rate(load, nodes):
    """Deliveries a second by all the nodes at once."""
    addresses = [f"{user}@{peers.DOMAIN}" for user in USERS]
    running = [load.start("lmtp", node.server.socket, CONNECTIONS, addresses) for node in nodes]
    return sum(load.rate_of(each) for each in running)


def main(arguments):
    if len(arguments) not in (1, 2):
        sys.exit(__doc__)
    peers.skip_without_root()
    peers.skip_without(e2fsprogs="mkfs.ext4", mount="losetup")
    if reason := slow_disk.why_impossible():
        print("skipped: " + reason)
        sys.exit(peers.SKIPPED)
    build = pathlib.Path(arguments[0])
    mail = pathlib.Path(arguments[1]) if len(arguments) == 2 else peers.EXAMPLE_MAIL
    with peers.temporary_folder() as name, contextlib.ExitStack() as stack:
        folder = pathlib.Path(name)
        load = Load(build, folder, peers.messages_of(mail))
        nodes = [Node(build, folder, number, stack) for number in range(1, NODES + 1)]
        rates = {count: [] for count in range(1, NODES + 1)}
        for _ in range(ROUNDS):
            for count, values in rates.items():
                values.append(rate(load, nodes[:count]))
    for count, values in rates.items():
        figures.show(TOPIC, f"{count} node{'s' * (count > 1)}", values, "a second")
    for count in range(2, NODES + 1):
        figures.show_ratio(TOPIC, f"{count} nodes / {count} times one node", rates[count],
                           [count * value for value in rates[1]], at_least=LEAST)


if __name__ == "__main__":
    main(sys.argv[1:])
