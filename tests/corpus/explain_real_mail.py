#!/usr/bin/env -S python3 -B
"""Compares what quarrow explain says of real mail with what quarrow match does with it.

usage: explain_real_mail.py QUARROW ARCHIVE

ARCHIVE is a tar file with a message in each file. Exits with 77 when it is absent.
"""
import json
import pathlib
import sys

import run_real_mail
from run_real_mail import USER

# a process for each message: a part of the mail says as much; a sanitized one takes longer
ONE_IN = 10
ONE_IN_SANITIZED = 40


def places_of(line):
    """Where match puts the message, each place once."""
    names = [action.get("mailbox", "Inbox") for action in line["actions"]]
    return sorted(set(names or ["Inbox"]))


def faults_in(explained, line):
    """Yields what explain says otherwise than match, a line for each fault."""
    last = explained["rules"][-1]
    rule = last["name"] if last["result"] == "matches" else None
    if rule != line.get("rule"):
        yield f"explained by {rule}, but decided by {line.get('rule')}"
    if sorted(explained["places"]) != places_of(line):
        yield f"explained to be in {explained['places']}, but in {places_of(line)}"
    if not explained["script_agrees"]:
        yield "the rules one by one do not come to what the script does"


def compare(quarrow, archive, folder):
    """Explains a part of the archive's mail; the faults that were found."""
    is_sanitized = b"__asan_init" in pathlib.Path(quarrow).read_bytes()
    files = run_real_mail.unpacked(archive)[::ONE_IN_SANITIZED if is_sanitized else ONE_IN]
    messages = run_real_mail.store_all(folder, files)
    command = run_real_mail.Command(quarrow, folder)
    run_real_mail.add_rules(command)
    faults = []
    for line in command.run("match", "--json", USER, *(name for name, _ in files)).splitlines():
        delivered = json.loads(line)
        name = delivered["message"]
        explained = json.loads(command.run("explain", "--json", USER, name.partition("#")[0]))
        faults += [f"{name}: {fault}" for fault in faults_in(explained, delivered)]
    print(f"{len(messages):5}  messages")
    return faults if messages else ["there are no messages"]


if __name__ == "__main__":
    sys.exit(run_real_mail.main(compare))
