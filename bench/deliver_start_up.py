#!/usr/bin/env -S python3 -B
"""Whole-process time of `quarrow deliver` for one message, beside dovecot-lda and maildrop.

usage: deliver_start_up.py BUILD_DIR [MESSAGE]

BUILD_DIR holds a release build; MESSAGE is a file that a rule files. Unless given, there are two,
one of the examples and the same with encoded words in its header. TMPDIR says which disk.

The programs deliver the message to a Maildir each, by the same 20 rules: Dovecot with its Sieve
plugin and the script compiled ahead, maildrop by the rules in its own language. They do so 30
times in turns, after a first time that is checked for equal folders and not counted. Dovecot
reads its configuration from a file, without a server. Printed are, for each, how often it
synchronises what it writes, the median time in milliseconds, and the ratios of `quarrow deliver`
to the others, paired by round. Exits with 77, saying why, where the other programs are absent.
"""
import os
import pathlib
import re
import subprocess
import sys
import time

import figures
import peers

ROUNDS = 30
USER = "alice"
ENCODED_WORDS = (b"Comments: =?UTF-8?Q?Gr=C3=BC=C3=9Fe?= =?ISO-8859-15?B?YXVzIEv2bG4=?=\n"
                 b"Cc: =?UTF-8?B?SsO8cmdlbg==?= <juergen@example.net>\n")
SYNCHRONISES = re.compile(rb"\b(?:fsync|fdatasync|sync|syncfs|sync_file_range)\(")


class Program:
    """A command line that delivers standard input into a Maildir."""

    def __init__(self, command, home, maildir, **environment):
        self.command = [str(word) for word in command]
        self.maildir = maildir
        user = peers.service_user()
        self.options = {"cwd": home, "stderr": subprocess.PIPE,
                        "env": {**peers.clean_environment(home), "USER": user.pw_name,
                                "LOGNAME": user.pw_name, **environment}}
        if os.geteuid() == 0:
            self.options.update(user=user.pw_uid, group=user.pw_gid, extra_groups=[])

    def deliver(self, message, *prefix):
        """Runs once; the milliseconds that it took."""
        message.seek(0)
        began = time.perf_counter()
        done = subprocess.run([*prefix, *self.command], stdin=message, check=False,
                              timeout=peers.TIME_LIMIT, **self.options)
        took = (time.perf_counter() - began) * 1000
        if done.returncode != 0:
            sys.exit(f"{self.command}: exit status {done.returncode}\n{done.stderr.decode()}")
        return took

    def synchronisations(self, message, trace):
        """How often one delivery asks for what it wrote to be on disk; nothing without strace."""
        try:
            self.deliver(message, "strace", "-f", "-qq", "-o", str(trace))
        except FileNotFoundError:
            return "unknown (no strace)"
        return len(SYNCHRONISES.findall(trace.read_bytes()))


def quarrow_deliver(quarrow):
    home = quarrow.home(USER)
    return Program([quarrow.command, "--root", quarrow.root, "deliver", "-d",
                    f"{USER}@{peers.DOMAIN}"], home, home / "Maildir")


def dovecot_lda(dovecot):
    home = dovecot.home(USER)
    return Program(["/usr/lib/dovecot/dovecot-lda", "-c", dovecot.configuration], home,
                   home / "Maildir")


def maildrop(folder):
    home = folder / "maildrop"
    home.mkdir()
    maildir = home / "Maildir"
    peers.make_maildrop_folders(maildir)
    rules = home / "filter"
    rules.write_text(peers.maildrop_filter(maildir))
    rules.chmod(0o600)
    peers.give_away(home)
    return Program(["maildrop", rules], home, maildir)


def check(programs, message, trace):
    """Delivers a first time: the folders must be equal."""
    for program in programs.values():
        program.deliver(message)
    peers.check_verdicts(**{"reference" if name == "quarrow deliver" else name:
                            peers.filed(program.maildir) for name, program in programs.items()})
    if not peers.filed(programs["quarrow deliver"].maildir).get(0):
        sys.exit("no rule applies to the message: give another one")
    for name, program in programs.items():
        count = program.synchronisations(message, trace)
        print(f"{name:17}synchronises {count} times a delivery")


def compare(topic, programs, message):
    times = {name: [] for name in programs}
    for _ in range(ROUNDS):
        for name, program in programs.items():
            times[name].append(program.deliver(message))
    for name, values in times.items():
        figures.show(topic, name, values, "ms")
    ours, *others = times
    for other in others:
        figures.show_ratio(topic, f"{ours} / {other}", times[ours], times[other], at_most=1)


def measure(build, topic, text):
    print(f"\n{topic}")
    with peers.temporary_folder() as name:
        folder = pathlib.Path(name)
        quarrow, dovecot = peers.Quarrow(build, folder), peers.Dovecot(folder)
        quarrow.add_user(USER)
        dovecot.add_user(USER, quarrow.script(USER))
        peers.give_away(quarrow.root)
        path = folder / "message"
        path.write_bytes(peers.numbered(0, text).replace(b"\r\n", b"\n"))
        (folder / "trace").mkdir()
        peers.give_away(folder / "trace")
        programs = {"quarrow deliver": quarrow_deliver(quarrow),
                    "dovecot-lda": dovecot_lda(dovecot), "maildrop": maildrop(folder)}
        peers.give_away(dovecot.folder / "home")
        with open(path, "rb") as message:
            check(programs, message, folder / "trace" / "calls")
            compare(topic, programs, message)


def main(arguments):
    if len(arguments) not in (1, 2):
        sys.exit(__doc__)
    peers.skip_without(dovecot_core="/usr/lib/dovecot/dovecot-lda", dovecot_sieve="sievec",
                       maildrop="maildrop")
    build = pathlib.Path(arguments[0])
    if len(arguments) == 2:
        measure(build, "one message, a process", pathlib.Path(arguments[1]).read_bytes())
        return
    text = (peers.EXAMPLE_MAIL / "22-list.eml").read_bytes()
    measure(build, "one message, a process", text)
    measure(build, "one message with encoded words, a process", ENCODED_WORDS + text)


if __name__ == "__main__":
    main(sys.argv[1:])
