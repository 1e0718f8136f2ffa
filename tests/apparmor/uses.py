"""The files that a traced server uses, as a profile for AppArmor names them."""
import re

from system_calls import calls_in

CALLS = "openat,mkdirat,renameat,renameat2,linkat,unlinkat,rename,unlink,mkdir,link,bind"
WRITING = ("O_WRONLY", "O_CREAT", "O_TRUNC")


def modes_of(call):
    """The letters of the modes that a call needs."""
    if call.name in ("link", "linkat"):
        return "wl"
    if call.name != "openat":
        return "w"
    if "O_RDWR" in call.text:
        return "rw"
    return "w" if any(flag in call.text for flag in WRITING) else "r"


def as_mediated(path, flags):
    """The path that AppArmor compares: of what is opened in the end, with "/" behind a folder."""
    if "O_TMPFILE" in flags:
        return path + "/#1"
    path = re.sub(r"^/proc/self/fd/\d+$", "/memfd:text", path)
    path = re.sub(r"^/proc/self/", "/proc/1/", re.sub(r"^/lib/", "/usr/lib/", path))
    return path + "/" if "O_DIRECTORY" in flags else path


def installed(path, places):
    """The name of a file of the test's, as packages have it: `places` has the folders' names."""
    for own, place in places.items():
        if re.match(rf"{re.escape(str(own))}($|/|\.)", path):
            return place + path[len(str(own)):]
    return path


def files_used(traces, places):
    """(path, mode) of all that the processes traced into the folder `traces` use."""
    return {(as_mediated(installed(path, places), call.text), mode)
            for calls in calls_in(traces) for call in calls
            for path in call.paths() for mode in modes_of(call)}
