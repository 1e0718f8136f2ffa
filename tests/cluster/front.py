"""The front: Postfix, the table of homes, and HAProxy to the nodes."""
import pathlib
import shlex
import sys

import balancer
import documented
from balancer import PAGE
from homes import SOCKET, Homes

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "postfix"))
from postfix import PATIENCE, Postfix  # noqa: E402

LISTENERS = "listen node1"  # the first of those that home nodes need


def configured(postfix, heading, homes):
    """Has Postfix take the settings below a heading of the page."""
    for line in documented.lines_below(PAGE, heading, "postconf"):
        postfix.configure([word.replace(SOCKET, str(homes.socket))
                           for word in shlex.split(line)[1:]])


class Front:
    """Set up as the page says for home nodes, or for nodes that share a disk."""

    def __init__(self, machine, folder, authority, programs, shared):
        folder.mkdir()
        authority.make_out("front", folder / "front.pem")
        settings = balancer.settings("front.cfg", {
            "/etc/haproxy/front.pem": folder / "front.pem",
            "/etc/haproxy/authority.pem": authority.certificate})
        if shared:
            settings = settings.split(LISTENERS)[0] + balancer.settings("shared.cfg", {})
        self._balancer = balancer.Balancer(machine, folder, settings)
        (folder / "postfix").mkdir()
        self.postfix = Postfix(folder / "postfix", folder / "nothing", machine.inside(),
                               silence=PATIENCE)  # it is measured how soon it tries again
        self.homes = Homes(machine, folder, programs)
        configured(self.postfix, "## The front", self.homes)
        if shared:
            configured(self.postfix, "## Shared storage", self.homes)

    def start(self):
        self._balancer.start()
        self.homes.start()
        self.postfix.start()

    def stop(self):
        self.postfix.stop()
        self.homes.stop()
        self._balancer.stop()
