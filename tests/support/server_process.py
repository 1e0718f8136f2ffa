"""What tests of the servers share: waiting, users and processes."""

import contextlib
import os
import pathlib
import pwd
import select
import socket
import time

PATIENCE = 60  # seconds until something that must happen counts as missing


def unprivileged_user():
    """The user that the server runs as: nobody where the superuser runs this test."""
    return "nobody" if os.geteuid() == 0 else pwd.getpwuid(os.geteuid()).pw_name


def handing_over(listener):
    """The words in front of a server that give it a socket as the service manager does. The shell
    puts it where it is looked for, and its own number beside it."""
    return ["/bin/sh", "-c", 'exec 3<&"$1"; shift; LISTEN_PID=$$ LISTEN_FDS=1 exec "$@"', "sh",
            str(listener.fileno())]


def until(condition, what):
    """Waits until `condition()` gives something true, and gives that."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        result = condition()
        if result:
            return result
        select.select([], [], [], 0.01)  # the condition is looked at again
    raise AssertionError("in vain: " + what)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def children(process):
    """Its children; none once it has ended. One that ends meanwhile may still be among them."""
    with contextlib.suppress(OSError):
        path = pathlib.Path(f"/proc/{process}/task/{process}/children")
        return [int(word) for word in path.read_text().split()]
    return []


def name_of(process):
    """What the process calls itself; None once it has ended."""
    with contextlib.suppress(OSError):
        return pathlib.Path(f"/proc/{process}/comm").read_text().strip()
    return None
