"""A disk of a node's own, small enough to be filled."""
import contextlib
import subprocess

SIZE = "256m"


class OwnDisk:
    def __init__(self, folder):
        self.path = folder
        self._ballast = folder / "ballast"
        folder.mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={SIZE},mode=755", "tmpfs", folder],
                       check=True)

    def close(self):
        subprocess.run(["umount", "--lazy", self.path], check=True)

    def fill(self):
        with contextlib.suppress(OSError), open(self._ballast, "wb", buffering=0) as file:
            while file.write(bytes(1 << 20)):
                continue

    def make_room(self):
        self._ballast.unlink()
