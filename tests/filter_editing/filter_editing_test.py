#!/usr/bin/env python3
"""A person at a terminal edits filters: filter_editing_test.py QUARROW"""

import os
import pathlib
import pty
import shutil
import subprocess
import sys
import tempfile
import unittest

QUARROW = os.path.abspath(sys.argv.pop(1))
USER = "alice@example.org"
OWNER = 65534
QUESTIONS = (b"Edit it again? [y/n] ", b"Please type y or n: ")
REPORTS = ("name: Reports\nenabled: yes\nmatch: all\nif: string subject contains quarterly\n"
           "then: move Reports\n")
USAGE, BAD_DATA, UNAVAILABLE, NOT_MADE = 64, 65, 69, 73


class FilterEditingTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quarrow-editing-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.folder.chmod(0o755)
        self.root = self.folder / "root"
        self.drafts = self.folder / "drafts"
        self.drafts.mkdir()
        self.quarrow("init", "--catalogue", self.root / "fields.xml")
        self.quarrow("user", "add", USER)

    def command(self, *arguments):
        return [QUARROW, "--root", str(self.root), *map(str, arguments)]

    def quarrow(self, *arguments, text=""):
        done = subprocess.run(self.command(*arguments), input=text, check=False,
                              capture_output=True, text=True, env=self.environment(""))
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        return done.stdout

    def environment(self, editor, variable="EDITOR", drafts=None):
        kept = {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
        return {**kept, "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8",
                "TMPDIR": str(drafts or self.drafts), variable: editor}

    def editor(self, *steps):
        """A program that does the first of the steps when it is first run, and so on; $1 is the
        file."""
        path = self.folder / "my editor"
        cases = "".join(f"{number}) {step} ;;\n" for number, step in enumerate(steps, 1))
        path.write_text('#!/bin/sh\necho run >>"$0.runs"\n'
                        f'case $(wc -l <"$0.runs") in\n{cases}esac\n')
        path.chmod(0o755)
        return f"'{path}'"

    def edit(self, editor, *arguments, answers=(), **settings):
        """What the terminal shows, and the exit status."""
        master, slave = pty.openpty()
        with subprocess.Popen(self.command(*arguments), stdin=slave, stdout=slave, stderr=slave,
                              env=self.environment(editor, **settings)) as process:
            os.close(slave)
            shown, answers = b"", list(answers)
            while block := self.block(master):
                shown += block
                if shown.endswith(QUESTIONS) and answers:
                    os.write(master, answers.pop(0).encode() + b"\n")
            os.close(master)
        self.assertEqual([], answers)
        return shown.decode().replace("\r\n", "\n"), process.returncode

    @staticmethod
    def block(master):
        try:
            return os.read(master, 4096)
        except OSError:  # EIO: nobody has the terminal open any more
            return b""

    def shown_filter(self, name):
        return self.quarrow("filter", "show", USER, name).partition("\n")[2]

    def names(self):
        return self.quarrow("filter", "list", USER, "-f", "tab").splitlines()

    def add_reports(self):
        self.quarrow("filter", "add", USER, "--file", "-", text=REPORTS)

    def kept(self):
        return [path.read_text() for path in self.drafts.iterdir()]

    def fill(self, text):
        """A step that puts a text in the place of the file's."""
        source = self.folder / f"text{len(list(self.folder.iterdir()))}"
        source.write_text(text)
        return f"cat '{source}' >\"$1\""

    def test_a_new_filter_is_written(self):
        editor = self.editor('cp "$1" "$0.seen"; stat -c %a:%u "$1" >"$0.mode"; '
                             + self.fill(REPORTS))
        shown, status = self.edit(editor, "filter", "add", USER)
        self.assertEqual(("1\n", 0), (shown, status))
        self.assertEqual(REPORTS, self.shown_filter("Reports"))
        self.assertEqual([], self.kept())
        self.assertEqual(f"600:{os.geteuid()}\n", (self.folder / "my editor.mode").read_text())
        seen = (self.folder / "my editor.seen").read_text()
        self.assertIn("#   if: subject contains quarterly\n", seen)
        self.assertTrue(seen.endswith("\nname: \nenabled: yes\nmatch: all\nif: \nthen: \n"), seen)

    def test_options_stand_in_the_template(self):
        editor = self.editor("sed -i -e 's/^if:.*/if: subject is x/' "
                             "-e 's/^then:.*/then: delete/' \"$1\"")
        shown, status = self.edit(editor, "filter", "add", USER, "--name", "New", "--any",
                                  "--disabled")
        self.assertEqual(("1\n", 0), (shown, status))
        self.assertEqual("name: New\nenabled: no\nmatch: any\nif: string subject is x\n"
                         "then: delete\n", self.shown_filter("New"))

    def test_an_untouched_text_changes_nothing(self):
        self.add_reports()
        for words in (["add", USER], ["edit", USER, "Reports"]):
            shown, status = self.edit("true", "filter", *words)
            self.assertEqual(("quarrow: editor: the text is as it was; nothing was changed\n", 0),
                             (shown, status))
        self.assertEqual(1, len(self.names()))
        self.assertEqual([], self.kept())

    def test_a_filter_is_edited_by_its_id_or_name(self):
        self.add_reports()
        for filter_name, old, new in (("1", "quarterly", "monthly"),
                                      ("Reports", "monthly", "weekly")):
            editor = self.editor(f"sed -i s/{old}/{new}/ \"$1\"")
            (self.folder / "my editor.runs").unlink(missing_ok=True)
            self.assertEqual(("", 0), self.edit(editor, "filter", "edit", USER, filter_name))
            self.assertEqual(REPORTS.replace("quarterly", new), self.shown_filter("1"))

    def test_visual_comes_before_editor_and_may_have_options(self):
        self.add_reports()
        shown, status = self.edit("sed -i s/quarterly/monthly/", "filter", "edit", USER, "1",
                                  variable="VISUAL")
        self.assertEqual(("", 0), (shown, status))
        self.assertIn("monthly", self.shown_filter("1"))

    def test_a_wrong_text_is_mended(self):
        self.add_reports()
        editor = self.editor('sed -i s/contains/sounds/ "$1"', 'sed -i s/sounds/is/ "$1"')
        shown, status = self.edit(editor, "filter", "edit", USER, "1", answers=["?", "y"])
        self.assertEqual(0, status, shown)
        self.assertIn("quarrow: line 5: unknown comparator \"sounds\"", shown)
        self.assertIn("Please type y or n: ", shown)
        self.assertIn("is quarterly", self.shown_filter("1"))
        self.assertEqual([], self.kept())

    def test_a_wrong_text_is_kept(self):
        editor = self.editor(self.fill("name: x\nif: subject is a\n"))
        shown, status = self.edit(editor, "filter", "add", USER, answers=["n"])
        self.assertEqual(BAD_DATA, status)
        self.assertIn("an action", shown)
        path = next(self.drafts.iterdir())
        self.assertTrue(shown.endswith(
            f"quarrow: {path}: holds your text; quarrow filter add {USER} --file {path} takes it\n"
        ), shown)
        self.assertEqual(["name: x\nif: subject is a\n"], self.kept())
        self.assertEqual([], self.names())
        path.write_text(REPORTS)
        self.assertEqual("1\n", self.quarrow("filter", "add", USER, "--file", str(path)))

    def test_a_change_meanwhile_is_not_lost(self):
        self.add_reports()
        meanwhile = " ".join(f"'{word}'" for word in self.command(
            "filter", "edit", USER, "1", "--name", "Figures"))
        editor = self.editor(f'{meanwhile} && sed -i s/quarterly/monthly/ "$1"')
        shown, status = self.edit(editor, "filter", "edit", USER, "Reports")
        self.assertEqual(BAD_DATA, status)
        self.assertIn("Figures", shown)  # what was changed
        self.assertIn("holds your text", shown)
        self.assertEqual(REPORTS.replace("Reports\nenabled", "Figures\nenabled"),
                         self.shown_filter("1"))
        self.assertEqual(["# filter 1\n" + REPORTS.replace("quarterly", "monthly")], self.kept())

    def test_an_editor_that_fails_changes_nothing(self):
        self.add_reports()
        for editor, said in (
                ("sh -c 'exit 3'", "ended with status 3; nothing was changed"),
                ("kill -9 $$; :", "was ended by signal 9; nothing was changed"),
                ("/nowhere/editor", "is not found; name your editor in VISUAL or EDITOR")):
            shown, status = self.edit(editor, "filter", "edit", USER, "1")
            self.assertIn(said, shown)
            self.assertEqual(UNAVAILABLE, status)
        self.assertEqual(REPORTS, self.shown_filter("1"))
        self.assertEqual([], self.kept())

    def test_a_text_survives_an_editor_that_fails(self):
        self.add_reports()
        editor = self.editor('sed -i s/quarterly/monthly/ "$1"; exit 1')
        shown, status = self.edit(editor, "filter", "edit", USER, "1")
        self.assertEqual(UNAVAILABLE, status)
        self.assertIn("holds your text", shown)
        self.assertEqual(["# filter 1\n" + REPORTS.replace("quarterly", "monthly")], self.kept())
        self.assertEqual(REPORTS, self.shown_filter("1"))

    def test_a_folder_for_the_text_is_needed(self):
        shown, status = self.edit("true", "filter", "add", USER, drafts="/proc")
        self.assertEqual(NOT_MADE, status)
        self.assertIn("name a folder that you may write to in TMPDIR", shown)

    def test_a_link_in_the_place_of_the_text_is_not_followed(self):
        other = self.folder / "other"
        other.write_text(REPORTS)
        editor = self.editor(f"ln -sf '{other}' \"$1\"")
        shown, status = self.edit(editor, "filter", "add", USER)
        self.assertNotEqual(0, status, shown)
        self.assertEqual([], self.names())

    def test_nobody_is_asked_without_a_terminal(self):
        self.add_reports()
        for words in (["add", USER], ["edit", USER, "1"]):
            done = subprocess.run(self.command("filter", *words), stdin=subprocess.DEVNULL,
                                  check=False, capture_output=True, env=self.environment("false"))
            self.assertEqual(USAGE, done.returncode)
            self.assertIn(b"an editor opens where standard input and output are a terminal",
                          done.stderr)

    def test_a_refusal_comes_before_the_editor(self):
        editor = self.editor("touch \"$0.ran\"")
        for words in (["add", USER, "--before", "None"], ["edit", USER, "None"]):
            shown, status = self.edit(editor, "filter", *words)
            self.assertEqual(BAD_DATA, status, shown)
        self.assertFalse((self.folder / "my editor.ran").exists())

    @unittest.skipIf(os.geteuid() != 0, "only root can give folders away")
    def test_root_edits_with_their_own_rights_and_leaves_the_owner_theirs(self):
        self.add_reports()
        home = self.root / "example.org" / "alice"
        for path in [home, *home.iterdir()]:
            os.chown(path, OWNER, OWNER)
        (self.root / "example.org").chmod(0o755)
        editor = self.editor('id -u >"$0.uid"; sed -i s/quarterly/monthly/ "$1"')
        self.assertEqual(("", 0), self.edit(editor, "filter", "edit", USER, "1"))
        self.assertEqual("0\n", (self.folder / "my editor.uid").read_text())
        self.assertIn("monthly", self.shown_filter("1"))
        self.assertEqual({OWNER}, {path.stat().st_uid for path in home.iterdir()})


if __name__ == "__main__":
    unittest.main()
