"""A file system that all nodes share: MooseFS, its master on the front, its data on the nodes."""
import contextlib
import pathlib
import shutil
import subprocess
import sys

from processes import kill_all, run_inside

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from server_process import until  # noqa: E402

EMPTY = pathlib.Path("/var/lib/mfs/metadata.mfs.empty")
COPIES = 2  # of each file, on different nodes
COMMON = "DATA_PATH = {folder}\nWORKING_USER = root\nWORKING_GROUP = root\n"


class SharedDisk:
    """Started on the machines `front` and `hosts`; has a mount for each host in `paths`."""

    def __init__(self, folder, front, hosts):
        self._folder, self._master_address = folder, front.address
        self._hosts = hosts
        self._processes, self._servers, self.paths = [], {}, []
        self._stack = contextlib.ExitStack()
        folder.mkdir()
        with contextlib.ExitStack() as stack:
            stack.callback(self._kill_processes)
            self._start_master(front)
            for number in range(1, len(hosts) + 1):
                self._make_data_server(number)
                self.start_server(number)
            master = self._folder / "master.log"
            until(lambda: master.read_text().count("chunkserver register end") >= len(hosts),
                  "the master knows all data servers")
            for number, host in enumerate(hosts, 1):
                self.paths.append(self._mount(host, number, stack))
            subprocess.run([*hosts[0].inside(), "mfssetgoal", "-r", str(COPIES), self.paths[0]],
                           check=True, capture_output=True)
            self._stack = stack.pop_all()

    def close(self):
        self._stack.close()

    def _kill_processes(self):
        for process in [*self._processes, *self._servers.values()]:
            kill_all(process)

    def _start_master(self, front):
        data = self._folder / "master"
        data.mkdir()
        shutil.copy(EMPTY, data / "metadata.mfs")
        (self._folder / "exports.cfg").write_text("* / rw,alldirs,maproot=0\n")
        settings = self._folder / "master.cfg"
        settings.write_text(COMMON.format(folder=data)
                            + f"EXPORTS_FILENAME = {self._folder}/exports.cfg\n")
        self._processes.append(run_inside(front, ["mfsmaster", "-f", "-c", settings, "start"],
                                          self._folder / "master.log"))

    def _make_data_server(self, number):
        data, disk = self._folder / f"server{number}", self._folder / f"disk{number}"
        data.mkdir()
        disk.mkdir()
        (self._folder / f"disks{number}.cfg").write_text(f"{disk}\n")
        settings = self._folder / f"server{number}.cfg"
        settings.write_text(COMMON.format(folder=data) + f"MASTER_HOST = {self._master_address}\n"
                            f"HDD_CONF_FILENAME = {self._folder}/disks{number}.cfg\n")

    def start_server(self, number):
        """Starts the one that keeps data on the node of this number."""
        self._servers[number] = run_inside(
            self._hosts[number - 1],
            ["mfschunkserver", "-f", "-c", self._folder / f"server{number}.cfg", "start"],
            self._folder / f"server{number}.log")

    def kill_server(self, number):
        kill_all(self._servers[number])

    def _mount(self, host, number, stack):
        path = self._folder / f"mount{number}"
        path.mkdir()
        self._processes.append(run_inside(
            host, ["mfsmount", "-f", path, "-H", self._master_address, "-o", "allow_other"],
            self._folder / f"mount{number}.log"))
        stack.callback(subprocess.run, ["umount", "--lazy", path], check=False)
        until(path.is_mount, f"{path} is mounted")
        return path
