#!/usr/bin/env python3
"""The superuser mends folders of others: doctor_by_root_test.py QUARROW"""

import os
import unittest

from superuser import GROUP, OWNER, USER, SuperuserTestCase

THERE_ARE_FINDINGS = 1
NO_PERMISSION = 77


class DoctorByRootTest(SuperuserTestCase):
    def setUp(self):
        super().setUp()
        self.script = self.home / ".delivery_filter"
        self.made = self.script.read_bytes()

    def codes(self, *options, status, launcher=()):
        done = self.run_quarrow("doctor", USER, "--least", "warning", "-f", "tab", *options,
                                launcher=launcher)
        self.assertEqual((status, b""), (done.returncode, done.stderr))
        return [tuple(line.split("\t")[1:3]) for line in done.stdout.decode().splitlines()]

    def test_mends_as_the_owner(self):
        self.script.unlink()
        draft = self.home / ".delivery_filter.history.new"
        draft.write_bytes(b"draft")
        self.give_away(self.home)
        self.assertEqual([("mended", "leftover"), ("mended", "no_script")],
                         sorted(self.codes("--repair", status=0)))
        self.assertEqual(self.made, self.script.read_bytes())
        self.assertEqual(b"draft", draft.with_name(draft.name + ".before-repair").read_bytes())
        self.expect_all_to_be_of(OWNER, GROUP)
        self.assertEqual([], self.codes(status=0))

    def test_stays_with_the_superuser_where_the_folder_is_theirs(self):
        self.script.unlink()
        self.give_away(self.home, 0, 0)
        self.assertEqual([("mended", "no_script")], self.codes("--repair", status=0))
        self.expect_all_to_be_of(0, 0)

    def test_says_what_belongs_to_somebody_else_and_changes_nothing_of_it(self):
        os.chown(self.script, 0, 0)
        self.script.chmod(0o666)
        before = self.script.stat()
        self.assertEqual([("error", "foreign_owner"), ("error", "open_mode")],
                         self.codes("--repair", status=THERE_ARE_FINDINGS))
        after = self.script.stat()
        self.assertEqual((before.st_mode, before.st_uid, self.made),
                         (after.st_mode, after.st_uid, self.script.read_bytes()))

    def test_looks_at_nothing_where_the_owners_rights_are_out_of_reach(self):
        self.script.unlink()
        done = self.run_quarrow("doctor", USER, "--repair", "-f", "tab",
                                launcher=["/usr/bin/setpriv", "--bounding-set=-setuid"])
        self.assertNotEqual(0, done.returncode)
        self.assertFalse(self.script.exists())


if __name__ == "__main__":
    unittest.main()
