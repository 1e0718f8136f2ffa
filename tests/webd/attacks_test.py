#!/usr/bin/env python3
"""What a stranger may try on the web server, tried on the running program:
attacks_test.py PROGRAM QUARROW DOCS_FOLDER [unittest arguments]

docs/web-security.md is the table of these tests. Requests are taken from openapi.json, so that an
operation that comes later is attacked, too.
"""
import contextlib
import json
import os
import pathlib
import re
import socket
import subprocess
import sys
import unittest
import urllib.parse

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from web_server import ALICE, BOB, PATIENCE, DaemonTestCase, json_of  # noqa: E402

PROGRAM, QUARROW, DOCS = (os.path.abspath(sys.argv.pop(1)) for _ in range(3))
START = "/api/v1"
MEGABYTE = 1 << 20
JSON = {"Content-Type": "application/json"}
FILTER = {"name": "Reports", "enabled": True, "relation": "allof",
          "tests": [{"type": "string", "field": "subject", "comparator": "contains",
                     "value": "report", "negative": False, "match_case": False}],
          "actions": [{"method": "move", "target": "Reports"}]}

# What leads out of a folder, ends a text too early, or is no text.
WAYS_OUT = ["..", "../..", "../../bob", "/etc/passwd", "..\\..", "....//", ".", "a/../../../b",
            "INBOX/../../../bob", "\0", "a\0b", "%2e%2e", "%00", "a\r\nX-Injected: 1",
            "\r\n\r\nHTTP/1.1 200 OK", "\x7f", "~root", "$(id)", "`id`", "' or 1=1 --", "<b>",
            "\u202egpj", "x" * 4000, "-1", "0", "99999999999999999999", "*", "*/*"]
RAW_WAYS_OUT = ["..%2f..%2fetc", "%2e%2e%2f", "%2e%2e/%2e%2e", "..%5c", "%", "%0", "%zz", "%ff%fe",
                "%c0%ae%c0%ae", "..;/", "a%0d%0aX-Injected:%201", "%u002e"]


def operations():
    """(method, path) of each operation of the API that works for a user."""
    document = json.loads((pathlib.Path(DOCS) / "openapi.json").read_text())
    return [(method.upper(), path) for path, item in document["paths"].items()
            for method in item if method != "parameters" and not path.startswith("/session")]


def parameters(method, path):
    """The names of an operation's parameters in the query."""
    document = json.loads((pathlib.Path(DOCS) / "openapi.json").read_text())
    item = document["paths"][path]
    every = item.get("parameters", []) + item[method.lower()].get("parameters", [])
    known = document["components"]["parameters"]
    resolved = [known[each["$ref"].rpartition("/")[2]] if "$ref" in each else each
                for each in every]
    return [each["name"] for each in resolved if each["in"] == "query"]


def with_items(path, item):
    return re.sub(r"\{\w+\}", lambda _: item, path)


class AttackTestCase(DaemonTestCase):
    def setUp(self):
        self.daemon = self.start(PROGRAM, "--trust-proxy-user")
        root = self.daemon.folder / "root"
        subprocess.run([QUARROW, "--root", root, "init", "--catalogue", root / "fields.xml"],
                       stdout=subprocess.DEVNULL, check=True)
        self.alice = self.caller(ALICE)
        self.bob = self.caller(BOB)
        self.add(self.alice, "Reports")
        self.add(self.alice, "Bills")
        self.before = self.files()

    def caller(self, user):
        headers = {"X-Quarrow-User": user}
        token = json_of(self.daemon.ask("GET", START + "/session", headers))["token"]
        return {**headers, "X-Quarrow-Token": token}

    def add(self, caller, name):
        headers = {**caller, **JSON, "If-Match": self.rules(caller)[1]}
        body = json.dumps({**FILTER, "name": name})
        answer = self.daemon.ask("POST", START + "/rules", headers, body)
        self.assertEqual(201, answer[0], answer[1])

    def rules(self, caller):
        """The rules of the caller, and their ETag."""
        answer = self.daemon.ask("GET", START + "/rules", caller)
        self.assertEqual(200, answer[0], answer[1])
        return json_of(answer), answer[2]["ETag"]

    def files(self):
        """The bytes of all that the users have."""
        return {str(path): path.read_bytes()
                for path in sorted((self.daemon.folder / "root").rglob("*")) if path.is_file()}

    def assert_nothing_changed(self, what):
        self.assertEqual(self.before, self.files(), what)

    def raw(self, data):
        """All that the server answers to these bytes, until it closes the connection."""
        with contextlib.closing(socket.socket(socket.AF_UNIX)) as client:
            client.settimeout(PATIENCE)
            client.connect(self.daemon.socket)
            answer = b""
            with contextlib.suppress(BrokenPipeError, ConnectionResetError):
                client.sendall(data)
                client.shutdown(socket.SHUT_WR)
            with contextlib.suppress(ConnectionResetError):
                while part := client.recv(65536):
                    answer += part
            return answer


class ForgeryTest(AttackTestCase):
    def changes(self):
        return [(method, with_items(path, "1")) for method, path in operations()
                if method != "GET"]

    def assert_refused(self, status, headers, what):
        for method, path in self.changes():
            answer = self.daemon.ask(method, START + path, headers, "{}")
            self.assertEqual(status, answer[0], f"{what}: {method} {path}: {answer[1]}")
        self.assert_nothing_changed(what)

    def test_a_change_without_the_token(self):
        etag = self.rules(self.alice)[1]
        base = {"X-Quarrow-User": ALICE, "If-Match": etag, **JSON}
        self.assert_refused(403, base, "no token")
        for token in ("", "x", "0" * 64, self.bob["X-Quarrow-Token"],
                      self.alice["X-Quarrow-Token"][:-1], self.alice["X-Quarrow-Token"] + "0"):
            self.assert_refused(403, {**base, "X-Quarrow-Token": token}, f"token {token!r}")

    def test_a_change_from_a_page_of_another_site(self):
        etag = self.rules(self.alice)[1]
        base = {**self.alice, "If-Match": etag, **JSON}
        for name, value in [("Sec-Fetch-Site", "cross-site"), ("Sec-Fetch-Site", "same-site"),
                            ("Origin", "https://evil.example"), ("Origin", "null"),
                            ("Origin", "http://localhost.evil.example")]:
            self.assert_refused(403, {**base, name: value}, f"{name}: {value}")

    def test_a_form_of_another_page(self):
        etag = self.rules(self.alice)[1]
        for kind in ("text/plain", "application/x-www-form-urlencoded", "multipart/form-data"):
            headers = {**self.alice, "If-Match": etag, "Content-Type": kind}
            answer = self.daemon.ask("POST", START + "/rules", headers, json.dumps(FILTER))
            self.assertEqual(415, answer[0], kind)
        self.assert_nothing_changed("forms")

    def test_a_name_that_the_proxy_did_not_give(self):
        for user in ("nobody@example.org", "../example.org/alice", "alice", "@", "alice@", "root",
                     ALICE + ".", "alice@example.org/../example.org", "\xff@example.org"):
            answer = self.daemon.ask("GET", START + "/rules", {"X-Quarrow-User": user})
            self.assertEqual(401, answer[0], user)

    def test_two_names_at_once(self):
        request = (f"GET {START}/rules HTTP/1.1\r\nHost: x\r\nX-Quarrow-User: {ALICE}\r\n"
                   f"X-Quarrow-User: {BOB}\r\nConnection: close\r\n\r\n")
        self.assertRegex(self.raw(request.encode()), rb"^HTTP/1\.1 401 ")


class NameTest(AttackTestCase):
    """Paths, parameters and texts that lead elsewhere."""

    def check(self, method, target, body=None):
        headers = {**self.alice, "If-Match": self.etag, **JSON}
        answer = self.daemon.ask(method, target, headers, body)
        self.assertIn(answer[0], (200, 201, 202, *range(400, 500)), f"{method} {target[:200]!r}")
        self.assertIsNone(answer[2]["X-Injected"], f"{method} {target[:200]!r}")
        for secret in ("root:x:0", self.bobs_word):
            self.assertNotIn(secret, answer[1], f"{method} {target[:200]!r}")
        return answer

    def setUp(self):
        super().setUp()
        self.etag = self.rules(self.alice)[1]
        self.add(self.bob, "Bobs-own-rule")
        self.bobs_word = "Bobs-own-rule"
        self.before = self.files()

    def test_in_the_place_of_an_item(self):
        items = [urllib.parse.quote(way, safe="") for way in WAYS_OUT] + RAW_WAYS_OUT
        for method, path in operations():
            if "{" in path:
                for item in items:
                    answer = self.check(method, START + with_items(path, item),
                                        None if method in ("GET", "DELETE") else "{}")
                    self.assertGreaterEqual(answer[0], 400, f"{method} {path} {item[:100]}")
        self.assert_nothing_changed("items")

    def test_in_a_parameter(self):
        ways = [urllib.parse.quote(way, safe="") for way in WAYS_OUT] + RAW_WAYS_OUT
        for method, path in operations():
            for name in parameters(method, path):
                for way in ways:
                    target = START + with_items(path, "1") + f"?{name}={way}"
                    self.check(method, target, None if method == "GET" else "{}")
        self.assert_nothing_changed("parameters")

    def test_in_each_text_of_a_body(self):
        bodies = {"/rules": lambda way: {**FILTER, "actions": [{"method": "move", "target": way}]},
                  "/history/restore": lambda way: {"revision": way},
                  "/preview": lambda way: {"filter": FILTER, "folder": way, "cursor": way},
                  "/application/plan": lambda way: {"folder": way, "discard_to": way}}
        known = {path for method, path in operations() if method == "POST"}
        for path, body in bodies.items():
            if path in known:
                for way in WAYS_OUT:
                    self.check("POST", START + path, json.dumps(body(way)))
        outside = [path for path in self.files() if path not in self.before and "/alice/" not in path]
        self.assertEqual([], outside)
        alices = f"{os.sep}alice{os.sep}"
        kept = {path: data for path, data in self.before.items() if alices not in path}
        self.assertEqual(kept, {path: data for path, data in self.files().items() if path in kept})

    def test_in_the_path_itself(self):
        for path in ("/../etc/passwd", "//etc/passwd", "/./rules", "/rules/../../../etc/passwd",
                     "/%2e%2e/%2e%2e/etc/passwd", "/..%2f..%2fetc%2fpasswd", "/rules%00", "/rules//1",
                     "/rules/1/../2", "/\\..\\..", "/rules;x=1", "/rules/1#2"):
            for start in ("", START):
                answer = self.check("GET", start + path)
                self.assertGreaterEqual(answer[0], 400, start + path)
        for target in ("http://other.example/api/v1/rules", "*", "rules", "?"):
            request = (f"GET {target} HTTP/1.1\r\nHost: x\r\nX-Quarrow-User: {ALICE}\r\n\r\n")
            self.assertRegex(self.raw(request.encode()), rb"^HTTP/1\.1 4\d\d ", target)

    def test_a_header_from_a_value(self):
        name = "a\r\nX-Injected: 1\r\n\r\nb"
        answer = self.check("POST", START + "/rules", json.dumps({**FILTER, "name": name}))
        for text in (answer[1], str(answer[2])):
            self.assertNotRegex(text, r"(?m)^X-Injected")
        raw = self.raw(f"GET {START}/export?form=a%0d%0aX-Injected:1 HTTP/1.1\r\nHost: x\r\n"
                       f"X-Quarrow-User: {ALICE}\r\n\r\n".encode())
        self.assertNotRegex(raw, rb"(?m)^X-Injected")


class OtherUserTest(AttackTestCase):
    """Bob, who knows all identifiers of Alice."""

    def test_another_users_identifiers_in_every_request(self):
        rules, etag = self.rules(self.alice)
        revision = etag.strip('"')
        ids = [str(each["id"]) for each in rules["filters"]] + [revision]
        headers = {**self.bob, **JSON, "If-Match": etag}
        for method, path in operations():
            for item in ids:
                target = START + with_items(path, item)
                body = None if method in ("GET", "DELETE") else json.dumps({"revision": revision})
                answer = self.daemon.ask(method, target, headers, body)
                self.assertNotIn("Bills", answer[1], f"{method} {target}")
                if "{" in path:
                    self.assertGreaterEqual(answer[0], 400, f"{method} {target}: {answer[1]}")
        alices = {path: data for path, data in self.before.items() if "/alice/" in path}
        self.assertEqual(alices, {path: data for path, data in self.files().items()
                                  if "/alice/" in path})

    def test_the_token_of_another_user(self):
        mixed = {**self.bob, "X-Quarrow-Token": self.alice["X-Quarrow-Token"], **JSON}
        answer = self.daemon.ask("POST", START + "/rules/check", mixed, json.dumps({"filter": FILTER}))
        self.assertEqual(403, answer[0])


class MegabyteTest(AttackTestCase):
    def test_a_megabyte_of_everything(self):
        long = "x" * MEGABYTE
        headers = {**self.alice, **JSON, "If-Match": self.rules(self.alice)[1]}
        texts = [("a target", b"GET /" + long.encode() + b" HTTP/1.1\r\nHost: x\r\n\r\n"),
                 ("a method", long.encode() + b" / HTTP/1.1\r\nHost: x\r\n\r\n"),
                 ("a header", b"GET / HTTP/1.1\r\nHost: x\r\nX: " + long.encode() + b"\r\n\r\n"),
                 ("a header's name", b"GET / HTTP/1.1\r\nHost: x\r\n" + long.encode() + b": x\r\n\r\n"),
                 ("headers", b"GET / HTTP/1.1\r\nHost: x\r\n" + b"X: y\r\n" * 200000 + b"\r\n"),
                 ("a cookie", b"GET / HTTP/1.1\r\nHost: x\r\nCookie: " + long.encode() + b"\r\n\r\n"),
                 ("a version", b"GET / HTTP/" + long.encode() + b"\r\nHost: x\r\n\r\n")]
        for what, data in texts:
            self.assertRegex(self.raw(data), rb"^HTTP/1\.1 (400|413|414|431|501|505) ", what)
        bodies = [("a text", json.dumps({**FILTER, "name": long})), ("lists", "[" * MEGABYTE),
                  ("a number", "1" * MEGABYTE), ("blanks", " " * MEGABYTE)]
        for what, body in bodies:
            self.assertEqual(413, self.daemon.ask("POST", START + "/rules", headers, body)[0], what)
        self.assert_nothing_changed("a megabyte")

    def test_the_most_that_a_body_may_have(self):
        size = 200000
        headers = {**self.alice, **JSON, "If-Match": self.rules(self.alice)[1]}
        test = FILTER["tests"][0]
        bodies = [("lists", "[" * size), ("objects", '{"a":' * (size // 5)), ("a number", "1" * size),
                  ("a name", json.dumps({**FILTER, "name": "n" * size})),
                  ("a value", json.dumps({**FILTER, "tests": [{**test, "value": "v" * size}]})),
                  ("a field", json.dumps({**FILTER, "tests": [{**test, "field": "f" * size}]})),
                  ("tests", json.dumps({**FILTER, "tests": [test] * (size // 200)})),
                  ("actions", json.dumps({**FILTER, "actions": FILTER["actions"] * 3000})),
                  ("a folder", json.dumps({**FILTER, "actions": [{"method": "move",
                                                                  "target": "f" * size}]})),
                  ("a key", json.dumps({"k" * size: 1}))]
        for what, body in bodies:
            answer = self.daemon.ask("POST", START + "/rules", headers, body)
            self.assertIn(answer[0], (400, 422), f"{what}: {answer[1][:300]}")
        self.assert_nothing_changed("large bodies")


class SmugglingTest(AttackTestCase):
    """Two requests in one: what the proxy takes for a body must not be a request here."""

    def test_lengths_that_two_servers_read_differently(self):
        second = f"GET {START}/rules HTTP/1.1\r\nHost: x\r\nX-Quarrow-User: {BOB}\r\n\r\n"
        length = len(second)
        start = f"POST {START}/rules/check HTTP/1.1\r\nHost: x\r\nX-Quarrow-User: {ALICE}\r\n"
        heads = [
            f"Content-Length: {length}\r\nTransfer-Encoding: chunked\r\n",
            f"Transfer-Encoding: chunked\r\nContent-Length: {length}\r\n",
            f"Content-Length: 0\r\nContent-Length: {length}\r\n",
            f"Content-Length: 0, {length}\r\n", "Content-Length: +0\r\n", "Content-Length: 0x0\r\n",
            "Content-Length: -1\r\n", "Content-Length: 0 0\r\n", "Content-Length: 1e1\r\n",
            "Content-Length :0\r\n", " Content-Length: 0\r\n", "Content-Length: 0\r\n folded\r\n",
            "Transfer-Encoding: xchunked\r\n", "Transfer-Encoding: chunked, identity\r\n",
            "Transfer-Encoding: identity, chunked\r\n", "Transfer-Encoding : chunked\r\n",
            "Transfer-Encoding:\x0bchunked\r\n", "Transfer-Encoding: chunked\r\nTransfer-Encoding: x\r\n",
            "Transfer-Encoding: \"chunked\"\r\n", "Content-Length: 99999999999999999999\r\n",
            "X: y\nContent-Length: 0\r\n", "X: y\rContent-Length: 0\r\n", "X\0: y\r\n", "X: \0\r\n",
            "Host: y\r\n", "Upgrade: h2c\r\nContent-Length: 0\r\nX y\r\n"]
        for head in heads:
            answer = self.raw((start + head + "\r\n" + "0\r\n\r\n" + second).encode())
            self.assertRegex(answer, rb"^HTTP/1\.1 (400|413|501) ", repr(head))
            self.assertEqual(1, answer.count(b"HTTP/1.1 "), repr(head))

    def test_chunks_that_are_none(self):
        start = (f"POST {START}/rules/check HTTP/1.1\r\nHost: x\r\nX-Quarrow-User: {ALICE}\r\n"
                 "Transfer-Encoding: chunked\r\n\r\n")
        for chunks in ("-1\r\n", "+0\r\n\r\n", "0x0\r\n\r\n", " 0\r\n\r\n", "0\n\r\n", "0;\n\r\n",
                       "ffffffffffffffff\r\n", "10000000000000000\r\n", "g\r\n", "\r\n",
                       "1\r\nab\r\n", "0\r\nX : y\r\n\r\n", "0;a=\"\n\"\r\n\r\n"):
            answer = self.raw((start + chunks + "GET / HTTP/1.1\r\nHost: x\r\n\r\n").encode())
            self.assertRegex(answer, rb"^HTTP/1\.1 (400|413) ", repr(chunks))
            self.assertEqual(1, answer.count(b"HTTP/1.1 "), repr(chunks))

    def test_a_request_without_a_host_and_an_old_one_with_chunks(self):
        for request in ("GET / HTTP/1.1\r\n\r\n", "GET / HTTP/2.0\r\nHost: x\r\n\r\n",
                        "POST / HTTP/1.0\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
                        "GET /\r\n\r\n", "GET  / HTTP/1.1\r\nHost: x\r\n\r\n",
                        "GET / HTTP/1.1\nHost: x\n\n", "\x16\x03\x01\x02\0\x01\0\x01\xfc\x03\x03"):
            answer = self.raw(request.encode("latin-1"))
            self.assertRegex(answer, rb"^(HTTP/1\.1 (400|505) |$)", repr(request))
            self.assertNotIn(b" 200 ", answer)


class TableTest(unittest.TestCase):
    def test_each_row_has_a_test_and_each_attack_a_row(self):
        table = set(re.findall(r"`(test_\w+)`", (pathlib.Path(DOCS) / "web-security.md").read_text()))
        written = {path.name: set(re.findall(r"def (test_\w+)", path.read_text()))
                   for path in pathlib.Path(__file__).parent.glob("*_test.py")}
        self.assertEqual(set(), table - set().union(*written.values()))
        attacks = written[pathlib.Path(__file__).name] - {self._testMethodName}
        self.assertEqual(set(), attacks - table)


if __name__ == "__main__":
    unittest.main()
