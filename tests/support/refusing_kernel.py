#!/usr/bin/env python3
"""Runs a program as on a kernel without Landlock.

usage: without_landlock.py PROGRAM [ARGUMENT]...

A seccomp filter answers Landlock's three system calls, which have the same numbers on all
processors, with ENOSYS.
"""
import ctypes
import errno
import os
import struct
import sys

LANDLOCK_CALLS = range(444, 447)
PR_SET_NO_NEW_PRIVS, PR_SET_SECCOMP, SECCOMP_MODE_FILTER = 38, 22, 2
LOAD_NUMBER = (0x20, 0, 0, 0)  # BPF_LD | BPF_W | BPF_ABS, seccomp_data.nr
ALLOW = (0x06, 0, 0, 0x7FFF0000)  # BPF_RET, SECCOMP_RET_ALLOW
REFUSE = (0x06, 0, 0, 0x00050000 | errno.ENOSYS)  # BPF_RET, SECCOMP_RET_ERRNO


def program():
    """Each call's number is compared (BPF_JMP | BPF_JEQ | BPF_K), and leads to the last line."""
    calls = list(LANDLOCK_CALLS)
    compares = [(0x15, len(calls) - place, 0, number) for place, number in enumerate(calls)]
    return [LOAD_NUMBER, *compares, ALLOW, REFUSE]


def main(arguments):
    if len(arguments) < 2:
        sys.exit(__doc__)
    lines = b"".join(struct.pack("HBBI", *line) for line in program())
    code = ctypes.create_string_buffer(lines, len(lines))
    filter_of = struct.pack("HP", len(lines) // 8, ctypes.addressof(code))
    libc = ctypes.CDLL(None, use_errno=True)
    if (libc.prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 or
            libc.prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, filter_of, 0, 0) != 0):
        sys.exit("prctl: " + os.strerror(ctypes.get_errno()))
    os.execv(arguments[1], arguments[1:])


if __name__ == "__main__":
    main(sys.argv)
