#!/usr/bin/env python3
"""A Postfix delivers through quarrow-lmtpd; each message ends where its users' rules want it.

usage: run_delivery.py QUARROW QUARROW_LMTPD full|reduced
"""
import collections
import sys

import set_up
import users

SHOWN_COMPLAINTS = 20


def expected(sent):
    return collections.Counter((user, folder, subject)
                               for subject, mail in sent.items()
                               for user in users.USERS
                               for folder in users.wanted(user, mail))


def actual(system):
    return collections.Counter((each.user, each.folder, each.subject) for each in system.stored())


def main():
    # 48 kinds of mail: 32 to one user at a time, 16 to two, which makes 2,000 messages
    rounds = 48 if set_up.is_full_load() else 6
    with set_up.mail_system() as system:
        count = system.send(rounds, lambda: system.postfix.follow(0.05))
        system.postfix.follow_until(
            lambda: system.postfix.messages() >= count and system.postfix.is_empty(),
            "the queue is empty")
        want, have = expected(system.sent), actual(system)
        failed = [each for each in system.postfix.attempts if each.code != "2.0.0"]
        status = system.lmtp.stop()
        complaints = system.lmtp.complaints()
    print(f"{count} messages to {len(users.USERS)} users, {have.total()} stored")
    for what, difference in [("missing", want - have), ("too many", have - want)]:
        for key in sorted(difference):
            print(f"{what}: {key}")
    for attempt in failed:
        print(f"not delivered at once: {attempt.recipient}: {attempt.text}")
    print("".join(complaints[:SHOWN_COMPLAINTS]), end="")
    if status != 0:
        print(f"quarrow-lmtpd exited with {status}")
    return 0 if want == have and not failed and status == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
