#!/usr/bin/env python3
"""Each test that the page on trust names is there, by its whole name or by that of its suite.

Usage: trust_page.py CTEST BUILD_FOLDER PAGE
"""

import json
import re
import subprocess
import sys


def tests_of(ctest, build):
    done = subprocess.run([ctest, "--test-dir", build, "--show-only=json-v1"], check=True,
                          stdout=subprocess.PIPE)
    return {test["name"] for test in json.loads(done.stdout)["tests"]}


def named_tests(page):
    """What stands between backticks in the second column of the table of promises."""
    with open(page, encoding="utf-8") as file:
        promises = file.read().partition("## What is promised")[2].partition("\n## ")[0]
    rows = re.findall(r"^\| (?!promise |\*\*)(.*?) \| (.*) \|$", promises, re.MULTILINE)
    if not rows:
        sys.exit(f"{page}: no promises were found")
    for promise, shown_by in rows:
        names = re.findall(r"`([^`]+)`", shown_by)
        if not names:
            yield promise, ""
        for name in names:
            yield promise, name


def is_there(name, tests):
    return name in tests or any(test.startswith((name + ".", name + "/")) for test in tests)


def main(ctest, build, page):
    tests = tests_of(ctest, build)
    missing = [(promise, name) for promise, name in named_tests(page) if not is_there(name, tests)]
    for promise, name in missing:
        print(f"{page}: {promise!r} is shown by {name or 'no test'}, which is not there",
              file=sys.stderr)
    sys.exit(1 if missing else 0)


if __name__ == "__main__":
    main(*sys.argv[1:])
