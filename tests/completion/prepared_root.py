"""A root with users, filters and mail, for tests of completion."""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

QUARROW = sys.argv[1]
ALICE = "alice@example.org"
# What shells could read otherwise; two letters tell them apart.
NAMES = ("Aa it's", 'Bb "b" c', "Cc $HOME `x` $(y)", "Dd back\\slash\\", "Ee: x:y",
         "Ff Gr\u00fc\u00dfe \u20ac", "Gg; & | < > (x)", "Hh *?[x]{y,z}", "Ii !bang #h ~t",
         "Jj=a@b,c%", "Kk  two blanks", "Ll^caret")


class PreparedRoot(unittest.TestCase):
    """Each test has its own copy of a root that is made once."""

    @classmethod
    def setUpClass(cls):
        holder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(holder.cleanup)
        cls.model = cls.root = pathlib.Path(holder.name, "root")
        cls.catalogue = pathlib.Path(holder.name, "fields.xml")
        cls.quarrow("init", "--catalogue", cls.catalogue)
        for user in (ALICE, "bob@example.org", "o'brien@example.org"):
            cls.quarrow("user", "add", user)
        for name in NAMES:
            cls.add_filter(name)

    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = pathlib.Path(holder.name)
        type(self).root = self.folder / "root"
        shutil.copytree(self.model, self.root)
        self.home = self.root / "example.org" / "alice"

    @classmethod
    def quarrow(cls, *words):
        return subprocess.run([QUARROW, "--root", cls.root, *words], check=True,
                              capture_output=True, text=True).stdout

    @classmethod
    def add_filter(cls, name):
        cls.quarrow("filter", "add", ALICE, f"--name={name}", "--if", "subject contains x",
                    "--then", "move Work")
