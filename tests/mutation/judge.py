#!/usr/bin/env python3
"""Builds and tests one change, inside the copy of the project that copy.sh makes.

Reads {"build", "source", "text", "rounds": [[test, ...], ...]} as JSON from standard input; a test
is a dictionary of dependents.Test. Prints the verdict as JSON: "does not compile", "noticed" with
the test that was red, or "survived"; in each case with the tests that were green.
"""

import concurrent.futures
import json
import os
import pathlib
import signal
import subprocess
import sys

SKIPPED = 77
LONGEST_TEST = 300  # in seconds; a test that takes longer hangs, even on a busy machine
LONGEST_BUILD = 600
TESTS_AT_A_TIME = 3


def ends_well(command, seconds, **how):
    """Whether a command succeeds in time. Nothing of it goes on afterwards."""
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, start_new_session=True, **how)
    try:
        return process.wait(seconds) in (0, SKIPPED)
    except subprocess.TimeoutExpired:
        return False
    finally:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass


def is_green(test):
    environment = {**os.environ, **dict(each.split("=", 1) for each in test["environment"])}
    return ends_well(test["command"], LONGEST_TEST, cwd=test["folder"], env=environment)


def first_red(tests, green):
    """The first test that is red, twice, for a busy machine makes some tests red by chance; the
    green ones are added to `green`."""
    with concurrent.futures.ThreadPoolExecutor(TESTS_AT_A_TIME) as pool:
        futures = {pool.submit(is_green, test): test for test in tests}
        for future in concurrent.futures.as_completed(futures):
            test = futures[future]
            if future.result() or is_green(test):
                green.append(test["name"])
                continue
            for other in futures:
                other.cancel()
            return test["name"]
    return None


def judge(task):
    if task["source"]:
        pathlib.Path(task["source"]).write_text(task["text"])
    green = []
    for tests in task["rounds"]:
        targets = sorted({target for test in tests for target in test["targets"]})
        build = ["ninja", "-C", task["build"], *targets]
        if not ends_well(build, LONGEST_BUILD, env={**os.environ, "CCACHE_DISABLE": "1"}):
            return {"verdict": "does not compile", "green": green}
        red = first_red(tests, green)
        if red:
            return {"verdict": "noticed", "by": red, "green": green}
    return {"verdict": "survived", "green": green}


if __name__ == "__main__":
    print(json.dumps(judge(json.load(sys.stdin))))
