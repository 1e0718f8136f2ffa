#!/usr/bin/env -S python3 -B
"""Runs the examples that quarrow shows behind --help, each below a root of its own.

Usage: help_examples.py QUARROW FOLDER_OF_MAIL

Each example must end with 0. Prints those that do not, and exits with 1 then.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ALICE = "alice@example.org"
# An example names what stands for something on the reader's system.
REVISION = "0123456789ab"
ROOT = "/var/spool/quarrow"
# The system's catalogue is not the test's to write or to read.
WITH_CATALOGUE = ("init", "field")
# What a subcommand needs besides.
LOCKED = ("user", "lock", ALICE)
BEFORE = {"redo": [("undo", ALICE)],
          "field remove": [("field", "add", ALICE, "string", "X-Project")],
          "user export": [LOCKED],
          "user import": [LOCKED, ("user", "export", ALICE, "alice.tar"), ("user", "remove", ALICE)]}
SCRIPT = 'require "fileinto";\nif header :contains "subject" "x" { fileinto "Old"; }\n'


class System:
    """A root with users, filters and mail, and the folder that examples run in."""

    def __init__(self, folder):
        self.folder = folder
        self.root = folder / "root"
        self.environment = {**os.environ, "PATH": f"{folder}/bin:/usr/bin:/bin",
                            "QUARROW_ROOT": str(self.root),
                            "QUARROW_HOMES": str(folder / "homes.sqlite")}

    def set_up(self, quarrow, mail):
        (self.folder / "bin").mkdir()
        (self.folder / "bin" / "quarrow").symlink_to(pathlib.Path(quarrow).resolve())
        self.set_up_users()
        self.set_up_mail(pathlib.Path(mail))
        self.set_up_homes()

    def run(self, line):
        with open(self.folder / "message", "rb") as message:
            return subprocess.run(["bash", "-c", line], cwd=self.folder, env=self.environment,
                                  stdin=message, capture_output=True, text=True, check=False)

    def quarrow(self, *words):
        catalogue = ["--catalogue", self.folder / "fields.xml"] if words[0] in WITH_CATALOGUE else []
        return subprocess.run(["quarrow", *words, *catalogue], env=self.environment, check=True,
                              cwd=self.folder, capture_output=True, text=True).stdout

    def set_up_users(self):
        self.quarrow("init")
        for user in (ALICE, "bob@example.org"):
            self.quarrow("user", "add", user)
            for name in ("Lists", "Reports"):
                self.quarrow("filter", "add", user, "--name", name, "--if",
                             f"subject contains {name}", "--then", f"move {name}")

    def set_up_mail(self, mail):
        messages = sorted(mail.glob("*.eml"))
        shutil.copytree(mail, self.folder / "inbox")
        for name in ("mail.eml", "message"):
            shutil.copy(messages[0], self.folder / name)
        (self.folder / "mail.mbox").write_bytes(
            b"From bob@example.org Mon May  4 12:00:00 2026\n" + messages[0].read_bytes() + b"\n")
        (self.folder / "old.sieve").write_text(SCRIPT)
        for part in ("cur", "new", "tmp"):
            (self.folder / "Maildir" / part).mkdir(parents=True)
        shutil.copy(messages[0], self.folder / "Maildir/new/1777896000.M1P1.host")

    def set_up_homes(self):
        for node in ("node1", "node2", "node3"):
            self.quarrow("home", "node", "add", node, "lmtp:unix:/run/quarrow/lmtp")
        self.quarrow("home", "set", ALICE, "node1")
        (self.folder / "users").write_text("bob@example.org node2\n")

    def deliver(self):
        shutil.copytree(self.folder / "Maildir", self.root / "example.org/alice/Maildir")

    def own_words(self, line):
        """The example for this system."""
        words = line.replace(ROOT, str(self.root))
        if REVISION in words:
            revision = self.quarrow("history", ALICE, "-f", "tab").partition("\t")[0]
            words = words.replace(REVISION, revision)
        if set(words.split()) & set(WITH_CATALOGUE):
            words += f" --catalogue {self.folder}/fields.xml"
        return words


def examples(quarrow, words=()):
    """(subcommand, example) of it and of all below it."""
    text = subprocess.run([quarrow, *words, "--help"], check=True, capture_output=True,
                          text=True).stdout
    if words:
        yield " ".join(words), text.partition("\nExample:\n")[2].strip()
    for line in text.partition("\nSubcommands:\n")[2].partition("\n\n")[0].splitlines():
        if line.startswith("  ") and line[2] != " ":
            yield from examples(quarrow, (*words, line.split()[0]))


def fault_of(name, example, model):
    if not example.startswith("quarrow "):
        return "has no example"
    with tempfile.TemporaryDirectory() as folder:
        system = System(pathlib.Path(folder, "copy"))
        shutil.copytree(model.folder, system.folder, symlinks=True)
        for words in BEFORE.get(name, []):
            system.quarrow(*words)
        if not name.startswith("user"):  # whose removal mail would prevent
            system.deliver()
        result = system.run(system.own_words(example))
    return "" if result.returncode == 0 else f"ended with {result.returncode}: {result.stderr}"


def main(quarrow, mail):
    found = list(examples(quarrow))
    with tempfile.TemporaryDirectory() as folder:
        model = System(pathlib.Path(folder))
        model.set_up(quarrow, mail)
        faults = [f"{name}: {fault}" for name, example in found
                  if (fault := fault_of(name, example, model))]
    if not found:
        faults.append("there are no examples")
    print("\n".join(faults))
    sys.exit(1 if faults else 0)


main(*sys.argv[1:])
