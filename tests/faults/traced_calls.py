"""The calls that change files, as strace(1) sees them."""

import collections
import os
import re
import subprocess
import tempfile
import unittest

from setting import QUARROW

LINE = re.compile(r"(?:\[pid +\d+\] )?(\d+ +)?(\w+)\((.*)")
# The calls, by the names that they have in the record of faulty_calls.cc.
NAMES = {"write": "write", "writev": "write", "pwrite64": "write", "fsync": "fsync",
         "fdatasync": "fsync", "syncfs": "syncfs", "rename": "rename", "renameat": "rename",
         "renameat2": "rename",
         "link": "link", "linkat": "link", "unlink": "unlink", "unlinkat": "unlink",
         "rmdir": "rmdir", "mkdir": "mkdir", "mkdirat": "mkdir", "ftruncate": "truncate",
         "flock": "flock", "openat": "create", "open": "create", "creat": "create",
         "chmod": "chmod", "fchmod": "chmod", "utimensat": "utimens"}
OTHERS = ("truncate", "fchmodat", "symlink", "symlinkat", "sendfile", "copy_file_range",
          "fallocate", "mknod", "mknodat", "setxattr", "fsetxattr")


def changing_calls(root, arguments, message):
    """{name: count} of the calls for files below `root` that the command makes."""
    with tempfile.NamedTemporaryFile() as output:
        traced = subprocess.run(
            ["strace", "-f", "-y", "-s", "0", "-e", "trace=" + ",".join([*NAMES, *OTHERS]),
             "-o", output.name, QUARROW, "--root", root, *arguments], input=message, check=False,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if b"ptrace" in traced.stderr:
            raise unittest.SkipTest("processes can't be traced here")
        lines = output.read().decode().splitlines()
    found = collections.Counter()
    for line in lines:
        call = LINE.match(line)
        if call and "resumed>" not in line and str(root) in call[3] and is_change(call):
            found[NAMES.get(call[2], call[2])] += 1
    return dict(found)


def is_change(call):
    return "open" not in call[2] or re.search("O_WRONLY|O_RDWR|O_CREAT", call[3])


def names_of(record):
    """The same of a record."""
    return dict(collections.Counter(
        call.name for call in record
        if call.name in NAMES.values() and os.path.basename(call.path)))
