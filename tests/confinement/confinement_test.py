#!/usr/bin/env python3
"""The programs' helpers and monitors are confined, or do nothing: confinement_test.py LMTPD QUARROW"""

import contextlib
import os
import pathlib
import pwd
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

for folder in ("lmtpd", "support"):
    sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / folder))
from lmtp_server import (USERS, DaemonTestCase, children, free_port,  # noqa: E402
                         is_running, name_of, unprivileged_user, until)
from refusing_kernel import REFUSED, refusing  # noqa: E402

QUARROW = os.path.abspath(sys.argv.pop(1))
ALICE = "alice@example.org"
# Without Landlock, a helper is confined by all the rest, and the server warns.
NEEDED = [what for what in REFUSED if what != "landlock"]
BY_ROOT = os.geteuid() == 0
LAUNCHERS = {"as it is": ()}
if BY_ROOT:
    LAUNCHERS["as an ordinary user"] = ("setpriv", "--reuid=nobody", "--regid=nogroup",
                                        "--clear-groups")
WORK = b"Subject: work\n\nHello\n"
# Takes an evaluation longer than it may.
ENDLESS = b"Subject: x\nX-Weight: " + b"a" * 900 + b"\n\nHello\n"
SCRIPT = b"""require ["fileinto"];
if header :contains "subject" "work" { fileinto "Work"; stop; }
if header :matches "x-weight" "%sb" { discard; }
""" % (b"*a" * 13)


def status_of(process):
    lines = pathlib.Path(f"/proc/{process}/status").read_text().splitlines()
    return dict(line.split(":\t", 1) for line in lines if ":\t" in line)


def limits_of(process):
    """The soft and the hard limit, by the names that the kernel gives them."""
    lines = pathlib.Path(f"/proc/{process}/limits").read_text().splitlines()[1:]
    return {line[:26].strip(): line[26:].split()[:2] for line in lines}


def open_files(process):
    folder = pathlib.Path(f"/proc/{process}/fd")
    return {int(path.name): os.readlink(path) for path in folder.iterdir()}


def descendants(process):
    with contextlib.suppress(OSError):
        for child in children(process):
            yield child
            yield from descendants(child)


class ConfinementTestCase(unittest.TestCase):
    def expect_confined(self, process):
        # the filter of system calls comes last
        until(lambda: status_of(process)["Seccomp"] == "2" or not is_running(process),
              "the system calls are filtered")
        self.assertEqual(("2", "1"), tuple(map(status_of(process).get, ("Seccomp", "NoNewPrivs"))))
        files = open_files(process)
        self.assertEqual(["/dev/null"] * 3, [files.pop(number) for number in range(3)])
        self.assertRegex(files.pop(3), r"^socket:")
        self.assertRegex(files.pop(4), r"^/memfd:")
        self.assertEqual({}, files)
        limits = limits_of(process)
        self.assertEqual(["0"] * 2, limits["Max core file size"])
        self.assertEqual(["16"] * 2, limits["Max open files"])
        for bounded in ("Max address space", "Max file size"):
            self.assertNotIn("unlimited", limits[bounded])


    def expect_user(self, process, user):
        entry = pwd.getpwnam(user)
        for name, number in (("Uid", entry.pw_uid), ("Gid", entry.pw_gid)):
            self.assertEqual([str(number)] * 4, status_of(process)[name].split())


class CommandTest(ConfinementTestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quarrow-confinement-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.home = self.folder / "root" / "example.org" / "alice"
        self.home.mkdir(parents=True)
        (self.home / ".delivery_filter").write_bytes(SCRIPT)
        for name, content in (("work", WORK), ("endless", ENDLESS)):
            (self.folder / name).write_bytes(content)
        if BY_ROOT:
            for path in [self.folder, *self.folder.rglob("*")]:
                shutil.chown(path, "nobody", "nogroup")

    def open_quarrow(self, launcher, *arguments, message=None):
        with open(message or os.devnull, "rb") as given:
            return subprocess.Popen(
                [*launcher, QUARROW, "--root", self.folder / "root", *arguments], stdin=given,
                env={**os.environ, "TMPDIR": str(self.folder)}, stdout=subprocess.PIPE,
                stderr=subprocess.PIPE)

    def messages(self, folder):
        return list((self.home / "Maildir" / folder / "new").glob("*"))

    def commands(self, message):
        path = self.folder / message
        return [(("match", ALICE, path), None), (("deliver", "-d", ALICE), path)]

    def test_a_helper_has_given_up_all_that_it_can(self):
        for way, launcher in LAUNCHERS.items():
            for arguments, message in self.commands("endless"):
                with self.subTest(arguments[0], way=way), \
                        self.open_quarrow(launcher, *arguments, message=message) as process:
                    helpers = until(lambda: self.helpers_of(process), "a helper")
                    process.send_signal(signal.SIGSTOP)  # it would end the helper soon
                    self.expect_confined(helpers[0])
                    process.kill()
                    process.communicate()

    def helpers_of(self, process):
        self.assertIsNone(process.poll(), "the command is at work")
        return [each for each in descendants(process.pid) if name_of(each) == "quarrow-helper"]

    def test_nothing_is_evaluated_where_confinement_fails(self):
        # a helper that ends before it is asked leaves no other reason
        complaint = "the evaluation could not be confined|no evaluation could be started"
        for way, launcher in LAUNCHERS.items():
            for what in NEEDED:
                for arguments, message in self.commands("work"):
                    with self.subTest(arguments[0], way=way, what=what), self.open_quarrow(
                            (*refusing(what), *self.absolute(launcher)), *arguments,
                            message=message) as process:
                        output, complaints = process.communicate()
                        self.assertRegex(complaints.decode(), complaint)
                        self.assertNotIn(b"Work", output)
        self.assertEqual([], self.messages(".Work"))
        self.assertEqual(len(LAUNCHERS) * len(NEEDED), len(self.messages("")))

    def absolute(self, launcher):
        return [shutil.which(launcher[0]), *launcher[1:]] if launcher else []

    def test_rules_are_followed_where_it_works(self):
        with self.open_quarrow((), "deliver", "-d", ALICE, message=self.folder / "work") as process:
            self.assertEqual((b"", b""), process.communicate())
        self.assertEqual(1, len(self.messages(".Work")))


class ServerTest(DaemonTestCase, ConfinementTestCase):
    def test_a_helper_has_given_up_all_that_it_can(self):
        daemon = self.start()
        for helper in until(daemon.helpers, "helpers"):
            self.expect_confined(helper)

    def test_nothing_is_evaluated_where_confinement_fails(self):
        for what in NEEDED:
            with self.subTest(what):
                daemon = self.start("--workers", "1", launcher=refusing(what))
                client = self.connect(daemon)
                self.assertEqual([250], [code for code, _ in client.deliver(USERS[:1], "work")])
                self.assertEqual([0, 1], [len(daemon.messages(USERS[0], folder))
                                          for folder in (".Work", "")])
                self.assertIn("evaluation failed: ", daemon.log_text())

    def test_the_monitor_has_given_up_all_that_it_can(self):
        daemon = self.start("--monitor", f"127.0.0.1:{free_port()}")
        monitor, = until(daemon.monitors, "there is a monitor")
        until(lambda: status_of(monitor)["Seccomp"] == "2", "the system calls are filtered")
        self.assertEqual("1", status_of(monitor)["NoNewPrivs"])
        self.assertEqual("0" * 16, status_of(monitor)["CapEff"])
        self.expect_user(monitor, unprivileged_user())
        limits = limits_of(monitor)
        self.assertEqual(["0"] * 2, limits["Max core file size"])
        self.assertEqual(["0"] * 2, limits["Max file size"])
        self.assertEqual(["16"] * 2, limits["Max open files"])
        self.assertNotIn("unlimited", limits["Max address space"])
        if not BY_ROOT:  # others look neither at its files nor at its memory
            self.assertRaises(PermissionError, open_files, monitor)
            return
        files = open_files(monitor)
        self.assertEqual(["/dev/null"] * 3, [files.pop(number) for number in range(3)])
        self.assertRegex(files.pop(3), r"^socket:")
        self.assertEqual("anon_inode:[eventpoll]", files.pop(4))
        self.assertRegex(files.pop(5), r"^socket:")  # what looks for faults is at its other end
        self.assertEqual({}, files)
        maps = pathlib.Path(f"/proc/{monitor}/maps").read_text().splitlines()
        rights = {line.split()[1] for line in maps if line.split()[1].endswith("s")}
        self.assertEqual({"r--s"}, rights - {"---s"})

    def test_the_monitor_tells_nothing_where_confinement_fails(self):
        for what in set(NEEDED) - {"ending with another process"}:
            with self.subTest(what):
                daemon = self.start("--monitor", f"127.0.0.1:{free_port()}",
                                    launcher=refusing(what))
                until(lambda: re.search(r" monitor \d+ exited with 71; it is replaced\n",
                                        daemon.log_text()), "it gives up")
                self.assertEqual(250, self.connect(daemon).noop()[0])


if __name__ == "__main__":
    unittest.main()
