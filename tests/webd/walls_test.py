#!/usr/bin/env python3
"""The walls of the web server: walls_test.py PROGRAM EVIL_PROGRAM

EVIL_PROGRAM is quarrow-webd with workers that were taken over (evil_front.cc); all else of it is the
server as it is.
"""
import errno
import os
import pathlib
import pwd
import signal
import socket
import subprocess
import sys
import unittest
import urllib.request

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from web_server import (ALICE, BOB, PAGE, PATIENCE, DaemonTestCase, field,  # noqa: E402
                        free_port, handing_over, json_of, unprivileged_user, until)

PROGRAM, EVIL_PROGRAM = (os.path.abspath(path) for path in (sys.argv.pop(1), sys.argv.pop(1)))
BY_ROOT = os.geteuid() == 0


class ServerTest(DaemonTestCase):
    def test_a_user_of_the_proxy(self):
        daemon = self.start(PROGRAM, "--trust-proxy-user")
        proxy = {"X-Quarrow-User": "Alice@example.org"}
        session = json_of(daemon.ask("GET", "/api/v1/session", proxy))
        self.assertEqual(ALICE, session["user"])
        self.assertEqual(404, daemon.ask("GET", "/api/v1/nothing", proxy)[0])
        self.assertEqual(403, daemon.ask("PUT", "/api/v1/nothing", proxy, "{}")[0])
        token = {**proxy, "X-Quarrow-Token": session["token"]}
        self.assertEqual(404, daemon.ask("PUT", "/api/v1/nothing", token, "{}")[0])
        token["X-Quarrow-User"] = BOB
        self.assertEqual(403, daemon.ask("PUT", "/api/v1/nothing", token, "{}")[0])
        self.assertEqual(401, daemon.ask("GET", "/api/v1/session",
                                         {"X-Quarrow-User": "nobody@example.org"})[0])

    def test_the_proxy_signs_users_in_and_out(self):
        daemon = self.start(PROGRAM, "--trust-proxy-user")
        proxy = {"X-Quarrow-User": ALICE}
        for method in ("POST", "DELETE"):
            self.assertEqual(403, daemon.ask(method, "/api/v1/session", proxy)[0])
        self.assertEqual(403, daemon.ask("DELETE", "/api/v1/sessions", proxy)[0])
        proxy["X-Quarrow-Token"] = json_of(daemon.ask("GET", "/api/v1/session", proxy))["token"]
        self.assertEqual(204, daemon.ask("DELETE", "/api/v1/sessions", proxy)[0])

    def test_without_trust_the_name_is_nothing(self):
        daemon = self.start(PROGRAM, "--imap", "imap://127.0.0.1:1")
        self.assertEqual(401, daemon.ask("GET", "/api/v1/session", {"X-Quarrow-User": ALICE})[0])

    def test_a_port_of_the_service_manager_is_no_place_for_a_trusted_proxy(self):
        with socket.create_server(("127.0.0.1", 0)) as listener:
            refused = subprocess.run(
                [*handing_over(listener), PROGRAM, "--user", unprivileged_user(),
                 "--trust-proxy-user"],
                pass_fds=[listener.fileno()],
                capture_output=True, text=True, timeout=PATIENCE)
        self.assertEqual(os.EX_UNAVAILABLE, refused.returncode, refused.stderr)
        self.assertIn("--trust-proxy-user: any program of this host", refused.stderr)

    def test_a_password_server_that_is_not_there(self):
        daemon = self.start(PROGRAM, "--imap", "imap://127.0.0.1:1")
        status, _, headers = daemon.ask("POST", "/api/v1/session",
                                        {"Content-Type": "application/json"},
                                        f'{{"user": "{ALICE}", "password": "secret"}}')
        self.assertEqual(503, status)
        self.assertIsNone(headers["Set-Cookie"])
        self.assertIn("sign-in: ", daemon.log_text())
        self.assertNotIn("secret", daemon.log_text())

    def test_processes_have_the_rights_that_they_need(self):
        daemon = self.start(PROGRAM, "--trust-proxy-user")
        user = str(pwd.getpwnam(unprivileged_user()).pw_uid)
        for process in [daemon.process.pid, *daemon.workers()]:
            self.assertEqual([user] * 4, field(process, "Uid"))
        # a worker gives up more before its first connection
        until(lambda: all(field(worker, "NoNewPrivs") == ["1"] for worker in daemon.workers()),
              "workers gain no rights")
        self.assertEqual([str(os.geteuid())] * 4, field(daemon.broker(), "Uid"))

    @unittest.skipUnless(BY_ROOT, "only the superuser changes the owner of a folder")
    def test_nobody_works_in_a_folder_of_the_superuser(self):
        daemon = self.start(PROGRAM, "--trust-proxy-user")
        os.chown(daemon.home(ALICE), 0, 0)
        self.assertEqual(503, daemon.ask("GET", "/api/v1/nothing", {"X-Quarrow-User": ALICE})[0])
        self.assertIn("the superuser owns a user's folder", daemon.log_text())

    def test_the_server_stops_without_its_broker(self):
        daemon = self.start(PROGRAM, "--trust-proxy-user")
        os.kill(daemon.broker(), signal.SIGKILL)
        self.assertEqual(os.EX_SOFTWARE, daemon.process.wait(PATIENCE))
        self.assertIn("the broker has ended", daemon.log_text())

    def test_the_broker_stops_with_the_server_alone(self):
        daemon = self.start(PROGRAM, "--trust-proxy-user")
        broker = daemon.broker()
        os.kill(broker, signal.SIGTERM)
        self.assertEqual(404, daemon.ask("GET", "/api/v1/x", {"X-Quarrow-User": ALICE})[0])
        self.assertEqual(os.EX_OK, daemon.stop())
        until(lambda: not pathlib.Path(f"/proc/{broker}").exists() or field(broker, "State")[0] == "Z",
              "the broker ends")

    def test_the_monitor_tells_counters_and_knows_no_way_to_the_broker(self):
        port = free_port()
        daemon = self.start(PROGRAM, "--trust-proxy-user", "--monitor", f"127.0.0.1:{port}")
        daemon.ask("GET", "/api/v1/session", {"X-Quarrow-User": ALICE})
        said = {}
        for target in ("/health", "/metrics"):
            with urllib.request.urlopen(f"http://127.0.0.1:{port}{target}", timeout=PATIENCE) as answer:
                said[target] = answer.read().decode()
        self.assertRegex(said["/health"], r"^workers=2 busy=[01] waiting=no uptime=\d+\n$")
        self.assertIn("\nquarrow_web_requests_total 1\n", said["/metrics"])
        monitor, = until(lambda: daemon.named("quarrow-monitor"), "there is a monitor")
        self.assertEqual("2", field(monitor, "Seccomp")[0])
        if BY_ROOT:
            # the standard ones, the listening socket, and what tells that clients wait
            until(lambda: set(os.listdir(f"/proc/{monitor}/fd")) == {"0", "1", "2", "3", "4"},
                  "it has no more descriptors than it needs")


class EvilWorkerTest(DaemonTestCase):
    def start_evil(self):
        # with --trust-proxy-user workers say who asks, and are believed
        return self.start(EVIL_PROGRAM, "--imap", "imap://127.0.0.1:1")

    def attempt(self, daemon, deed, about=""):
        status, body, _ = daemon.ask("POST", "/" + deed, body=str(about))
        self.assertEqual(200, status)
        return body

    def test_no_file_is_within_reach(self):
        daemon = self.start_evil()
        rules = daemon.home(ALICE) / "rules"
        rules.chmod(0o666)
        rules.parent.chmod(0o777)
        refused = f"refused {errno.EACCES}"
        for path in [rules, "/etc/passwd", f"/proc/{daemon.broker()}/mem", "/proc/self/environ",
                     PAGE / "index.html"]:
            self.assertEqual(refused, self.attempt(daemon, "open", path), path)
        for deed, path in [("write", rules), ("write", rules.parent / "new"), ("remove", rules),
                           ("list", rules.parent), ("list", "/"), ("execute", "/bin/true")]:
            self.assertEqual(refused, self.attempt(daemon, deed, path), f"{deed} {path}")
        self.assertEqual(["rules"], [path.name for path in rules.parent.iterdir()])
        self.assertEqual("precious", rules.read_text())

    def test_no_other_process_is_within_reach(self):
        daemon = self.start_evil()
        for process in [daemon.broker(), daemon.process.pid]:
            self.assertEqual(f"refused {errno.EPERM}", self.attempt(daemon, "trace", process))
        if BY_ROOT:
            self.assertEqual(f"refused {errno.EPERM}",
                             self.attempt(daemon, "kill", daemon.broker()))
            self.assertEqual(f"refused {errno.EPERM}", self.attempt(daemon, "superuser"))

    def test_nobody_comes_in_without_a_session(self):
        daemon = self.start_evil()
        for kind in ("ask", "session"):
            for user in (ALICE, BOB, ""):
                self.assertEqual(401, daemon.ask("POST", "/" + kind, body=user)[0])

    def test_no_worker_makes_others_known(self):
        daemon = self.start_evil()
        self.assertEqual("taken 0", self.attempt(daemon, "introduce"))

    def test_one_that_lies_or_dies_is_alone(self):
        daemon = self.start_evil()
        self.assertEqual("said 1", self.attempt(daemon, "babble"))
        until(lambda: "a worker sent what is no call" in daemon.log_text(), "the broker hears it")
        for worker in daemon.workers():
            os.kill(worker, signal.SIGKILL)
        until(lambda: len(daemon.workers()) == 2, "new workers")
        self.assertEqual(401, daemon.ask("POST", "/ask", body=ALICE)[0])


if __name__ == "__main__":
    unittest.main()
