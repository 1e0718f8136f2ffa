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
from web_server import ALICE, BOB, DaemonTestCase, json_of, until  # noqa: E402

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

    def test_an_unknown_user_takes_the_way_of_a_wrong_password(self):
        """The IMAP server is asked for both, so that the time tells nothing."""
        tries = 0
        for user in (ALICE, "nobody@example.org", BOB):  # Dovecot does not know Bob, we do
            self.sign_in(user, dovecot.PASSWORD + "x")
            tries += 1
            until(lambda: self.dovecot.log().count("auth failed") >= tries, "Dovecot is asked")

    def test_a_session_that_a_stranger_has_chosen(self):
        chosen = {"Cookie": "__Host-quarrow=" + "a" * 43}
        self.assertEqual(401, self.daemon.ask("GET", "/api/v1/session", chosen)[0])
        answer = self.daemon.ask("POST", "/api/v1/session", {**JSON, **chosen},
                                 json.dumps({"user": ALICE, "password": dovecot.PASSWORD}))
        self.assertEqual(200, answer[0], answer[1])
        self.assertNotIn("a" * 43, answer[2]["Set-Cookie"])
        self.assertEqual(401, self.daemon.ask("GET", "/api/v1/session", chosen)[0])

    def test_an_old_session_ends_where_the_user_says_so_and_a_new_one_is_another(self):
        first, second = (self.sign_in(ALICE, dovecot.PASSWORD)[2]["Set-Cookie"].partition(";")[0]
                         for _ in range(2))
        self.assertNotEqual(first, second)
        token = json_of(self.daemon.ask("GET", "/api/v1/session", {"Cookie": first}))["token"]
        self.daemon.ask("DELETE", "/api/v1/sessions", {"Cookie": first, "X-Quarrow-Token": token})
        for cookie in (first, second):
            self.assertEqual(401, self.daemon.ask("GET", "/api/v1/session", {"Cookie": cookie})[0])

    def test_commands_in_a_name_or_a_password(self):
        for user, password in [(ALICE + "\r\nA1 LOGOUT", "x"), (ALICE, "x\r\nA1 CREATE evil"),
                               (ALICE, ""), ("", "x"), (ALICE, "x" * 100000), (ALICE + "\0", "x"),
                               ("(" * 1000 + "@example.org", "x")]:
            answer = self.sign_in(user, password)
            self.assertIn(answer[0], (401, 429), f"{user[:40]!r} {password[:20]!r}: {answer[1]}")
            self.assertIsNone(answer[2]["Set-Cookie"])
        self.assertNotIn("evil", self.dovecot.log())

    def test_a_stranger_who_guesses_does_not_lock_the_user_out(self):
        known = {**JSON, "X-Real-IP": "192.0.2.1"}
        right = json.dumps({"user": ALICE, "password": dovecot.PASSWORD})
        self.assertEqual(200, self.daemon.ask("POST", "/api/v1/session", known, right)[0])
        wrong = json.dumps({"user": ALICE, "password": "guess"})
        seen = {self.daemon.ask("POST", "/api/v1/session",
                                {**JSON, "X-Real-IP": f"198.51.{number}.9"}, wrong)[0]
                for number in range(100)}
        self.assertEqual({401, 429}, seen)
        self.assertEqual(200, self.daemon.ask("POST", "/api/v1/session", known, right)[0])


if __name__ == "__main__":
    dovecot.skip_unless_possible()
    unittest.main()
