"""Disks that write at most so many times a second, so that a measurement meets the bound that a
real disk has, and not this machine's processors.

Each is a file in memory behind a loop device. The bound is a control group's: it holds for the
processes that are in the group. The file system has no journal, since that is written by the
kernel, which is in no group.
"""
import contextlib
import os
import pathlib
import subprocess

MEMORY = pathlib.Path("/dev/shm")
SIZE = 192 << 20  # bytes
VERSION_1 = pathlib.Path("/sys/fs/cgroup/blkio")
VERSION_2 = pathlib.Path("/sys/fs/cgroup")


def why_impossible():
    """Why there can't be such a disk here; empty where there can."""
    if not pathlib.Path("/dev/loop-control").exists():
        return "there are no loop devices"
    if VERSION_1.exists():
        return ""
    controllers = VERSION_2 / "cgroup.controllers"
    if controllers.exists() and "io" in controllers.read_text().split():
        return ""
    return "no control group bounds what is written"


def output_of(*command):
    return subprocess.run(list(map(str, command)), check=True, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, text=True).stdout.strip()


class Group:
    """A control group whose processes write at most `writes` times a second to a device."""

    def __init__(self, name, device, writes):
        if VERSION_1.exists():
            self._folder = VERSION_1 / name
            self._folder.mkdir()
            self._set("blkio.throttle.write_iops_device", f"{device} {writes}")
            self._outside = VERSION_1
        else:
            with open(VERSION_2 / "cgroup.subtree_control", "w", encoding="ascii") as control:
                control.write("+io")
            self._folder = VERSION_2 / name
            self._folder.mkdir()
            self._set("io.max", f"{device} wiops={writes}")
            own = pathlib.Path("/proc/self/cgroup").read_text().strip().rpartition("::/")[2]
            self._outside = VERSION_2 / own

    def _set(self, name, value):
        (self._folder / name).write_text(value)

    @contextlib.contextmanager
    def entered(self):
        """What is started meanwhile is, and stays, in the group."""
        (self._folder / "cgroup.procs").write_text(str(os.getpid()))
        try:
            yield
        finally:
            (self._outside / "cgroup.procs").write_text(str(os.getpid()))

    def remove(self):
        self._folder.rmdir()


@contextlib.contextmanager
def slow_disk(folder, writes):
    """Mounts one on `folder`, which is made, and gives its control group."""
    file = MEMORY / f"quarrow-disk-{os.getpid()}-{folder.name}"
    with contextlib.ExitStack() as stack:
        with open(file, "wb") as disk:
            stack.callback(file.unlink)
            disk.truncate(SIZE)
        output_of("mkfs.ext4", "-q", "-O", "^has_journal", file)
        device = output_of("losetup", "--find", "--show", file)
        stack.callback(output_of, "losetup", "--detach", device)
        folder.mkdir()
        output_of("mount", device, folder)
        stack.callback(output_of, "umount", folder)
        number = (pathlib.Path("/sys/block") / pathlib.Path(device).name / "dev").read_text()
        group = Group(file.name, number.strip(), writes)
        stack.callback(group.remove)
        yield group
