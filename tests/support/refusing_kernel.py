#!/usr/bin/env python3
"""Runs a program as on a kernel that refuses something.

usage: refusing_kernel.py WHAT PROGRAM [ARGUMENT]...

WHAT is a name in REFUSED. A seccomp filter, which libseccomp makes, answers the system calls with
an error; what the program may do is else as before.
"""
import ctypes
import errno
import fcntl
import os
import pathlib
import resource
import sys

ALLOW, REFUSE = 0x7FFF0000, 0x00050000  # SCMP_ACT_ALLOW, SCMP_ACT_ERRNO
EQUAL = 4  # SCMP_CMP_EQ
PR_SET_PDEATHSIG, PR_SET_SECCOMP, PR_SET_NO_NEW_PRIVS = 1, 22, 38

# What is refused: the system call, the place and value of an argument where not every such call is
# meant, and the error.
REFUSED = {
    "landlock": [("landlock_create_ruleset", None, errno.ENOSYS)],
    "landlock restrictions": [("landlock_restrict_self", None, errno.EPERM)],
    "call filters": [("prctl", (0, PR_SET_SECCOMP), errno.EINVAL)],
    "giving up rights": [("prctl", (0, PR_SET_NO_NEW_PRIVS), errno.EINVAL)],
    "memory limits": [("prlimit64", (1, resource.RLIMIT_AS), errno.EPERM)],
    "file size limits": [("prlimit64", (1, resource.RLIMIT_FSIZE), errno.EPERM)],
    "descriptor limits": [("prlimit64", (1, resource.RLIMIT_NOFILE), errno.EPERM)],
    "closing ranges": [("close_range", None, errno.EPERM)],
    "other numbers of descriptors": [("fcntl", (1, fcntl.F_DUPFD), errno.EMFILE)],
    "ending with another process": [("prctl", (0, PR_SET_PDEATHSIG), errno.EINVAL)],
}


class Comparison(ctypes.Structure):
    """scmp_arg_cmp of libseccomp."""
    _fields_ = [("argument", ctypes.c_uint), ("operation", ctypes.c_int),
                ("value", ctypes.c_uint64), ("other_value", ctypes.c_uint64)]


def refusing(what):
    """The words in front of a command that refuse it something."""
    return [sys.executable, "-B", str(pathlib.Path(__file__).resolve()), what]


def refuse(calls):
    library = ctypes.CDLL("libseccomp.so.2")
    library.seccomp_init.restype = ctypes.c_void_p
    rules = ctypes.c_void_p(library.seccomp_init(ALLOW))
    for name, argument, error in calls:
        compared = [Comparison(argument[0], EQUAL, argument[1], 0)] if argument else []
        added = library.seccomp_rule_add_array(
            rules, REFUSE | error, library.seccomp_syscall_resolve_name(name.encode()),
            len(compared), (Comparison * len(compared))(*compared))
        if added != 0:
            sys.exit(f"{name}: {os.strerror(-added)}")
    loaded = library.seccomp_load(rules)
    if loaded != 0:
        sys.exit("no filter: " + os.strerror(-loaded))


def main(arguments):
    if len(arguments) < 3 or arguments[1] not in REFUSED:
        sys.exit(__doc__)
    refuse(REFUSED[arguments[1]])
    os.execv(arguments[2], arguments[2:])


if __name__ == "__main__":
    main(sys.argv)
