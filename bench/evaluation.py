#!/usr/bin/env -S python3 -B
"""CPU time a message of the isolated evaluation, beside Dovecot's sieve-filter with a warm index.

usage: sieve_filter.py BUILD_DIR FOLDER

BUILD_DIR holds a release build with benchmarks, FOLDER messages in files. evaluate_folder hands the
messages to an evaluator, by 20 mixed rules, and `quarrow match` reports what comes of that as well;
sieve-filter does the same by the same script, compiled ahead, over a Maildir whose index an earlier
run has filled, without moving anything. First both programs' verdicts must be equal, for
sieve-filter those of a run that moves copies of the messages. Then come rounds in which the three
take turns. Printed are the median CPU microseconds a message, user and system time of the whole
process and its helper, start and end included, and the median of the rounds' ratios to
sieve-filter. Exits with 77, saying why, where Dovecot is absent.
"""
import json
import os
import pathlib
import statistics
import subprocess
import sys

import peers

ROUNDS = 9
USER = "alice"
MOVED = "moved"  # the user whose messages sieve-filter moves, for the verdicts


def cpu_seconds(command, home):
    """Runs a command; its user and system time, those of its own children included."""
    with open(home.parent / "output", "w+b") as output:
        process = subprocess.Popen([str(word) for word in command], stdout=output, stderr=output,
                                   env=peers.clean_environment(home), cwd=home)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            output.seek(0)
            sys.exit(f"{command}: exit status {process.returncode}\n"
                     f"{output.read()[-2000:].decode('utf-8', 'replace')}")
    return usage.ru_utime + usage.ru_stime


def fill_maildir(maildir, messages):
    for part in ("cur", "new", "tmp"):
        (maildir / part).mkdir(parents=True)
    for number, text in enumerate(messages):
        (maildir / "cur" / f"{1000000000 + number}.{number}.host:2,").write_bytes(text)


def our_verdicts(command, home):
    output = subprocess.run([*command, "--json"], check=True, stdout=subprocess.PIPE, cwd=home,
                            env=peers.clean_environment(home), timeout=peers.TIME_LIMIT).stdout
    verdicts = {}
    for line in map(json.loads, output.splitlines()):
        if "message" not in line:
            continue
        folders = [action["mailbox"] for action in line.get("actions", []) if "mailbox" in action]
        name = pathlib.Path(line["message"]).name
        verdicts[int(name.split(".")[1])] = "." + folders[0] if folders else ""
    return {number: folder.replace("/", ".").strip(".") for number, folder in verdicts.items()}


def main(arguments):
    if len(arguments) != 2:
        sys.exit(__doc__)
    peers.skip_without(dovecot_core="doveadm", dovecot_sieve="sieve-filter")
    messages = [text.replace(b"\r\n", b"\n")
                for text in peers.messages_of(pathlib.Path(arguments[1]))]
    with peers.temporary_folder() as name:
        folder = pathlib.Path(name)
        quarrow, dovecot = peers.Quarrow(pathlib.Path(arguments[0]), folder), peers.Dovecot(folder)
        quarrow.add_user(USER)
        for user in (USER, MOVED):
            dovecot.add_user(user, quarrow.script(USER))
            fill_maildir(dovecot.home(user) / "Maildir", messages)
        for _, _, target in peers.rules():  # sieve-filter makes no folders
            fill_maildir(dovecot.home(MOVED) / "Maildir" / ("." + target.replace("/", ".")), [])
        peers.give_away(dovecot.folder / "home")
        home = dovecot.home(USER)
        ours = [quarrow.command, "--root", quarrow.root, "match", f"{USER}@{peers.DOMAIN}",
                home / "Maildir"]
        moving, theirs = ([
            "sieve-filter", "-c", dovecot.configuration, *options,
            dovecot.home(user) / ".dovecot.sieve", "INBOX"
        ] for user, options in ((MOVED, ["-e", "-W"]), (USER, [])))
        verdicts = our_verdicts(ours, quarrow.home(USER))
        cpu_seconds(moving, dovecot.home(MOVED))
        peers.check_verdicts(verdicts, dovecot=peers.filed(dovecot.home(MOVED) / "Maildir"))
        evaluation = [pathlib.Path(arguments[0]).resolve() / "bench" / "evaluate_folder",
                      quarrow.script(USER), home / "Maildir" / "cur"]
        compare({"sieve-filter": (theirs, home), "evaluation": (evaluation, quarrow.home(USER)),
                 "quarrow match": (ours, quarrow.home(USER))}, len(messages))


def compare(programs, messages):
    for command in programs.values():
        cpu_seconds(*command)  # fills the index
    times = {name: [] for name in programs}
    for _ in range(ROUNDS):
        for name, command in programs.items():
            times[name].append(cpu_seconds(*command) * 1e6 / messages)
    for name, values in times.items():
        print(f"{name:14}{peers.summary(values)} CPU microseconds a message")
    theirs, *ours = times
    for name in ours:
        ratios = [own / other for own, other in zip(times[name], times[theirs])]
        print(f"{name} takes {peers.summary(ratios).strip()} of the time of {theirs}")


if __name__ == "__main__":
    main(sys.argv[1:])
