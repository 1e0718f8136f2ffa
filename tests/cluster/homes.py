"""The table of users' homes, and the server that tells it to Postfix, as the page has them."""
import os
import shlex
import subprocess

import documented
from balancer import PAGE
from node import SERVICE_USER
from processes import kill_all, run_inside

SOCKET = "/run/quarrow/homes"  # as the page has it


class Homes:
    def __init__(self, machine, folder, programs):
        self.socket = folder / "homes"
        self._machine, self._programs, self._log = machine, programs, folder / "homes.log"
        self._table = folder / "homes.sqlite"
        self._server = None
        for line in documented.lines(PAGE, "home node add"):
            self.run(line)

    def fitting(self, line):
        """A command of the page, for this table."""
        return line.replace("quarrow home ", f"{shlex.quote(str(self._programs.quarrow))} home ")

    def environment(self):
        return {**os.environ, "QUARROW_HOMES": str(self._table)}

    def run(self, line, **how):
        subprocess.run(shlex.split(self.fitting(line)), check=True, env=self.environment(), **how)

    def place(self, users, node):
        """Says that users are at home on this node."""
        self.run("quarrow home import", input="".join(f"{user} {node}\n" for user in users),
                 text=True, stdout=subprocess.DEVNULL)

    def start(self):
        self._server = run_inside(
            self._machine,
            [self._programs.homes, "--user", SERVICE_USER, "--homes", self._table, "--listen",
             self.socket, "--socket-group", "postfix"], self._log)

    def stop(self):
        kill_all(self._server)
