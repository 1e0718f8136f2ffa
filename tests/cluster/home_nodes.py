"""Home nodes: each user's mail and rules on one of three, with a disk of its own."""
import contextlib

import mail
from cluster import NODES, Cluster, show
from node_faults import OF_PROCESSES, full_disk
from own_disk import OwnDisk

ROUNDS = 10
MOVED = 30  # users, the last ones: mail for them comes while they are moved


def users_of(number):
    """Those who are at home on the node of this number, with and without rules."""
    return [user for index, user in enumerate(mail.USERS)
            if index // 2 % len(NODES) == number - 1]


def run(folder, hosts, front, programs):
    """Whether all is well."""
    with contextlib.ExitStack() as stack:
        disks = {}
        for number in NODES:
            disks[number] = OwnDisk(folder / f"disk{number}")
            stack.callback(disks[number].close)
        roots = [disks[number].path / "root" for number in NODES]
        for root in roots:
            root.mkdir()
        cluster = Cluster(folder, hosts, front, roots, [users_of(n) for n in NODES], programs)
        stack.callback(cluster.close)
        for node in cluster.nodes:
            cluster.make_users(node, users_of(node.number))
            cluster.place(users_of(node.number), node)
        faults = [*OF_PROCESSES, full_disk(lambda node: disks[node.number])]
        rows = [cluster.run_fault(number, fault) for number, fault in enumerate(faults)]
        row, seconds = cluster.run_moves(len(rows), users_of(1)[-MOVED:], 0, 1)
        rows.append(row)
        for number in range(len(rows), ROUNDS):
            cluster.run_round(number)
        print(f"{MOVED} users moved, in {seconds:.2f} s each")
        return show("home nodes", rows, cluster.judge(roots))
