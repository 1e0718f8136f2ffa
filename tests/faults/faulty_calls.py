"""Programs of which one call for files fails, and the record of their calls: see faulty_calls.cc."""

import dataclasses
import errno
import mmap
import os
import pathlib
import struct

HEAD = struct.Struct("@QQQiiQ")  # Control in faulty_calls.cc
MOST_RECORDED = 4 << 20
NO_FAULT, ERROR, KILL_BEFORE, KILL_BEHIND, HALF_WRITE = range(5)
FOREVER = 2**64 - 1

FULL = (errno.ENOSPC, errno.EDQUOT)
# The errors that each call can give.
ERRORS = {
    "open": (errno.EACCES, errno.EIO, errno.EINTR, errno.EMFILE),
    "create": (errno.EACCES, errno.EIO, errno.EINTR, errno.EMFILE, *FULL),
    "read": (errno.EIO, errno.EINTR),
    "write": (errno.EIO, errno.EINTR, *FULL),
    "fsync": (errno.EIO, errno.EINTR, *FULL),
    "syncfs": (errno.EIO, *FULL),
    "truncate": (errno.EIO, errno.EINTR, errno.EACCES, *FULL),
    "rename": (errno.EIO, errno.EACCES, *FULL),
    "link": (errno.EIO, errno.EACCES, *FULL),
    "unlink": (errno.EIO, errno.EACCES),
    "rmdir": (errno.EIO, errno.EACCES),
    "mkdir": (errno.EIO, errno.EACCES, *FULL),
    "flock": (errno.EIO, errno.EINTR),
    "lock": (errno.EIO, errno.EINTR, errno.EACCES),
    "utimens": (errno.EIO, errno.EACCES),
    "chmod": (errno.EIO, errno.EACCES),
    "memfd_create": (errno.EMFILE,),
    "pipe2": (errno.EMFILE,),
    "socketpair": (errno.EMFILE,),
}


@dataclasses.dataclass(frozen=True)
class Call:
    number: int  # 0 of an answer to a client
    process: int
    name: str
    result: int
    path: str
    other: str  # the second path
    argument: int  # flags, an offset or a length
    data: bytes


@dataclasses.dataclass(frozen=True)
class Fault:
    kind: int
    first: int
    last: int
    error: int = 0

    def __str__(self):
        what = {KILL_BEFORE: "killed before", KILL_BEHIND: "killed behind",
                HALF_WRITE: "half written in"}.get(self.kind)
        what = what or f"{errno.errorcode[self.error]} in"
        return f"{what} call {self.first}" + ("" if self.last == self.first else " and all behind")


class FaultyCalls:
    """What a program and this test share. One program runs with it at a time."""

    def __init__(self, library, folder):
        """The files in `folder` count; the control file lies beside it."""
        self.folder = str(folder)
        self.path = f"{folder}.control"
        pathlib.Path(self.path).write_bytes(b"")
        os.truncate(self.path, HEAD.size + MOST_RECORDED)
        os.chmod(self.path, 0o666)
        with open(self.path, "r+b") as file:
            self.shared = mmap.mmap(file.fileno(), 0)
        # Sanitizers want to be the first library, but only where they would miss something.
        options = filter(None, (os.environ.get("ASAN_OPTIONS"), "verify_asan_link_order=0"))
        self.added = {"LD_PRELOAD": library, "FAULTS_CONTROL": self.path,
                      "FAULTS_FOLDER": self.folder, "ASAN_OPTIONS": ":".join(options)}

    def environment(self):
        return {**os.environ, **self.added}

    def arm(self, fault=None):
        """Counts and records from here on."""
        fault = fault or Fault(NO_FAULT, 0, 0)
        HEAD.pack_into(self.shared, 0, 0, fault.first, fault.last, fault.kind, fault.error, 0)

    def disarm(self):
        """The count and the record stay, for as long as nothing is called."""
        struct.pack_into("@QQ", self.shared, 8, 0, 0)

    def count(self):
        return HEAD.unpack_from(self.shared)[0]

    def record(self):
        text = self.shared[HEAD.size:HEAD.size + HEAD.unpack_from(self.shared)[5]]
        calls = []
        while text:
            line, _, text = text.partition(b"\n")
            *words, size = line.decode().split("\t")
            number, process, name, result, path, other, argument = words
            data, text = text[:int(size)], text[int(size):]
            calls.append(Call(int(number), int(process), name, int(result), path, other,
                              int(argument), data))
        return calls


def faults_of(call):
    """All that can go wrong in one call, but for its process being killed."""
    for error in ERRORS[call.name]:
        yield Fault(ERROR, call.number, call.number, error)
    if call.name == "write" and len(call.data) > 1:
        yield Fault(HALF_WRITE, call.number, call.number)


def kills_at(call, is_long):
    """What is there behind a call is there before the next one that changes anything: only the
    long run tries both."""
    for kind in (KILL_BEFORE, KILL_BEHIND) if is_long else (KILL_BEFORE,):
        yield Fault(kind, call.number, call.number)
