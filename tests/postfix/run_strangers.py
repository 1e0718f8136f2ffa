#!/usr/bin/env python3
"""A Postfix that is set up as docs/postfix.md says refuses mail for strangers while the client is
connected, so that it never bounces a message to a sender who was forged.

usage: run_strangers.py QUARROW QUARROW_LMTPD full|reduced
"""
import pathlib
import shlex
import sys

import set_up
import users

PAGE = pathlib.Path(__file__).parents[2] / "docs" / "postfix.md"
STRANGER = "stranger@example.org"
SENDER = "forged@example.net"


def configure_as_documented(postfix):
    lines = [shlex.split(line) for line in PAGE.read_text().splitlines()
             if line.startswith("    postconf ") and "verif" in line]
    if not lines:
        raise AssertionError(f"{PAGE} says nothing of strangers")
    for _, *arguments in lines:
        postfix.configure(arguments)


def answer_to(postfix, recipient):
    """What Postfix says to RCPT: code and text."""
    with postfix.connect() as client:
        client.mail(SENDER)
        code, text = client.rcpt(recipient)
        return code, text.decode()


def send(postfix, recipients):
    """Sends a message; the recipients that were refused."""
    with postfix.connect() as client:
        return client.sendmail(SENDER, recipients, "Subject: Hello\r\n\r\nHello\r\n")


def stored(system, user):
    return list((users.home(system.root, user) / "Maildir").glob("**/new/*"))


def check(what, is_right):
    print(("right: " if is_right else "WRONG: ") + what)
    return is_right


def run(system):
    known, other = users.USERS[:2]
    code, text = answer_to(system.postfix, STRANGER)
    yield check(f"a stranger is refused for good: {code} {text}",
                code == 550 and "There is no such user here" in text)
    refused = send(system.postfix, [known, STRANGER])
    yield check(f"the stranger is the only one that is refused: {refused}",
                list(refused) == [STRANGER])
    # Postfix counts its questions about addresses as messages, too.
    system.postfix.follow_until(lambda: stored(system, known) and system.postfix.is_empty(),
                                "the message is stored, and the queue is empty")
    yield check("the user has the message once", len(stored(system, known)) == 1)
    yield check("nothing was bounced", "status=bounced" not in system.postfix.log())
    yield check("the LMTP server stops", system.lmtp.stop() == 0)
    code, text = answer_to(system.postfix, other)
    yield check(f"without it, a user is to be tried again: {code} {text}", code == 450)
    code, text = answer_to(system.postfix, known)
    yield check(f"one that is known by now is taken: {code} {text}", code == 250)


def main():
    with set_up.mail_system(configure=configure_as_documented) as system:
        return 0 if all(list(run(system))) else 1


if __name__ == "__main__":
    sys.exit(main())
