#!/usr/bin/env python3
"""The superuser delivers into folders of others: delivery_by_root_test.py QUARROW"""

import stat
import unittest

from superuser import GROUP, OWNER, USER, SuperuserTestCase

SMALL = b"Subject: work\n\nHello\n"
BIG = b"Subject: work\n\n" + b"0123456789abcdef\n" * (5 << 16)  # more than 4 MiB: in a file
TEMPORARY_FAILURE = 75


class DeliveryByRootTest(SuperuserTestCase):
    def deliver(self, message, launcher=()):
        return self.run_quarrow("deliver", "-d", USER, message=message, launcher=launcher)

    def expect_delivery(self, message, into="Maildir/.Work"):
        """A silent delivery: the rule was evaluated."""
        done = self.deliver(message)
        self.assertEqual((0, b""), (done.returncode, done.stderr))
        stored = [path.read_bytes() for path in (self.home / into / "new").iterdir()]
        self.assertTrue(any(each.endswith(message) for each in stored))

    def test_leaves_what_belongs_to_the_owner_of_the_folder_alone(self):
        for message in [SMALL, BIG]:
            with self.subTest(size=len(message)):
                self.expect_delivery(message)
        self.expect_all_to_be_of(OWNER, GROUP)
        for path in (self.home / "Maildir").rglob("*"):
            wanted = 0o700 if path.is_dir() else 0o600
            self.assertEqual(wanted, stat.S_IMODE(path.lstat().st_mode), path)

    def test_leaves_no_copy_of_a_big_message_elsewhere(self):
        before = set(self.folder.iterdir())
        self.expect_delivery(BIG)
        self.assertEqual(before, set(self.folder.iterdir()))

    def test_comes_to_an_owner_whom_the_folders_above_keep_out(self):
        self.root.chmod(0o700)
        self.expect_delivery(SMALL)
        self.expect_all_to_be_of(OWNER, GROUP)

    def test_enters_a_folder_that_is_a_link_as_the_owner_of_what_it_leads_to(self):
        elsewhere = self.folder / "elsewhere"
        self.home.rename(elsewhere)
        self.home.symlink_to(elsewhere)
        self.expect_delivery(SMALL)
        self.home = elsewhere
        self.expect_all_to_be_of(OWNER, GROUP)

    def test_stays_with_the_superuser_where_the_folder_is_theirs(self):
        self.give_away(self.home, 0, 0)
        self.expect_delivery(SMALL)
        self.expect_all_to_be_of(0, 0)

    def test_writes_nothing_that_the_owner_may_not_write(self):
        maildir = self.home / "Maildir"
        maildir.mkdir(mode=0o755)  # the superuser's
        done = self.deliver(SMALL)
        self.assertEqual(TEMPORARY_FAILURE, done.returncode)
        self.assertIn(f"{maildir}/.Work: Permission denied".encode(), done.stderr)
        self.assertEqual([], list(maildir.iterdir()))

    def test_is_tried_again_where_the_owners_rights_are_out_of_reach(self):
        done = self.deliver(SMALL, ["/usr/bin/setpriv", "--bounding-set=-setuid"])
        self.assertEqual(TEMPORARY_FAILURE, done.returncode)
        self.assertEqual(f"quarrow: {self.home}: its owner's rights can't be taken on: "
                         "Operation not permitted\n".encode(), done.stderr)
        self.assertFalse((self.home / "Maildir").exists())

    def test_leaves_the_rules_and_the_files_of_all_users_as_they_were(self):
        shared = [self.root / "quarrow.sqlite", self.root / "fields.xml"]
        before = [(path.read_bytes(), path.stat()[:6]) for path in shared]
        filters = self.quarrow("filter", "list", USER)
        self.expect_delivery(SMALL)
        self.assertEqual(before, [(path.read_bytes(), path.stat()[:6]) for path in shared])
        self.assertEqual(filters, self.quarrow("filter", "list", USER))


if __name__ == "__main__":
    unittest.main()
