#!/usr/bin/env python3
"""What quarrow-lmtpd tells over HTTP: monitor_test.py PROGRAM [unittest arguments]"""

import contextlib
import http.client
import os
import re
import signal
import socket
import subprocess
import unittest

from lmtp_server import (PATIENCE, PROGRAM, USERS, DaemonTestCase, children, connected,
                         free_port, handing_over, is_running, unprivileged_user, until)

# As HAProxy's "option httpchk GET /health" has it, and the same with "ver HTTP/1.1 hdr host".
CHECKS = [b"GET /health HTTP/1.0\r\n\r\n",
          b"GET /health HTTP/1.1\r\nhost: node\r\nconnection: close\r\n\r\n"]
STATUS_LINE = re.compile(rb"HTTP/1\.1 (\d{3}) ")


class Connection(http.client.HTTPConnection):
    def __init__(self, path):
        super().__init__("localhost", timeout=PATIENCE)
        self.path = path

    def connect(self):
        self.sock = connected(self.path)


def ask(address, target, method="GET"):
    with contextlib.closing(Connection(address)) as connection:
        connection.request(method, target)
        answer = connection.getresponse()
        return answer.status, answer.getheader("Content-Type"), answer.read().decode()


def said_to(address, request):
    """All that is answered to bytes, up to the end of the connection."""
    with connected(address) as client:
        client.sendall(request)
        return b"".join(iter(lambda: client.recv(65536), b""))


class MonitorTest(DaemonTestCase):
    def setUp(self):
        self.port = free_port()

    def start_at_port(self, *options, **how):
        return self.start("--monitor", f"127.0.0.1:{self.port}", *options, **how)

    def health(self):
        """The status, and what is said of the server but its uptime."""
        status, _, text = ask(self.port, "/health")
        self.assertRegex(text, r" uptime=\d+\n$")
        return status, text.rpartition(" uptime=")[0]

    def unwell(self):
        """The same, once the server is not well."""
        status, said = self.health()
        return (status, said) if status != 200 else None

    def test_tells_health_as_a_balancer_asks_for_it(self):
        self.start_at_port()
        for check in CHECKS:
            answer = said_to(self.port, check)
            self.assertEqual(b"200", STATUS_LINE.match(answer)[1])
            self.assertRegex(answer, rb"\r\n\r\nworkers=2 busy=[01] waiting=no uptime=\d+\n$")

    def test_tells_the_counters_that_the_file_has(self):
        daemon = self.start_at_port()
        self.connect(daemon).deliver(USERS[:2], "work")
        daemon.signal(signal.SIGUSR1)
        until(daemon.metrics.exists, "counters")
        self.assertEqual((200, "text/plain; version=0.0.4; charset=utf-8",
                          daemon.metrics.read_text()), ask(self.port, "/metrics"))
        self.assertIn('quarrow_delivered_total{folder="other"} 2\n', daemon.metrics.read_text())

    def test_tells_nothing_else(self):
        self.start_at_port()
        for method, target, status in [("GET", "/", 404), ("GET", "/metrics/x", 404),
                                       ("POST", "/metrics", 405), ("DELETE", "/health", 405),
                                       ("BREW", "/health", 501)]:
            self.assertEqual(status, ask(self.port, target, method)[0], (method, target))
        self.assertEqual(b"400", STATUS_LINE.match(said_to(self.port, b"LHLO x\r\n\r\n"))[1])

    def test_serves_at_a_path(self):
        daemon = self.start("--monitor", "{folder}/monitor", "--socket-mode", "0600")
        path = daemon.folder / "monitor"
        self.assertEqual(200, ask(path, "/health")[0])
        self.assertEqual(0o600, path.stat().st_mode & 0o777)
        daemon.signal(signal.SIGTERM)
        self.assertEqual(0, daemon.wait())
        self.assertFalse(path.exists())

    def test_is_well_though_all_workers_are_busy(self):
        daemon = self.start_at_port()
        clients = [connected(daemon.socket) for _ in range(3)]
        for client in clients:
            self.addCleanup(client.close)
        until(lambda: self.health() == (200, "workers=2 busy=2 waiting=yes"), "busy and well")

    def test_says_that_the_server_stops_while_a_message_is_finished(self):
        daemon = self.start_at_port()
        client = self.connect(daemon)
        client.mail("sender@example.net")
        client.rcpt(USERS[0])
        client.start_data()
        client.send_text("Subject: other\r\n\r\n")
        daemon.signal(signal.SIGTERM)
        status, said = until(self.unwell, "it stops")
        self.assertEqual(503, status)
        self.assertRegex(said, "^the server is stopping\nworkers=2 busy=1 waiting=no$")
        self.assertEqual([250, 421], [code for code, _ in client.end_data(2)])
        self.assertEqual(0, daemon.wait())

    def test_says_that_no_worker_is_there(self):
        daemon = self.start_at_port("--workers", "1")
        def unwell_without_workers():
            for worker in daemon.workers():  # one that ends soon is followed after a second only
                os.kill(worker, signal.SIGKILL)
            return self.unwell()

        status, said = until(unwell_without_workers, "there is no worker")
        self.assertEqual(503, status)
        self.assertRegex(said, "^no worker is there\nworkers=0 busy=[01] waiting=no$")
        until(lambda: self.health()[0] == 200, "it is well again")

    def test_says_that_the_folder_of_all_users_is_gone_until_it_is_back(self):
        daemon = self.start_at_port()
        root = daemon.folder / "root"
        root.rename(daemon.folder / "elsewhere")
        status, said = until(self.unwell, "it is missed")
        self.assertEqual((503, f"{root}: No such file or directory"),
                         (status, said.partition("\n")[0]))
        (daemon.folder / "elsewhere").rename(root)
        until(lambda: self.health()[0] == 200, "it is found")

    def test_is_replaced_when_what_looks_for_faults_has_ended(self):
        daemon = self.start_at_port()
        monitor = self.monitor(daemon)
        watch, = until(lambda: children(monitor), "something looks for faults")
        os.kill(watch, signal.SIGKILL)
        until(lambda: not is_running(watch), "it has ended")
        with contextlib.suppress(OSError, http.client.HTTPException):
            self.health()  # the monitor finds out when it is asked
        until(lambda: monitor not in daemon.monitors() and daemon.monitors(), "another monitor")
        self.assertEqual(200, self.health()[0])

    def monitor(self, daemon):
        monitor, = until(daemon.monitors, "there is a monitor")
        return monitor

    def test_is_replaced_when_it_was_killed(self):
        daemon = self.start_at_port()
        monitor = self.monitor(daemon)
        os.kill(monitor, signal.SIGKILL)
        until(lambda: daemon.monitors() and monitor not in daemon.monitors(), "another monitor")
        self.assertEqual(200, self.health()[0])
        self.assertIn(f" monitor {monitor} was ended by Killed; it is replaced\n",
                      daemon.log_text())
        self.assertIn("\nquarrow_workers_replaced_total 0\n", ask(self.port, "/metrics")[2])

    def test_holds_up_nobody(self):
        daemon = self.start_at_port()
        monitor = self.monitor(daemon)
        os.kill(monitor, signal.SIGSTOP)
        self.addCleanup(os.kill, monitor, signal.SIGCONT)
        self.assertEqual(250, self.connect(daemon).deliver(USERS[:1], "other")[0][0])
        with connected(daemon.folder / "health") as inquiry:
            self.assertRegex(inquiry.recv(1000), b"^workers=2 ")
        daemon.config.write_text("workers=1\n")
        daemon.signal(signal.SIGHUP)
        until(lambda: len(daemon.workers()) == 1, "the reload")
        self.assertEqual(200, self.health()[0])  # by the monitor that follows

    def test_a_reload_brings_another_one_and_the_old_one_finishes(self):
        daemon = self.start_at_port()
        old = self.monitor(daemon)
        with connected(self.port) as client:
            client.sendall(CHECKS[0][:10])
            self.assertEqual(200, self.health()[0])  # so the first client was taken
            daemon.signal(signal.SIGHUP)
            until(lambda: set(daemon.monitors()) - {old}, "another monitor")
            self.assertEqual(200, self.health()[0])
            client.sendall(CHECKS[0][10:])
            self.assertEqual(b"200", STATUS_LINE.match(client.recv(1000))[1])
        until(lambda: old not in daemon.monitors(), "the old one ends")
        self.assertNotIn(f"monitor {old}", daemon.log_text())

    def test_its_socket_is_gone_with_the_server(self):
        daemon = self.start_at_port()
        os.kill(self.monitor(daemon), signal.SIGSTOP)  # it would take its time
        daemon.signal(signal.SIGTERM)
        self.assertEqual(0, daemon.wait())
        self.assertRaises(ConnectionRefusedError, connected, self.port)

    def test_leaves_with_its_supervisor(self):
        daemon = self.start_at_port()
        monitor = self.monitor(daemon)
        daemon.signal(signal.SIGKILL)
        daemon.wait()
        until(lambda: not is_running(monitor), "it ends")

    def test_refuses_addresses_that_others_reach(self):
        for address in ["0.0.0.0:9153", "192.0.2.1:9153", "[::]:9153"]:
            done = subprocess.run(
                [PROGRAM, "--user", unprivileged_user(), "--listen", f"127.0.0.1:{self.port}",
                 "--monitor", address], capture_output=True, text=True)
            self.assertEqual(71, done.returncode)
            self.assertEqual(f"quarrow-lmtpd: {address}: not an address of this host alone\n",
                             done.stderr)


class InheritedMonitorTest(DaemonTestCase):
    """Sockets as a service manager passes them, the monitor's by its name."""

    def start_with(self, listener):
        daemon = self.start()  # for its users
        process = subprocess.Popen(
            [*handing_over(listener), PROGRAM, "--user", unprivileged_user(),
             "--root", daemon.folder / "root",
             "--spool", daemon.folder / "spool", "--listen", daemon.folder / "other"],
            env={**os.environ, "LISTEN_FDNAMES": "monitor"},
            pass_fds=[listener.fileno()], stderr=subprocess.PIPE, text=True)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.wait, PATIENCE)
        self.addCleanup(process.terminate)
        return process

    def test_takes_a_socket_by_its_name(self):
        with socket.create_server(("127.0.0.1", 0)) as listener:
            self.start_with(listener)
            self.assertEqual(200, ask(listener.getsockname()[1], "/health")[0])

    def test_refuses_a_socket_that_others_reach(self):
        with socket.create_server(("0.0.0.0", 0)) as listener:
            process = self.start_with(listener)
            self.assertEqual(71, process.wait(PATIENCE))
            self.assertEqual("quarrow-lmtpd: the monitor's socket has an address that other hosts "
                             "reach\n", process.stderr.read())


if __name__ == "__main__":
    unittest.main()
