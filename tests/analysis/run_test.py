#!/usr/bin/env python3
"""The command finds planted mistakes, in a small project of its own that has its checks."""

import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
PROJECT = HERE.parents[1]
NAMELESS = ["-c", "user.name=test", "-c", "user.email=test@example.org"]

GOOD = """\
int twice(int number) { return 2 * number; }
"""
# Only clang-tidy has a check for it, and its analyzer follows the pointer through both branches.
FOR_CLANG_TIDY = """\
int value(const int* place, bool is_there) {
  if (is_there) place = nullptr;
  return *place;  // here
}
"""
FOR_CPPCHECK = """\
class Counter {
 public:
  Counter() {}  // here
  int count() const { return count_; }

 private:
  int count_;
};
int count() { return Counter().count(); }
"""


INHERITED = """\
#include <fcntl.h>
int file() { return open("/dev/null", O_RDONLY); }  // here
"""


def line_of(text):
    return next(number for number, line in enumerate(text.splitlines(), 1) if "// here" in line)


class RunTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.project = pathlib.Path(folder.name).resolve()
        shutil.copytree(HERE, self.project / "tests/analysis")
        shutil.copy(PROJECT / ".clang-tidy", self.project)
        self.git("init", "--quiet", "--initial-branch=main")
        self.write("good.cc", GOOD)
        self.commit()

    def git(self, *arguments):
        subprocess.run(["git", *NAMELESS, *arguments], cwd=self.project, check=True)

    def commit(self):
        self.git("add", "*.cc")
        self.git("commit", "--quiet", "--message=sources")

    def write(self, name, text):
        (self.project / name).write_text(text)
        commands = [{"directory": str(self.project), "file": path.name,
                     "command": f"c++ -std=c++17 -c {path.name}"}
                    for path in self.project.glob("*.cc")]
        (self.project / "compile_commands.json").write_text(json.dumps(commands))

    def run_it(self, *arguments):
        done = subprocess.run([self.project / "tests/analysis/run", "--build", ".", *arguments],
                              cwd=self.project, check=False, text=True, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT)
        return done.returncode, done.stdout

    def expect_finding(self, name, text, check, *others):
        self.write(name, text)
        status, told = self.run_it(name, *others)
        self.assertEqual(1, status, told)
        self.assertRegex(told, rf"(?m)^{name}:{line_of(text)}:\d+: .*\[{check}")
        return told

    def test_a_source_without_mistakes_is_clean(self):
        self.assertEqual((0, "files looked at: 1, findings: 0\n"), self.run_it("good.cc"))

    def test_clang_tidy_finds_a_mistake(self):
        self.expect_finding("bad.cc", FOR_CLANG_TIDY, "clang-analyzer-core.NullDereference")

    def test_cppcheck_finds_a_mistake(self):
        self.expect_finding("bad.cc", FOR_CPPCHECK, "uninitMemberVar")

    def test_programs_hand_no_descriptor_to_children_by_mistake(self):
        self.write("bad_test.cc", INHERITED)
        told = self.expect_finding("bad.cc", INHERITED, "android-cloexec-open", "bad_test.cc")
        self.assertIn("files looked at: 2, findings: 1\n", told)

    def test_a_source_that_does_not_compile_is_a_finding(self):
        self.expect_finding("bad.cc", "int f() { return unknown; }  // here\n", "clang-diagnostic")

    def test_all_sources_are_looked_at(self):
        self.write("bad.cc", FOR_CPPCHECK)
        status, told = self.run_it()
        self.assertEqual(1, status, told)
        self.assertIn("files looked at: 2, ", told)

    def test_changed_sources_are_looked_at(self):
        self.assertEqual((0, "files looked at: 0, findings: 0\n"), self.run_it("--changed", "HEAD"))
        self.write("bad.cc", FOR_CPPCHECK)
        self.assertIn("files looked at: 1, ", self.run_it("--changed", "HEAD")[1])
        self.commit()
        self.assertIn("files looked at: 1, ", self.run_it("--changed")[1])

    def test_wrong_arguments_are_refused(self):
        for arguments in (["absent.cc"], ["compile_commands.json"], ["--changed", "absent"],
                          ["--changed", "HEAD", "good.cc"], ["--fast"], ["--build", "absent"]):
            with self.subTest(arguments):
                self.assertEqual(64, self.run_it(*arguments)[0])


if __name__ == "__main__":
    for tool in ("clang-tidy", "cppcheck", "git"):
        if not shutil.which(tool):
            print(f"skipped: {tool} is not installed")
            sys.exit(77)
    unittest.main()
