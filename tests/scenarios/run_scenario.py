#!/usr/bin/env python3
"""Runs one scenario with the real command and compares all that it said with what was expected.

usage: run_scenario.py QUARROW SCENARIO [USER]

With USER, the superuser has that user give the commands; others skip the scenario. SCENARIO is a folder with
  commands   bash command lines, run one by one; a backslash at the end joins a line with the next
  expected   what they say: each line after "$ ", its output, its complaints after "2> ", and its
             exit status where that is not 0
  mail/      messages, copied into the folder that the commands run in, with a fixed time
  ordinary   an empty file where the commands tell what an ordinary user may not do: the superuser
             has nobody give them

`quarrow` stands for the command with a root of the scenario's own, which `quarrow init` has made,
and which has the user alice@example.org.
"""
import difflib
import os
import pathlib
import pwd
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77
ORDINARY_USER = "nobody"
MESSAGE_TIME = 1777896000  # 2026-05-04 12:00 UTC

PRELUDE = 'quarrow() { "$QUARROW" --root root "$@"; }\n'
SET_UP = ("quarrow init --catalogue root/fields.xml >/dev/null && "
          "quarrow user add alice@example.org >/dev/null")


def command_lines(path):
    text = path.read_text(encoding="utf-8").replace("\\\n", "\\\0")
    return [line.replace("\\\0", "\\\n") for line in text.splitlines() if line]


def environment(quarrow, folder):
    kept = {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
    return {**kept, "QUARROW": quarrow, "PATH": "/usr/bin:/bin", "TZ": "UTC",
            "LC_ALL": "C.UTF-8", "TMPDIR": str(folder), "HOME": str(folder)}


class Shell:
    """Runs command lines as `user`, or as the user who runs this where there is none."""

    def __init__(self, quarrow, folder, user):
        self.quarrow = quarrow
        self.folder = folder
        self.user = user

    def run(self, line):
        as_user = {"user": self.user, "group": pwd.getpwnam(self.user).pw_gid,
                   "extra_groups": []} if self.user else {}
        return subprocess.run(["bash", "-c", PRELUDE + line], cwd=self.folder, check=False,
                              env=environment(self.quarrow, self.folder),
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, **as_user)

    def own(self, path):
        """Gives a file or folder to the user."""
        if self.user:
            shutil.chown(path, self.user, pwd.getpwnam(self.user).pw_gid)


def transcript(line, result):
    out = b"$ " + line.encode() + b"\n" + result.stdout
    out += b"".join(b"2> " + complaint for complaint in result.stderr.splitlines(keepends=True))
    if result.returncode != 0:
        out += b"exit %d\n" % result.returncode
    return out


def copy_messages(source, target):
    if not source.is_dir():
        return
    shutil.copytree(source, target)
    for path in target.rglob("*"):
        os.utime(path, (MESSAGE_TIME, MESSAGE_TIME))


def play(scenario, shell):
    copy_messages(scenario / "mail", shell.folder / "mail")
    for path in [shell.folder, *shell.folder.rglob("*")]:
        shell.own(path)
    prepared = shell.run(SET_UP)
    if prepared.returncode != 0 or prepared.stderr:
        sys.exit("the scenario could not begin:\n"
                 + transcript(SET_UP, prepared).decode("utf-8", "backslashreplace"))
    return b"".join(transcript(line, shell.run(line))
                    for line in command_lines(scenario / "commands"))


def lines(transcript_bytes):
    return transcript_bytes.decode("utf-8", "backslashreplace").splitlines(keepends=True)


def reason_to_skip(user, quarrow):
    if not user:
        return ""
    if os.geteuid() != 0:
        return "only the superuser becomes another user"
    try:
        subprocess.run([quarrow, "--version"], user=user, check=True, capture_output=True)
    except PermissionError:
        return f"{user} can't run {quarrow}"
    return ""


def main():
    quarrow, scenario = os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[2])
    user = sys.argv[3] if len(sys.argv) > 3 else None
    if not user and os.geteuid() == 0 and (scenario / "ordinary").exists():
        user = ORDINARY_USER
    reason = reason_to_skip(user, quarrow)
    if reason:
        print("skipped:", reason)
        return SKIPPED
    with tempfile.TemporaryDirectory() as folder:
        actual = play(scenario, Shell(quarrow, pathlib.Path(folder), user))
    expected = (scenario / "expected").read_bytes()
    if actual == expected:
        return 0
    difference = difflib.unified_diff(lines(expected), lines(actual), "expected", "actual")
    sys.stdout.writelines(difference)
    return 1


if __name__ == "__main__":
    sys.exit(main())
