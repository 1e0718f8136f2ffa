"""Programs of which one allocation fails: see faulty_memory.cc."""

import mmap
import os
import pathlib
import struct

CONTROL = struct.Struct("@QQQ")  # Control in faulty_memory.cc


class FaultyMemory:
    """What programs and this test share."""

    def __init__(self, library, path):
        pathlib.Path(path).write_bytes(bytes(CONTROL.size))
        os.chmod(path, 0o666)
        with open(path, "r+b") as file:
            self.shared = mmap.mmap(file.fileno(), 0)
        self.added = {"LD_PRELOAD": library, "MEMORY_CONTROL": str(path)}

    def environment(self):
        return {**os.environ, **self.added}

    def arm(self, number=None):
        """Has the allocation of this number fail, from here on."""
        number = number or 0
        CONTROL.pack_into(self.shared, 0, 0, number, number)

    def disarm(self):
        struct.pack_into("@QQ", self.shared, 8, 0, 0)

    def count(self):
        return CONTROL.unpack_from(self.shared)[0]
