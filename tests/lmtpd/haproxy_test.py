#!/usr/bin/env python3
"""A real HAProxy in front of quarrow-lmtpd: haproxy_test.py PROGRAM [unittest arguments]

It has the settings that docs/delivery.md shows; only sockets are changed.
"""

import contextlib
import csv
import functools
import os
import pathlib
import shutil
import signal
import smtplib
import subprocess
import sys
import unittest

from lmtp_server import PATIENCE, USERS, DaemonTestCase, Lmtp, connected, free_port, until

import documented

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "delivery.md"
HAPROXY = shutil.which("haproxy", path=os.environ["PATH"] + ":/usr/sbin")


class LmtpFrom(Lmtp):
    """A client at a port of this host, with an address of its own."""

    def __init__(self, port, source):
        smtplib.SMTP.__init__(self, "127.0.0.1", port, "test", PATIENCE, (source, 0))


class Haproxy:
    def __init__(self, daemon, change):
        self.port = free_port()
        self._stats = daemon.folder / "stats"
        settings = daemon.folder / "haproxy.cfg"
        settings.write_text(f"global\n  stats socket {self._stats}\n" + documented.replaced(
            change(documented.file(PAGE, "/etc/haproxy/haproxy.cfg")),
            {"127.0.0.1:2424": f"127.0.0.1:{self.port}", "/run/quarrow/lmtp": daemon.socket,
             "/run/quarrow/monitor": daemon.folder / "monitor"}))
        self._process = subprocess.Popen([HAPROXY, "-q", "-db", "-f", settings])

    def _state(self):
        """What it has to say of the server; nothing while it can't be asked."""
        assert self._process.poll() is None, "HAProxy runs"
        with contextlib.suppress(OSError), connected(self._stats) as client:
            client.sendall(b"show stat\n")
            rows = csv.DictReader(client.makefile(newline=""))
            return next(row for row in rows if row["svname"] == "own")
        return {}

    def is_up(self):
        """Whether a check found that the server serves; None before the first check."""
        state = self._state()
        is_checked = state.get("check_status", "") not in ("", "INI")
        return state["status"].startswith("UP") if is_checked else None

    def stop(self):
        self._process.terminate()
        self._process.wait(PATIENCE)


class HaproxyTest(DaemonTestCase):
    def start_daemon(self):
        return self.start("--proxy-protocol", "--monitor", "{folder}/monitor")

    def start_haproxy(self, daemon, change=lambda settings: settings):
        """Starts one that finds that the server serves."""
        haproxy = Haproxy(daemon, change)
        self.addCleanup(haproxy.stop)
        until(haproxy.is_up, "the server is up")
        return haproxy

    def connect_through(self, haproxy, source="127.0.0.1"):
        client = LmtpFrom(haproxy.port, source)
        self.addCleanup(client.close)
        client.ehlo("test")
        return client

    def test_names_the_client_with_either_version_of_the_header(self):
        for version, source in [("send-proxy-v2", "127.0.0.7"), ("send-proxy", "127.0.0.8")]:
            daemon = self.start_daemon()
            haproxy = self.start_haproxy(daemon, functools.partial(
                documented.replaced, replacements={"send-proxy-v2": version}))
            client = self.connect_through(haproxy, source)
            self.assertEqual(250, client.deliver(USERS[:1], "work")[0][0])
            self.assertIn(f" msgid=<1@example.net> client={source} ", daemon.log_text())
            self.assertNotIn("a connection was ended", daemon.log_text())

    def test_takes_checks_on_the_socket_of_the_mail_itself(self):
        daemon = self.start_daemon()
        self.start_haproxy(daemon, lambda settings: documented.replaced(
            settings, {" addr unix@/run/quarrow/monitor": "",
                       "option httpchk GET /health": "# at /run/quarrow/monitor"}))
        self.assertNotIn("a connection was ended", daemon.log_text())

    def test_keeps_a_server_whose_workers_are_busy(self):
        daemon = self.start_daemon()
        for _ in range(2):
            client = connected(daemon.socket)
            self.addCleanup(client.close)
            client.sendall(b"PROXY UNKNOWN\r\n")
            self.assertEqual(b"220 ", client.recv(100)[:4])
        self.start_haproxy(daemon)

    def test_leaves_a_server_that_stops_while_a_message_is_finished(self):
        daemon = self.start_daemon()
        haproxy = self.start_haproxy(daemon)
        client = self.connect_through(haproxy)
        client.mail("sender@example.net")
        client.rcpt(USERS[0])
        client.start_data()
        client.send_text("Subject: other\r\n\r\n")
        daemon.signal(signal.SIGTERM)
        until(lambda: haproxy.is_up() is False, "the server is down")
        self.assertEqual([250, 421], [code for code, _ in client.end_data(2)])
        self.assertEqual(0, daemon.wait())
        self.assertEqual(1, len(daemon.messages(USERS[0])))


if __name__ == "__main__":
    if not HAPROXY:
        print("skipped: HAProxy is absent; scripts/install-haproxy installs it")
        sys.exit(77)
    unittest.main()
