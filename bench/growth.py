#!/usr/bin/env -S python3 -B
"""How the time for deciding grows with tests, header, addresses and messages.

usage: growth.py BUILD_DIR [MESSAGES]

BUILD_DIR holds a release build with benchmarks. evaluate_folder decides about messages that are
made for it: by 1 to 500 tests, about as many as a script may have, with 1 KB to 1 MB of header
lines, with 1 to 10,000 addresses in one header, and about 1 to 100,000 messages (MESSAGES, where
given, is the most). The sizes are measured in turns, and the time for an empty folder is taken off.
Printed are the CPU milliseconds of the whole run, and the exponent between the last two sizes: 1
where twice the size takes twice the time, 2 where it takes four times. Small sizes take less time
than the start of a process varies. Then come messages with an address header of 1 MB, a line for
each kind of it.
"""
import json
import math
import os
import pathlib
import statistics
import subprocess
import sys

import address_headers
import figures
import peers

ROUNDS = 5
TESTS_OF_FILTER = 10
MOST_EXPONENT = 1.2  # more than a machine's noise above 1
HEADER = "From: sender@example.net\nTo: user@example.org\nSubject: A message\n"
TEXT = HEADER + "\nA line of text.\n"
IN_SUBJECT = {"type": "string", "field": "subject", "value": "word{0} offer"}
IN_ADDRESSES = {"type": "address", "field": "to", "value": "person{0}x@example.net"}
OF_RECIPIENTS = [("address", "to", "contains"), ("address", "to_cc", "is"),
                 ("address", "from_to_cc", "contains"), ("string", "to", "contains"),
                 ("string", "to", "begin_with")]
MOST_FOR_A_MEGABYTE = 1000  # CPU ms


def filter_of(tests, number):
    return {"id": number + 1, "enabled": True, "name": f"Rule {number}", "relation": "anyof",
            "tests": [{"comparator": "contains", "negative": False, "match_case": False, **test}
                      for test in tests],
            "actions": [{"method": "move", "target": f"Folder{number}"}]}


def script(quarrow, user, filters):
    """The script of a new user with these filters."""
    quarrow.run("user", "add", f"{user}@{peers.DOMAIN}")
    rules = quarrow.root / "rules.json"
    rules.write_text(json.dumps(filters))
    quarrow.run("import", f"{user}@{peers.DOMAIN}", rules, "--replace")
    return quarrow.script(user)


def script_of(quarrow, test, count):
    """The script of filters that have so many tests, none of which is true."""
    return script(quarrow, f"{test['type']}{count}", [
        filter_of([{**test, "value": test["value"].format(f"{number}x{each}")}
                   for each in range(min(count, TESTS_OF_FILTER))], number)
        for number in range(max(1, count // TESTS_OF_FILTER))])


def script_of_recipients(quarrow):
    """The script of twenty filters about recipients, none of which is true."""
    return script(quarrow, "recipients", [
        filter_of([{"type": kind, "field": field, "comparator": comparator,
                    "value": f"person{number}x@example.com"}], number)
        for number, (kind, field, comparator) in enumerate(OF_RECIPIENTS * 4)])


def messages(folder, texts):
    folder.mkdir()
    for number, text in enumerate(texts):
        (folder / str(number)).write_bytes(text if isinstance(text, bytes) else text.encode())
    return folder


def with_header_bytes(size):
    line = "X-Filler: " + "a word and another one " * 3 + "\n"
    return HEADER + line * max(0, (size - len(HEADER)) // len(line)) + "\nA line of text.\n"


def with_addresses(count):
    addresses = ",\n ".join(f"Person {each} <person{each}@example.net>" for each in range(count))
    return HEADER.replace("user@example.org", addresses) + "\nA line of text.\n"


def curves(quarrow, folder, most_messages):
    """(what grows, [(size, script, folder of messages)]) for each curve."""
    # some copies, so that there is enough to measure
    small = messages(folder / "small", [TEXT] * 100)
    yield "tests", [(count, script_of(quarrow, IN_SUBJECT, count), small)
                    for count in (1, 10, 100, 500)]
    twenty = script_of(quarrow, IN_SUBJECT, 20)
    addresses = script_of(quarrow, IN_ADDRESSES, 20)
    yield "header bytes", [
        (size, twenty, messages(folder / f"bytes{size}", [with_header_bytes(size)] * 10))
        for size in (1000, 10000, 100000, 1000000)]
    yield "addresses", [
        (count, addresses, messages(folder / f"addresses{count}", [with_addresses(count)] * 10))
        for count in (1, 10, 100, 1000, 10000)]
    yield "messages", [
        (count, twenty, messages(folder / f"messages{count}", [TEXT] * count))
        for count in (1, 10, 100, 1000, 10000, 100000) if count <= most_messages]


def cpu_milliseconds(program, script_file, mail):
    process = subprocess.Popen([program, script_file, mail], stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{program} {script_file} {mail}: exit status {process.returncode}")
    return (usage.ru_utime + usage.ru_stime) * 1000


def exponent(points):
    """The slope between the last two of (size, milliseconds)."""
    (size, spent), (more_size, more_spent) = points[-2:]
    return math.log(more_spent / max(spent, 0.01)) / math.log(more_size / size)


def measure_megabytes(program, quarrow, folder):
    topic = "deciding about an address header of 1 MB, by 20 filters"
    print(f"\n{topic}")
    recipients = script_of_recipients(quarrow)
    for number, (kind, header) in enumerate(address_headers.KINDS.items()):
        mail = messages(folder / f"megabyte{number}", [b"To: " + header() + b"\n\nText.\n"])
        values = [cpu_milliseconds(program, recipients, mail) for _ in range(ROUNDS)]
        figures.show(topic, kind, values, "CPU ms", at_most=MOST_FOR_A_MEGABYTE)


def measure(program, topic, sizes, nothing):
    print(f"\n{topic}")
    spent = {size: [] for size, _, _ in sizes}
    for _ in range(ROUNDS):
        for size, script_file, mail in sizes:
            start = cpu_milliseconds(program, script_file, nothing)
            spent[size].append(cpu_milliseconds(program, script_file, mail) - start)
    for size, values in spent.items():
        figures.show(topic, f"{size:,}", values, "CPU ms")
    points = [(size, statistics.median(values)) for size, values in spent.items()]
    figures.show(topic, "exponent", [exponent(points)], "", at_most=MOST_EXPONENT)


def main(arguments):
    if len(arguments) not in (1, 2):
        sys.exit(__doc__)
    program = pathlib.Path(arguments[0]).resolve() / "bench" / "evaluate_folder"
    most_messages = int(arguments[1]) if len(arguments) == 2 else 100000
    with peers.temporary_folder() as name:
        folder = pathlib.Path(name)
        quarrow = peers.Quarrow(pathlib.Path(arguments[0]), folder)
        nothing = messages(folder / "nothing", [])
        for what, sizes in curves(quarrow, folder, most_messages):
            measure(program, f"deciding, by number of {what}", sizes, nothing)
        measure_megabytes(program, quarrow, folder)


if __name__ == "__main__":
    main(sys.argv[1:])
