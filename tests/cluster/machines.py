"""Machines that are network namespaces of this one, all on one bridge: 10.77.0.1 and so on."""
import contextlib
import os
import subprocess

PREFIX = f"q{os.getpid()}"  # of the names of all that is made; an interface's has 15 bytes at most


def ip(*words):
    subprocess.run(["ip", *map(str, words)], check=True)


class Machine:
    """One namespace with the address 10.77.0.NUMBER."""

    def __init__(self, number):
        self.address = f"10.77.0.{number}"
        self.name = f"{PREFIX}-{number}"
        self._cable = f"{PREFIX}c{number}"

    def plug_in(self, bridge):
        ip("netns", "add", self.name)
        ip("link", "add", self._cable, "type", "veth", "peer", "name", "eth0", "netns", self.name)
        ip("link", "set", self._cable, "master", bridge, "up")
        ip("-n", self.name, "addr", "add", f"{self.address}/24", "dev", "eth0")
        ip("-n", self.name, "link", "set", "eth0", "up")
        ip("-n", self.name, "link", "set", "lo", "up")

    def throw_away(self):
        """The cable goes with the namespace, once no process is in there."""
        subprocess.run(["ip", "netns", "del", self.name], check=False, capture_output=True)

    def set_link(self, state):
        """`state` is up or down."""
        ip("link", "set", self._cable, state)

    def inside(self):
        """The words in front of a command that have it run on this machine."""
        return ["nsenter", f"--net=/run/netns/{self.name}"]


@contextlib.contextmanager
def machines(numbers):
    """The machines of these numbers, connected, until the end of the block."""
    found = [Machine(number) for number in numbers]
    bridge = f"{PREFIX}br"
    with contextlib.ExitStack() as stack:
        ip("link", "add", bridge, "type", "bridge")
        stack.callback(ip, "link", "del", bridge)
        ip("link", "set", bridge, "up")
        for machine in found:
            stack.callback(machine.throw_away)
            machine.plug_in(bridge)
        yield found
