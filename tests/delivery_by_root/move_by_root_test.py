#!/usr/bin/env python3
"""The superuser moves users whose folders belong to others: move_by_root_test.py QUARROW"""

import os
import unittest

from superuser import GROUP, OWNER, USER, SuperuserTestCase

NEW_OWNER, NEW_GROUP = 65532, 65531
NO_PERMISSION = 77


class MoveByRootTest(SuperuserTestCase):
    def archive(self):
        self.run_quarrow("deliver", "-d", USER, message=b"Subject: work\n\nbody\n")
        self.quarrow("user", "lock", USER)
        archive = self.folder / "alice.tar"
        self.quarrow("user", "export", USER, archive)
        return archive

    def test_locks_and_unlocks_as_the_owner(self):
        self.quarrow("user", "lock", USER, "--reason", "moves")
        self.expect_all_to_be_of(OWNER, GROUP)
        self.quarrow("user", "unlock", USER)
        self.assertFalse((self.home / ".quarrow_lock").exists())

    def test_a_lock_does_not_write_where_a_link_leads(self):
        target = self.folder / "target"
        target.write_bytes(b"the superuser's")
        for name in (".quarrow_lock", ".quarrow_lock.new"):
            (self.home / name).symlink_to(target)
        self.quarrow("user", "lock", USER, "--reason", "moves")
        self.assertEqual(b"the superuser's", target.read_bytes())
        self.assertFalse((self.home / ".quarrow_lock").is_symlink())

    def test_an_archive_is_the_superusers(self):
        status = self.archive().stat()
        self.assertEqual((0, 0o600), (status.st_uid, status.st_mode & 0o777))

    def test_a_user_gets_the_owner_of_the_folders_above(self):
        archive = self.archive()
        before = sorted(path.relative_to(self.home) for path in self.home.rglob("*"))
        self.quarrow("user", "remove", "--with-mail", USER)
        os.chown(self.root / "example.org", NEW_OWNER, NEW_GROUP)
        self.quarrow("user", "import", USER, archive)
        self.expect_all_to_be_of(NEW_OWNER, NEW_GROUP)
        after = sorted(path.relative_to(self.home) for path in self.home.rglob("*"))
        self.assertEqual([path for path in before if "lock" not in path.name], after)

    def test_an_emptied_folder_is_replaced_for_the_same_owner_only(self):
        archive = self.archive()
        self.quarrow("user", "lock", USER, "--moved", "--with-mail")
        self.expect_all_to_be_of(OWNER, GROUP)
        self.assertEqual(NO_PERMISSION,
                         self.run_quarrow("user", "import", USER, archive).returncode)
        os.chown(self.root / "example.org", OWNER, GROUP)
        self.quarrow("user", "import", USER, archive)
        self.expect_all_to_be_of(OWNER, GROUP)
        self.assertTrue((self.home / ".delivery_filter").exists())


if __name__ == "__main__":
    unittest.main()
