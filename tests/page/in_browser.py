#!/usr/bin/env python3
"""Runs a file of browser tests, which browser.js tells more of, against servers of its own:
in_browser.py QUARROW_WEBD QUARROW TOOLS TEST_FILE FAILURES

TOOLS is where scripts/install-page-tools put its packages. Where a test fails, pictures of the page
and the servers' logs are left in the folder FAILURES.
"""
import json
import os
import pathlib
import shutil
import subprocess
import sys

import page_setting
from set_up import skip

BROWSERS = ("chromium-headless-shell", "chromium")


def find(programs, what):
    for program in programs:
        if path := shutil.which(program):
            return path
    return skip(f"{what} is absent; scripts/install-page-tools installs it")


def keep_logs(setting, folder, name):
    folder.mkdir(parents=True, exist_ok=True)
    for server, log in setting.logs().items():
        (folder / f"{name}.{server}.log").write_text(log)


def main(quarrow, tools, test_file, failures):
    node = find(["node"], "Node.js")
    browser = find(BROWSERS, "Chromium")
    if not (pathlib.Path(tools) / "package-lock.installed").exists():
        skip(f"{tools} is not there; scripts/install-page-tools makes it")
    with page_setting.page_setting(quarrow) as setting:
        environment = {**os.environ, "PAGE_TOOLS": tools, "PAGE_BROWSER": browser,
                       "PAGE_ADDRESS": setting.address, "PAGE_FAILURES": failures,
                       "PAGE_USERS": json.dumps(setting.users),
                       "PAGE_COMMAND": json.dumps(setting.command),
                       "PAGE_SERVER": json.dumps(setting.server(), default=str)}
        status = subprocess.run([node, "--test", test_file], env=environment,
                                check=False).returncode
        if status != 0:
            keep_logs(setting, pathlib.Path(failures), pathlib.Path(test_file).stem)
            print(f"pictures and logs are in {failures}")
    sys.exit(status)


main(*sys.argv[1:])
