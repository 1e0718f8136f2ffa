#!/usr/bin/env python3
"""Archives that no export makes: hostile_archives_test.py QUARROW [unittest arguments]"""

import hashlib
import io
import os
import pathlib
import subprocess
import sys
import tarfile
import tempfile
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
USER = "alice@example.org"
EX_DATAERR = 65


def member(name, kind=tarfile.REGTYPE, mode=0o600, **attributes):
    info = tarfile.TarInfo(name)
    info.type = kind
    info.mode = mode
    for attribute, value in attributes.items():
        setattr(info, attribute, value)
    return info


TOP = member("user", tarfile.DIRTYPE, 0o700)

# Each stands between the user's folder and the end.
HOSTILE = {
    "an absolute name": member("/quarrow-hostile"),
    "an absolute name below the user's": member("user//etc/hostile"),
    "a way up": member("user/../../outside"),
    "a way up at the end": member("user/..", tarfile.DIRTYPE, 0o700),
    "a dot": member("user/./a"),
    "a name beside the user's folder": member("users/a"),
    "a name that only begins like it": member("user-a"),
    "a symbolic link": member("user/a", tarfile.SYMTYPE, linkname="/etc/passwd"),
    "a hard link": member("user/a", tarfile.LNKTYPE, linkname="/etc/passwd"),
    "a hard link to a member": member("user/a", tarfile.LNKTYPE, linkname="quarrow-user"),
    "a hard link with bytes": member("user/a", tarfile.LNKTYPE, linkname="quarrow-user", size=3,
                                     pax_headers={"comment": "so that it is read as pax"}),
    "a character device": member("user/a", tarfile.CHRTYPE, devmajor=1, devminor=3),
    "a block device": member("user/a", tarfile.BLKTYPE, devmajor=8, devminor=0),
    "a fifo": member("user/a", tarfile.FIFOTYPE),
    "a set-user-ID bit": member("user/a", mode=0o4755),
    "a set-group-ID bit": member("user/a", mode=0o2755),
    "a sticky bit": member("user/a", tarfile.DIRTYPE, 0o1777),
    "a lock": member("user/.quarrow_lock"),
    "a file in a folder that is not there": member("user/a/b"),
    "a name that is too long": member("user/" + "a" * 300),
}


class Archive:
    """An archive in the form of an export, with members of the test's choice."""

    def __init__(self):
        self.bytes = io.BytesIO()
        self.tar = tarfile.open(fileobj=self.bytes, mode="w", format=tarfile.PAX_FORMAT)
        self.counts = {"files": 0, "folders": 0, "bytes": 0}
        self.add_text("quarrow-user", f"version 1\nuser {USER}\n")

    def add_text(self, name, text):
        info = member(name)
        info.size = len(text)
        self.tar.addfile(info, io.BytesIO(text.encode()))

    def add(self, info):
        self.tar.addfile(info, io.BytesIO(b"x" * info.size))
        self.counts["folders" if info.isdir() else "files"] += 1
        self.counts["bytes"] += info.size

    def finish(self):
        digest = hashlib.sha256(self.bytes.getvalue()).hexdigest()
        counts = "".join(f"{word} {number}\n" for word, number in self.counts.items())
        self.add_text("quarrow-end", f"{counts}sha256 {digest}\n")
        self.tar.close()
        return self.bytes.getvalue()


class HostileArchives(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.root = self.folder / "root"
        self.run_quarrow("init", "--catalogue", self.folder / "fields.xml")

    def run_quarrow(self, *words, **options):
        return subprocess.run([PROGRAM, "--root", self.root, *words], capture_output=True,
                              check=False, **options)

    def import_archive(self, archive):
        return self.run_quarrow("user", "import", USER, "-", input=archive)

    def assert_refused(self, result):
        self.assertEqual(EX_DATAERR, result.returncode, result.stderr)
        self.assertNotRegex(result.stderr, b"(?i)damaged")
        self.assertEqual([], [*self.root.glob("example.org/*"), *self.root.glob("example.org/.*")])

    def test_an_archive_of_the_same_form_is_taken(self):
        archive = Archive()
        archive.add(TOP)
        archive.add(member("user/a"))
        result = self.import_archive(archive.finish())
        self.assertEqual(0, result.returncode, result.stderr)
        self.assertEqual(b"", (self.root / "example.org/alice/a").read_bytes())

    def test_hostile_members_are_refused(self):
        for what, info in HOSTILE.items():
            with self.subTest(what):
                archive = Archive()
                archive.add(TOP)
                archive.add(info)
                self.assert_refused(self.import_archive(archive.finish()))
        self.assertFalse(pathlib.Path("/quarrow-hostile").exists())
        self.assertFalse((self.root / "outside").exists())

    def test_a_name_that_comes_twice_is_refused(self):
        for kind in (tarfile.REGTYPE, tarfile.DIRTYPE):
            archive = Archive()
            archive.add(TOP)
            archive.add(member("user/a"))
            archive.add(member("user/a", kind))
            self.assert_refused(self.import_archive(archive.finish()))

    def test_a_file_with_holes_is_refused(self):
        large = self.folder / "large"
        with large.open("wb") as file:
            file.truncate(1 << 30)
        if subprocess.run(["tar", "--sparse", "-cf", self.folder / "sparse.tar", "-C", self.folder,
                           "--transform", "s,^,user/,", "large"], check=False).returncode != 0:
            self.skipTest("no tar that knows of holes")
        archive = Archive()
        archive.add(TOP)
        archive.bytes.write((self.folder / "sparse.tar").read_bytes()[:-1024].rstrip(b"\0"))
        archive.bytes.write(b"\0" * (-archive.bytes.tell() % 512))
        result = self.import_archive(archive.bytes.getvalue())
        self.assert_refused(result)
        self.assertIn(b"with holes", result.stderr)

    def test_what_is_no_archive_is_refused(self):
        for text in (b"", b"no archive", b"\0" * 10240, os.urandom(10240)):
            self.assert_refused(self.import_archive(text))


if __name__ == "__main__":
    unittest.main()
