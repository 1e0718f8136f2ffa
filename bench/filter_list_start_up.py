#!/usr/bin/env -S python3 -B
"""Whole-process time of `quarrow filter list`, beside /bin/true and `doveadm sieve list`.

usage: filter_list_start_up.py BUILD_DIR

BUILD_DIR holds a release build. A user has 20 filters, and the same rules as a Sieve script, which
the other program only names. The programs run 60 times in turns, after a first time whose output is
checked. Dovecot runs, since its program asks it for the user. Printed are the median times
in milliseconds, and the ratios of `quarrow filter list` to the others, paired by round. Exits with
77, saying why, where the other program is absent.
"""
import contextlib
import pathlib
import subprocess
import sys
import time

import figures
import peers

ROUNDS = 60
USER = "alice"
ADDRESS = f"{USER}@{peers.DOMAIN}"


def run(command, environment):
    """The milliseconds that it took, and what it said."""
    began = time.perf_counter()
    done = subprocess.run([str(word) for word in command], env=environment, check=False,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          timeout=peers.TIME_LIMIT)
    took = (time.perf_counter() - began) * 1000
    if done.returncode != 0:
        sys.exit(f"{command}: exit status {done.returncode}\n{done.stderr.decode()}")
    return took, done.stdout.decode()


def commands(quarrow, dovecot):
    return {"filter list": [quarrow.command, "--root", quarrow.root, "filter", "list", ADDRESS],
            "/bin/true": ["/bin/true"],
            "doveadm sieve list": ["doveadm", "-c", dovecot.configuration, "sieve", "list", "-u",
                                   ADDRESS]}


def wait_for(path):
    for _ in range(500):
        if path.exists():
            return
        time.sleep(0.02)
    sys.exit(f"{path} does not appear: Dovecot did not start")


def check(programs, environment):
    wanted = {"filter list": f"Rule number {peers.RULES - 1}", "doveadm sieve list": "ACTIVE"}
    for name, text in wanted.items():
        said = run(programs[name], environment)[1]
        if text not in said:
            sys.exit(f"{name} did not list the rules: {said}")


def compare(programs, environment):
    times = {name: [] for name in programs}
    for _ in range(ROUNDS):
        for name, command in programs.items():
            times[name].append(run(command, environment)[0])
    topic = "listing 20 filters, a process"
    for name, values in times.items():
        figures.show(topic, name, values, "ms")
    ours, *others = times
    for other in others:
        figures.show_ratio(topic, f"{ours} / {other}", times[ours], times[other])


def main(arguments):
    if len(arguments) != 1:
        sys.exit(__doc__)
    peers.skip_without(dovecot_core="doveadm", dovecot_sieve="sievec")
    peers.skip_without_root()
    with peers.temporary_folder() as name, contextlib.ExitStack() as servers:
        folder = pathlib.Path(name)
        quarrow, dovecot = peers.Quarrow(pathlib.Path(arguments[0]), folder), peers.Dovecot(folder)
        quarrow.add_user(USER)
        dovecot.add_user(USER, quarrow.script(USER))
        home = dovecot.home(USER)
        (home / "sieve").mkdir()
        (home / ".dovecot.sieve").rename(home / "sieve" / "rules.sieve")
        (home / ".dovecot.sieve").symlink_to("sieve/rules.sieve")
        peers.give_away(dovecot.folder / "home")
        dovecot.start()
        servers.callback(dovecot.stop)
        wait_for(dovecot.folder / "run" / "auth-userdb")
        programs = commands(quarrow, dovecot)
        environment = peers.clean_environment(folder)
        check(programs, environment)
        compare(programs, environment)


if __name__ == "__main__":
    main(sys.argv[1:])
