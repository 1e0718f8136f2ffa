"""What befalls a node, and how it ends."""
import collections
import signal

# `strike` and `heal` are called with the node; `stops`: whether its own users' mail has to wait.
Fault = collections.namedtuple("Fault", "name strike heal stops")

OF_PROCESSES = [
    Fault("all its processes are killed", lambda node: node.kill(), lambda node: node.start(),
          True),
    Fault("its link is down", lambda node: node.machine.set_link("down"),
          lambda node: node.machine.set_link("up"), True),
    Fault("all its processes are stopped", lambda node: node.signal_all(signal.SIGSTOP),
          lambda node: node.signal_all(signal.SIGCONT), True),
    Fault("its server is upgraded", lambda node: node.upgrade_server(), lambda node: None, False),
    Fault("its certificate expires", lambda node: node.let_certificate_expire(),
          lambda node: node.renew_certificate(), True),
]


def full_disk(disk_of):
    return Fault("its disk is full", lambda node: disk_of(node).fill(),
                 lambda node: disk_of(node).make_room(), True)


def storage_server_killed(disk):
    return Fault("its storage server is killed", lambda node: disk.kill_server(node.number),
                 lambda node: disk.start_server(node.number), False)
