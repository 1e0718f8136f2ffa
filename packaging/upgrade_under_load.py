#!/usr/bin/env -S python3 -B
"""Delivers over eight connections to the installed LMTP server, while a command replaces it.

Usage: upgrade_under_load.py USER COMMAND [ARGUMENT]...

No connection may be refused, each message must be there once, and another process must serve then.
What is not answered with 250 is sent again, as a mail server does.
"""
import collections
import pathlib
import re
import smtplib
import subprocess
import sys
import threading

SOCKET = "/run/quarrow/lmtp"
CONNECTIONS = 8
MESSAGES_OF_A_CONNECTION = 5
MESSAGES_BEHIND = 20


def is_for_the_moment(answer):
    """Whether the server asked for another try."""
    if isinstance(answer, smtplib.SMTPRecipientsRefused):
        codes = [code for code, _ in answer.recipients.values()]
    else:
        codes = [answer.smtp_code]
    return all(400 <= code < 500 for code in codes)


class Sender(threading.Thread):
    """Sends one message after the other until it is told that the last ones are to come."""

    def __init__(self, number, user):
        super().__init__()
        self.number, self.user = number, user
        self.replaced = threading.Event()
        self.first_is_there = threading.Event()
        self.sent = []
        self.again = 0
        self.fault = None

    def run(self):
        try:
            left = MESSAGES_BEHIND
            while left > 0:
                left -= self.replaced.is_set()
                self.send(f"load-{self.number}-{len(self.sent)}")
                self.first_is_there.set()
            self.disconnect()
        except OSError as fault:  # refused connections are among them
            self.fault = fault
            self.first_is_there.set()

    client = None
    carried = 0

    def disconnect(self):
        if self.client is not None:
            self.client.close()
        self.client, self.carried = None, 0

    def send(self, name):
        message = f"From: bob@example.org\r\nSubject: {name}\r\n\r\nHere.\r\n".encode()
        while True:
            if self.client is None or self.carried == MESSAGES_OF_A_CONNECTION:
                self.disconnect()
                self.client = smtplib.LMTP(local_hostname="client.example.org")
                self.client.connect(SOCKET)
            try:
                self.client.sendmail("bob@example.org", [self.user], message)
                self.carried += 1
                self.sent.append(name)
                return
            except smtplib.SMTPServerDisconnected:
                self.again += 1
                self.disconnect()
            except (smtplib.SMTPResponseException, smtplib.SMTPRecipientsRefused) as answer:
                if not is_for_the_moment(answer):
                    raise
                self.again += 1
                self.disconnect()


def served_by():
    found = subprocess.run(["systemctl", "show", "--property=MainPID", "--value", "quarrow-lmtpd"],
                           check=True, capture_output=True, text=True)
    return int(found.stdout)


def stored(user):
    name, domain = user.split("@")
    maildir = pathlib.Path("/var/spool/quarrow", domain, name, "Maildir")
    subjects = (re.search(rb"^Subject: (load-\S+)", file.read_bytes(), re.MULTILINE)
                for file in maildir.rglob("*") if file.parent.name in ("new", "cur"))
    return collections.Counter(subject[1].decode() for subject in subjects if subject)


def main(user, command):
    before = served_by()
    senders = [Sender(number, user) for number in range(CONNECTIONS)]
    for sender in senders:
        sender.start()
    for sender in senders:
        sender.first_is_there.wait()
    replaced = subprocess.run(command, capture_output=True, text=True)
    for sender in senders:
        sender.replaced.set()
    for sender in senders:
        sender.join()

    sent = [name for sender in senders for name in sender.sent]
    there = stored(user)
    faults = [f"connection {sender.number}: {sender.fault}" for sender in senders if sender.fault]
    faults += [f"{name} is there {there[name]} times" for name in sent if there[name] != 1]
    if replaced.returncode != 0:
        faults.append(f"{command[0]} ended with {replaced.returncode}: {replaced.stderr}")
    if served_by() in (0, before):
        faults.append("no other process serves")
    print(f"{len(sent)} messages over {CONNECTIONS} connections, "
          f"{sum(sender.again for sender in senders)} sent again")
    print("\n".join(faults[:20]))
    return 1 if faults else 0


if len(sys.argv) < 3:
    sys.exit(__doc__)
sys.exit(main(sys.argv[1], sys.argv[2:]))
