#!/usr/bin/env -S python3 -B
"""What the command answers to the scripts of shells: requests_test.py QUARROW [unittest arguments]"""

import os
import shutil
import subprocess
import sys
import unittest

from prepared_root import ALICE, NAMES, QUARROW, PreparedRoot


class RequestTest(PreparedRoot):
    def answer(self, *words, shell="fish", **options):
        """The paths that are wanted, and the candidates."""
        result = subprocess.run([QUARROW, "complete", shell, *words], capture_output=True,
                                text=True, check=True, stdin=subprocess.DEVNULL, **options)
        self.assertEqual("", result.stderr)
        paths, *lines = result.stdout.splitlines()
        return paths, [line.partition("\t")[0] for line in lines]

    def candidates(self, *words):
        paths, texts = self.answer("--root", str(self.root), *words)
        self.assertEqual("words", paths)
        return texts

    def test_names_filters_by_name_and_by_id(self):
        expected = [*NAMES, *(str(number) for number in range(1, len(NAMES) + 1))]
        for words in (("filter", "show", ALICE), ("filter", "add", ALICE, "--before"),
                      ("match", ALICE, "--without"), ("apply", ALICE, "--rule")):
            self.assertEqual(expected, self.candidates(*words, ""))

    def test_names_no_filter_that_can_not_be_given_so(self):
        self.add_filter("-dash")
        self.add_filter(NAMES[0])
        self.add_filter("4711")
        self.assertEqual(list(NAMES[1:]), [text for text in self.candidates("filter", "show",
                                                                             ALICE, "")
                                           if not text.isdigit()])

    def test_names_users_by_their_beginning(self):
        self.assertEqual([ALICE, "bob@example.org", "o'brien@example.org"],
                         self.candidates("filter", "list", ""))
        self.assertEqual(["bob@example.org"], self.candidates("deliver", "-d", "b"))
        self.assertEqual(["--to=bob@example.org"],
                         self.candidates("filter", "copy", ALICE, "1", "--to=b"))

    def test_takes_the_root_from_where_it_is_given(self):
        root = str(self.root)
        for words in (["--root", root, "user", "show"], ["user", "--root=" + root, "show"],
                      ["user", "show", "--root", root]):
            self.assertEqual(("words", [ALICE]), self.answer(*words, "al"))
        self.assertEqual(("words", [ALICE]), self.answer(
            "user", "show", "al", env={**os.environ, "QUARROW_ROOT": root}))
        self.assertEqual(("words", [ALICE]), self.answer(
            "--root", "~/root", "user", "show", "al",
            env={**os.environ, "HOME": str(self.folder)}))
        self.assertEqual(("words", []), self.answer("--root", "/nowhere", "user", "show", "al"))

    def test_names_revisions_with_the_newest_first(self):
        shown = self.quarrow("history", ALICE, "--format", "tab")
        expected = [line.partition("\t")[0] for line in shown.splitlines()]
        self.assertEqual(len(NAMES) + 1, len(expected))
        for words in (("restore", ALICE), ("diff", ALICE, expected[0]),
                      ("undo", ALICE, "--if-revision")):
            self.assertEqual(expected, self.candidates(*words, ""))

    def test_names_folders_of_mail(self):
        for name in (".Work", ".Work.A b", ".Entw&APw-rfe", "cur"):
            (self.home / "Maildir" / name).mkdir(parents=True)
        (self.home / "Maildir" / ".file").touch()
        folders = ["INBOX", "Entw\u00fcrfe", "Work", "Work/A b"]
        for words in (("apply", ALICE, "--folder"), ("explain", ALICE, "--folder"),
                      ("deliver", "-d", ALICE, "-m")):
            self.assertEqual(folders, self.candidates(*words, ""))
        self.assertEqual(["move Work", "move Work/A b"],
                         self.candidates("filter", "add", ALICE, "--then", "move W"))

    def test_names_fields_types_formats_and_settings(self):
        self.quarrow("field", "add", ALICE, "string", "X-Project", "--catalogue",
                     self.catalogue)
        self.assertEqual(["X-Project"], self.candidates("field", "remove", ALICE, ""))
        self.assertEqual([], self.candidates("field", "add", ALICE, "string", ""))
        types = ["string", "address", "size", "date"]
        self.assertEqual(types, self.candidates("field", "add", ALICE, ""))
        self.assertEqual(types, self.candidates("field", "add", "-A", ""))
        self.assertEqual(["grade", "hashed-folders"], self.candidates("config", "set", ""))
        self.assertIn("sieve", self.candidates("import", ALICE, "--from", ""))
        self.assertEqual(["table", "tab", "json"], self.candidates("history", ALICE, "-f", ""))

    def test_wants_paths_where_files_stand(self):
        for words in (("match", ALICE), ("explain", ALICE), ("import", ALICE), ("test", "x"),
                      ("export", ALICE, "-o")):
            self.assertEqual(("files", []), self.answer(*words, ""))
        self.assertEqual(("folders", []), self.answer("--root", ""))

    def test_explains_subcommands_of_help(self):
        self.assertEqual(["rename", "remove"], self.candidates("help", "filter", "re"))

    def test_offers_nothing_where_nothing_is_known(self):
        for words in (("filter", "show", "nobody@example.org"), ("filter", "show", "@"),
                      ("nonsense",), ("filter", "list", ALICE), ("history", ALICE, "--history"),
                      ("filter", "disable", "-A"), ("user", "list")):
            self.assertEqual([], self.candidates(*words, ""))

    def everything(self):
        for words in (("filter", "show", ALICE), ("restore", ALICE), ("field", "remove", ALICE),
                      ("apply", ALICE, "--folder")):
            yield self.candidates(*words, "")

    def test_writes_nothing(self):
        (self.home / "Maildir").mkdir()
        lock = self.home / ".delivery_filter.lock"
        lock.unlink()
        (self.home / ".delivery_filter.tmp").write_text("draft")
        before = self.snapshot()
        self.assertTrue(any(self.everything()))
        self.assertEqual(before, self.snapshot())

    def snapshot(self):
        return {path: (path.lstat().st_mtime_ns, path.read_bytes() if path.is_file() else None)
                for path in (self.root, *self.root.rglob("*"))}

    def test_waits_for_nobody_who_changes_the_filters(self):
        with subprocess.Popen(["flock", self.home / ".delivery_filter.lock", "cat"],
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE) as holder:
            holder.stdin.write(b"locked\n")
            holder.stdin.flush()
            holder.stdout.read(1)  # the lock is taken
            self.assertIn(NAMES[0], self.candidates("filter", "show", ALICE, ""))
            holder.stdin.close()

    def test_finds_no_names_in_damaged_files(self):
        names = (".delivery_filter.xml", ".delivery_filter.history", ".delivery_filter.custom.xml")
        elsewhere = self.folder / "elsewhere"
        shutil.copytree(self.home, elsewhere)
        for spoil in (lambda path: path.write_text("<filters><filter name='x'/></filters>"),
                      lambda path: path.write_bytes(b"\0\xff" * 1000),
                      lambda path: (path.unlink(), os.mkfifo(path)),
                      lambda path: (path.unlink(), path.symlink_to(elsewhere / path.name)),
                      lambda path: (path.unlink(), path.mkdir())):
            for name in names:
                path = self.home / name
                path.touch()
                spoil(path)
            self.assertEqual([], [text for texts in self.everything() for text in texts])
            self.assertEqual([ALICE], self.candidates("user", "show", "al"))

    @unittest.skipIf(os.geteuid() != 0, "only root becomes somebody else")
    def test_becomes_the_owner_of_the_folder(self):
        os.chmod(self.folder, 0o755)
        for path in (self.home, *self.home.rglob("*")):
            os.chown(path, 65534, 65534)
        self.assertIn(NAMES[0], self.candidates("filter", "show", ALICE, ""))
        os.chown(self.home / ".delivery_filter.xml", 0, 0)
        os.chmod(self.home / ".delivery_filter.xml", 0o600)
        self.assertEqual([], self.candidates("filter", "show", ALICE, ""))


if __name__ == "__main__":
    del sys.argv[1]
    unittest.main()
