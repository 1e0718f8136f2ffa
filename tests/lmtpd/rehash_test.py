#!/usr/bin/env python3
"""Users whose folders are moved to and fro while mail comes in and rules are made:
rehash_test.py QUARROW_LMTPD QUARROW [unittest arguments]
"""

import itertools
import os
import pathlib
import pwd
import re
import subprocess
import sys
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor

from lmtp_server import DaemonTestCase, Lmtp, unprivileged_user

QUARROW = os.path.abspath(sys.argv.pop(1))
NAMES = [f"name{number}@example.org" for number in range(50)]
CONNECTIONS = 8
JOURNEYS = 3  # there and back
UNKNOWN_USER = 67  # an exit status


def make_users(daemon):
    for name in NAMES:
        daemon.home(name).mkdir()
        if os.geteuid() == 0:
            owner = pwd.getpwnam(unprivileged_user())
            os.chown(daemon.home(name), owner.pw_uid, owner.pw_gid)


class RehashTest(DaemonTestCase):
    def quarrow(self, *arguments):
        return subprocess.run([QUARROW, "--root", self.root, *arguments], check=False, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def deliver_all_the_time(self, connection):
        """Delivers one message after the other, each to three users; gives the messages that are
        said to be delivered, with their users, and all other replies."""
        delivered, others = [], []
        with Lmtp(self.daemon.socket) as client:
            client.ehlo("test")
            for number in itertools.count():
                if self.is_over.is_set():
                    return delivered, others
                message = f"{connection}-{number}"
                users = [NAMES[(connection * 6 + number + step * 17) % len(NAMES)]
                         for step in range(3)]
                self.assertEqual(250, client.mail("sender@example.net")[0])
                replies = [client.rcpt(user) for user in users]
                others += [reply for reply in replies if reply[0] != 250]
                users = [user for user, reply in zip(users, replies) if reply[0] == 250]
                if not users:
                    client.rset()
                    continue
                client.start_data()
                client.send_text(f"Subject: work\r\nMessage-ID: <{message}@example.net>\r\n\r\n")
                for user, reply in zip(users, client.end_data(len(users))):
                    if reply[0] == 250:
                        delivered.append((user, message))
                    else:
                        others.append(reply)

    def add_rules_all_the_time(self):
        """Makes one rule after the other; gives those that are said to be made, and the refusals."""
        made, refusals = [], []
        for number in itertools.count():
            if self.is_over.is_set():
                return made, refusals
            user, rule = NAMES[number % len(NAMES)], f"rule{number}"
            done = self.quarrow("filter", "add", user, "--name", rule,
                                "--if", "string subject contains work", "--then", "move Work")
            if done.returncode == 0:
                made.append((user, rule))
            else:
                refusals.append((done.returncode, done.stderr))

    def travel(self):
        """Has all users moved there and back."""
        for _ in range(JOURNEYS):
            for form in [[], ["--flat"]]:
                done = self.quarrow("user", "rehash", "--all-users", *form)
                self.assertEqual((0, "", ""), (done.returncode, done.stdout, done.stderr))
        done = self.quarrow("user", "rehash", "--all-users")
        self.assertEqual((0, ""), (done.returncode, done.stderr))

    def messages_of(self, user):
        line, = self.quarrow("user", "rehash", user).stdout.splitlines()
        folder = pathlib.Path(line.removesuffix(": kept"))
        self.assertEqual("%", folder.parents[2].name)
        self.assertFalse(self.daemon.home(user).exists(), "the flat folder was made anew")
        return [re.search(r"^Message-ID: <(.*)@", path.read_text(), re.MULTILINE)[1]
                for path in folder.glob("Maildir/**/new/*")]

    def test_no_message_and_no_rule_is_lost_while_users_are_moved(self):
        self.daemon = self.start("--workers", str(CONNECTIONS), change=make_users)
        self.root = self.daemon.folder / "root"
        self.assertEqual(0, self.quarrow("init", "--catalogue", self.root / "f.xml").returncode)
        self.is_over = threading.Event()
        with ThreadPoolExecutor(CONNECTIONS + 1) as pool:
            deliveries = [pool.submit(self.deliver_all_the_time, connection)
                          for connection in range(CONNECTIONS)]
            rules = pool.submit(self.add_rules_all_the_time)
            try:
                self.travel()
            finally:
                self.is_over.set()
        self.check_mail([delivery.result() for delivery in deliveries])
        self.check_rules(*rules.result())

    def check_mail(self, deliveries):
        others = [reply for _, replies in deliveries for reply in replies]
        self.assertEqual([], [reply for reply in others if reply[0] // 100 != 4])
        self.assertTrue(all(delivered for delivered, _ in deliveries))
        stored = {user: self.messages_of(user) for user in NAMES}
        for user, message in itertools.chain.from_iterable(said for said, _ in deliveries):
            self.assertIn(message, stored[user], user)

    def check_rules(self, made, refusals):
        self.assertNotIn(UNKNOWN_USER, [status for status, _ in refusals])
        self.assertTrue(made, refusals[:1])
        for user in NAMES:
            listed = self.quarrow("filter", "list", user, "-f", "tab").stdout
            for rule in [rule for owner, rule in made if owner == user]:
                self.assertRegex(listed, rf"\t{rule}\t", user)


if __name__ == "__main__":
    unittest.main()
