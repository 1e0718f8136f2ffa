#!/usr/bin/env -S python3 -B
"""Time and memory of `quarrow doctor -A` for many users.

usage: doctor.py BUILD_DIR [USERS [RULES]]

BUILD_DIR holds a release build; TMPDIR says which disk. Makes 10,000 users with 20 rules each,
unless told otherwise: the command makes the rules of one user, and each other one gets the document
and the script with a word of their own in each rule, so that no two are alike, and a Maildir with
the folders. Printed are the seconds that passed, the processor's seconds of the user and of the
system, the largest memory of one of the processes, and how many lines there were: none is expected.
Then all scripts are removed, so that there is a finding for each user, and each form of the list is
measured: the memory should be the same.
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import figures

RULE = "rule{rule}-word"


def add_rules(quarrow, user, rules):
    for rule in range(rules):
        word = RULE.format(rule=rule)
        subprocess.run([*quarrow, "filter", "add", user, "--name", word, "--any",
                        "--if", f"string subject contains {word}",
                        "--if", f"string list-id begin_with {word}",
                        "--if", f"address from is {word}@example.net",
                        "--then", "move Lists"], check=True, stdout=subprocess.DEVNULL)


def write_private(path, content):
    path.write_bytes(content)
    path.chmod(0o600)


def add_mail(folder):
    for place in (folder / "Maildir", folder / "Maildir" / ".Lists"):
        for part in ("cur", "new", "tmp"):
            (place / part).mkdir(mode=0o700, parents=True)


def make_users(quarrow, root, count, rules):
    subprocess.run([*quarrow, "init", "--catalogue", root / "fields.xml"], check=True,
                   stdout=subprocess.DEVNULL)
    subprocess.run([*quarrow, "user", "add", "model@example.org"], check=True,
                   stdout=subprocess.DEVNULL)
    add_rules(quarrow, "model@example.org", rules)
    model = root / "example.org" / "model"
    texts = {path.name: path.read_bytes() for path in model.iterdir() if path.is_file()}
    add_mail(model)
    for number in range(count - 1):
        folder = root / "example.org" / f"user{number}"
        folder.mkdir(mode=0o700)
        for name, text in texts.items():
            write_private(folder / name, text.replace(b"-word", b"-w%d" % number))
        add_mail(folder)


def take_scripts(root):
    for script in root.glob("example.org/*/.delivery_filter"):
        script.unlink()


def measure(quarrow, form, what):
    with tempfile.TemporaryFile() as output:
        began = time.perf_counter()
        process = subprocess.Popen([*quarrow, "doctor", "-A", "-f", form], stdout=output)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        took = time.perf_counter() - began
        output.seek(0)
        findings = sum(1 for _ in output)
    print(f"\n{what}: {findings} lines, exit status {process.returncode}")
    figures.show(what, "quarrow doctor", [took], "s")
    figures.show(what, "quarrow doctor", [usage.ru_utime + usage.ru_stime], "CPU s")
    figures.show(what, "quarrow doctor", [usage.ru_maxrss / 1024], "MiB")


def main(build, count="10000", rules="20"):
    program = pathlib.Path(build).resolve() / "apps" / "quarrow" / "quarrow"
    os.umask(0o022)
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        quarrow = [program, "--root", root]
        make_users(quarrow, root, int(count), int(rules))
        measure(quarrow, "tab", f"looking after {count} users with {rules} rules each")
        take_scripts(root)
        for form in ("tab", "json", "table"):
            measure(quarrow, form, f"the same with a finding for each, {form}")


main(*sys.argv[1:])
