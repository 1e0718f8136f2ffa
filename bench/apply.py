#!/usr/bin/env -S python3 -B
"""What filing costs `quarrow apply` beside `quarrow match`, which only decides.

usage: apply.py BUILD_DIR [MESSAGES [ROUNDS]]

BUILD_DIR holds a release build; TMPDIR says which disk. A user has 20 rules, the last of which moves
every message, and 100,000 messages unless told otherwise. In each round `quarrow match` decides
about all of them on all processors, `quarrow apply --yes` files them, and `--undo` brings them back.
Printed are the seconds that passed, the processor's seconds of all processes, and the medians of
the ratios within a round.
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import figures
import peers

USER = "alice"
MOST_BESIDE_MATCH = 1.3  # of the time
ADDRESS = f"{USER}@{peers.DOMAIN}"
TEXT = ("Received: from mx.example.net by mx.example.org; Mon, 04 May 2026 12:00:00 +0000\n"
        "From: Person {0} <person{0}@example.net>\nTo: list{0}@example.org\n"
        "Subject: Message number {0} of several\nDate: Mon, 04 May 2026 12:00:00 +0000\n"
        "Message-ID: <{0}@example.net>\nMIME-Version: 1.0\nContent-Type: text/plain\n\n"
        + "A line of the text, as long as lines are in mail.\n" * 40)


def fill(maildir, count):
    for part in ("cur", "new", "tmp"):
        (maildir / part).mkdir(parents=True, mode=0o700)
    for number in range(count):
        path = maildir / "cur" / f"{1777896000 + number}.M{number}P1.host:2,S"
        path.write_text(TEXT.format(number))


class Watch:
    """Runs the command; the seconds that passed, and those of the processors for all processes."""

    def __init__(self, quarrow):
        self._command = [quarrow.command, "--root", quarrow.root]

    def run(self, *arguments):
        os.sync()
        began = time.perf_counter()
        process = subprocess.Popen([*self._command, *arguments], stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            sys.exit(f"{arguments}: exit status {process.returncode}")
        return time.perf_counter() - began, usage.ru_utime + usage.ru_stime


def main(build, count="100000", rounds="5"):
    with tempfile.TemporaryDirectory(prefix="quarrow-apply-") as name:
        quarrow = peers.Quarrow(pathlib.Path(build), pathlib.Path(name))
        quarrow.add_user(USER)
        maildir = quarrow.home(USER) / "Maildir"
        fill(maildir, int(count))
        watch = Watch(quarrow)
        watch.run("match", ADDRESS, maildir, "--jobs", "0")
        times = {"match": [], "apply": []}
        for _ in range(int(rounds)):
            times["match"].append(watch.run("match", ADDRESS, maildir, "--jobs", "0"))
            times["apply"].append(watch.run("apply", ADDRESS, "--yes", "--jobs", "0"))
            left = sum(1 for _ in (maildir / "cur").iterdir())
            if left > 0:
                sys.exit(f"{left} messages were not moved")
            watch.run("apply", ADDRESS, "--undo", "--yes")
    topic = f"filing {count} messages"
    for which, unit in enumerate(["s", "CPU s"]):
        for program, runs in times.items():
            figures.show(topic, f"quarrow {program}", [run[which] for run in runs], unit)
        figures.show_ratio(topic, f"apply / match, {unit}", [run[which] for run in times["apply"]],
                           [run[which] for run in times["match"]],
                           at_most=MOST_BESIDE_MATCH if which == 0 else None)


if __name__ == "__main__":
    main(*sys.argv[1:])
