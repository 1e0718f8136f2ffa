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

import figures

MOST_OF_FORM = 0.6  # of the bare interpreter's, by 20 rules


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
    topic = f"instructions a message, by {options.rules} rules"
    bare = thousands_a_message(program, "bare", options.rules, folder)
    figures.show(topic, "bare interpreter", [bare], "thousand")
    for what in ("stored", "form"):
        ours = thousands_a_message(program, what, options.rules, folder)
        goal = MOST_OF_FORM if what == "form" and options.rules == "20" else None
        figures.show(topic, what, [ours], "thousand")
        figures.show_ratio(topic, f"{what} / bare interpreter", [ours], [bare], at_most=goal)


try:
    main()
except FileNotFoundError:
    sys.exit("valgrind is missing: install the package valgrind")
