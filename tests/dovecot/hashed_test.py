#!/usr/bin/env python3
"""Mail in hashed folders is read through a Dovecot that is set up as docs/dovecot.md says:
hashed_test.py QUARROW_LMTPD QUARROW [unittest arguments]
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import dovecot
from lmtp_server import DaemonTestCase

QUARROW = os.path.abspath(sys.argv.pop(1))
ADDRESSES = ["alice@example.org", "a.b-c_d@example.net"]


class HashedTest(DaemonTestCase):
    def quarrow(self, *arguments):
        return subprocess.run([QUARROW, "--root", self.daemon.folder / "root", *arguments],
                              check=True, text=True, stdout=subprocess.PIPE).stdout

    def test_mail_is_where_dovecot_looks(self):
        self.daemon = self.start()
        place = pathlib.Path(self.enterContext(
            tempfile.TemporaryDirectory(prefix="quarrow-dovecot-")))
        self.quarrow("init", "--hashed-folders", "--catalogue", place / "fields.xml")
        server = dovecot.Dovecot(place, self.daemon.folder / "root", "1M", place / "quota-status",
                                 is_hashed=True)
        for user in ADDRESSES:
            self.quarrow("user", "add", user)
            server.add_user(user)
        server.start()
        self.addCleanup(server.stop)
        for user in ADDRESSES:
            self.assertEqual(250, self.connect(self.daemon).deliver([user], "Hello")[0][0])
            home = server.run_documented("doveadm user", user).strip()
            self.assertIn("/%/", home)
            self.assertIn(f"folder   {home}\n", self.quarrow("user", "show", user))
            client = server.log_in(user)
            self.addCleanup(client.shutdown)
            self.assertEqual(("OK", [b"1"]), client.select("INBOX"))


if __name__ == "__main__":
    dovecot.skip_unless_possible()
    unittest.main()
