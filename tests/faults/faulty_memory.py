"""Programs of which one allocation fails: see faulty_memory.cc."""

import mmap
import os
import pathlib
import struct

CONTROL = struct.Struct("@QQQ")  # Control in faulty_memory.cc


class FaultyMemory:
    """What programs and this test share."""

    def __init__(self, library, path, asking=""):
        """Of a library that is `asking`, a part of its name, only its own allocations count."""
        pathlib.Path(path).write_bytes(bytes(CONTROL.size))
        os.chmod(path, 0o666)
        with open(path, "r+b") as file:
            self.shared = mmap.mmap(file.fileno(), 0)
        self.added = {"LD_PRELOAD": library, "MEMORY_CONTROL": str(path)}
        if asking:
            self.added["MEMORY_OF"] = asking

    def environment(self):
        return {**os.environ, **self.added}

    def arm(self, number=None, last=None):
        """Has the allocation of this number fail, from here on, or those up to the last one."""
        number = number or 0
        CONTROL.pack_into(self.shared, 0, 0, number, last or number)

    def disarm(self):
        struct.pack_into("@QQ", self.shared, 8, 0, 0)

    def count(self):
        return CONTROL.unpack_from(self.shared)[0]
