"""What a power failure could take away, told from the system calls of a process."""

import os

CALLS = ("openat,write,pwrite64,ftruncate,fsync,fdatasync,rename,renameat,renameat2,link,linkat,"
         "unlink,unlinkat,mkdir,mkdirat,sendto,sendmsg")
NAMING = {"rename", "renameat", "renameat2", "link", "linkat"}
# Each is made again where it is missing.
REPLACEABLE = ("tmp", ".delivery_filter.lock", "maildirfolder", "subscriptions")


class Disk:
    """The files and names below a folder that a process has changed and not yet put on the disk."""

    def __init__(self, folder):
        self.folder = str(folder)
        self.contents = set()
        self.names = set()
        self.placed = []  # the names that files were given, in order
        self.faults = []
        self.promises = 0

    def counts(self, path, with_aside=False):
        """A name in a folder for what is still aside need not last, but what it names must."""
        folder, name = os.path.split(path)
        return path.startswith(self.folder + "/") and not path.endswith("(deleted)") and \
            name not in REPLACEABLE and (with_aside or os.path.basename(folder) != "tmp")

    def take(self, call):
        files, paths = call.files(), call.paths()
        if call.name in ("write", "pwrite64", "ftruncate"):
            self.write(files[0])
        elif call.name in ("fsync", "fdatasync"):
            self.contents.discard(files[0])
            self.names = {name for name in self.names if os.path.dirname(name) != files[0]}
        elif call.name == "openat" and "O_CREAT" in call.text or call.name.startswith("mkdir"):
            self.change_name(paths[0])
        elif call.name in NAMING:
            self.place(*paths)
        elif call.name.startswith("unlink"):
            self.contents.discard(paths[0])
            self.names.discard(paths[0])
        elif call.name.startswith("send"):
            self.promise(call.text)

    def write(self, path):
        if path.startswith(("pipe:", "UNIX:", "socket:")):
            self.promise(path)
        elif self.counts(path, with_aside=True):
            self.contents.add(path)

    def change_name(self, path):
        if self.counts(path):
            self.names.add(path)

    def place(self, old, new):
        self.names.discard(old)
        if old in self.contents:
            self.faults.append(f"{new} has its name before its content is on the disk")
        if self.counts(new):
            self.names.add(new)
            self.placed.append(new)

    def promise(self, text):
        """What others hear must not be taken back."""
        self.promises += 1
        for path in sorted(self.contents | self.names):
            self.faults.append(f"{path} is not on the disk when the process says {text[:60]}")


def disks_of(processes, folder):
    """What each of the processes left undone at its end counts as a fault, too."""
    disks = []
    for calls in processes:
        disk = Disk(folder)
        for call in calls:
            disk.take(call)
        disk.promise("farewell")
        disks.append(disk)
    return disks
