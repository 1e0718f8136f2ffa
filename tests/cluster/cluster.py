"""Nodes and a front, users with rules, and the load."""
import collections
import contextlib
import shutil

import mail
from certificates import Authority
from front import Front
from moves import Moves
from node import SERVICE_USER, Node
from node_faults import Fault
from rounds import Round, wait_for

NODES = [1, 2, 3]
FRONT = 100
SESSIONS = 10


class Cluster:
    """`roots`: the folders of the users' folders of each node. `homes`: the users who are at home
    on each node, or none where the nodes share them."""

    def __init__(self, folder, hosts, front, roots, homes, programs):
        self._stack = contextlib.ExitStack()
        self.nodes, self._homes = [], homes
        self._sent = 0
        (folder / "authority").mkdir()
        authority = Authority(folder / "authority")
        with contextlib.ExitStack() as stack:
            for number, host, root in zip(NODES, hosts, roots):
                (folder / f"node{number}").mkdir()
                node = Node(host, number, folder / f"node{number}", root, programs, authority)
                node.start()
                stack.callback(node.close)
                self.nodes.append(node)
            self._front = Front(front, folder / "front", authority, programs,
                                shared=not any(homes))
            self._front.start()
            stack.callback(self._front.stop)
            self._stack = stack.pop_all()
        self.postfix = self._front.postfix

    def close(self):
        self._stack.close()

    def make_users(self, node, users):
        """Makes users with their rules on a node."""
        node.quarrow("init", "--catalogue", node.root / "fields.xml")
        for user in users:
            node.quarrow("user", "add", user)
            if mail.has_rule(user):
                node.quarrow("filter", "add", user, *mail.RULE)
        for path in [node.root, *node.root.rglob("*")]:
            shutil.chown(path, SERVICE_USER)

    def place(self, users, node):
        """Says that new users are at home on this node."""
        self._front.homes.place(users, node.name)

    def send(self, number):
        """Begins to send a round: one message to each user."""
        self._sent += len(mail.USERS)
        return self.postfix.source(
            "-N", "-s", SESSIONS, "-m", len(mail.USERS), "-S", mail.subject_of(number),
            "-f", mail.SENDER, "-t", "user@example.org")

    def run_fault(self, number, fault):
        """A round during which a node has a fault; the row that tells of it."""
        place = number % len(self.nodes)
        return Round(self.postfix, self.nodes[place], self._homes[place], fault).run(
            self.send(number))

    def run_round(self, number):
        wait_for(self.send(number))

    def run_moves(self, number, users, old, new):
        """A round during which users move; the row that tells of it, and the median of the seconds
        that a user's move takes."""
        moves = Moves(self._front.homes, users, self.nodes[old], self.nodes[new])
        moving = Fault("users move to another", lambda node: moves.start(),
                       lambda node: moves.join(), False)
        row = Round(self.postfix, self.nodes[old], users, moving).run(self.send(number))
        return row, moves.join()

    def judge(self, roots):
        """Once all mail is delivered, looks for it below the folders `roots`."""
        self.postfix.follow_until(
            lambda: self.postfix.messages() >= self._sent and self.postfix.is_empty(),
            "the queue is empty")
        found = collections.defaultdict(list)
        for root in roots:
            for user in mail.USERS:
                for delivery, copies in mail.stored_for(root, user).items():
                    found[delivery] += copies
        return mail.Judgement(self.postfix.attempts, found, self._sent)


def show(shape, rows, judgement):
    """The table for one shape of a cluster; whether all is well."""
    print(f"{shape + ': a node, while mail comes':44} {'waited':>6} {'gap':>8} {'again':>8} "
          f"{'empty':>8}")
    for row in rows:
        print(f"{row.fault:44} {row.waited:6} {row.gap:6.1f} s {row.again:6.1f} s "
              f"{row.empty:6.1f} s")
    print(f"{judgement.deliveries} messages: {judgement.doubles} twice, "
          f"{len(judgement.faults)} lost, bounced or in the wrong folder")
    for fault in judgement.faults[:20]:
        print(fault)
    return not judgement.faults
