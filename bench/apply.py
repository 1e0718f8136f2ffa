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
import statistics
import subprocess
import sys
import tempfile
import time

import peers

USER = "alice"
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
    for program, runs in times.items():
        print(f"quarrow {program}: {peers.summary([run[0] for run in runs])} seconds,"
              f"{peers.summary([run[1] for run in runs])} of the processors")
    for which, what in enumerate(["time", "processors' time"]):
        ratio = statistics.median(apply[which] / match[which]
                                  for apply, match in zip(times["apply"], times["match"]))
        print(f"quarrow apply takes {ratio:.2f} of the {what} of quarrow match")


if __name__ == "__main__":
    main(*sys.argv[1:])
