#!/usr/bin/env python3
"""The page as the running server gives it to browsers: page_test.py PROGRAM"""
import contextlib
import os
import pathlib
import shutil
import signal
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from web_server import ALICE, PAGE, DaemonTestCase, until  # noqa: E402

PROGRAM = os.path.abspath(sys.argv.pop(1))
POLICY = ("default-src 'none'; script-src 'self'; style-src 'self'; img-src data: 'self'; "
          "connect-src 'self'; base-uri 'none'; form-action 'self'; frame-ancestors 'none'")


class PageTest(DaemonTestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(
            tempfile.TemporaryDirectory(prefix="quarrow-page-")))
        (self.folder / "words").mkdir()
        (self.folder / "index.html").write_text("<p>first</p>")
        (self.folder / "main.js").write_text("'use strict';")
        (self.folder / "words" / "en.json").write_text('{"ok": "OK"}')
        (self.folder / "link.html").symlink_to("/etc/passwd")

    def start_with_page(self):
        return self.start(PROGRAM, "--trust-proxy-user", "--page", self.folder)

    def test_files_come_with_what_browsers_are_told(self):
        daemon = self.start_with_page()
        status, body, headers = daemon.ask("GET", "/")
        self.assertEqual((200, "<p>first</p>"), (status, body))
        for name, value in {"Content-Type": "text/html; charset=utf-8",
                            "Content-Security-Policy": POLICY, "Cache-Control": "no-cache",
                            "X-Content-Type-Options": "nosniff",
                            "Referrer-Policy": "no-referrer"}.items():
            self.assertEqual([value], headers.get_all(name), name)
        for path, kind in {"/main.js": "text/javascript; charset=utf-8",
                           "/words/en.json?v=1": "application/json; charset=utf-8"}.items():
            status, _, headers = daemon.ask("GET", path)
            self.assertEqual((200, kind), (status, headers["Content-Type"]))

    def test_head_and_what_a_browser_has_already(self):
        daemon = self.start_with_page()
        status, body, headers = daemon.ask("HEAD", "/main.js")
        self.assertEqual((200, "", "13"), (status, body, headers["Content-Length"]))
        known = {"If-None-Match": headers["ETag"]}
        status, body, headers = daemon.ask("GET", "/main.js", known)
        self.assertEqual((304, "", POLICY), (status, body, headers["Content-Security-Policy"]))
        self.assertEqual(200, daemon.ask("GET", "/", known)[0])
        self.assertEqual(405, daemon.ask("POST", "/main.js", body="x")[0])

    def test_no_path_leads_out_of_the_folder(self):
        daemon = self.start_with_page()
        tricks = ["/../index.html", "/words/../index.html", "/./index.html", "//index.html",
                  "/words//en.json", "/%2e%2e/index.html", "/words/%2e%2e/main.js",
                  "/words%2fen.json", "/words%5cen.json", "/..%2f..%2fetc%2fpasswd",
                  "/main.js%00.html", "/words/en.json/", "/main.js/", "/link.html", "/words",
                  "/words/", "/.", "/etc/passwd", str(self.folder / "index.html")]
        for trick in tricks:
            status, body, _ = daemon.ask("GET", trick)
            self.assertIn(status, (400, 404), trick)
            self.assertNotIn("root:", body)
        self.assertIn("link.html: Is a symbolic link", daemon.log_text())

    def test_the_api_stays_where_it_was(self):
        daemon = self.start_with_page()
        self.assertEqual(404, daemon.ask("GET", "/api/v1/x", {"X-Quarrow-User": ALICE})[0])
        for path in ("/api", "/api/", "/api/v1", "/api/index.html"):
            self.assertEqual("application/problem+json",
                             daemon.ask("GET", path)[2]["Content-Type"], path)

    def test_files_are_read_anew_when_the_server_is_told_to(self):
        if os.geteuid() == 0:  # the server's user reads them then
            for path in (self.folder, self.folder / "words"):
                path.chmod(0o755)
        daemon = self.start_with_page()
        (self.folder / "main.js").write_text("'use stricter';")
        self.assertEqual("'use strict';", daemon.ask("GET", "/main.js")[1])
        daemon.process.send_signal(signal.SIGHUP)
        until(lambda: self.is_served(daemon, "/main.js", "'use stricter';"), "the new file")
        shutil.rmtree(self.folder / "words")
        (self.folder / "index.html").unlink()
        daemon.process.send_signal(signal.SIGHUP)
        until(lambda: "has no index.html" in daemon.log_text(), "a complaint")
        until(lambda: self.is_served(daemon, "/words/en.json", '{"ok": "OK"}'), "the old file")

    def is_served(self, daemon, path, content):
        """Also while workers give way to new ones."""
        with contextlib.suppress(ConnectionError):
            return daemon.ask("GET", path)[1] == content

    def test_the_api_is_served_alone_where_there_is_no_page(self):
        daemon = self.start(PROGRAM, "--trust-proxy-user", "--page", self.folder / "nowhere")
        self.assertIn("there is no page: the API is served alone", daemon.log_text())
        self.assertEqual(404, daemon.ask("GET", "/")[0])
        self.assertEqual(200, daemon.ask("GET", "/api/v1/session", {"X-Quarrow-User": ALICE})[0])

    def test_all_files_of_the_own_page_are_served(self):
        daemon = self.start(PROGRAM, "--trust-proxy-user")
        self.assertNotIn("page: ", daemon.log_text())
        for path in PAGE.rglob("*"):
            if path.is_file():
                name = path.relative_to(PAGE)
                self.assertEqual(path.read_text(), daemon.ask("GET", f"/{name}")[1], name)


if __name__ == "__main__":
    unittest.main()
