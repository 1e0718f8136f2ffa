#!/usr/bin/env python3
"""The superuser files mail in folders of others: apply_by_root_test.py QUARROW"""

import stat
import unittest

from superuser import GROUP, OWNER, USER, SuperuserTestCase

WORK = b"Subject: work\n\nHello\n"
NAMES = ["1777896000.M1P1.mx", "1777896001.M1P1.mx"]
TEMPORARY_FAILURE = 75
INPUT_OUTPUT_FAILURE = 74


class ApplyByRootTest(SuperuserTestCase):
    def setUp(self):
        super().setUp()
        self.maildir = self.home / "Maildir"
        for part in ["cur", "new", "tmp"]:
            (self.maildir / part).mkdir(mode=0o700, parents=True)
        for name in NAMES:
            (self.maildir / "new" / name).write_bytes(WORK)
        self.give_away(self.maildir)

    def messages(self, folder=""):
        path = self.maildir / folder / "new"
        return sorted(each.name for each in path.iterdir()) if path.exists() else []

    def test_moves_as_the_owner(self):
        self.assertIn(b"2 done, 0 not done", self.quarrow("apply", USER, "--yes"))
        self.assertEqual(([], NAMES), (self.messages(), self.messages(".Work")))
        self.expect_all_to_be_of(OWNER, GROUP)
        journal = self.home / ".refiling_journal"
        self.assertEqual(0o600, stat.S_IMODE(journal.stat().st_mode))
        self.quarrow("apply", USER, "--undo", "--yes")
        self.assertEqual((NAMES, []), (self.messages(), self.messages(".Work")))
        self.expect_all_to_be_of(OWNER, GROUP)

    def test_comes_to_an_owner_whom_the_folders_above_keep_out(self):
        self.root.chmod(0o700)
        self.quarrow("apply", USER, "--yes")
        self.assertEqual(NAMES, self.messages(".Work"))
        self.expect_all_to_be_of(OWNER, GROUP)

    def test_stays_with_the_superuser_where_the_folder_is_theirs(self):
        self.give_away(self.home, 0, 0)
        self.quarrow("apply", USER, "--yes")
        self.assertEqual(NAMES, self.messages(".Work"))
        self.expect_all_to_be_of(0, 0)

    def test_moves_nothing_that_the_owner_may_not_move(self):
        self.give_away(self.maildir / "new", 0, 0)
        (self.maildir / "new").chmod(0o755)
        for name in NAMES:
            (self.maildir / "new" / name).chmod(0o644)
        done = self.run_quarrow("apply", USER, "--yes")
        self.assertEqual(INPUT_OUTPUT_FAILURE, done.returncode)
        self.assertIn(f"{NAMES[0]}: can't be filed in Work: Permission denied".encode(),
                      done.stderr)
        self.assertEqual((NAMES, []), (self.messages(), self.messages(".Work")))

    def test_takes_no_journal_of_somebody_else(self):
        journal = self.home / ".refiling_journal"
        journal.touch(mode=0o666)
        journal.chmod(0o666)  # the superuser's
        done = self.run_quarrow("apply", USER, "--yes")
        self.assertIn(f"{journal}: belongs to another user".encode(), done.stderr)
        self.assertNotEqual(0, done.returncode)
        self.assertEqual((NAMES, b""), (self.messages(), journal.read_bytes()))

    def test_is_tried_again_where_the_owners_rights_are_out_of_reach(self):
        done = self.run_quarrow("apply", USER, "--yes",
                                launcher=["/usr/bin/setpriv", "--bounding-set=-setuid"])
        self.assertEqual(TEMPORARY_FAILURE, done.returncode)
        self.assertEqual(f"quarrow: {self.home}: its owner's rights can't be taken on: "
                         "Operation not permitted\n".encode(), done.stderr)
        self.assertEqual(NAMES, self.messages())


if __name__ == "__main__":
    unittest.main()
