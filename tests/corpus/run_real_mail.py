#!/usr/bin/env -S python3 -B
"""Files real mail with the command and compares each result with an independent reading.

usage: run_real_mail.py QUARROW ARCHIVE

ARCHIVE is a tar file with a message in each file. Exits with 77 when it is absent.
"""
import collections
import datetime
import json
import os
import pathlib
import subprocess
import sys
import tarfile
import tempfile

import reading
import rules

SKIPPED = 77
USER = "reader@example.org"
FIRST_DAY = datetime.datetime(2026, 1, 1, tzinfo=datetime.timezone.utc)
DAYS = 90
# against hanging only: a plain build takes seconds, a sanitized one on a busy machine far longer
TIME_LIMIT = 600
SHOWN_FAULTS = 20


def received_time(number):
    """When message `number` came: spread over the days, at their first and last second."""
    day = FIRST_DAY + datetime.timedelta(days=number % DAYS)
    return day + datetime.timedelta(seconds=(number // DAYS % 2) * (24 * 60 * 60 - 1))


def unpacked(archive):
    """The archive's files in the order of their names: (name, content)."""
    with tarfile.open(archive) as tar:
        files = [member for member in tar.getmembers() if member.isfile()]
        return sorted((member.name, tar.extractfile(member).read()) for member in files)


def store(folder, name, content, received):
    path = folder / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)
    os.utime(path, (received.timestamp(), received.timestamp()))


def store_all(folder, files):
    """Writes the files below a folder; the messages in them, by their names."""
    messages = {}
    for number, (name, content) in enumerate(files):
        received = received_time(number)
        store(folder, name, content, received)
        message = reading.read_message(name, content, received.date())
        messages[message.name] = message
    return messages


class Command:
    """The command, with a root of its own, in the folder that holds the messages."""

    def __init__(self, quarrow, folder):
        self.start = [os.path.abspath(quarrow), "--root", str(folder / "root")]
        self.folder = folder

    def run(self, *arguments, may_remark=False):
        environment = {**os.environ, "TZ": "UTC", "LC_ALL": "C.UTF-8", "TMPDIR": str(self.folder)}
        done = subprocess.run([*self.start, *arguments], cwd=self.folder, env=environment,
                              capture_output=True, timeout=TIME_LIMIT, check=False)
        if done.returncode != 0 or (done.stderr and not may_remark):
            refused = [line for line in done.stdout.splitlines(keepends=True) if b'"error"' in line]
            complaints = (done.stderr + b"".join(refused)).decode("utf-8", "replace")
            sys.exit(f"{arguments[:2]}: exit status {done.returncode}\n{complaints}")
        return done.stdout.decode("utf-8")


def add_rules(command):
    command.run("init", "--catalogue", str(command.folder / "root" / "fields.xml"))
    command.run("user", "add", USER)
    for rule in rules.RULES:
        options = [option for test in rule.tests for option in ("--if", test)]
        options += [option for action in rule.actions for option in ("--then", action)]
        command.run("filter", "add", USER, "--name", rule.name, "--" + rule.relation, *options,
                    may_remark=True)


def expected_line(name, deciding):
    rule = deciding[name]
    if not rule:
        return {"message": name, "actions": []}
    return {"message": name, "actions": rules.results(rule), "rule": rule.name}


def faults_in(lines, messages, deciding):
    """Yields what is wrong with the command's output, a line for each fault."""
    seen = collections.Counter(line["message"] for line in lines)
    for name in sorted(messages.keys() | seen.keys()):
        if seen[name] != 1 or name not in messages:
            yield f"{name}: {seen[name]} results"
    for line in lines:
        if line["message"] in messages and line != expected_line(line["message"], deciding):
            rule = deciding[line["message"]]
            yield f"expected \"{rule.name if rule else 'no rule'}\", but got {json.dumps(line)}"


def decided(deciding):
    """How many messages each rule decides about, in the order of the rules."""
    filed = collections.Counter(rule.name for rule in deciding.values() if rule)
    return {rule.name: filed[rule.name] for rule in rules.RULES}


def print_counts(counts, total):
    for name, count in counts.items():
        print(f"{count:5}  {name}")
    print(f"{total - sum(counts.values()):5}  no rule")
    print(f"{total:5}  messages")


def compare(quarrow, archive, folder):
    """Files the archive's mail; the faults that were found."""
    files = unpacked(archive)
    messages = store_all(folder, files)
    command = Command(quarrow, folder)
    add_rules(command)
    output = command.run("match", "--json", USER, *(name for name, _ in files))
    deciding = {name: rules.first_match(message) for name, message in messages.items()}
    counts = decided(deciding)
    print_counts(counts, len(messages))
    unused = [f"rule \"{name}\": decides about no message" for name in counts if not counts[name]]
    lines = [json.loads(line) for line in output.splitlines()]
    return unused + list(faults_in(lines, messages, deciding))


def main(compare_mail):
    """Has a comparison look at the archive of the command line; gives the exit status."""
    quarrow, archive = sys.argv[1:]
    if not os.path.exists(archive):
        print(f"skipped: there is no {archive}")
        return SKIPPED
    with tempfile.TemporaryDirectory() as folder:
        faults = compare_mail(quarrow, archive, pathlib.Path(folder))
    for fault in faults[:SHOWN_FAULTS]:
        print(fault)
    print(f"{len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(compare))
