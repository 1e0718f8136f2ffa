#!/usr/bin/env python3
"""200 users change their rules, eight at a time, while eight others deliver to them.

usage: many_users_test.py QUARROW_LMTPD QUARROW LIBRARIES [--long] [unittest arguments]

Each user has a rule that stays, a rule whose folder changes from V0 to V1 and on, and rules that
are added. A message is filed by the rules that hold when it comes or by those that hold when it is
answered for: by the old ones, though the change has begun, until the script has its new name.
"""
import collections
import concurrent.futures
import json
import os
import pathlib
import pwd
import random
import re
import shutil
import subprocess
import sys
import threading
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from setting import IS_LONG, IS_SANITIZED, QUARROW, done, message  # noqa: E402

import lmtp_server  # noqa: E402

USERS = [f"user{number}@example.org" for number in range(200)]
SEED = 20260101
CHANGES, DELIVERIES = (
    (20000, 40000) if IS_LONG  # five minutes on two processors
    else (80, 260) if IS_SANITIZED  # programs that take five times as long
    else (240, 800))
MOST_ADDED = 40  # of the 60 filters that a user may have


class User:
    """What is known of the user's rules. One change at a time has the lock, so that its order is
    known; additions need none."""

    def __init__(self, address):
        self.address = address
        self.changes = threading.Lock()
        self.begun = 0  # the newest version of the rule that changes, once its change has begun
        self.ended = 0  # once its change has ended
        self.added = []


class ManyUsers(unittest.TestCase):
    def setUp(self):
        self.users = [User(address) for address in USERS]
        self.counts = collections.Counter()
        self.daemon = lmtp_server.Daemon("--workers", "8", change=self.fill)
        self.addCleanup(self.daemon.close)
        self.root = self.daemon.folder / "root"

    def fill(self, daemon):
        """Users with the same first rules."""
        root = daemon.folder / "root"
        done(root, "init", "--catalogue", root / "fields.xml")
        first = daemon.home(USERS[0])
        (first / ".delivery_filter").unlink()
        for name, folder in (("stays", "Stays"), ("changes", "V0")):
            done(root, "filter", "add", USERS[0], "--name", name, "--if",
                 f"string subject contains {name}", "--then", f"move {folder}")
        for user in USERS[1:]:
            shutil.copytree(first, daemon.home(user), dirs_exist_ok=True)
        daemon.give_away()

    def quarrow(self, *arguments, content=b""):
        """As the owner of the users' folders."""
        owner = pwd.getpwnam(lmtp_server.unprivileged_user())
        rights = {"user": owner.pw_uid, "group": owner.pw_gid, "extra_groups": []} \
            if os.geteuid() == 0 else {}
        return subprocess.run([QUARROW, "--root", self.root, *arguments], input=content,
                              check=False, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **rights)

    def change(self, number):
        chance = random.Random(SEED + number)
        user = chance.choice(self.users)
        if number % 2 == 0 and len(user.added) < MOST_ADDED:
            name = f"Added {number}"
            user.added.append(name)
            result = self.quarrow("filter", "add", user.address, "--name", name, "--if",
                                  f"string subject contains added{number}", "--then",
                                  f"move A{number}")
            self.assertEqual(0, result.returncode, result)
            return
        with user.changes:
            user.begun += 1
            result = self.quarrow("filter", "edit", user.address, "2", "--then",
                                  f"move V{user.begun}")
            self.assertEqual(0, result.returncode, result)
            user.ended = user.begun

    def deliver(self, number):
        """Every fourth by the command, the others by the server."""
        chance = random.Random(SEED - number)
        user = chance.choice(self.users)
        word = chance.choice(("stays", "changes"))
        text = f"{word} {number}."
        oldest = user.ended
        if number % 4 == 0:
            result = self.quarrow("deliver", "-d", user.address, content=message(text))
            self.assertEqual(0, result.returncode, result)
        else:
            with lmtp_server.Lmtp(self.daemon.socket) as client:
                client.ehlo("test")
                (code, _), = client.deliver([user.address], text, name=str(number))
                self.assertEqual(250, code)
        return user, text, oldest, user.begun

    def test_no_message_is_unfiltered_and_no_change_is_lost(self):
        with concurrent.futures.ThreadPoolExecutor(8) as changing, \
                concurrent.futures.ThreadPoolExecutor(8) as delivering:
            changes = [changing.submit(self.change, number) for number in range(CHANGES)]
            deliveries = [delivering.submit(self.deliver, number) for number in range(DELIVERIES)]
            for each in changes:
                each.result()
            delivered = [each.result() for each in deliveries]
        places = self.places()
        for user, text, oldest, newest in delivered:
            self.assert_filed(places.pop((user.address, text)), text, oldest, newest)
        self.assertEqual({}, places)
        for user in self.users:
            self.assert_rules(user)
        print(f"{CHANGES} changes, {DELIVERIES} deliveries: {dict(self.counts)}", file=sys.stderr)

    def places(self):
        """{(user, subject): [folders]}"""
        found = collections.defaultdict(list)
        for user in USERS:
            maildir = self.daemon.home(user) / "Maildir"
            for path in maildir.glob("**/new/*"):
                subject = re.search(r"^Subject: (.*?)\r?$", path.read_text(), re.MULTILINE)[1]
                found[user, subject].append(str(path.parent.parent.relative_to(maildir)))
        return found

    def assert_filed(self, folders, text, oldest, newest):
        if text.startswith("stays"):
            self.assertEqual([".Stays"], folders)
            return
        self.assertIn(folders, [[f".V{version}"] for version in range(oldest, newest + 1)], text)
        self.counts["while a change was under way"] += oldest < newest
        self.counts["of these by the old rules"] += oldest < newest and folders == [f".V{oldest}"]

    def assert_rules(self, user):
        listed = self.quarrow("filter", "list", user.address, "--format", "json")
        rules = json.loads(listed.stdout)
        names = [rule["name"] for rule in rules]
        self.assertEqual(["stays", "changes"], names[:2])
        self.assertEqual(sorted(user.added), sorted(names[2:]))
        self.assertEqual([f"move V{user.ended}"], rules[1]["actions"])


if __name__ == "__main__":
    unittest.main()
