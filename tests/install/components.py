#!/usr/bin/env -S python3 -B
"""What each component of an installation holds, which packages are made of.

Usage: components.py BUILD_FOLDER

Each installed file belongs to one component, and each component has what its package is for.
"""
import collections
import fnmatch
import pathlib
import subprocess
import sys
import tempfile

# A component, and some of the files that it must have, as patterns below the prefix: a star stands for
# folders as well.
COMPONENTS = {
    "libquarrow1": ("lib/*libquarrow.so.1", "lib/*quarrow/libzvellparser.so.1"),
    "libquarrow-dev": ("lib/*libquarrow.so", "lib/*libquarrow-delivery.a",
                       "lib/*pkgconfig/quarrow.pc", "lib/*cmake/Quarrow/QuarrowConfig.cmake",
                       "include/quarrow/evaluation.h", "include/quarrow/delivery/evaluator.h",
                       "include/quarrow-host/zvellparser.h"),
    "quarrow": ("bin/quarrow", "share/man/man1/quarrow.1", "share/man/man5/quarrow-rules.5",
                "share/bash-completion/completions/quarrow"),
    "quarrow-homes": ("sbin/quarrow-homes", "lib/systemd/system/quarrow-homes.service",
                      "lib/systemd/system/quarrow-homes.socket", "share/man/man8/quarrow-homes.8"),
    "quarrow-lmtpd": ("sbin/quarrow-lmtpd", "lib/systemd/system/quarrow-lmtpd.service",
                      "lib/systemd/system/quarrow-lmtpd.socket", "share/man/man8/quarrow-lmtpd.8"),
    "quarrow-webd": ("sbin/quarrow-webd", "lib/systemd/system/quarrow-webd.service",
                     "share/quarrow/page/index.html", "share/man/man8/quarrow-webd.8"),
}


def installed(build, prefix, *options):
    """The files that an installation holds."""
    subprocess.run(["cmake", "--install", build, "--prefix", prefix, *options], check=True,
                   stdout=subprocess.DEVNULL)
    return {str(path.relative_to(prefix)) for path in prefix.rglob("*")
            if path.is_symlink() or path.is_file()}


def faults_in(build, folder):
    count = collections.Counter()
    for component, patterns in COMPONENTS.items():
        prefix = folder / component
        prefix.mkdir()
        names = installed(build, prefix, "--component", component)
        count.update(names)
        for pattern in patterns:
            if not fnmatch.filter(names, pattern):
                yield f"{component}: {pattern} is missing"
    whole = folder / "whole"
    whole.mkdir()
    for name in sorted(installed(build, whole)):
        if count[name] != 1:
            yield f"{name} is in {count[name]} components"


def main(build):
    with tempfile.TemporaryDirectory() as folder:
        faults = list(faults_in(build, pathlib.Path(folder)))
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main(sys.argv[1]))
