#!/usr/bin/env -S python3 -B
"""A settings file that packages bring has every option of its server, with its default.

Usage: settings_file.py PROGRAM SETTINGS_FILE

The server takes each line of the file, those that are commented out as well.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

NOT_FOR_FILES = {"help", "version", "config"}
SETTING = re.compile(r"^(#?)([a-z][a-z-]*)=(.*)$", re.MULTILINE)
# What a server ends with when it took its options: it can't make a socket, or may not start so.
BEHIND_THE_OPTIONS = {71, 77}


def options_of(program):
    """The defaults by the options' names, None where there is none."""
    text = subprocess.run([program, "--help"], check=True, capture_output=True, text=True).stdout
    found = re.findall(r"^  (?:-\w,)?--([a-z-]+)(?: \S+?(?:=(\S*))?)?(?: \.\.\.)?(?: |$)", text,
                       re.MULTILINE)
    return {name: default.strip("[]") or None for name, default in found
            if name not in NOT_FOR_FILES}


def complaint_about(program, settings):
    """What the server says to all lines of the file, None when it takes them."""
    with tempfile.NamedTemporaryFile("w") as file:
        for _, name, value in settings:
            print(f"{name}={value}", file=file)
        file.flush()
        ended = subprocess.run([program, "--config", file.name, "--listen", "/"],
                               capture_output=True, text=True)
    return None if ended.returncode in BEHIND_THE_OPTIONS else ended.stderr


def faults_in(program, path):
    options = options_of(program)
    settings = SETTING.findall(pathlib.Path(path).read_text())
    if len(options) < 10:
        yield f"{program} has only {len(options)} options"
    for name in sorted(options.keys() - {name for _, name, _ in settings}):
        yield f"{path} has no {name}"
    for commented, name, value in settings:
        if name not in options:
            yield f"{path}: {name} is no option"
        elif commented and options[name] not in (None, value):
            yield f"{path}: {name} is {options[name]} by default, not {value}"
    complaint = complaint_about(program, settings)
    if complaint is not None:
        yield complaint


def main(program, path):
    faults = list(faults_in(program, path))
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main(*sys.argv[1:]))
