#!/usr/bin/env python3
"""Processes are killed, evaluations crash, folders are read-only, scripts are broken and the disk
is full while a Postfix delivers through quarrow-lmtpd: no message is lost.

usage: run_faults.py QUARROW QUARROW_LMTPD full|reduced
"""
import collections
import random
import re
import subprocess
import sys

import crashes
import faults
import set_up
import users

SEED = 20261121
STRANGER = "stranger@example.org"
MESSAGES_TO_STRANGER = 20
HEAVY_MESSAGES = len(faults.HEAVY_MAIL) * len(crashes.WITH_HEAVY_MAIL)
DISK_SIZE = "256m"
NOTED = re.compile(r"user=(\S+) msgid=(<\S+>) .* note=\"(.*)\"$", re.MULTILINE)

Delivery = collections.namedtuple("Delivery", "user message")


def mount_small_disk(folder):
    root = folder / "root"
    root.mkdir()
    done = subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={DISK_SIZE}", "tmpfs", root],
                          check=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if done.returncode != 0:
        set_up.skip("no tmpfs can be mounted: " + done.stdout.strip())
    return lambda: subprocess.run(["umount", "--lazy", root], check=True)


def send_to_stranger(postfix):
    postfix.send("-m", MESSAGES_TO_STRANGER, "-t", STRANGER, "-S", "Hello",
                 "-f", "list@example.com")


class Findings:
    """Compares what Postfix was told, what the rules want, and what is on disk."""

    def __init__(self, system):
        self.faults = []
        self.duplicates = 0
        self.in_inbox = 0  # after a failure, hence against the rules
        self.crashed = collections.Counter()  # evaluations that had to, by their end
        self.failed = 0  # evaluations that could have been done
        self.attempts = collections.defaultdict(list)
        for attempt in system.postfix.attempts:
            if attempt.recipient.endswith("@example.org"):
                key = Delivery(attempt.recipient, attempt.message)
                self.attempts[key].append(attempt)
        self._copies = collections.defaultdict(collections.Counter)
        self._mail = {}
        for each in system.stored():
            self._copies[Delivery(each.user, each.message)][each.folder] += 1
            self._mail[each.message] = system.sent[each.subject]
        self._noted = {Delivery(user, message): note
                       for user, message, note in NOTED.findall(system.lmtp.log())}
        for delivery in self.attempts:
            self._check(delivery)
        for delivery in self._copies.keys() - self.attempts.keys():
            self._complain(delivery, "stored, but Postfix knows nothing of it")

    def _complain(self, delivery, what):
        self.faults.append(f"{delivery.user} {delivery.message}: {what}")

    def _check(self, delivery):
        *before, last = self.attempts[delivery]
        if any(each.status != "deferred" or not each.code.startswith("4.") for each in before):
            self._complain(delivery, "tried again after a final answer")
        if last.status == "sent":
            self._check_stored(delivery)
        else:
            self._check_bounced(delivery, last)
        self._check_copies(delivery)

    def _check_bounced(self, delivery, last):
        code = {STRANGER: "5.1.1", faults.REJECTING: "5.7.1"}.get(delivery.user)
        if last.status != "bounced" or last.code != code:
            self._complain(delivery, f"{last.status} with {last.code}: {last.text}")

    def _wanted(self, delivery):
        if delivery.user == faults.REJECTING:
            return set()
        if self._ends_evaluation(delivery):
            return {""}
        return set(users.wanted(delivery.user, self._mail[delivery.message]))

    def _ends_evaluation(self, delivery):
        return crashes.ends_evaluation(delivery.user, self._mail[delivery.message])

    def _check_evaluation(self, delivery):
        note = self._noted.get(delivery, "")
        if not self._ends_evaluation(delivery):
            self.failed += note.startswith("evaluation failed")
        elif crashes.DIED.match(note):
            self.crashed[note] += 1
        else:
            self._complain(delivery, f"an evaluation that must crash has the note '{note}'")

    def _check_stored(self, delivery):
        have = set(self._copies[delivery])
        if not have:
            return self._complain(delivery, "LOST: answered with 250, and not on disk")
        self._check_evaluation(delivery)
        want = self._wanted(delivery)
        if have - want - {""}:
            self._complain(delivery, f"in {have}, and wanted in {want}")
        if want and want <= have:
            return None
        self.in_inbox += 1
        if "" not in have or delivery not in self._noted:
            self._complain(delivery, f"in {have}, wanted in {want}, without a word in the log")
        return None

    def _check_copies(self, delivery):
        """A copy too many has its reason in an attempt that failed after something was stored: its
        worker was killed before it could answer, or another folder could not be written."""
        copies = self._copies[delivery]
        needed = 1
        if copies and delivery.user != faults.REJECTING and self._wanted(delivery) <= set(copies):
            needed = len(self._wanted(delivery))
        if last_was_bounced := self.attempts[delivery][-1].status == "bounced":
            needed = 0
        surplus = max(copies.total() - needed, 0)
        self.duplicates += surplus
        disturbed = sum(each.status == "deferred" and "suspended" not in each.text
                        for each in self.attempts[delivery])
        if surplus and not disturbed:
            self._complain(delivery, f"{dict(copies)}, without an attempt that failed"
                           + (" before the bounce" if last_was_bounced else ""))
        if copies and max(copies.values()) > 1 + disturbed:
            self._complain(delivery, f"{dict(copies)} after {disturbed} attempts that failed")


def kinds_of_failure(attempts):
    """How often an attempt was deferred for which reason, addresses and numbers left out."""
    texts = (re.sub(r"<.*?>|\[.*?\]|\d{3,} ", "", each.text) for each in attempts
             if each.status == "deferred")
    return collections.Counter(texts)


def report(trouble, system, findings):
    outcomes = collections.Counter(f"{each.status} {each.code}"
                                   for each in system.postfix.attempts
                                   if each.status != "deferred"
                                   and each.recipient.endswith("@example.org"))
    print(f"killed: {trouble.killed}, helpers with heavy messages: "
          f"{len(trouble.crashes.killed)}")
    print(f"failed deliveries on a full disk: {trouble.on_full_disk}")
    print(f"final answers: {dict(outcomes)}")
    for text, count in kinds_of_failure(system.postfix.attempts).most_common():
        print(f"tried again: {count} times: {text}")
    for note, count in findings.crashed.most_common():
        print(f"crashed: {count} times: {note}")
    print(f"in the inbox after a failure: {findings.in_inbox}")
    print(f"duplicates: {findings.duplicates}, each after an attempt that was cut off, or that "
          "failed in one of several folders, and was repeated")
    for fault in findings.faults:
        print(fault)


def main():
    rounds, kills = (48, 200) if set_up.is_full_load() else (12, 40)
    total = rounds * len(users.USERS) + MESSAGES_TO_STRANGER + HEAVY_MESSAGES
    with set_up.mail_system(mount_small_disk) as system:
        trouble = faults.Faults(system, total, kills, random.Random(SEED))
        send_to_stranger(system.postfix)
        count = MESSAGES_TO_STRANGER + HEAVY_MESSAGES + system.send(rounds, trouble.step)
        system.postfix.follow_until(
            lambda: trouble.is_over() and system.postfix.messages() >= count
            and system.postfix.is_empty(),
            "the queue is empty", trouble.step)
        findings = Findings(system)
        if len(findings.attempts) != total:
            findings.faults.append(f"{len(findings.attempts)} deliveries instead of {total}")
        if trouble.on_full_disk == 0:
            findings.faults.append("the full disk went unnoticed")
        if findings.failed > trouble.killed["helper"]:
            findings.faults.append(f"{findings.failed} ordinary evaluations failed")
        status = system.lmtp.stop()
        if status != 0:
            findings.faults.append(f"quarrow-lmtpd exited with {status}")
        report(trouble, system, findings)
    return 0 if not findings.faults else 1


if __name__ == "__main__":
    sys.exit(main())
