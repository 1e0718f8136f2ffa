#!/usr/bin/env python3
"""The profiles for AppArmor allow each file that the running servers use:
profiles_test.py QUARROW_LMTPD QUARROW_WEBD QUARROW_HOMES QUARROW

Each server is traced while it does its work. What it uses in the test's folders is looked for in
its profile under the names that packages give them. Whether a kernel keeps the profile is not tried
here.
"""
import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

WEBD, HOMES, QUARROW = (os.path.abspath(sys.argv.pop(2)) for _ in range(3))
TESTS = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TESTS / name) for name in ("homes", "lmtpd", "webd", "support")]
import homes_server  # noqa: E402
import lmtp_server  # noqa: E402
import web_server  # noqa: E402
from profile import SETTINGS, Profile  # noqa: E402
from server_process import until  # noqa: E402
from system_calls import calls_in, tracing, why_no_trace  # noqa: E402
from uses import CALLS, files_used  # noqa: E402

PROFILES = TESTS.parent / "packaging" / "apparmor"
ROOT = "/var/spool/quarrow"
FORBIDDEN = [("/etc/shadow", "r"), ("/root/.ssh/id_rsa", "r"), ("/usr/bin/dash", "r"),
             ("/var/spool/cron/crontabs/root", "w"), ("/var/spool/etc/fields.xml", "w"),
             *((f"/etc/quarrow/{name}.conf", "w") for name in ("homes", "lmtpd", "webd")),
             *((f"/usr/sbin/quarrow-{name}", "w") for name in ("homes", "lmtpd", "webd")),
             ("/var/lib/quarrow/homes.sqlite", "w")]
FILTER = {"name": "Work", "enabled": True, "relation": "allof",
          "tests": [{"type": "string", "field": "subject", "comparator": "is", "value": "work",
                     "negative": False, "match_case": False}],
          "actions": [{"method": "move", "target": "Work"}]}


class ProfileTestCase(unittest.TestCase):
    def setUp(self):
        if reason := why_no_trace():
            self.skipTest(reason)
        if not (SETTINGS / "abstractions").is_dir():
            self.skipTest("apparmor is not installed")
        self.traces = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def check(self, name, used):
        profile = Profile(PROFILES / name)
        self.assertEqual([], [use for use in sorted(used) if not profile.allows(*use)])
        self.assertEqual([], [use for use in FORBIDDEN if profile.allows(*use)])


class LmtpTest(ProfileTestCase):
    def places(self, daemon):
        return {daemon.folder / "root": ROOT, daemon.folder / "spool": "/var/tmp",
                daemon.config: "/etc/quarrow/lmtpd.conf", daemon.socket: "/run/quarrow/lmtp",
                daemon.folder / "health": "/run/quarrow/health",
                daemon.metrics: "/run/quarrow-lmtpd/metrics"}

    def test_mail_and_another_reading_of_the_options(self):
        daemon = lmtp_server.Daemon("--journal", "--max-in-memory", "1000",
                                    launcher=tracing(self.traces, CALLS))
        try:
            with lmtp_server.Lmtp(daemon.socket) as client:
                client.ehlo("test")
                first, second = lmtp_server.USERS[:2]
                client.deliver([first], "work")
                client.deliver([second], "=?koi8-r?q?=D0?=", body="\r\n".join(["x" * 900] * 2))
            workers = daemon.workers()
            daemon.signal(signal.SIGHUP)
            until(lambda: not set(workers) & set(daemon.workers()), "new workers are there")
            daemon.signal(signal.SIGUSR1)
            until(daemon.metrics.exists, "the counters are written")
        finally:
            daemon.close()
        used = files_used(self.traces, self.places(daemon))
        self.assertLessEqual({(f"{ROOT}/example.org/user0/.delivery_filter", "r"),
                              (f"{ROOT}/example.org/user1/.delivery_journal", "w"),
                              ("/var/tmp/#1", "w"), ("/run/quarrow/lmtp", "w"),
                              ("/run/quarrow-lmtpd/metrics", "w")}, used)
        self.check("quarrow-lmtpd", used)


class HomesTest(ProfileTestCase):
    def test_a_table_and_another_reading_of_the_options(self):
        table = homes_server.Table(QUARROW)
        self.addCleanup(table.close)
        config = table.folder / "homes.conf"
        config.write_text("client-patience=30\n")
        daemon = homes_server.Daemon(HOMES, table, "--config", config,
                                     launcher=tracing(self.traces, CALLS))
        try:
            self.assertEqual(homes_server.MOVING,
                             daemon.ask(f"transport {homes_server.CAROL}"))
            daemon.process.send_signal(signal.SIGHUP)
            until(lambda: self.read_twice(config), "the options are read again")
            daemon.process.send_signal(signal.SIGUSR1)
            until(daemon.metrics.exists, "the counters are written")
        finally:
            daemon.close()
        used = files_used(self.traces, {
            table.file.parent: "/var/lib/quarrow", config: "/etc/quarrow/homes.conf",
            daemon.path: "/run/quarrow/homes", daemon.metrics: "/run/quarrow-homes/metrics"})
        self.assertLessEqual({("/var/lib/quarrow/homes.sqlite", "r"),
                              ("/etc/quarrow/homes.conf", "r"), ("/run/quarrow/homes", "w"),
                              ("/run/quarrow-homes/metrics", "w")}, used)
        self.check("quarrow-homes", used)

    def read_twice(self, config):
        return sum(str(config) in call.text for calls in calls_in(self.traces)
                   for call in calls) > 1


class WebTest(ProfileTestCase):
    def ask(self, method, path, body=None, tag=None):
        headers = {**self.headers, "If-Match": tag} if tag else self.headers
        answer = self.daemon.ask(method, "/api/v1" + path, headers,
                                 None if body is None else json.dumps(body))
        self.assertLess(answer[0], 300, answer[1])
        return answer

    def tag(self):
        return self.ask("GET", "/rules")[2]["ETag"]

    def prepare(self, daemon):
        root = daemon.folder / "root"
        subprocess.run([QUARROW, "--root", root, "init", "--catalogue",
                        daemon.folder / "etc" / "fields.xml"], check=True,
                       stdout=subprocess.DEVNULL)
        inbox = daemon.home(web_server.ALICE) / "Maildir"
        for part in ("cur", "new", "tmp"):
            (inbox / part).mkdir(parents=True)
        (inbox / "cur" / "1777896000.M1P1.mx:2,S").write_text("Subject: work\n\nHello\n")

    def use(self):
        """What a user does on the page, and a sign-in with no server behind it."""
        self.headers = {"X-Quarrow-User": web_server.ALICE}
        session = web_server.json_of(self.ask("GET", "/session"))
        self.headers.update({"X-Quarrow-Token": session["token"],
                             "Content-Type": "application/json"})
        self.ask("POST", "/rules", FILTER, self.tag())
        self.ask("GET", "/fields")
        self.ask("GET", "/history")
        self.ask("GET", "/statistics")
        self.ask("POST", "/application", {}, self.tag())
        until(lambda: web_server.json_of(self.ask("GET", "/application"))["state"] == "filed",
              "the mail is filed")

    def test_rules_and_mail(self):
        self.daemon = web_server.Daemon(WEBD, "--trust-proxy-user", prepare=self.prepare,
                                        launcher=tracing(self.traces, CALLS))
        folder = self.daemon.folder
        try:
            self.use()
        finally:
            self.daemon.close()
        used = files_used(self.traces, {
            folder / "root": ROOT, folder / "etc": "/var/spool/etc",
            web_server.PAGE: "/usr/share/quarrow/page", self.daemon.socket: "/run/quarrow/web"})
        self.assertLessEqual({(f"{ROOT}/example.org/alice/.delivery_filter.xml.new", "w"),
                              (f"{ROOT}/example.org/alice/.refiling_journal", "w"),
                              ("/usr/share/quarrow/page/index.html", "r"),
                              ("/run/quarrow/web", "w")}, used)
        self.check("quarrow-webd", used)


if __name__ == "__main__":
    unittest.main()
