#!/usr/bin/env python3
"""Passwords are checked by IMAP servers that hang, offer little, and say strange things:
strange_servers_test.py CHECK_PASSWORD [unittest arguments]
"""
import base64
import contextlib
import pathlib
import socket
import ssl
import subprocess
import tempfile
import threading
import unittest
import unittest.mock

from lmtp_server import PATIENCE
from password_check import check

USER = "alice@example.org"
PASSWORD = "täglich \"\\ {5}"
SHORT = 300  # milliseconds
LOGINS = ("AUTHENTICATE", "LOGIN")


def make_certificate(folder, name):
    """A certificate for `name` that is its own authority, and its key."""
    certificate, key = folder / f"{name}.crt", folder / f"{name}.key"
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                    "ec_paramgen_curve:prime256v1", "-nodes", "-subj", f"/CN={name}",
                    "-addext", f"subjectAltName=DNS:{name}", "-keyout", key, "-out", certificate],
                   check=True, stderr=subprocess.DEVNULL)
    return certificate, key


class Server:
    """Serves one connection after the other, in a thread. What it says can be changed:

    tls           None: from the start; "STARTTLS": on request; "NO": it refuses that
    hangs         None, or says nothing from "connection" or "handshake" on
    greeting      its first line
    capabilities  that it offers besides
    answer        to an attempt to sign in; nothing for OK where the password is right
    """
    def __init__(self, certificate, tls=None, hangs=None, greeting="* OK ready",
                 capabilities="AUTH=PLAIN SASL-IR", answer=None):
        self.tls = tls
        self.hangs = hangs
        self.greeting = greeting
        self.capabilities = capabilities
        self.answer = answer
        self.commands = []
        self._context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        self._context.load_cert_chain(*certificate)
        self._listener = socket.create_server(("127.0.0.1", 0))
        self._thread = threading.Thread(target=self._serve)

    @property
    def url(self):
        scheme = "imap" if self.tls else "imaps"
        return f"{scheme}://localhost:{self._listener.getsockname()[1]}"

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._thread.join(PATIENCE)
        self._listener.close()

    def _serve(self):
        with contextlib.suppress(OSError):  # the listener is closed
            while True:
                connection = self._listener.accept()[0]
                connection.settimeout(PATIENCE)
                # The client hung up, or speaks something else.
                with connection, contextlib.suppress(OSError, ValueError):
                    self._converse(connection)

    def _converse(self, connection):
        if self.hangs == "connection":
            self._wait_for_end(connection)
            return
        if not self.tls:
            connection = self._context.wrap_socket(connection, server_side=True)
        with connection:
            if self.hangs == "handshake":
                self._wait_for_end(connection)
                return
            connection.sendall(self.greeting.encode() + b"\r\n")
            self._answer_commands(connection)

    @staticmethod
    def _wait_for_end(connection):
        while connection.recv(1000):
            pass

    def _answer_commands(self, connection):
        lines = connection.makefile("rb")
        while line := lines.readline():
            tag, command, *words = line.decode().split()
            self.commands.append(command)
            say = lambda text: connection.sendall(text.encode() + b"\r\n")
            if command == "CAPABILITY":
                starttls = " STARTTLS" if self.tls else ""
                say(f"* CAPABILITY IMAP4rev1 {self.capabilities}{starttls}")
                say(f"{tag} OK")
            elif command == "STARTTLS" and self.tls == "NO":
                say(f"{tag} NO not now")
            elif command == "STARTTLS":
                say(f"{tag} OK")
                with self._context.wrap_socket(connection, server_side=True) as safe:
                    self._answer_commands(safe)
                return
            elif command in LOGINS:
                if words[-1] == "PLAIN":
                    say("+ ")
                    words.append(lines.readline().decode().strip())
                say(f"{tag} {self.answer or self._judge(words[-1])}")
            else:
                say(f"{tag} OK")

    @staticmethod
    def _judge(response):
        known = f"\0{USER}\0{PASSWORD}"
        return "OK" if base64.b64decode(response).decode() == known else "NO wrong"


class StrangeServersTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = pathlib.Path(cls.enterClassContext(
            tempfile.TemporaryDirectory(prefix="quarrow-imap-")))
        cls.certificate = make_certificate(folder, "localhost")
        cls.other_name = make_certificate(folder, "other.example.org")
        cls.ca_file = cls.certificate[0]

    def result(self, password=PASSWORD, user=USER, certificate=None, ca_file=None, patience=None,
               deadline=None, **settings):
        """What the check comes to at a server with these settings; it is kept in self.server."""
        limits = {name: value for name, value in
                  [("patience", patience), ("deadline", deadline)] if value}
        with Server(certificate or self.certificate, **settings) as self.server:
            line = check(self.server.url, ca_file or self.ca_file, user, password, **limits)
        self.assertNotIn(password, line)
        return line

    def assert_unavailable(self, reason, **settings):
        self.assertRegex(self.result(**settings),
                         f"^unavailable: imaps?://localhost:\\d+: .*{reason}")

    def assert_password_kept(self):
        for command in LOGINS:
            self.assertNotIn(command, self.server.commands)

    def test_passwords_of_all_characters(self):
        for tls in [None, "STARTTLS"]:
            for capabilities in ["AUTH=PLAIN SASL-IR", "AUTH=PLAIN"]:
                self.assertEqual("right", self.result(tls=tls, capabilities=capabilities))
                self.assertEqual("wrong", self.result(PASSWORD + " ", tls=tls,
                                                      capabilities=capabilities))

    def test_the_proxy_of_the_environment_is_not_asked(self):
        with unittest.mock.patch.dict("os.environ", all_proxy="http://127.0.0.1:1",
                                      imaps_proxy="http://127.0.0.1:1"):
            self.assertEqual("right", self.result())

    def test_a_server_that_says_no(self):
        for answer in ["NO", "no", "NO [AUTHENTICATIONFAILED] Authentication failed.",
                       "NO your password is UNAVAILABLE here"]:
            self.assertEqual("wrong", self.result(answer=answer), answer)

    def test_a_server_that_cannot_tell_now(self):
        for answer in ["NO [UNAVAILABLE] Temporary authentication failure.", "no [unavailable]"]:
            self.assert_unavailable("UNAVAILABLE", answer=answer)

    def test_a_server_that_repeats_the_password(self):
        for answer in [f"NO [UNAVAILABLE] {PASSWORD}", f"BAD {PASSWORD}", f"BYE {PASSWORD}"]:
            self.assert_unavailable("", answer=answer)

    def test_a_server_that_does_not_understand(self):
        self.assert_unavailable("", answer="BAD what?")

    def test_a_server_that_hangs(self):
        for hangs in ["connection", "handshake"]:
            for tls in [None, "STARTTLS"] if hangs == "connection" else [None]:
                self.assert_unavailable("timed out", hangs=hangs, tls=tls, patience=SHORT)
                self.assertEqual("unavailable: checking the password took too long",
                                 self.result(hangs=hangs, tls=tls, deadline=SHORT))

    def test_a_server_without_tls(self):
        self.assert_unavailable("", tls="NO")
        self.assert_password_kept()
        with Server(self.certificate, tls="NO") as server:
            line = check(server.url.replace("imap:", "imaps:"), self.ca_file, USER, PASSWORD)
        self.assertRegex(line, "^unavailable: .*SSL")

    def test_a_certificate_of_another_name(self):
        for tls in [None, "STARTTLS"]:
            self.assert_unavailable("certificate", certificate=self.other_name,
                                    ca_file=self.other_name[0], tls=tls)
            self.assert_password_kept()

    def test_a_certificate_of_another_authority(self):
        for tls in [None, "STARTTLS"]:
            self.assert_unavailable("certificate", ca_file=self.other_name[0], tls=tls)
            self.assert_password_kept()

    def test_a_server_that_offers_no_plain_sign_in(self):
        for capabilities in ["", "AUTH=LOGIN", "LOGINDISABLED", "AUTH=CRAM-MD5"]:
            self.assert_unavailable("AUTH=PLAIN", capabilities=capabilities)
            self.assert_password_kept()

    def test_a_server_that_asks_for_no_password(self):
        for tls in [None, "STARTTLS"]:
            self.assert_unavailable("", tls=tls, greeting="* PREAUTH welcome")

    def test_a_server_that_turns_clients_away(self):
        for greeting in ["* BYE too many connections", "+ what?", "* NO",
                         "HTTP/1.1 400 Bad Request"]:
            self.assert_unavailable("", greeting=greeting, patience=3000)

    def test_no_line_of_the_clients_own_making(self):
        for text in ["x\r\na LOGOUT", "x\n", ""]:
            self.assertEqual("wrong", self.result(password=text + "\n"))
            self.assertEqual("wrong", self.result(user=text))
            self.assertEqual([], self.server.commands)


if __name__ == "__main__":
    unittest.main()
