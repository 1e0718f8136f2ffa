#!/usr/bin/env python3
"""Rules applied to mail by the running server: application_test.py PROGRAM QUARROW

The message with a keyword keeps the work busy while the folder that it goes to is locked, as an IMAP
server locks it.
"""
import contextlib
import json
import os
import pathlib
import signal
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from web_server import ALICE, Connection, DaemonTestCase, field, json_of, until  # noqa: E402

PROGRAM, QUARROW = (os.path.abspath(path) for path in (sys.argv.pop(1), sys.argv.pop(1)))
RULE = {"name": "Reports", "enabled": True, "relation": "allof",
        "tests": [{"type": "string", "field": "subject", "comparator": "contains",
                   "value": "report", "negative": False, "match_case": False}],
        "actions": [{"method": "move", "target": "Reports"}]}
REPORT = b"Subject: report\n\nHello\n"
NAMES = ["1777896000.M1P1.mx:2,S", "1777896001.M1P2.mx:2,a"]
MOVING = ("filing", "undoing")


class ApplicationTest(DaemonTestCase):
    def setUp(self):
        self.daemon = self.start(PROGRAM, "--trust-proxy-user")
        root = self.daemon.folder / "root"
        subprocess.run([QUARROW, "--root", root, "init", "--catalogue", root / "fields.xml"],
                       stdout=subprocess.DEVNULL, check=True)
        self.home = self.daemon.home(ALICE)
        self.inbox = self.home / "Maildir"
        self.target = self.inbox / ".Reports"
        for folder in (self.inbox, self.target):
            for part in ("cur", "new", "tmp"):
                (folder / part).mkdir(parents=True)
        for name in NAMES:
            (self.inbox / "cur" / name).write_bytes(REPORT)
        (self.inbox / "dovecot-keywords").write_text("0 Work\n")
        self.lock = self.target / "dovecot-uidlist.lock"
        self.lock.write_text("")
        self.give_to_owner()
        proxy = {"X-Quarrow-User": ALICE}
        token = json_of(self.daemon.ask("GET", "/api/v1/session", proxy))["token"]
        self.headers = {**proxy, "X-Quarrow-Token": token, "Content-Type": "application/json"}
        added = self.ask("POST", "/rules", RULE, self.tag())
        self.assertEqual(201, added[0], added[1])

    def give_to_owner(self):
        owner = self.home.stat()
        for path in [self.inbox, *self.inbox.rglob("*")]:
            os.chown(path, owner.st_uid, owner.st_gid)

    def tag(self):
        return self.daemon.ask("GET", "/api/v1/rules", self.headers)[2]["ETag"]

    def ask(self, method, path, body=None, tag=None):
        headers = {**self.headers, "If-Match": tag} if tag else self.headers
        return self.daemon.ask(method, "/api/v1" + path, headers,
                               None if body is None else json.dumps(body))

    def state(self):
        return json_of(self.ask("GET", "/application"))

    def begin(self):
        """Begins to file, and gives the number of the process, which is kept busy."""
        answer = self.ask("POST", "/application", {}, self.tag())
        self.assertEqual((202, "filing"), (answer[0], json_of(answer)["state"]), answer[1])
        process, = self.processes()
        return process

    def processes(self):
        """Those that do the work, without their helpers, which have their name for a moment."""
        found = {}
        for path in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                if (path / "comm").read_text() == "quarrow-refile\n" and \
                        os.path.samefile(path / "cwd", self.home):
                    found[int(path.name)] = int(field(path.name, "PPid")[0])
        return [process for process, parent in found.items() if parent not in found]

    def end_of_work(self):
        self.lock.unlink(missing_ok=True)
        until(lambda: self.state()["state"] not in MOVING, "the work ends")
        return self.state()

    def places(self):
        return [sorted(path.name for path in (folder / "cur").iterdir())
                for folder in (self.inbox, self.target)]

    def test_the_browser_goes_away(self):
        tag = self.tag()
        connection = Connection(self.daemon.socket)
        connection.request("POST", "/api/v1/application", "{}", {**self.headers, "If-Match": tag})
        until(lambda: self.state()["state"] == "filing", "the work begins")
        connection.close()
        until(lambda: self.state()["done"] == len(NAMES), "all is decided")
        self.assertEqual(2, len(self.places()[0]))
        state = self.end_of_work()
        self.assertEqual(("filed", True, 0), (state["state"], state["undoable"], state["failures"]))
        self.assertEqual([[], NAMES], self.places())
        self.assertEqual(202, self.ask("POST", "/application/undo")[0])
        self.assertEqual("undone", self.end_of_work()["state"])
        self.assertEqual([NAMES, []], self.places())

    def test_the_server_goes_away(self):
        process = self.begin()
        self.assertEqual(os.EX_OK, self.daemon.stop())
        self.assertEqual([process], self.processes())
        self.lock.unlink()
        until(lambda: not self.processes(), "the work ends")
        self.assertEqual([[], NAMES], self.places())

    def test_the_process_has_the_owners_rights_and_nothing_of_the_server(self):
        process = self.begin()
        owner = str(self.home.stat().st_uid)
        self.assertEqual([owner] * 4, field(process, "Uid"))
        self.assertEqual([], field(process, "Groups") if os.geteuid() == 0 else [])
        self.assertEqual(["1"], field(process, "NoNewPrivs"))
        self.assertNotEqual(os.getsid(self.daemon.broker()), os.getsid(process))
        self.assertEqual(os.getpriority(os.PRIO_PROCESS, self.daemon.broker()) + 10,
                         os.getpriority(os.PRIO_PROCESS, process))
        servers = [self.daemon.process.pid, self.daemon.broker()]
        of_server = set().union(*map(self.sockets_of, servers))
        self.assertNotEqual(set(), of_server)
        self.assertEqual(set(), of_server & self.sockets_of(process))
        self.end_of_work()
        for path in self.home.iterdir():
            self.assertEqual(owner, str(path.stat().st_uid), path)

    @staticmethod
    def sockets_of(process):
        found = set()
        for path in pathlib.Path(f"/proc/{process}/fd").iterdir():
            with contextlib.suppress(FileNotFoundError):  # closed meanwhile
                found.add(os.readlink(path))
        return {each for each in found if each.startswith("socket:")}

    def test_work_that_is_killed_can_be_undone(self):
        os.kill(self.begin(), signal.SIGKILL)
        until(lambda: self.state()["state"] == "interrupted", "its end is known")
        self.assertEqual(202, self.ask("POST", "/application", {}, self.tag())[0])
        self.assertEqual("filed", self.end_of_work()["state"])
        self.assertEqual([[], NAMES], self.places())
        self.assertEqual(202, self.ask("POST", "/application/undo")[0])
        self.assertEqual("undone", self.end_of_work()["state"])
        self.assertEqual([NAMES, []], self.places())

    def test_one_piece_of_work_at_a_time(self):
        self.begin()
        for path, body in (("/application", {}), ("/application/plan", {}),
                           ("/application/undo", None)):
            answer = self.ask("POST", path, body, self.tag())
            self.assertEqual(409, answer[0], answer[1])
            self.assertEqual("filing", json_of(answer)["application"]["state"])
        self.assertEqual(202, self.ask("POST", "/application/stop")[0])
        self.end_of_work()
        planned = self.ask("POST", "/application/plan", {})
        self.assertEqual(202, planned[0], planned[1])
        until(lambda: self.state()["state"] == "planned", "the plan")

    def test_the_command_and_the_server_keep_out_of_each_others_way(self):
        self.begin()
        command = [QUARROW, "--root", self.daemon.folder / "root", "apply", ALICE, "--yes"]
        refused = subprocess.run(command, capture_output=True, text=True)
        self.assertEqual(os.EX_TEMPFAIL, refused.returncode, refused.stderr)
        self.assertIn("another process is moving this user's mail", refused.stderr)
        self.end_of_work()


if __name__ == "__main__":
    unittest.main()
