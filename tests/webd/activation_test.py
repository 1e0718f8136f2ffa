#!/usr/bin/env python3
"""The web server as systemd's units start it: with a socket that is open already, and few of the
superuser's capabilities: activation_test.py PROGRAM [unittest arguments]
"""
import contextlib
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import unittest

from web_server import ALICE, PATIENCE, Connection, DaemonTestCase, handing_over, unprivileged_user

PROGRAM = os.path.abspath(sys.argv.pop(1))
SERVICE = (pathlib.Path(__file__).parents[2] / "apps" / "quarrow-webd" /
           "quarrow-webd.service.in").read_text()


def launcher():
    """What gives up the capabilities that the service has not."""
    if os.geteuid() != 0 or not shutil.which("setpriv"):
        return []
    kept = re.search("^CapabilityBoundingSet=(.*)$", SERVICE, re.MULTILINE)[1].split()
    names = ",".join(["-all", *("+" + name.removeprefix("CAP_").lower() for name in kept)])
    return ["setpriv", "--no-new-privs", "--inh-caps=-all", f"--bounding-set={names}"]


class ActivationTest(DaemonTestCase):
    def setUp(self):
        self.daemon = self.start(PROGRAM, "--trust-proxy-user")  # for its users' folders
        # what the mail's owner has is for nobody else, as after docs/postfix.md
        self.daemon.home(ALICE).chmod(0o700)

    def activate(self, listener, notices):
        server = subprocess.Popen(
            [*launcher(), *handing_over(listener), PROGRAM, "--user", unprivileged_user(),
             "--root", self.daemon.folder / "root",
             "--trust-proxy-user"],
            env={**os.environ, "NOTIFY_SOCKET": notices},
            pass_fds=[listener.fileno()], stderr=subprocess.DEVNULL)
        self.addCleanup(server.wait, PATIENCE)
        self.addCleanup(server.kill)
        return server

    def status_of(self, path, target):
        with contextlib.closing(Connection(path)) as connection:
            connection.request("GET", target, headers={"X-Quarrow-User": ALICE})
            answer = connection.getresponse()
            self.assertTrue(answer.read())
            return answer.status

    def test_takes_a_socket_and_tells_what_it_is_at(self):
        path = str(self.daemon.folder / "activated")
        notices = str(self.daemon.folder / "notices")
        with socket.socket(socket.AF_UNIX) as listener, \
                socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
            listener.bind(path)
            listener.listen()
            manager.bind(notices)
            os.chmod(notices, 0o666)
            manager.settimeout(PATIENCE)
            server = self.activate(listener, notices)
            self.assertEqual(b"READY=1", manager.recv(100))
            self.assertEqual(200, self.status_of(path, "/api/v1/rules"))
            server.send_signal(signal.SIGHUP)
            self.assertEqual(b"RELOADING=1", manager.recv(100))
            self.assertEqual(b"READY=1", manager.recv(100))
            self.assertEqual(200, self.status_of(path, "/api/v1/rules"))
            server.terminate()
            self.assertEqual(b"STOPPING=1", manager.recv(100))
            self.assertEqual(0, server.wait(PATIENCE))


if __name__ == "__main__":
    unittest.main()
