#!/usr/bin/env -S python3 -B
"""CPU time a message of deciding where it goes, beside other programs that decide by rules.

usage: evaluation.py BUILD_DIR FOLDER [RULES ...]

BUILD_DIR holds a release build with benchmarks, FOLDER messages in files; RULES are 1, 20 and 100
unless given. evaluate_folder hands the messages to an evaluator, by so many mixed rules, and
`quarrow match` reports what comes of that as well. Beside them:

- Dovecot's sieve-filter does the same by the same script, compiled ahead, over a Maildir, without
  moving anything: with the index that an earlier run has filled (warm), and without one (cold);
- mailutils' sieve does so over an mbox file;
- maildrop, a process for each message, files it in /dev/null by the rules in its own language, the
  first messages only.

First all verdicts must be equal: those of sieve-filter and maildrop come from runs that move copies
of the messages. Then come rounds in which the programs take turns. Printed are the median CPU
microseconds a message, user and system time of the whole program and its helpers, start and end
included, and the median of the rounds' ratios. A program that is absent is left out, and said so.
Exits with 77 where sieve-filter is absent.
"""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

import figures
import peers

ROUNDS = 9
RULES = (1, 20, 100)
USER = "alice"
MOVED = "moved"  # the user whose messages sieve-filter moves, for the verdicts
MAILDROP_MESSAGES = 50  # of each round: it takes a hundred times as long as the others
MOST_BESIDE_WARM = {20: 0.7}  # of sieve-filter's time, by the number of rules


def cpu_seconds(command, home, stdin=subprocess.DEVNULL):
    """Runs a command; its user and system time, those of its own children included."""
    with open(home.parent / "output", "w+b") as output:
        process = subprocess.Popen([str(word) for word in command], stdin=stdin, stdout=output,
                                   stderr=output, env=peers.clean_environment(home), cwd=home)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            output.seek(0)
            sys.exit(f"{command}: exit status {process.returncode}\n"
                     f"{output.read()[-2000:].decode('utf-8', 'replace')}")
    return usage.ru_utime + usage.ru_stime


def output_of(command, home):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          cwd=home, env=peers.clean_environment(home),
                          timeout=peers.TIME_LIMIT).stdout


def fill_maildir(maildir, messages):
    for part in ("cur", "new", "tmp"):
        (maildir / part).mkdir(parents=True)
    for number, text in enumerate(messages):
        (maildir / "cur" / f"{1000000000 + number}.{number}.host:2,").write_bytes(text)


class Ours:
    """evaluate_folder and `quarrow match` over a Maildir."""

    def __init__(self, build, quarrow, maildir):
        self.home = quarrow.home(USER)
        self.match = [quarrow.command, "--root", quarrow.root, "match", f"{USER}@{peers.DOMAIN}",
                      maildir]
        self.evaluate = [build.resolve() / "bench" / "evaluate_folder", quarrow.script(USER),
                         maildir / "cur"]

    def verdicts(self):
        found = {}
        for line in map(json.loads, output_of([*self.match, "--json"], self.home).splitlines()):
            if "message" not in line:
                continue
            folders = [each["mailbox"] for each in line.get("actions", []) if "mailbox" in each]
            number = pathlib.Path(line["message"]).name.split(".")[1]
            found[int(number)] = folders[0].replace("/", ".") if folders else ""
        return found


class SieveFilter:
    """Dovecot's, over a Maildir of its own."""

    def __init__(self, dovecot, script, messages):
        self.dovecot = dovecot
        for user in (USER, MOVED):
            dovecot.add_user(user, script)
            fill_maildir(dovecot.home(user) / "Maildir", messages)
        for _, _, target in peers.rules():  # sieve-filter makes no folders
            folder = dovecot.home(MOVED) / "Maildir" / ("." + target.replace("/", "."))
            if not folder.exists():
                fill_maildir(folder, [])
        peers.give_away(dovecot.folder / "home")
        self.home = dovecot.home(USER)
        self.maildir = self.home / "Maildir"

    def command(self, user, *options):
        return ["sieve-filter", "-c", self.dovecot.configuration, *options,
                self.dovecot.home(user) / ".dovecot.sieve", "INBOX"]

    def verdicts(self):
        cpu_seconds(self.command(MOVED, "-e", "-W"), self.dovecot.home(MOVED))
        return peers.filed(self.dovecot.home(MOVED) / "Maildir")

    def warm(self):
        return cpu_seconds(self.command(USER), self.home)

    def cold(self):
        for index in self.maildir.rglob("dovecot*"):
            index.unlink()
        return self.warm()


def without_regex(script):
    """The same script for a program without regular expressions: ours say how a subject begins."""
    script = re.sub(r':regex ("[^"]*") "\^([^"]*)"', r':matches \1 "\2*"', script)
    return script.replace('"regex", ', "")


class Mailutils:
    """mailutils' sieve over an mbox file."""

    def __init__(self, folder, script, messages):
        self.home = folder / "mailutils"
        self.home.mkdir()
        self.script = self.home / "script"
        self.script.write_text(without_regex(script.read_text()))
        self.mbox = self.home / "mbox"
        self.mbox.write_bytes(b"".join(
            b"From sender@example.net Mon May  4 12:00:00 2026\n" +
            re.sub(rb"^(>*From )", rb">\1", text, flags=re.MULTILINE).rstrip(b"\n") + b"\n\n"
            for text in messages))
        self.count = len(messages)

    def command(self, *options):
        return ["sieve", "-n", *options, "-f", self.mbox, self.script]

    def verdicts(self):
        found = dict.fromkeys(range(self.count), "")
        said = output_of(self.command("-v"), self.home)
        for uid, folder in re.findall(rb"FILEINTO on msg uid (\d+): delivering into (.*)", said):
            found[int(uid) - 1] = folder.decode().replace("/", ".")
        return found

    def once(self):
        return cpu_seconds(self.command(), self.home)


class Maildrop:
    """maildrop, a process for each of the first messages."""

    def __init__(self, folder, count, messages):
        self.home = folder / "maildrop"
        self.home.mkdir()
        self.files = []
        for number, text in enumerate(messages[:MAILDROP_MESSAGES]):
            self.files.append(self.home / f"message{number}")
            self.files[-1].write_bytes(text)
        self.filing = self.write_filter("filing", peers.maildrop_filter(self.home / "Maildir", count))
        self.deciding = self.write_filter(
            "deciding", re.sub(r'to ".*"', 'to "/dev/null"', self.filing.read_text()))
        peers.make_maildrop_folders(self.home / "Maildir", count)

    def write_filter(self, name, text):
        path = self.home / name
        path.write_text(text)
        path.chmod(0o600)
        return path

    def run(self, rules):
        spent = 0.0
        for path in self.files:
            with open(path, "rb") as message:
                spent += cpu_seconds(["maildrop", rules], self.home, message)
        return spent

    def verdicts(self):
        self.run(self.filing)
        return peers.filed(self.home / "Maildir")

    def once(self):
        """As if it had been asked about all messages."""
        return self.run(self.deciding)


def others(folder, count, script, messages):
    """Verdicts and measurements of the programs that are there besides sieve-filter."""
    verdicts, runs = {}, {}
    for package, program, make in (
            ("mailutils", "sieve", lambda: Mailutils(folder, script, messages)),
            ("maildrop", "maildrop", lambda: Maildrop(folder, count, messages))):
        if not shutil.which(program):
            print(f"left out: {program} is absent; it is in Debian's package {package}")
            continue
        peer = make()
        verdicts[package] = peer.verdicts()
        handled = len(peer.files) if package == "maildrop" else len(messages)
        runs[package] = (peer.once, handled)
    return verdicts, runs


def compare(topic, count, runs):
    """Each of runs is (function that gives CPU seconds, messages that it handles)."""
    times = {name: [] for name in runs}
    for _ in range(ROUNDS):
        for name, (run, messages) in runs.items():
            times[name].append(run() * 1e6 / messages)
    for name, values in times.items():
        figures.show(topic, name, values, "us")
    goal = MOST_BESIDE_WARM.get(count)
    for name in ("evaluation", "quarrow match"):
        figures.show_ratio(topic, f"{name} / sieve-filter, warm", times[name],
                           times["sieve-filter, warm"], at_most=goal)


def measure(build, messages, count):
    topic = f"CPU time a message, by {count} rule{'s' * (count > 1)}"
    print(f"\n{topic}")
    with peers.temporary_folder() as name:
        folder = pathlib.Path(name)
        quarrow, dovecot = peers.Quarrow(build, folder), peers.Dovecot(folder)
        quarrow.add_user(USER, count)
        sieve_filter = SieveFilter(dovecot, quarrow.script(USER), messages)
        ours = Ours(build, quarrow, sieve_filter.maildir)
        verdicts, runs = others(folder, count, quarrow.script(USER), messages)
        reference = ours.verdicts()
        if "maildrop" in verdicts:
            first = {number: folder for number, folder in reference.items()
                     if number < MAILDROP_MESSAGES}
            peers.check_verdicts(first, maildrop=verdicts.pop("maildrop"))
        peers.check_verdicts(reference, dovecot=sieve_filter.verdicts(), **verdicts)
        for command in (ours.evaluate, ours.match):
            cpu_seconds(command, ours.home)
        compare(topic, count, {
            "evaluation": (lambda: cpu_seconds(ours.evaluate, ours.home), len(messages)),
            "quarrow match": (lambda: cpu_seconds(ours.match, ours.home), len(messages)),
            "sieve-filter, cold": (sieve_filter.cold, len(messages)),
            "sieve-filter, warm": (sieve_filter.warm, len(messages)),
            **runs})


def main(arguments):
    if len(arguments) < 2:
        sys.exit(__doc__)
    peers.skip_without(dovecot_core="doveadm", dovecot_sieve="sieve-filter")
    messages = [text.replace(b"\r\n", b"\n")
                for text in peers.messages_of(pathlib.Path(arguments[1]))]
    for count in map(int, arguments[2:] or RULES):
        measure(pathlib.Path(arguments[0]), messages, count)


if __name__ == "__main__":
    main(sys.argv[1:])
