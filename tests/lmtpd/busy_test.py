#!/usr/bin/env python3
"""Clients that keep the workers of quarrow-lmtpd busy: busy_test.py PROGRAM [unittest arguments]"""

import contextlib
import os
import select
import signal
import socket
import threading
import time
import unittest

from lmtp_server import PATIENCE, USERS, DaemonTestCase, free_port, until

START = b"LHLO x\r\nMAIL FROM:<>\r\nRCPT TO:<%s>\r\nDATA\r\n" % USERS[0].encode()


class BusyTest(DaemonTestCase):
    def rude(self, daemon):
        """A connection that nobody reads from or writes to unless the test does."""
        client = socket.socket(socket.AF_UNIX)
        self.addCleanup(client.close)
        client.connect(daemon.socket)
        client.settimeout(PATIENCE)
        return client

    def all_that(self, client):
        """All that the server says to a rude client until it hangs up."""
        heard = b""
        with contextlib.suppress(ConnectionResetError):
            while said := client.recv(65536):
                heard += said
        return heard

    def start_delivery(self, daemon):
        """Delivers in the background; gives what gives the answer's code, once there is one."""
        codes = []

        def deliver():
            codes.append(self.connect(daemon).deliver(USERS[:1], "other")[0][0])

        thread = threading.Thread(target=deliver, daemon=True)
        thread.start()
        self.addCleanup(thread.join, PATIENCE)
        return lambda: codes and codes[0]

    def test_serves_others_while_ten_clients_are_silent(self):
        daemon = self.start("--busy-patience", "1")
        silent = [self.rude(daemon) for _ in range(10)]
        self.assertEqual(250, self.connect(daemon).deliver(USERS[:1], "other")[0][0])
        self.assertIn(b"\r\n421 4.3.2 ", self.all_that(silent[0]))

    def test_serves_others_while_clients_send_in_drops(self):
        daemon = self.start("--busy-patience", "1")
        drops = [self.rude(daemon) for _ in range(2)]
        served = self.start_delivery(daemon)

        def drop():
            for client in drops:
                with contextlib.suppress(OSError):
                    client.sendall(b"N")
            return served()

        self.assertEqual(250, until(drop, "the other client is served"))

    def sends_until_given_up(self, client, drop):
        """All that the server says to a client that goes on in small pieces."""
        heard = b""

        def is_given_up():
            nonlocal heard
            with contextlib.suppress(OSError):
                client.sendall(drop)
            if select.select([client], [], [], 0.1)[0]:
                heard += client.recv(65536)
            return b"\r\n421 4.4.2 " in heard

        until(is_given_up, "an end")
        return heard

    def test_ends_a_transaction_that_takes_too_long(self):
        daemon = self.start("--transaction-time", "1")
        heard = self.sends_until_given_up(self.rude(daemon), b"NOOP\r\n")
        self.assertLess(heard.count(b"\r\n250 "), 100)

    def test_ends_a_message_that_comes_in_drops(self):
        daemon = self.start("--transaction-time", "1")
        client = self.rude(daemon)
        client.sendall(START)
        self.assertEqual(1, self.sends_until_given_up(client, b"x").count(b"\r\n354 "))
        self.assertEqual([], daemon.messages(USERS[0]))

    def test_ends_a_connection_that_is_silent(self):
        daemon = self.start("--client-patience", "1")
        clients = [self.rude(daemon) for _ in range(2)]
        clients[1].sendall(START + b"Subject: other\r\n")
        for client in clients:
            self.assertRegex(self.all_that(client), rb"\r\n421 4\.4\.2 [^\r]*\r\n$")
        self.assertEqual([], daemon.messages(USERS[0]))

    def test_a_message_that_is_finished_gives_a_client_new_time(self):
        patience = 10
        daemon = self.start("--transaction-time", str(patience))
        client = self.connect(daemon)
        pause = patience / 5  # the client takes its time
        self.assertEqual([], select.select([client.sock], [], [], pause)[0])
        begun = time.monotonic()
        self.assertEqual(250, client.deliver(USERS[:1], "other")[0][0])
        self.assertIn(b"421 4.4.2 ", self.all_that(client.sock))
        self.assertGreaterEqual(time.monotonic() - begun, patience)

    def test_serves_others_after_a_client_that_takes_no_answers(self):
        for option in ["--client-patience", "--busy-patience"]:
            daemon = self.start(option, "1", "--workers", "1")
            client = self.rude(daemon)
            client.sendall(b"LHLO x\r\nMAIL FROM:<>\r\n"
                           + b"RCPT TO:<%s>\r\n" % USERS[1].encode() * 1000
                           + b"DATA\r\nSubject: other\r\n\r\n.\r\n")
            self.assertEqual(250, self.connect(daemon).deliver(USERS[:1], "other")[0][0])
            self.assertLess(self.all_that(client).count(b"\r\n250 2.0.0 "), 1000)
            self.assertEqual(1, len(daemon.messages(USERS[1])))

    def health(self, daemon):
        """What the server says of itself, without its uptime."""
        with socket.socket(socket.AF_UNIX) as client:
            client.settimeout(PATIENCE)
            client.connect(str(daemon.folder / "health"))
            text, uptime = client.makefile().read().split(" uptime=")
            self.assertRegex(uptime, r"^\d+\n$")
            return text

    def test_tells_how_busy_it_is_although_all_workers_are(self):
        daemon = self.start()

        def comes_to(text):
            until(lambda: self.health(daemon) == text, text)

        comes_to("workers=2 busy=0 waiting=no")
        clients = [self.rude(daemon) for _ in range(2)]
        comes_to("workers=2 busy=2 waiting=no")
        waiting = self.rude(daemon)
        comes_to("workers=2 busy=2 waiting=yes")
        os.kill(daemon.workers()[0], signal.SIGKILL)
        comes_to("workers=2 busy=2 waiting=no")
        for client in [*clients, waiting]:
            client.close()
        comes_to("workers=2 busy=0 waiting=no")

    def test_serves_only_so_many_clients_of_one_address(self):
        port = free_port()
        daemon = self.start("--listen", f"127.0.0.1:{port}", "--max-clients-per-address", "1",
                            "--workers", "3")

        def connect(source):
            client = socket.create_connection(("127.0.0.1", port), PATIENCE, (source, 0))
            self.addCleanup(client.close)
            return client

        first = connect("127.0.0.1")
        self.assertRegex(first.recv(1000), b"^220 ")
        for source in ["127.0.0.1", "127.0.0.2"]:
            self.assertRegex(self.all_that(connect(source)), rb"^421 4\.3\.2 .*\r\n$")
        self.assertEqual(250, self.connect(daemon).deliver(USERS[:1], "other")[0][0])
        first.close()
        until(lambda: connect("127.0.0.1").recv(1000).startswith(b"220 "), "a place is free")


if __name__ == "__main__":
    unittest.main()
