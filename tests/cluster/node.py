"""A node: quarrow-lmtpd over a root of users' folders, and HAProxy in front of it."""
import pathlib
import shutil
import socket
import subprocess
import sys

import balancer
from processes import kill_all, run_inside, signal_all

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from server_process import PATIENCE, handing_over  # noqa: E402

SERVICE_USER = "nobody"


class Node:
    """The node on `machine`, with users' folders in `root`."""

    def __init__(self, machine, number, folder, root, programs, authority):
        self.machine, self.number, self.root = machine, number, root
        self.name = f"node{number}"
        self._folder, self._programs, self._authority = folder, programs, authority
        self._server = None
        (folder / "spool").mkdir()
        shutil.chown(folder / "spool", SERVICE_USER)
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.bind(str(folder / "lmtp"))
        self._socket.listen(128)
        self._certificate = folder / "node.pem"
        authority.make_out("node", self._certificate)
        self._balancer = balancer.Balancer(machine, folder, balancer.settings("node.cfg", {
            "10.77.0.1:": f"{machine.address}:", "/run/quarrow/lmtp": folder / "lmtp",
            "/run/quarrow/monitor": folder / "monitor",
            "/etc/haproxy/node.pem": self._certificate,
            "/etc/haproxy/authority.pem": authority.certificate}))

    def start(self):
        self._start_server()
        self._balancer.start()

    def _start_server(self):
        # so connections wait while the server is replaced
        self._server = run_inside(
            self.machine,
            [*handing_over(self._socket), self._programs.lmtpd, "--user", SERVICE_USER,
             "--root", self.root, "--spool", self._folder / "spool", "--workers", "20",
             "--proxy-protocol", "--monitor", self._folder / "monitor",
             "--host-name", f"{self.name}.example.org"],
            self._folder / "lmtpd.log", pass_fds=[self._socket.fileno()])

    def upgrade_server(self):
        self._server.terminate()
        if (status := self._server.wait(PATIENCE)) != 0:
            raise AssertionError(f"quarrow-lmtpd exited with {status}")
        self._start_server()

    def signal_all(self, number):
        """Sends a signal to all processes of the node."""
        signal_all(self._server, number)
        self._balancer.signal_all(number)

    def kill(self):
        kill_all(self._server)
        self._balancer.stop()

    def close(self):
        self.kill()
        self._socket.close()

    def let_certificate_expire(self):
        self._authority.make_out("node", self._certificate, expired=True)
        self._balancer.reload()

    def renew_certificate(self):
        self._authority.make_out("node", self._certificate)
        self._balancer.reload()

    def command(self):
        """The words in front of the arguments of `quarrow` on this node."""
        return [*self.machine.inside(), self._programs.quarrow, "--root", self.root]

    def quarrow(self, *words):
        """Runs the command `quarrow` on this node."""
        return subprocess.run([*self.command(), *map(str, words)], check=True,
                              capture_output=True).stdout

    def start_quarrow(self, *words):
        with open(self._folder / "quarrow.log", "ab") as log:
            return subprocess.Popen([*self.command(), *words], stdout=log, stderr=log)
