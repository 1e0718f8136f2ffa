#!/usr/bin/env python3
"""quarrow-lmtpd behind a proxy: proxy_test.py PROGRAM [unittest arguments]"""

import ipaddress
import re
import socket
import struct
import subprocess
import unittest

from lmtp_server import (PATIENCE, PROGRAM, USERS, DaemonTestCase, connected, free_port,
                         handing_over, unprivileged_user, until)

MESSAGE = ("LHLO x\r\nMAIL FROM:<s@example.net>\r\nRCPT TO:<%s>\r\nDATA\r\nSubject: other\r\n\r\n.\r\n"
           "QUIT\r\n" % USERS[0]).encode()
SIGNATURE = b"\r\n\r\n\0\r\nQUIT\n"


def line(client):
    return f"PROXY TCP4 {client} 198.51.100.2 12345 24\r\n".encode()


def block(client, command=0x21, more=b""):
    client = ipaddress.ip_address(client)
    kind = 0x11 if client.version == 4 else 0x21
    addresses = client.packed * 2 + struct.pack(">HH", 12345, 24)
    return SIGNATURE + struct.pack(">BBH", command, kind, len(addresses + more)) + addresses + more


class ProxyTest(DaemonTestCase):
    def said_to(self, address, request):
        """All that the server says to bytes, up to the end of the connection."""
        with connected(address) as client:
            client.sendall(request)
            return b"".join(iter(lambda: client.recv(65536), b""))

    def client_in_log(self, daemon):
        """What the last delivery's line in the log has for its client; None where it has none."""
        last = [each for each in daemon.log_text().splitlines() if " user=" in each][-1]
        client = re.search(r" msgid=<> client=(\S+) rule=", last)
        return client and client[1]

    def test_takes_the_clients_address_from_the_header(self):
        daemon = self.start("--proxy-protocol")
        cases = [(line("192.0.2.1"), "192.0.2.1"), (block("192.0.2.2"), "192.0.2.2"),
                 (block("2001:db8::1", more=b"\x04\0\x01x"), "2001:db8::1"),
                 (b"PROXY UNKNOWN\r\n", None), (block("192.0.2.3", command=0x20), None)]
        for number, (header, client) in enumerate(cases, start=1):
            self.assertIn(b"\r\n250 2.0.0 ", self.said_to(daemon.socket, header + MESSAGE))
            self.assertEqual((number, client), (len(daemon.messages(USERS[0])),
                                                self.client_in_log(daemon)))

    def test_takes_it_at_a_port_of_this_host(self):
        port = free_port()
        daemon = self.start("--proxy-protocol", "--listen", f"127.0.0.1:{port}")
        self.assertIn(b"\r\n250 2.0.0 ", self.said_to(port, line("192.0.2.1") + MESSAGE))
        self.assertEqual("192.0.2.1", self.client_in_log(daemon))

    def test_says_nothing_to_others(self):
        daemon = self.start("--proxy-protocol")
        for number, (wrong, reason) in enumerate([
                (b"LHLO x\r\n", "what came is no header of a proxy"),
                (MESSAGE, "what came is no header of a proxy"),
                (line("192.0.2.256") + MESSAGE, "what came is no header of a proxy"),
                (block("192.0.2.1")[:20], "the connection ended before the proxy's header did")]):
            with connected(daemon.socket) as client:
                client.sendall(wrong)
                client.shutdown(socket.SHUT_WR)
                try:
                    self.assertEqual(b"", client.recv(100))
                except ConnectionResetError:
                    pass  # the server has left bytes unread
            complaint = f" warning: a connection was ended: {reason}\n"
            until(lambda: daemon.log_text().count(" warning: a connection was ended: ") == number + 1,
                  "it is told")
            self.assertIn(complaint, daemon.log_text())
        self.assertEqual([], daemon.messages(USERS[0]))

    def test_does_not_wait_for_a_proxy_that_says_nothing(self):
        daemon = self.start("--proxy-protocol")
        with connected(daemon.socket) as silent:
            silent.sendall(line("192.0.2.1")[:10])
            self.assertEqual(b"", silent.recv(100))
        self.assertIn(" warning: a connection was ended: the proxy's header did not come in time\n",
                      daemon.log_text())

    def test_serves_only_so_many_clients_of_one_address(self):
        daemon = self.start("--proxy-protocol", "--max-clients-per-address", "1", "--workers", "4")

        def greeting(header):
            client = connected(daemon.socket)
            self.addCleanup(client.close)
            client.sendall(header)
            return client.recv(100)[:4]

        self.assertEqual(b"220 ", greeting(line("192.0.2.1")))
        self.assertEqual(b"421 ", greeting(block("192.0.2.1")))
        self.assertEqual(b"220 ", greeting(line("192.0.2.2")))
        for _ in range(2):  # the proxy itself has no bound
            self.assertEqual(b"220 ", greeting(b"PROXY UNKNOWN\r\n"))

    def test_refuses_a_socket_at_which_any_host_could_pass_for_the_proxy(self):
        with socket.create_server(("0.0.0.0", 0)) as listener:
            refused = subprocess.run(
                [*handing_over(listener), PROGRAM, "--user", unprivileged_user(), "--proxy-protocol"],
                pass_fds=[listener.fileno()],
                capture_output=True, text=True, timeout=PATIENCE)
        self.assertEqual((71, "quarrow-lmtpd: any host can pass for the proxy at a socket that the "
                          "service manager passed\n"), (refused.returncode, refused.stderr))

    def test_takes_no_header_unless_it_is_told_to(self):
        daemon = self.start()
        self.assertRegex(self.said_to(daemon.socket, line("192.0.2.1") + b"QUIT\r\n"),
                         rb"^220 .*\r\n500 .*\r\n221 .*\r\n$")


if __name__ == "__main__":
    unittest.main()
