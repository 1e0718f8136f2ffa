"""Shared storage: three nodes, each of which delivers for every user into one file system."""
import contextlib

import mail
from cluster import Cluster, show
from node_faults import OF_PROCESSES, storage_server_killed
from shared_disk import SharedDisk

ROUNDS = 10
CHANGES = 8  # of one user's rules, by each of two nodes at once
USER = mail.USERS[0]


def rules_changed_at_once(cluster):
    """Changes one user's rules from two nodes at once; what is wrong afterwards."""
    changes = [(f"{node.number}-{number}", node.start_quarrow(
        "filter", "add", USER, "--name", f"{node.number}-{number}", "--if",
        f"string subject is {number}", "--then", "move Never"))
        for number in range(CHANGES) for node in cluster.nodes[:2]]
    done = [name for name, process in changes if process.wait() == 0]
    listed = cluster.nodes[2].quarrow("filter", "list", USER, "--format", "tab").decode()
    lost = [name for name in done if name not in listed]
    print(f"{len(changes)} changes of one user's rules from two nodes at once: {len(done)} made, "
          f"{len(lost)} lost")
    return [f"the rule {name} was made, and is not there" for name in lost] + (
        [f"{len(done)} of {len(changes)} changes were made"] if len(done) < len(changes) else [])


def run(folder, hosts, front, programs):
    """Whether all is well."""
    with contextlib.ExitStack() as stack:
        disk = SharedDisk(folder / "shared", front, hosts)
        stack.callback(disk.close)
        roots = [path / "root" for path in disk.paths]
        roots[0].mkdir()
        cluster = Cluster(folder, hosts, front, roots, [[]] * len(hosts), programs)
        stack.callback(cluster.close)
        cluster.make_users(cluster.nodes[0], mail.USERS)
        faults = [*OF_PROCESSES, storage_server_killed(disk)]
        rows = [cluster.run_fault(number, fault) for number, fault in enumerate(faults)]
        for number in range(len(faults), ROUNDS):
            cluster.run_round(number)
        wrong = rules_changed_at_once(cluster)
        judgement = cluster.judge(roots[:1])
        judgement.faults += wrong
        return show("shared storage", rows, judgement)
