#!/usr/bin/env python3
"""The server that tells where users live, and the command that says so, as wholes:
homes_test.py QUARROW_HOMES QUARROW [unittest arguments]
"""
import contextlib
import http.client
import os
import pathlib
import shutil
import signal
import sqlite3
import subprocess
import sys
import unittest

from homes_server import (ALICE, BOB, CAROL, DAVE, FIRST, MOVING, SECOND, Client, Daemon, Table,
                          netstring)
from server_process import PATIENCE, children, free_port, until

PROGRAM = os.path.abspath(sys.argv.pop(1))
QUARROW = os.path.abspath(sys.argv.pop(1))
POSTMAP = shutil.which("postmap", path=os.environ["PATH"] + ":/usr/sbin")


class HomesTestCase(unittest.TestCase):
    def setUp(self):
        self.table = Table(QUARROW)
        self.addCleanup(self.table.close)

    def start(self, *options, **how):
        daemon = Daemon(PROGRAM, self.table, *options, **how)
        self.addCleanup(daemon.close)
        return daemon

    def assert_unavailable(self, daemon, reason):
        for user in (ALICE, DAVE):
            reply = daemon.ask(f"transport {user}")
            self.assertTrue(reply.startswith(f"TEMP {self.table.file}: "), reply)
            self.assertIn(reason, reply)


class HomesTest(HomesTestCase):
    def test_tells_where_users_live(self):
        with self.start().client() as client:
            self.assertEqual(f"OK {FIRST}", client.ask(f"transport {ALICE}"))
            self.assertEqual(f"OK {SECOND}", client.ask("transport Bob+lists@Example.org"))
            self.assertEqual(MOVING, client.ask(f"transport {CAROL}"))
            self.assertEqual("NOTFOUND ", client.ask(f"transport {DAVE}"))
            self.assertEqual(f"OK {BOB}", client.ask("user Bob+lists@Example.org"))
            self.assertEqual("NOTFOUND ", client.ask(f"user {DAVE}"))
            self.assertEqual("PERM there is no such map", client.ask(f"users {ALICE}"))

    def test_sees_each_change_at_once(self):
        with self.start().client() as client:
            for words, reply in [(("moving", ALICE), MOVING), (("move", ALICE, "node2"), f"OK {SECOND}"),
                                 (("moving", ALICE), MOVING),
                                 (("moving", ALICE, "--off"), f"OK {SECOND}"),
                                 (("set", ALICE, "node1"), f"OK {FIRST}"),
                                 (("node", "add", "node1", "smtp:[::1]"), "OK smtp:[::1]"),
                                 (("remove", ALICE), "NOTFOUND ")]:
                self.table.home(*words)
                self.assertEqual(reply, client.ask(f"transport {ALICE}"), words)

    def test_answers_however_bytes_are_cut(self):
        requests = netstring(f"transport {ALICE}") + netstring(f"user {DAVE}")
        with self.start().client() as client:
            for cut in ([requests], [bytes([byte]) for byte in requests]):
                for block in cut:
                    client.send(block)
                self.assertEqual([f"OK {FIRST}", "NOTFOUND "], [client.reply(), client.reply()])

    def test_hangs_up_on_what_is_no_request(self):
        daemon = self.start()
        for data in (b"QUIT\r\n", b"1000000:" + b"x" * 1000000 + b",", b"\0" * 100000):
            with daemon.client() as client:
                with contextlib.suppress(ConnectionError):
                    client.send(data)
                self.assertIsNone(client.reply(), data[:10])
        self.assertEqual(f"OK {FIRST}", daemon.ask(f"transport {ALICE}"))
        self.assertIn(" a client sent no netstring, or one of more than 8192 bytes\n",
                      daemon.log_text())

    def test_serves_others_while_clients_are_silent(self):
        daemon = self.start()
        silent = [Client(daemon.path) for _ in range(4)]
        for client in silent:
            self.addCleanup(client.close)
        silent[0].send(b"10:trans")
        self.assertEqual(f"OK {FIRST}", daemon.ask(f"transport {ALICE}"))

    def test_counts(self):
        daemon = self.start()
        for request in (f"transport {ALICE}", f"user {CAROL}", f"user {DAVE}", f"users {DAVE}"):
            daemon.ask(request)
        daemon.process.send_signal(signal.SIGUSR1)
        text = until(lambda: daemon.metrics.exists() and daemon.metrics.read_text(), "counters")
        for line in ('lookups_total{result="found"} 1', 'lookups_total{result="moving"} 1',
                     "requests_refused_total 1"):
            self.assertIn(f"quarrow_home_{line}\n", text)

    def test_ends_when_it_is_told_to(self):
        daemon = self.start()
        with daemon.client() as client:
            self.assertEqual("NOTFOUND ", client.ask(f"user {DAVE}"))
            self.assertEqual(0, daemon.stop())
            self.assertIsNone(client.reply())
        self.assertFalse(daemon.path.exists())

    @unittest.skipIf(os.geteuid() == 0, "skipped: the superuser has all rights; as root the server "
                                        "of each other test may not write")
    def test_needs_no_right_to_write(self):
        folder = self.table.file.parent

        def permit(mode):
            for path in [*folder.iterdir(), folder]:
                path.chmod(mode)

        self.addCleanup(permit, 0o755)
        permit(0o555)
        with self.start().client() as client:
            self.assertEqual(f"OK {FIRST}", client.ask(f"transport {ALICE}"))
            permit(0o755)
            self.table.home("move", ALICE, "node2")
            permit(0o555)
            self.assertEqual(f"OK {SECOND}", client.ask(f"transport {ALICE}"))


class UnavailableTest(HomesTestCase):
    """Where the table can't be read, mail is to wait."""

    def test_without_a_file_until_it_is_there(self):
        aside = self.table.folder / "aside"
        self.table.file.parent.rename(aside)
        daemon = self.start()
        self.assert_unavailable(daemon, "No such file")
        aside.rename(self.table.file.parent)
        self.assertEqual(f"OK {FIRST}", daemon.ask(f"transport {ALICE}"))
        self.table.file.unlink()
        self.assert_unavailable(daemon, "No such file")
        self.assertIn(f" error: {self.table.file}: No such file or directory\n", daemon.log_text())

    def test_with_a_damaged_file(self):
        daemon = self.start()
        other = self.table.folder / "other"
        for content, reason in ((b"x" * 8192, "not a database"), (b"", "not a table of homes")):
            other.write_bytes(content)
            other.chmod(0o644)
            other.replace(self.table.file)
            self.assert_unavailable(daemon, reason)

    def test_with_a_file_that_is_damaged_where_it_lies(self):
        self.table.home("node", "list")
        size = self.table.file.stat().st_size
        with open(self.table.file, "r+b") as file:
            file.seek(4096)
            file.write(b"\xff" * (size - 4096))
        for name in ("-wal", "-shm"):
            os.truncate(f"{self.table.file}{name}", 0)
        daemon = self.start()
        self.assert_unavailable(daemon, "malformed")
        until(lambda: f" error: {self.table.file}: " in daemon.log_text(), "the log has it")

    def test_with_a_file_that_is_locked(self):
        daemon = self.start()
        with contextlib.closing(sqlite3.connect(self.table.file)) as owner:
            owner.execute("PRAGMA locking_mode = EXCLUSIVE")
            # workers that read the table have it open
            until(lambda: self.has_locked(owner, daemon), "the table is locked")
            change = subprocess.Popen(
                [QUARROW, "home", "moving", ALICE, "--homes", self.table.file],
                stderr=subprocess.PIPE, text=True)
            self.assert_unavailable(daemon, "locked")
            complaint = change.communicate(timeout=PATIENCE)[1]
            self.assertEqual((75, f"quarrow: {self.table.file}: database is locked\n"),
                             (change.returncode, complaint))
        self.table.home("moving", ALICE)  # the other program has taken the log's files away
        self.assertEqual(MOVING, daemon.ask(f"transport {ALICE}"))

    def has_locked(self, owner, daemon):
        for worker in children(daemon.process.pid):  # those that follow have not read it
            with contextlib.suppress(OSError):
                os.kill(worker, signal.SIGKILL)
        with contextlib.suppress(sqlite3.OperationalError):
            owner.execute("UPDATE home SET moving = moving")
            owner.commit()
            return True
        return False

    @unittest.skipIf(os.geteuid() != 0, "skipped: only the superuser can be another user than "
                                        "the server's")
    def test_where_another_program_took_the_files_of_the_log_away(self):
        daemon = self.start()
        for name in ("-wal", "-shm"):
            pathlib.Path(f"{self.table.file}{name}").unlink()
        daemon.process.send_signal(signal.SIGHUP)  # new workers open the table anew
        reason = "a change by quarrow home makes the files of its log again"
        until(lambda: reason in daemon.ask(f"transport {ALICE}"), "the reason is told")
        self.assert_unavailable(daemon, reason)
        self.table.home("moving", ALICE)
        self.assertEqual(MOVING, daemon.ask(f"transport {ALICE}"))

    def test_without_users(self):
        daemon = self.start()
        for user in (ALICE, BOB, CAROL):
            self.table.home("remove", user)
        self.assert_unavailable(daemon, "has no users")

    def test_is_what_the_monitor_tells(self):
        port = free_port()
        self.start("--monitor", f"127.0.0.1:{port}")

        def health():
            with contextlib.closing(http.client.HTTPConnection("127.0.0.1", port)) as connection:
                connection.request("GET", "/health")
                answer = connection.getresponse()
                return answer.status, answer.read().decode().partition("\n")[0]

        self.assertEqual(200, health()[0])
        self.table.file.rename(self.table.folder / "aside")
        fault = (503, f"{self.table.file}: No such file or directory")
        until(lambda: health() == fault, "the monitor tells it")


class ChangesTest(HomesTestCase):
    def test_of_many_processes_at_once_are_all_made(self):
        users = [f"user{number}@example.org" for number in range(20)]
        changes = [subprocess.Popen([QUARROW, "home", "set", user, "node1", "--homes",
                                     self.table.file]) for user in users]
        self.assertEqual([0] * len(users), [change.wait(PATIENCE) for change in changes])
        listed = self.table.home("list", "--node", "node1", "-f", "tab").splitlines()
        self.assertEqual(sorted([ALICE, CAROL, *users]),
                         sorted(line.partition("\t")[0] for line in listed))

    def test_that_are_refused_say_why(self):
        for words, status, reason in [
                (("set", DAVE, "node3"), 65, "node3: no such node; see quarrow home node list"),
                (("move", DAVE, "node1"), 67, f'{DAVE}: has no home; "quarrow home set" gives one'),
                (("moving", DAVE), 67, f'{DAVE}: has no home; "quarrow home set" gives one'),
                (("set", CAROL, "node2"), 65,
                 f'{CAROL}: is being moved, which "quarrow home move" ends'),
                (("set", "dave", "node1"), 67,
                 "dave: no mail address; a user is named like alice@example.org"),
                (("node", "remove", "node2"), 65, f"node2: users live there, {BOB} for one"),
                (("node", "add", "node3", "lmtp"), 65, "lmtp: no transport with a next hop; one is "
                                                       "like lmtp:inet:[10.0.0.1]:24")]:
            done = self.table.run(*words)
            self.assertEqual((status, f"quarrow: {reason}\n"), (done.returncode, done.stderr))

    def test_of_many_users_are_made_all_or_none(self):
        done = self.table.run("import", text=f"{DAVE} node1\n{ALICE} node2\nx node1\n")
        self.assertEqual((65, "quarrow: line 3: x: no mail address; a user is named like "
                              "alice@example.org\n"), (done.returncode, done.stderr))
        self.assertEqual(f"{ALICE}\tnode1\tno\n{BOB}\tnode2\tno\n{CAROL}\tnode1\tyes\n",
                         self.table.home("list", "-f", "tab"))
        self.assertEqual("users read: 2\n",
                         self.table.home("import", text=f"Dave@example.org node1\n{ALICE} node2\n"))
        self.assertEqual(f"{CAROL}\tnode1\tyes\n{DAVE}\tnode1\tno\n",
                         self.table.home("list", "--node", "node1", "-f", "tab"))

    def test_that_are_cut_off_are_none(self):
        before = self.table.home("list", "-f", "tab")
        with subprocess.Popen([QUARROW, "home", "import", "--homes", self.table.file],
                              stdin=subprocess.PIPE, text=True) as change:
            # more than a pipe holds: most of it has been read
            change.stdin.writelines(f"user{number}@example.org node1\n" for number in range(9999))
            change.stdin.flush()
            change.kill()
        self.assertEqual(-signal.SIGKILL, change.returncode)
        self.assertEqual(before, self.table.home("list", "-f", "tab"))
        self.table.home("set", DAVE, "node1")

    def test_need_a_table(self):
        self.table.file = self.table.folder / "missing"
        done = self.table.run("set", ALICE, "node1")
        self.assertEqual((66, f"quarrow: {self.table.file}: No such file or directory; "
                              '"quarrow home node add" makes it\n'), (done.returncode, done.stderr))


@unittest.skipUnless(POSTMAP, "skipped: Postfix is absent; scripts/install-postfix installs it")
class PostfixTest(HomesTestCase):
    """A real Postfix' lookups."""

    def setUp(self):
        super().setUp()
        (self.table.folder / "main.cf").write_text("")

    def lookup(self, daemon, name, keys):
        """What postmap prints of the keys, which it asks for over one connection."""
        return subprocess.run(
            [POSTMAP, "-c", self.table.folder, "-q", "-", f"socketmap:unix:{daemon.path}:{name}"],
            input="".join(f"{key}\n" for key in keys), capture_output=True, text=True, check=False,
            timeout=PATIENCE)

    def test_finds_users(self):
        daemon = self.start("--socket-mode", "0666")
        self.assertEqual(f"{ALICE}\t{FIRST}\n{BOB}\t{SECOND}\n"
                         f"{CAROL}\tretry:4.2.1 The mailbox is being moved\n",
                         self.lookup(daemon, "transport", [ALICE, BOB, CAROL, DAVE]).stdout)
        self.assertEqual(f"{ALICE}\t{ALICE}\n", self.lookup(daemon, "user", [DAVE, ALICE]).stdout)

    def test_goes_on_where_it_is_hung_up_on_for_others(self):
        daemon = self.start("--socket-mode", "0666", workers=1)
        silent = [Client(daemon.path) for _ in range(3)]
        for client in silent:
            self.addCleanup(client.close)
        self.assertEqual(f"{ALICE}\t{FIRST}\n{BOB}\t{SECOND}\n" * 20,
                         self.lookup(daemon, "transport", [ALICE, BOB] * 20).stdout)

    def test_has_mail_wait_for_the_table(self):
        daemon = self.start("--socket-mode", "0666")
        self.table.file.unlink()
        done = self.lookup(daemon, "transport", [DAVE])
        self.assertNotEqual(0, done.returncode)
        self.assertIn("No such file or directory", done.stderr)


if __name__ == "__main__":
    unittest.main()
