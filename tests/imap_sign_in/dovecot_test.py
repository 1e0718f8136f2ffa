#!/usr/bin/env python3
"""Passwords are checked by a Dovecot that is set up as docs/dovecot.md says:
dovecot_test.py CHECK_PASSWORD [unittest arguments]
"""
import pathlib
import shutil
import tempfile
import unittest

import dovecot
from lmtp_server import unprivileged_user
from password_check import check

USER = "alice@example.org"


class DovecotTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(
            tempfile.TemporaryDirectory(prefix="quarrow-imap-")))
        root = cls.folder / "root"
        root.mkdir()
        shutil.chown(root, unprivileged_user())
        place = cls.folder / "dovecot"
        place.mkdir()
        cls.folder.chmod(0o755)
        cls.dovecot = dovecot.Dovecot(place, root, "1M", place / "quota-status")
        cls.dovecot.add_user(USER)
        cls.dovecot.start()
        cls.addClassCleanup(lambda: cls.dovecot.stop())
        cls.ca_file = place / "certificate"

    def urls(self):
        return [f"imap://localhost:{self.dovecot.port}",
                f"imaps://localhost:{self.dovecot.tls_port}"]

    def test_the_password_is_right(self):
        for url in self.urls():
            self.assertEqual("right", check(url, self.ca_file, USER, dovecot.PASSWORD))

    def test_the_password_is_wrong(self):
        for url in self.urls():
            self.assertEqual("wrong", check(url, self.ca_file, USER, dovecot.PASSWORD + "x"))

    def test_the_user_is_unknown(self):
        for url in self.urls():
            self.assertEqual("wrong",
                             check(url, self.ca_file, "nobody@example.org", dovecot.PASSWORD))

    def test_the_certificate_is_of_no_trusted_authority(self):
        for url in self.urls():
            self.assertRegex(check(url, "", USER, dovecot.PASSWORD),
                             "^unavailable: .*certificate")

    def test_the_certificate_has_another_name(self):
        for url in self.urls():
            url = url.replace("localhost", "127.0.0.1")
            self.assertRegex(check(url, self.ca_file, USER, dovecot.PASSWORD),
                             "^unavailable: .*certificate.*'127.0.0.1'")

    def test_the_server_is_down(self):
        self.dovecot.stop()
        try:
            for url in self.urls():
                self.assertRegex(check(url, self.ca_file, USER, dovecot.PASSWORD),
                                 "^unavailable: .*[Cc]onnect")
        finally:
            self.dovecot.start()


if __name__ == "__main__":
    dovecot.skip_unless_possible()
    unittest.main()
