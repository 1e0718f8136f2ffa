#!/usr/bin/env -S python3 -B
"""Completes command lines in real shells, and looks at the words that the command gets then.

Usage: shells_test.py QUARROW FOLDER_OF_SCRIPTS [unittest arguments]

bash and zsh are typed to through a terminal. Where a shell is missing, its tests are skipped.
"""

import os
import pathlib
import pty
import re
import shlex
import shutil
import subprocess
import sys
import threading
import unittest

from prepared_root import ALICE, NAMES, QUARROW, PreparedRoot

SCRIPTS = pathlib.Path(sys.argv[2]).resolve()
BASH_COMPLETION = pathlib.Path("/usr/share/bash-completion/bash_completion")
# Asked for completions, it is the real one; otherwise it tells the words that it got.
STAND_IN = """#!/bin/sh
[ "$1" = complete ] && exec "$QUARROW" "$@"
printf '%s\\0' "$@" >"$TOLD"
"""


class ShellTest(PreparedRoot):
    shell = None

    def setUp(self):
        if not shutil.which(self.shell):
            self.skipTest(f"{self.shell} is missing")
        super().setUp()
        self.told = self.folder / "told"
        os.mkfifo(self.told)
        programs = self.folder / "bin"
        programs.mkdir()
        (programs / "quarrow").write_text(STAND_IN)
        (programs / "quarrow").chmod(0o755)
        self.environment = {
            "PATH": f"{programs}:/usr/bin:/bin", "HOME": str(self.folder), "TERM": "dumb",
            "LC_ALL": "C.UTF-8", "QUARROW": QUARROW, "TOLD": str(self.told),
            "QUARROW_ROOT": "/nowhere"}
        self.environment.update((name, value) for name, value in os.environ.items()
                                if name.endswith("SAN_OPTIONS"))
        self.place = self.folder / "place"
        self.place.mkdir()

    def line(self, *words):
        return " ".join(("quarrow --root", shlex.quote(str(self.root)), *words))

    def words_of(self, line):
        """The words that the command gets, without the root, for a line that is completed."""
        self.enter(line)
        words = self.told.read_bytes().decode().split("\0")[:-1]
        self.assertEqual(["--root", str(self.root)], words[:2])
        return words[2:]

    def expect(self, expected, *typed):
        self.assertEqual(expected, self.words_of(self.line(*typed)), typed)

    def expect_common(self):
        """What is the same in all shells: expects words of lines that end in unfinished ones."""
        self.expect(["history"], "hist")
        self.expect(["filter", "disable"], "filter dis")
        self.expect(["filter", "list", ALICE], "filter list al")
        self.expect(["filter", "list", ALICE], "filter list alice@ex")
        self.expect(["filter", "list", "o'brien@example.org"], "filter list o")
        self.expect(["history", ALICE, "--format"], "history", ALICE, "--form")
        self.expect(["history", ALICE, "--format", "table"], "history", ALICE, "--format tabl")
        self.expect(["history", ALICE, "--format=json"], "history", ALICE, "--format=j")
        for name in NAMES:
            self.expect(["filter", "show", ALICE, name], "filter show", ALICE, name[:2])
            self.expect(["match", ALICE, "--without", name], "match", ALICE, "--without", name[:2])
        self.expect(["match", ALICE, "--without=" + NAMES[0]], "match", ALICE, "--without=Aa")
        self.expect(["filter", "show", ALICE, NAMES[0]], "filter show", ALICE, r"Aa\ i")

    def expect_paths(self):
        for name in ("mail $1 it's.eml", "rules.json"):
            (self.place / name).touch()
        (self.place / "some folder").mkdir()
        self.expect(["match", ALICE, "mail $1 it's.eml"], "match", ALICE, "ma")
        self.expect(["export", ALICE, "--output", "rules.json"], "export", ALICE, "--output ru")
        self.expect(["export", ALICE, "--output=rules.json"], "export", ALICE, "--output=ru")
        words = self.words_of(self.line("match --root so"))
        self.assertEqual(["match", "--root", "some folder"], [word.rstrip("/") for word in words])


class Terminal:
    """A shell at a terminal."""

    def __init__(self, command, folder, environment):
        self.process, self.descriptor = pty.fork()
        if self.process == 0:
            os.chdir(folder)
            os.execvpe(command[0], command, environment)
        self.shown = b""
        self.reader = threading.Thread(target=self._read)  # the shell must not wait for us
        self.reader.start()

    def _read(self):
        try:
            while part := os.read(self.descriptor, 4096):
                self.shown += part
        except OSError:  # its other end is closed
            pass

    def type(self, text):
        os.write(self.descriptor, text.encode())

    def close(self):
        self.type("\x15exit\r")
        os.waitpid(self.process, 0)
        self.reader.join()
        os.close(self.descriptor)


class TypedShellTest(ShellTest):
    def begin(self, *command):
        self.terminal = Terminal(command, self.place, self.environment)
        self.addCleanup(self.terminal.close)

    def enter(self, line):
        self.terminal.type(line + "\t\r")


class BashTest(TypedShellTest):
    shell = "bash"

    def begin_bash(self, start):
        (self.folder / "rc").write_text(f"set +o history\n{start}\n")
        self.begin("bash", "--noprofile", "--rcfile", str(self.folder / "rc"), "-i")

    def begin_alone(self):
        self.begin_bash(f". {shlex.quote(str(SCRIPTS / 'quarrow.bash'))}")

    def test_completes_alone(self):
        self.begin_alone()
        self.expect_common()
        self.expect_paths()

    @unittest.skipUnless(BASH_COMPLETION.exists(), "bash-completion is missing")
    def test_completes_with_bash_completion(self):
        scripts = self.folder / "share/bash-completion/completions"
        scripts.mkdir(parents=True)
        shutil.copy(SCRIPTS / "quarrow.bash", scripts / "quarrow")
        self.environment["XDG_DATA_HOME"] = str(self.folder / "share")
        self.begin_bash(f". {BASH_COMPLETION}")
        self.expect_common()
        self.expect_paths()

    def test_completes_in_quotes(self):
        self.begin_alone()
        for name in NAMES:
            for quote in "'\"":
                self.expect(["filter", "show", ALICE, name], "filter show", ALICE,
                            quote + name[:2])

    def test_completes_in_the_middle_of_a_line(self):
        self.begin_alone()
        self.terminal.type(self.line("filter show", ALICE, "Aa behind") + "\x1b" + "7\x02\t\x05\r")
        words = self.told.read_bytes().decode().split("\0")
        self.assertEqual(["filter", "show", ALICE, NAMES[0], "behind", ""], words[2:])

    def test_runs_nothing_that_is_typed(self):
        self.begin_alone()
        self.expect(["filter", "list", "x", "--all-users"], "filter list $(>ran; echo x) --all")
        self.terminal.type("quarrow filter list $(>ran) `>ran` --all\t\x15")
        self.expect(["init"], "init")
        (self.place / "ran").unlink()  # by the first line, when it was entered
        self.terminal.type("quarrow filter list $(>ran) `>ran` --all\t\x15")
        self.expect(["init"], "init")
        self.assertFalse((self.place / "ran").exists())


class ZshTest(TypedShellTest):
    shell = "zsh"

    def test_completes(self):
        (self.folder / ".zshrc").write_text(
            f"unsetopt beep; fpath+=({shlex.quote(str(SCRIPTS))})\n"
            f"autoload -Uz compinit; compinit -u -D\n")
        self.begin("zsh", "-d", "-i")
        self.expect_common()
        self.expect_paths()
        for name in NAMES:
            self.expect(["filter", "show", ALICE, name], "filter show", ALICE, "'" + name[:2])


class FishTest(ShellTest):
    shell = "fish"

    def enter(self, line):
        """The shell gives the last word as it would type it."""
        script = (f"source {shlex.quote(str(SCRIPTS / 'quarrow.fish'))}\n"
                  "set -l found (complete --escape --do-complete $argv[1])\n"
                  "set -l last (string split -f1 \\t -- $found[1])\n"
                  "eval $argv[2] $last\n")
        in_front = re.fullmatch(r"(.*[^\\]) .*", line)[1]
        process = subprocess.Popen(["fish", "--no-config", "-c", script, line, in_front],
                                   env=self.environment, cwd=self.place, stdin=subprocess.DEVNULL)
        self.addCleanup(process.wait)

    def test_completes(self):
        self.expect_common()
        self.expect_paths()

    def test_describes(self):
        script = f"source {SCRIPTS / 'quarrow.fish'}; complete --do-complete 'quarrow hist'"
        shown = subprocess.run(["fish", "--no-config", "-c", script], env=self.environment,
                               check=True, capture_output=True, text=True).stdout
        self.assertEqual("history\tList the changes of a user's filters.\n", shown)


if __name__ == "__main__":
    del sys.argv[1:3]
    del ShellTest, TypedShellTest, PreparedRoot
    unittest.main()
