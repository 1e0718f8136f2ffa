"""HAProxy on a machine, set up as the documentation says."""
import pathlib
import signal
import sys

from processes import kill_all, run_inside, signal_all

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
import documented  # noqa: E402

PAGE = pathlib.Path(__file__).parents[2] / "docs" / "many-machines.md"


class Balancer:
    """HAProxy with a configuration of the page, which the caller has made to fit."""

    def __init__(self, machine, folder, settings):
        self._machine, self._log = machine, folder / "haproxy.log"
        self._settings = folder / "haproxy.cfg"
        self._settings.write_text(settings)
        self._process = None

    def start(self):
        self._process = run_inside(self._machine, ["haproxy", "-W", "-db", "-f", self._settings],
                                   self._log)

    def reload(self):
        self._process.send_signal(signal.SIGUSR2)

    def signal_all(self, number):
        signal_all(self._process, number)

    def stop(self):
        """Whatever state it is in."""
        kill_all(self._process)


def settings(name, replacements):
    """The page's configuration `name`, with paths and addresses replaced."""
    return documented.replaced(documented.file(PAGE, name), replacements)
