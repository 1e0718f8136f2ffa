#!/usr/bin/env python3
"""Installs a build into an empty prefix, and looks into each program and library there for what
stops an attack at run time.

Usage: hardened_files.py BUILD_FOLDER
"""

import os
import platform
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

BUILD = Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else None
ON_X86 = platform.machine() == "x86_64"


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


class InstalledFile:
    """What readelf says of a linked file."""

    def __init__(self, path):
        self.header = output("readelf", "--file-header", path)
        self.segments = output("readelf", "--program-headers", "--wide", path)
        self.dynamic = output("readelf", "--dynamic", path)
        self.symbols = output("readelf", "--dyn-syms", "--wide", path)

    def segment_flags(self, name):
        """The flags of a segment, 'RWE' without the missing ones; None without such a segment."""
        line = re.search(rf"^ *{name} +(?:0x\w+ +){{5}}([RWE ]+?) +0x", self.segments, re.MULTILINE)
        return line and line[1]

    def imports(self, name):
        return re.search(rf" UND {name}@", self.symbols) is not None


class HardenedFiles(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.prefix = tempfile.TemporaryDirectory()
        environment = {**os.environ, "DESTDIR": ""}
        command = ["cmake", "--install", BUILD, "--prefix", cls.prefix.name]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, env=environment)
        root = Path(cls.prefix.name)
        cls.programs = [path for path in sorted(root.glob("*bin/*")) if path.is_file()]
        cls.libraries = [path for path in sorted(root.rglob("*.so.*")) if not path.is_symlink()]
        cls.archives = sorted(root.rglob("*.a"))

    @classmethod
    def tearDownClass(cls):
        cls.prefix.cleanup()

    def test_all_programs_and_libraries_are_there(self):
        self.assertEqual(
            [path.name for path in self.programs],
            ["quarrow", "quarrow-homes", "quarrow-lmtpd", "quarrow-webd"],
        )
        self.assertEqual(len(self.libraries), 4)
        self.assertEqual([path.name for path in self.archives], ["libquarrow-delivery.a"])

    def test_programs_are_loaded_at_an_address_of_chance(self):
        for path in self.programs:
            with self.subTest(path.name):
                self.assertRegex(InstalledFile(path).dynamic, r"\(FLAGS_1\).* PIE\b")

    def test_addresses_of_functions_cannot_be_written_to(self):
        for path in self.programs + self.libraries:
            with self.subTest(path.name):
                file = InstalledFile(path)
                self.assertEqual(file.segment_flags("GNU_RELRO"), "R")
                self.assertRegex(file.dynamic, r"\(FLAGS_1\).* NOW\b")

    def test_no_memory_can_be_written_and_run(self):
        for path in self.programs + self.libraries:
            with self.subTest(path.name):
                file = InstalledFile(path)
                self.assertEqual(file.segment_flags("GNU_STACK"), "RW")
                for line in file.segments.splitlines():
                    self.assertNotRegex(line, r"^ *LOAD .* RWE ")
                self.assertNotIn("TEXTREL", file.dynamic)

    def test_libraries_are_looked_for_beside_the_file_only(self):
        for path in self.programs + self.libraries:
            with self.subTest(path.name):
                dynamic = InstalledFile(path).dynamic
                for folders in re.findall(r"\(R(?:UN)?PATH\).*\[(.*)\]", dynamic):
                    for folder in folders.split(":"):
                        self.assertTrue(folder.startswith("$ORIGIN"), folder)

    def test_the_stack_is_guarded(self):
        for path in self.programs + self.libraries:
            with self.subTest(path.name):
                self.assertTrue(InstalledFile(path).imports("__stack_chk_fail"))

    def test_calls_of_the_c_library_know_their_bounds(self):
        for path in self.archives:  # programs have such calls of libsieve in any case
            with self.subTest(path.name):
                self.assertIn("__snprintf_chk", output("nm", path))

    @unittest.skipUnless(ON_X86, "only processors of x86 have such marks")
    def test_jumps_arrive_where_they_may(self):
        for path in self.programs:
            with self.subTest(path.name):
                code = output("objdump", "--disassemble=main", path)
                self.assertRegex(code, r"<main>:\n.*\bendbr64\b")
        for path in self.archives:
            with self.subTest(path.name):
                members = output("ar", "t", path).split()
                notes = output("readelf", "--notes", path)
                self.assertEqual(notes.count("x86 feature: IBT, SHSTK"), len(members))


if __name__ == "__main__":
    if BUILD is None:
        sys.exit(__doc__)
    unittest.main()
