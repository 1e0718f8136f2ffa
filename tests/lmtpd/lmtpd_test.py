#!/usr/bin/env python3
"""Drives quarrow-lmtpd over its socket: lmtpd_test.py PROGRAM [unittest arguments]"""

import contextlib
import json
import os
import pathlib
import pwd
import shutil
import signal
import smtplib
import socket
import subprocess
import tempfile
import unittest

from lmtp_server import (FOLDERS, PATIENCE, PROGRAM, USERS, DaemonTestCase, Lmtp, children,
                         free_port, handing_over, is_running, unprivileged_user, until)


class DaemonTest(DaemonTestCase):
    def test_files_a_hundred_messages_by_the_rules(self):
        daemon = self.start()
        client = self.connect(daemon)
        expected = {}
        for number in range(100):
            kind = ["work", "deep", "other"][number % 3]
            recipients = [USERS[number % 5], USERS[(number + 1) % 5]][: 1 + number % 2]
            replies = client.deliver(recipients, f"{kind} {number}", name=str(number))
            self.assertEqual([250] * len(recipients), [code for code, _ in replies])
            for user in recipients:
                expected.setdefault((user, FOLDERS[kind]), set()).add(number)
        for (user, folder), numbers in expected.items():
            stored = daemon.messages(user, folder)
            self.assertEqual(len(numbers), len(stored))
            for number in numbers:
                line = f"\nMessage-ID: <{number}@example.net>\n".encode()
                self.assertEqual(1, sum(line in message for message in stored))

    def test_refuses_and_discards_by_the_rules(self):
        daemon = self.start()
        client = self.connect(daemon)
        self.assertEqual([(550, b"5.7.1 No adverts")], client.deliver(USERS[:1], "advert"))
        self.assertEqual(250, client.deliver(USERS[:1], "spam")[0][0])
        self.assertEqual([], daemon.messages(USERS[0]))

    def test_lets_mail_wait_for_a_user_who_is_locked(self):
        daemon = self.start()
        client = self.connect(daemon)
        lock = daemon.home(USERS[0]) / ".quarrow_lock"
        later = (450, b"4.2.1 The user is being moved to another machine; try again later")
        self.assertEqual(250, client.mail("sender@example.net")[0])
        self.assertEqual([250, 250], [client.rcpt(user)[0] for user in USERS[:2]])
        lock.touch()
        self.assertEqual(later, client.rcpt(USERS[0].replace("user", "User")))
        client.start_data()
        client.send_text("Subject: other\r\n\r\nbody\r\n")
        replies = client.end_data(2)
        self.assertEqual([later, 250], [replies[0], replies[1][0]])
        self.assertEqual([0, 1], [len(daemon.messages(user)) for user in USERS[:2]])
        self.assertRegex(daemon.log_text(), f" info: user={USERS[0]} .*action=retry ")
        lock.unlink()
        self.assertEqual(250, client.deliver(USERS[:1], "other")[0][0])

    def test_refuses_what_comes_back_for_the_recipients_that_had_it_only(self):
        daemon = self.start()
        client = self.connect(daemon)
        self.assertEqual(250, client.deliver(USERS[:1], "other")[0][0])
        trace, _ = daemon.messages(USERS[0])[0].decode().split("Subject:")
        replies = client.deliver(USERS[:3], "other", head="Received: from elsewhere\r\n"
                                 + trace.replace("\n", "\r\n"))
        self.assertEqual([554, 250, 250], [code for code, _ in replies])
        self.assertEqual(b"5.4.6 ", replies[0][1][:6])
        self.assertEqual([1, 1, 1], [len(daemon.messages(user)) for user in USERS[:3]])
        self.assertRegex(daemon.log_text(),
                         f'user={USERS[0]} msgid=<1@example.net> rule="" action=loop took=')
        self.assertEqual(1, self.counters(daemon)["quarrow_loops_total"])

    def test_gives_a_recipient_that_is_named_twice_one_copy_and_two_answers(self):
        daemon = self.start()
        client = self.connect(daemon)
        recipients = [USERS[0], USERS[1], USERS[0]]
        self.assertEqual([250] * 3, [code for code, _ in client.deliver(recipients, "other")])
        self.assertEqual(250, client.noop()[0])
        self.assertEqual([1, 1], [len(daemon.messages(user)) for user in USERS[:2]])

    def test_gives_a_recipient_in_two_spellings_one_copy_and_two_answers(self):
        daemon = self.start()
        client = self.connect(daemon)
        recipients = [USERS[0].replace("user", "User"), USERS[0], USERS[0].upper()]
        for subject, code in [("other", 250), ("advert", 550)]:
            replies = client.deliver(recipients, subject)
            self.assertEqual([code] * 3, [each for each, _ in replies])
            self.assertEqual(1, len(set(replies)))
        (stored,) = daemon.messages(USERS[0])
        self.assertIn(f"\nDelivered-To: {recipients[0]}\n".encode(), stored)
        self.assertEqual(1, self.counters(daemon)["quarrow_rejected_total"])

    def test_gives_each_extension_of_a_recipient_a_copy(self):
        daemon = self.start()
        recipients = [USERS[0], USERS[0].replace("@", "+lists@"), USERS[0].replace("@", "+Lists@")]
        replies = self.connect(daemon).deliver(recipients, "other")
        self.assertEqual([250] * 3, [code for code, _ in replies])
        self.assertEqual(2, len(daemon.messages(USERS[0])))

    def test_takes_capitals_for_small_letters_and_stores_them_as_they_came(self):
        daemon = self.start()
        written = USERS[0].replace("user", "User").replace("org", "Org")
        self.assertEqual(250, self.connect(daemon).deliver([written], "other")[0][0])
        (stored,) = daemon.messages(USERS[0])
        self.assertIn(f"\nDelivered-To: {written}\n".encode(), stored)
        self.assertIn(f"\n\tfor <{written}>; ".encode(), stored)
        self.assertIn(f"user={USERS[0]} recipient={written} ", daemon.log_text())

    def test_tells_capitals_from_small_letters_on_request(self):
        client = self.connect(self.start("--keep-case"))
        client.mail("")
        self.assertEqual(550, client.rcpt(USERS[0].upper())[0])
        self.assertEqual(250, client.rcpt(USERS[0])[0])

    def test_files_into_folders_with_dots_where_it_is_told_how(self):
        def name_a_folder_with_a_dot(daemon):
            script = daemon.home(USERS[0]) / ".delivery_filter"
            script.write_bytes(b'require "fileinto"; fileinto "v1.2";')

        for options, folder in [((), ""), (("--folder-dots", "listescape"), ".v1\\2e2")]:
            daemon = self.start(*options, change=name_a_folder_with_a_dot)
            self.assertEqual(250, self.connect(daemon).deliver([USERS[0]], "x")[0][0])
            self.assertEqual(1, len(daemon.messages(USERS[0], folder)))

    def test_refuses_strangers(self):
        client = self.connect(self.start())
        client.mail("")
        code, text = client.rcpt("stranger@example.org")
        self.assertEqual((550, b"5.1.1 "), (code, text[:6]))
        self.assertEqual((503, b"5.5.1 "), (lambda c, t: (c, t[:6]))(*client.docmd("data")))

    def test_keeps_a_journal_for_each_user_on_request(self):
        daemon = self.start("--journal")
        self.assertEqual([250] * 2, [code for code, _ in self.connect(daemon).deliver(
            USERS[:2], "work")])
        for user in USERS[:2]:
            journal = daemon.home(user) / ".delivery_journal"
            self.assertEqual(0o600, journal.stat().st_mode & 0o7777)
            record = json.loads(journal.read_text().lstrip("\x1e"))
            self.assertEqual(("<1@example.net>", "delivered", ["Work"]),
                             (record["message_id"], record["status"], record["folders"]))

    def test_keeps_no_journal_unless_asked(self):
        daemon = self.start()
        self.assertEqual(250, self.connect(daemon).deliver(USERS[:1], "work")[0][0])
        self.assertFalse((daemon.home(USERS[0]) / ".delivery_journal").exists())

    def test_delivers_although_the_journal_cant_be_written(self):
        daemon = self.start("--journal")
        (daemon.home(USERS[0]) / ".delivery_journal").mkdir()
        self.assertEqual(250, self.connect(daemon).deliver(USERS[:1], "work")[0][0])
        self.assertEqual(1, len(daemon.messages(USERS[0], ".Work")))
        self.assertRegex(daemon.log_text(), f"warning: {USERS[0]}: not noted in the journal: "
                         ".*/.delivery_journal: Is a directory\n")

    def test_finishes_the_message_under_way_when_told_to_stop(self):
        daemon = self.start()
        client = self.connect(daemon)
        client.mail("sender@example.net")
        client.rcpt(USERS[0])
        client.start_data()
        client.send_text("Subject: other\r\n\r\nfirst half\r\n")
        idle = self.connect(daemon)
        daemon.signal(signal.SIGTERM)
        self.assertEqual(421, idle.getreply()[0])
        client.send_text("second half\r\n")
        self.assertEqual([250, 421], [code for code, _ in client.end_data(2)])
        self.assertEqual(0, daemon.wait())
        self.assertEqual(1, len(daemon.messages(USERS[0])))
        self.assertIn(b"first half\nsecond half\n", daemon.messages(USERS[0])[0])
        self.assertFalse(os.path.exists(daemon.socket))

    def test_reloads_its_configuration(self):
        daemon = self.start()
        busy = self.connect(daemon)
        busy.mail("sender@example.net")
        old = set(daemon.workers())
        daemon.config.write_text("workers=3\nmax-size=1000\n")
        daemon.signal(signal.SIGHUP)
        until(lambda: len(set(daemon.workers()) - old) == 3, "three new workers")
        self.assertIn("size 1000", self.connect(daemon).ehlo_resp.decode().lower())
        self.assertEqual(250, busy.rcpt(USERS[0])[0])
        busy.start_data()
        busy.send_text("Subject: other\r\n\r\n")
        self.assertEqual([250, 421], [code for code, _ in busy.end_data(2)])
        until(lambda: not old & set(daemon.workers()), "the old workers end")

    def test_keeps_its_configuration_when_the_new_one_is_wrong(self):
        daemon = self.start()
        old = daemon.workers()
        daemon.config.write_text("workers=many\n")
        daemon.signal(signal.SIGHUP)
        until(lambda: "nothing was reloaded: " in daemon.log_text(), "a complaint")
        self.assertEqual(old, daemon.workers())
        self.assertEqual(250, self.connect(daemon).deliver(USERS[:1], "other")[0][0])

    def test_replaces_a_worker_that_was_killed(self):
        daemon = self.start()
        client = self.connect(daemon)
        client.mail("sender@example.net")
        client.rcpt(USERS[0])
        client.start_data()
        for worker in daemon.workers():
            os.kill(worker, signal.SIGKILL)
        with self.assertRaises((smtplib.SMTPServerDisconnected, OSError)):
            client.end_data(1)
        self.assertEqual(250, self.connect(daemon).deliver(USERS[:1], "other")[0][0])
        self.assertEqual(1, len(daemon.messages(USERS[0])))
        self.assertEqual(2, self.counters(daemon)["quarrow_workers_replaced_total"])

    def test_delivers_although_the_evaluation_was_killed(self):
        daemon = self.start("--workers", "1")
        client = self.connect(daemon)
        self.assertEqual(250, client.deliver(USERS[:1], "work")[0][0])
        helpers = daemon.helpers()
        self.assertTrue(helpers)
        for helper in helpers:
            os.kill(helper, signal.SIGKILL)
        for _ in range(2):
            self.assertEqual(250, client.deliver(USERS[:1], "work")[0][0])
        stored = len(daemon.messages(USERS[0])) + len(daemon.messages(USERS[0], ".Work"))
        self.assertEqual(3, stored)

    def test_leaves_with_its_supervisor(self):
        daemon = self.start()
        workers = daemon.workers()
        daemon.signal(signal.SIGKILL)
        daemon.wait()
        until(lambda: not any(is_running(worker) for worker in workers), "the workers end")

    def metrics_text(self, daemon):
        with contextlib.suppress(FileNotFoundError):
            daemon.metrics.unlink()
        daemon.signal(signal.SIGUSR1)
        until(daemon.metrics.exists, "counters")
        return daemon.metrics.read_text()

    def counters(self, daemon):
        rows = [line.rsplit(" ", 1) for line in self.metrics_text(daemon).splitlines()
                if not line.startswith("#")]
        return {name: float(value) for name, value in rows}

    def test_counts(self):
        daemon = self.start()
        client = self.connect(daemon)
        for subject in ["work", "deep", "other", "spam", "advert"]:
            client.deliver(USERS[:2], subject)
        (daemon.home(USERS[2]) / ".delivery_filter").write_text("this is no script")
        client.deliver(USERS[2:3], "work")
        counters = self.counters(daemon)
        # two users with the same script take one evaluation of a message
        expected = {'quarrow_delivered_total{folder="inbox"}': 3,
                    'quarrow_delivered_total{folder="other"}': 4,
                    "quarrow_rejected_total": 2,
                    "quarrow_discarded_total": 2,
                    'quarrow_kept_total{reason="no_rule"}': 2,
                    'quarrow_kept_total{reason="failure"}': 1,
                    "quarrow_temporary_failures_total": 0,
                    "quarrow_evaluation_seconds_count": 6}
        self.assertEqual(expected, {name: counters[name] for name in expected})

    def test_writes_counters_as_prometheus_reads_them(self):
        daemon = self.start()
        client = self.connect(daemon)
        for subject in ["work", "other", "spam"]:
            client.deliver(USERS[:1], subject)
        text = self.metrics_text(daemon)
        self.assertEqual("\n", text[-1])
        families = {}  # samples by the name of their family, which is described before them
        for line in text.splitlines():
            if line.startswith("# HELP "):
                name = line.split(" ")[2]
                self.assertNotIn(name, families)
                self.assertNotEqual("", line.split(" ", 3)[3])
            elif line.startswith("# TYPE "):
                kind = "counter" if name.endswith("_total") else "histogram"
                self.assertEqual(f"# TYPE {name} {kind}", line)
                families[name] = []
            else:
                self.assertRegex(line, rf'^{name}(_bucket|_sum|_count)?(\{{[a-z]+="[^"]*"\}})? '
                                       r"\d+(\.\d+)?$")
                families[name].append(line[len(name):].rsplit(" ", 1))
        self.assertTrue(all(families.values()), families)
        *buckets, total, count = families["quarrow_evaluation_seconds"]
        bounds = [float(label.split('"')[1]) for label, _ in buckets]
        self.assertEqual(sorted(set(bounds)), bounds)
        self.assertEqual(float("inf"), bounds[-1])
        counts = [int(value) for _, value in buckets]
        self.assertEqual(sorted(counts), counts)
        self.assertEqual(["_count", "3"], count)
        self.assertEqual(3, counts[-1])
        self.assertEqual("_sum", total[0])
        self.assertGreater(float(total[1]), 0)

    @unittest.skipUnless(os.geteuid() == 0, "only the superuser can mount")
    def test_logs_to_the_system_log(self):
        if subprocess.run(["unshare", "-m", "true"], stderr=subprocess.DEVNULL).returncode != 0:
            self.skipTest("there are no mount namespaces")
        with tempfile.TemporaryDirectory() as folder, \
                socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as system_log:
            system_log.bind(folder + "/log")
            os.chmod(folder, 0o755)
            os.chmod(folder + "/log", 0o666)
            pathlib.Path(folder, "null").touch()
            system_log.settimeout(PATIENCE)
            daemon = self.start("--log", "syslog", launcher=[
                "unshare", "-m", "sh", "-c", f"mount --bind /dev/null {folder}/null && "
                f"mount --rbind {folder} /dev && exec \"$@\"", "sh"])
            prefix = r"^<{}>\w+ +\d+ \d\d:\d\d:\d\d quarrow-lmtpd\[\d+\]: "  # facility mail
            self.assertRegex(system_log.recv(1000).decode(), prefix.format(22) + "serving with 2 ")
            client = self.connect(daemon)
            client.deliver(USERS[:1], "work", name="\x1b%s\x7f")
            self.assertRegex(
                system_log.recv(1000).decode(),
                prefix.format(22) + f"user={USERS[0]} "
                r'msgid=<\\x1b%s\\x7f@example.net> rule="" action=fileinto:Work took=\d+ms$')
            (daemon.home(USERS[1]) / "Maildir").write_text("in the way")
            client.deliver(USERS[1:2], "work")
            self.assertRegex(system_log.recv(1000).decode(),
                             prefix.format(19) + f"user={USERS[1]} .* action=retry ")
            os.kill(daemon.workers()[0], signal.SIGKILL)
            self.assertRegex(system_log.recv(1000).decode(), prefix.format(20) + "worker ")
            self.assertEqual("", daemon.log_text())

    def test_logs_a_line_for_each_delivery_and_nothing_of_its_content(self):
        daemon = self.start()
        client = self.connect(daemon)
        client.deliver(USERS[:1], "work secret", name="\x1b[31mred", body="secret")
        line = until(lambda: [each for each in daemon.log_text().splitlines() if "user=" in each],
                     "a line")[0]
        self.assertRegex(line, r'user=user0@example.org msgid=<\\x1b\[31mred@example.net> '
                               r'rule=".*" action=fileinto:Work took=\d+ms$')
        self.assertNotIn("secret", daemon.log_text())

    def test_stays_in_step_with_a_hostile_client(self):
        daemon = self.start()
        client = self.connect(daemon)
        code, text = client.deliver(USERS[:1], "x" * 1048576)[0]
        self.assertEqual((554, b"5.5.2 "), (code, text[:6]))
        self.assertEqual(250, client.deliver(USERS[:1], "work \0")[0][0])
        for length in range(0, 160, 7):
            with socket.socket(socket.AF_UNIX) as rude:
                rude.connect(daemon.socket)
                rude.sendall((f"LHLO x\r\nMAIL FROM:<>\r\nRCPT TO:<{USERS[1]}>\r\nDATA\r\n"
                              + "x" * 100)[:length].encode())
        self.assertEqual(250, client.deliver(USERS[:1], "work")[0][0])
        self.assertEqual([], daemon.messages(USERS[1]))

    def test_listens_on_loopback_when_asked(self):
        port = free_port()
        self.start("--listen", f"127.0.0.1:{port}")
        with smtplib.LMTP("127.0.0.1", port) as client:
            self.assertEqual(250, client.ehlo("test")[0])

    def test_takes_sockets_and_tells_what_it_is_at(self):
        daemon = self.start()
        path = str(daemon.folder / "activated")
        notices = str(daemon.folder / "notices")
        with socket.socket(socket.AF_UNIX) as listener, \
                socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
            listener.bind(path)
            listener.listen()
            manager.bind(notices)
            os.chmod(notices, 0o666)
            manager.settimeout(PATIENCE)
            activated = subprocess.Popen(
                [*handing_over(listener), PROGRAM, "--user", unprivileged_user(),
                 "--root", daemon.folder / "root",
                 "--spool", daemon.folder / "spool"],
                env={**os.environ, "NOTIFY_SOCKET": notices},
                pass_fds=[listener.fileno()], stderr=subprocess.DEVNULL)
            self.addCleanup(activated.wait, PATIENCE)
            self.addCleanup(activated.kill)
            self.assertEqual(b"READY=1", manager.recv(100))
            with Lmtp(path) as client:
                self.assertEqual(250, client.ehlo("test")[0])
            activated.send_signal(signal.SIGHUP)
            self.assertEqual(b"RELOADING=1", manager.recv(100))
            self.assertEqual(b"READY=1", manager.recv(100))
            with Lmtp(path) as client:
                self.assertEqual(250, client.ehlo("test")[0])
            activated.terminate()
            self.assertEqual(b"STOPPING=1", manager.recv(100))
            self.assertEqual(0, activated.wait(PATIENCE))

    def test_says_when_it_starts_that_root_and_spool_are_missing(self):
        def take_away(daemon):
            shutil.rmtree(daemon.folder / "root")
            shutil.rmtree(daemon.folder / "spool")

        daemon = self.start(change=take_away)
        for place in ["root", "spool"]:
            complaint = f" error: {daemon.folder / place}: No such file or directory\n"
            until(lambda: complaint in daemon.log_text(), complaint)
        client = self.connect(daemon)
        client.mail("")
        self.assertEqual(451, client.rcpt(USERS[0])[0])

    def test_says_when_it_starts_or_reloads_whose_folder_it_cant_write(self):
        daemon = self.start(change=lambda daemon: daemon.home(USERS[0]).chmod(0o555))
        self.addCleanup(daemon.home(USERS[0]).chmod, 0o755)  # so that it can be removed
        complaint = f" error: {daemon.home(USERS[0])}: Permission denied\n"
        until(lambda: daemon.log_text().count(complaint) == 1, complaint)
        daemon.signal(signal.SIGHUP)
        until(lambda: daemon.log_text().count(complaint) == 2, "it is said again")

    def test_explains_wrong_usage(self):
        for arguments in [["--workers", "0"], ["--nonsense"], ["stray"], ["--socket-mode", "rw"],
                          ["--config", "/no/such/file"], ["--log", "paper"]]:
            done = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True)
            self.assertEqual(64, done.returncode, arguments)
            self.assertRegex(done.stderr, "^quarrow-lmtpd: .*; see quarrow-lmtpd --help\n$")

    def test_does_not_start_without_a_library_that_the_evaluation_needs(self):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "libgmime-3.0.so.0").touch()
            os.chmod(folder, 0o755)
            done = subprocess.run(
                [PROGRAM, "--user", unprivileged_user(), "--root", folder, "--spool", folder,
                 "--listen", folder + "/socket"],
                env={**os.environ, "LD_LIBRARY_PATH": folder}, capture_output=True, text=True)
        self.assertEqual(69, done.returncode)
        self.assertEqual(f"quarrow-lmtpd: {folder}/libgmime-3.0.so.0: file too short\n", done.stderr)

    @unittest.skipUnless(os.geteuid() == 0, "only the superuser is refused")
    def test_refuses_to_serve_as_the_superuser(self):
        for arguments in [[], ["--user", "root"]]:
            done = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True)
            self.assertEqual(77, done.returncode)
            self.assertIn("the superuser serves nobody", done.stderr)

    @unittest.skipUnless(os.geteuid() == 0, "only the superuser becomes another")
    def test_gives_its_rights_up(self):
        daemon = self.start()
        entry = pwd.getpwnam("nobody")
        for process in [daemon.process.pid, *daemon.workers()]:
            status = pathlib.Path(f"/proc/{process}/status").read_text()
            self.assertIn("\nUid:\t" + "\t".join([str(entry.pw_uid)] * 4) + "\n", status)
            self.assertIn("\nGid:\t" + "\t".join([str(entry.pw_gid)] * 4) + "\n", status)


if __name__ == "__main__":
    unittest.main()
