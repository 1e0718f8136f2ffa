"""The front: Postfix, and HAProxy to the nodes."""
import contextlib
import pathlib
import shlex
import sqlite3
import subprocess
import sys

import balancer
import documented
from balancer import PAGE

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "postfix"))
from postfix import PATIENCE, Postfix  # noqa: E402

LISTENERS = "listen node1"  # the first of those that home nodes need


def configured(postfix, heading, folder):
    """Has Postfix take the settings below a heading of the page."""
    for line in documented.lines_below(PAGE, heading, "postconf"):
        postfix.configure([word.replace("/etc/postfix", str(folder))
                           for word in shlex.split(line)[1:]])


class Front:
    """Set up as the page says for home nodes, or for nodes that share a disk."""

    def __init__(self, machine, folder, authority, shared):
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
        configured(self.postfix, "## The front", folder)
        if shared:
            configured(self.postfix, "## Shared storage", folder)
        self._make_map(folder)

    def _make_map(self, folder):
        self.map = folder / "map" / "home.sqlite"
        for line in documented.lines(PAGE, "/var/lib/home-nodes"):
            words = shlex.split(line.replace("/var/lib/home-nodes", str(self.map.parent)))
            subprocess.run(words, check=True, stdout=subprocess.DEVNULL)
        (folder / "home.cf").write_text(balancer.settings(
            "home.cf", {"/var/lib/home-nodes": self.map.parent}))

    def change(self, statement, rows):
        """Runs a statement over the map, once for each row of values."""
        with contextlib.closing(sqlite3.connect(self.map)) as homes, homes:
            homes.executemany(statement, rows)

    def start(self):
        self._balancer.start()
        self.postfix.start()

    def stop(self):
        self.postfix.stop()
        self._balancer.stop()
