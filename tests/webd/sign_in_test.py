#!/usr/bin/env python3
"""A user signs in with the password that a real Dovecot knows, and changes a rule:
sign_in_test.py PROGRAM QUARROW [unittest arguments]
"""
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import dovecot  # noqa: E402
from lmtp_server import PROGRAM  # noqa: E402
from web_server import ALICE, DaemonTestCase, json_of  # noqa: E402

QUARROW = os.path.abspath(sys.argv.pop(1))
JSON = {"Content-Type": "application/json"}
RULE = {"name": "Reports", "enabled": True, "relation": "allof",
        "tests": [{"type": "string", "field": "subject", "comparator": "contains",
                   "value": "report", "negative": False, "match_case": False}],
        "actions": [{"method": "move", "target": "Reports"}]}


class SignInTest(DaemonTestCase):
    @classmethod
    def setUpClass(cls):
        place = pathlib.Path(cls.enterClassContext(
            tempfile.TemporaryDirectory(prefix="quarrow-web-imap-")))
        place.chmod(0o755)
        folder = place / "dovecot"
        folder.mkdir()
        cls.dovecot = dovecot.Dovecot(folder, place, "1M", folder / "quota-status")
        cls.dovecot.add_user(ALICE)
        cls.dovecot.start()
        cls.addClassCleanup(cls.dovecot.stop)
        cls.ca_file = folder / "certificate"

    def setUp(self):
        self.daemon = self.start(PROGRAM, "--imap", f"imaps://localhost:{self.dovecot.tls_port}",
                                 "--imap-ca", self.ca_file)
        root = self.daemon.folder / "root"
        subprocess.run([QUARROW, "--root", root, "init", "--catalogue", root / "fields.xml"],
                       stdout=subprocess.DEVNULL, check=True)

    def sign_in(self, user, password):
        return self.daemon.ask("POST", "/api/v1/session", JSON,
                               json.dumps({"user": user, "password": password}))

    def test_a_session_from_its_beginning_to_its_end(self):
        answer = self.sign_in(ALICE, dovecot.PASSWORD)
        self.assertLess(answer[0], 300, answer[1])
        cookie = answer[2]["Set-Cookie"]
        for attribute in ("HttpOnly", "Secure", "SameSite=Strict"):
            self.assertIn(attribute, cookie)
        session = {"Cookie": cookie.partition(";")[0]}
        token = json_of(self.daemon.ask("GET", "/api/v1/session", session))["token"]
        rules = self.daemon.ask("GET", "/api/v1/rules", session)
        self.assertEqual((200, []), (rules[0], json_of(rules)["filters"]), rules[1])
        change = {**session, **JSON, "X-Quarrow-Token": token, "If-Match": rules[2]["ETag"]}
        added = self.daemon.ask("POST", "/api/v1/rules", change, json.dumps(RULE))
        self.assertEqual(201, added[0], added[1])
        script = self.daemon.home(ALICE) / ".delivery_filter"
        self.assertEqual(self.daemon.home(ALICE).stat().st_uid, script.stat().st_uid)
        self.assertLess(self.daemon.ask("DELETE", "/api/v1/session", change)[0], 300)
        self.assertEqual(401, self.daemon.ask("GET", "/api/v1/rules", session)[0])

    def test_a_wrong_password_is_answered_as_an_unknown_user_is(self):
        wrong = self.sign_in(ALICE, dovecot.PASSWORD + "x")
        unknown = self.sign_in("nobody@example.org", dovecot.PASSWORD)
        self.assertEqual(401, wrong[0], wrong[1])
        self.assertEqual(wrong[:2], unknown[:2])
        self.assertIsNone(wrong[2]["Set-Cookie"])


if __name__ == "__main__":
    dovecot.skip_unless_possible()
    unittest.main()
