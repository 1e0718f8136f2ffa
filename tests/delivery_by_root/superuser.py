"""Tests of the command as the superuser runs it, in a user's folder that belongs to somebody else."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

QUARROW = os.path.abspath(sys.argv.pop(1))
USER = "alice@example.org"
OWNER, GROUP = 65534, 65533  # no group of the owner has that number


@unittest.skipIf(os.geteuid() != 0, "only root can give folders away")
class SuperuserTestCase(unittest.TestCase):
    """Each test has a root of its own; a rule of the user moves mail to the folder Work."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quarrow-by-root-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.folder.chmod(0o755)
        self.root = self.folder / "root"
        self.home = self.root / "example.org" / "alice"
        self.quarrow("init", "--catalogue", self.root / "fields.xml")
        self.quarrow("user", "add", USER)
        self.quarrow("filter", "add", USER, "--name", "Work", "--if", "string subject is work",
                     "--then", "move Work")
        (self.root / "example.org").chmod(0o755)
        self.give_away(self.home)

    def quarrow(self, *arguments):
        done = self.run_quarrow(*arguments)
        self.assertEqual((0, b""), (done.returncode, done.stderr))
        return done.stdout

    def run_quarrow(self, *arguments, message=b"", launcher=()):
        return subprocess.run([*launcher, QUARROW, "--root", self.root, *arguments], input=message,
                              env={"TMPDIR": str(self.folder)}, check=False, capture_output=True)

    def give_away(self, folder, owner=OWNER, group=GROUP):
        for path in [folder, *folder.rglob("*")]:
            os.chown(path, owner, group)

    def expect_all_to_be_of(self, owner, group):
        for path in [self.home, *self.home.rglob("*")]:
            found = path.lstat()
            self.assertEqual((owner, group), (found.st_uid, found.st_gid), path)
