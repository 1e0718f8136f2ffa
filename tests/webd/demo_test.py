#!/usr/bin/env python3
"""What ./quickstart --web starts: demo_test.py PROGRAM BUILD_FOLDER [unittest arguments]"""
import contextlib
import http.client
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import unittest
import urllib.parse

import dovecot
from web_server import PATIENCE

BUILD = os.path.abspath(sys.argv.pop(1))
DEMO = pathlib.Path(__file__).parents[2] / "scripts" / "demo-web"


def processes_with(text):
    """The command lines of running processes that have the text in them."""
    found = []
    for path in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
        with contextlib.suppress(OSError):
            if text.encode() in (command := path.read_bytes()):
                found.append(command)
    return found


class DemoTest(unittest.TestCase):
    def setUp(self):
        self.place = self.enterContext(tempfile.TemporaryDirectory(prefix="quarrow-demo-test-"))
        os.chmod(self.place, 0o755)
        self.demo = subprocess.Popen([DEMO, BUILD], stdout=subprocess.PIPE, text=True,
                                     env={**os.environ, "TMPDIR": self.place})
        self.addCleanup(self.demo.stdout.close)
        self.addCleanup(self.demo.wait, PATIENCE)
        self.addCleanup(self.demo.terminate)

    def told(self):
        """What the demo says of itself, by the first word of its lines."""
        told = {}
        for line in self.demo.stdout:
            name, _, value = line.strip().partition("  ")
            told[name] = value.strip()
            if "Ctrl-C" in line:
                return told
        self.fail(f"the demo said no more than {told}")

    def ask(self, address, method, path, headers, body=None):
        with contextlib.closing(http.client.HTTPConnection(address, timeout=PATIENCE)) as server:
            server.request(method, path, body, headers)
            answer = server.getresponse()
            return answer, json.loads(answer.read())

    def test_a_user_can_sign_in_and_nothing_is_left_behind(self):
        told = self.told()
        address = urllib.parse.urlsplit(told["The page"]).netloc
        user = {"user": told["User"], "password": told["Password"]}
        answer, session = self.ask(address, "POST", "/api/v1/session",
                                   {"Content-Type": "application/json"}, json.dumps(user))
        self.assertLess(answer.status, 300, session)
        cookie = re.match("[^;]*", answer.headers["Set-Cookie"])[0]
        _, rules = self.ask(address, "GET", "/api/v1/rules", {"Cookie": cookie})
        self.assertGreaterEqual(len(rules["filters"]), 3)
        self.assertNotEqual([], processes_with(self.place))
        self.demo.send_signal(signal.SIGINT)
        self.assertEqual(0, self.demo.wait(PATIENCE))
        self.assertEqual([], os.listdir(self.place))
        self.assertEqual([], processes_with(self.place))


if __name__ == "__main__":
    dovecot.skip_unless_possible()
    unittest.main()
