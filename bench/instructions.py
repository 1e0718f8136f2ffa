#!/usr/bin/env -S python3 -B
"""Counts the instructions of an evaluation, which other work of the machine does not change.

Usage: instructions.py BUILD [FOLDER] [--rules NUMBER]

BUILD is a build folder with benchmarks; FOLDER holds messages, one a file, and is examples/mail
unless given. Needs valgrind. Printed are the instructions that a message takes, in thousands, and
beside the bare interpreter's: of Match with the script as it is stored, and in its execution form.
Each is the difference of a run of three rounds over all messages and one of a single round, so that
start-up has no part in it.
"""

import argparse
import re
import subprocess
import sys


def instructions(command):
    """The instructions of a whole process, and what it printed."""
    done = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *command],
        capture_output=True, text=True, check=True,
    )
    return int(re.search(r"Collected : (\d+)", done.stderr)[1]), done.stdout


def thousands_a_message(program, what, rules, folder):
    few, printed = instructions([program, what, rules, "1", *folder])
    many, _ = instructions([program, what, rules, "3", *folder])
    return (many - few) / 2 / int(printed) / 1000


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("folder", nargs="?")
    parser.add_argument("--rules", default="20")
    options = parser.parse_args()
    program = f"{options.build}/bench/match_rounds"
    folder = [f"--messages={options.folder}"] if options.folder else []
    bare = thousands_a_message(program, "bare", options.rules, folder)
    print(f"bare    {bare:8.1f}")
    for what in ("stored", "form"):
        figure = thousands_a_message(program, what, options.rules, folder)
        print(f"{what:7} {figure:8.1f} {figure / bare:6.3f}", flush=True)


try:
    main()
except FileNotFoundError:
    sys.exit("valgrind is missing: install the package valgrind")
