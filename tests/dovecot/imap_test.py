#!/usr/bin/env python3
"""Mail that Quarrow files is read through a Dovecot that is set up as docs/dovecot.md says:
imap_test.py QUARROW_LMTPD QUARROW [unittest arguments]
"""
import base64
import functools
import itertools
import math
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import unittest

import documented
import dovecot
from lmtp_server import PATIENCE, Daemon, DaemonTestCase, until

QUARROW = os.path.abspath(sys.argv.pop(1))
USERS = [f"alice{number}@example.org" for number in range(11)]
WITH_OWN_LIMIT = "carol@example.org"
LIMIT = 1 << 20  # bytes that a user may have
FULL = "552 5.2.2 Mailbox is full"
BODY = "Grüße von {}\r\n.\r\n" + "-" * 70 + "\r\n..\r\nEnd"

# Every shape of name that rules accept. "INBOX/" in front is the inbox's, and no part of a name.
NAMES = [
    "Work", "work", "MiXed", "a/b/c", "a", "d/" * 20 + "d", "two words",
    "three  blanks   inside/and more", "Größe", "Größe/Maße", "Übung & Co", "日本語/受信", "Ελληνικά",
    "עברית", "e\u0301 combined", "\N{GRINNING FACE} a \N{GRINNING FACE}", "\N{NO-BREAK SPACE}",
    "\N{ZERO WIDTH SPACE}", "\N{REPLACEMENT CHARACTER}", "&", "&-", "&AC4-", "a/~", "x~", "%", "%d",
    "*", "what*ever", "?", "'quoted'", "(a)/[b]/{c}", "{3}", "<c@d>", "#news", "!/$/`/|/;/:/,/@/^/_",
    "-/=/+", "NIL", "0", "INBOX2", "a/INBOX", "new", "cur/tmp", "maildirfolder", "subscriptions",
    "INBOX/Sub", "Inbox/Sub/deeper", "x" * 254, "y" * 100 + "/" + "z" * 153, "ä" * 93,
]


def own_limit():
    """What the page has a user's line end in."""
    line, = documented.lines(dovecot.PAGE, "userdb_quota_rule")
    return line.partition("::::::")[2]


def wire_name(name):
    """`name` as IMAP has it: modified UTF-7 (RFC 3501, section 5.1.3)."""
    parts = []
    for is_plain, run in itertools.groupby(name, lambda c: " " <= c <= "~"):
        text = "".join(run)
        code = base64.b64encode(text.encode("utf-16-be"), b"+,").decode().rstrip("=")
        parts.append(text.replace("&", "&-") if is_plain else f"&{code}-")
    return "".join(parts)


def quoted(name):
    return f'"{wire_name(name)}"'


def without_inbox(name):
    return re.sub("^inbox/", "", name, flags=re.IGNORECASE)


def subject_for(name):
    return f"folder {NAMES.index(name)}"


def count_in(client, name):
    """Opens a folder; how many messages it has."""
    answer, (text, *_) = client.select(quoted(name))
    assert answer == "OK", f"{name} can't be opened: {text}"
    return int(text)


def bodies_in(client, name):
    numbers = range(1, count_in(client, name) + 1)
    return [client.fetch(str(number), "(BODY.PEEK[TEXT])")[1][0][1].decode() for number in numbers]


def names_in(answer):
    """The folders of an answer to LIST or LSUB that can be opened, as IMAP has them."""
    names = []
    for line in answer[1]:
        # A name that no quoted string can hold comes as a literal, behind its head.
        head, name = line if isinstance(line, tuple) else line.split(b' "/" ', 1)
        if b"\\NonExistent" not in head and b"\\Noselect" not in head:
            names.append(name.decode().strip('"'))
    return sorted(names)


class ImapTest(DaemonTestCase):
    """One Dovecot serves all tests; each has a user of its own."""

    @classmethod
    def setUpClass(cls):
        place = pathlib.Path(cls.enterClassContext(
            tempfile.TemporaryDirectory(prefix="quarrow-dovecot-")))
        cls.daemon = Daemon()
        cls.addClassCleanup(cls.daemon.close)
        cls.quarrow("init", "--catalogue", place / "fields.xml")
        cls.dovecot = dovecot.Dovecot(place, cls.daemon.folder / "root", f"{LIMIT}B",
                                      place / "quota-status")
        for user in USERS:
            cls.add_user(user)
        cls.add_user(WITH_OWN_LIMIT, own_limit())
        cls.dovecot.start()  # it looks for users who were added meanwhile once a second only
        cls.addClassCleanup(cls.dovecot.stop)
        cls.users = iter(USERS)

    @classmethod
    def add_user(cls, user, end_of_line=""):
        cls.quarrow("user", "add", user)
        cls.dovecot.add_user(user, end_of_line)

    def setUp(self):
        self.user = next(self.users)

    @classmethod
    def quarrow(cls, *arguments):
        return subprocess.run([QUARROW, "--root", cls.daemon.folder / "root", *arguments],
                              check=True, text=True, stdout=subprocess.PIPE).stdout

    def add_rule(self, name):
        self.quarrow("filter", "add", self.user, "--name", subject_for(name),
                     "--if", f"string subject is {subject_for(name)}", "--then", f"move {name}")

    def log_in(self, name=None):
        client = self.dovecot.log_in(name or self.user)
        self.addCleanup(client.shutdown)
        return client

    def deliver(self, subject, body):
        with self.connect(self.daemon) as client:
            self.assertEqual(250, client.deliver([self.user], subject, body=body)[0][0])

    def deliver_to(self, names):
        with self.connect(self.daemon) as client:
            for name in names:
                body = BODY.format(name).replace("\r\n.", "\r\n..")
                answers = client.deliver([self.user], subject_for(name), body=body)
                self.assertEqual(250, answers[0][0])

    def known_of_messages(self, client, name):
        """What a client knows of the messages in a folder: text, flags and arrival, sorted."""
        known = []
        for number in range(1, count_in(client, name) + 1):
            _, answer = client.fetch(str(number), "(FLAGS INTERNALDATE BODY.PEEK[TEXT])")
            head, text = answer[0]
            head += b"".join(part for part in answer[1:])
            flags, = re.findall(rb"FLAGS \(([^)]*)\)", head)
            arrival, = re.findall(rb'INTERNALDATE ("[^"]*")', head)
            known.append((text.decode().strip(), sorted(set(flags.decode().split()) - {r"\Recent"}),
                          arrival.decode()))
        return sorted(known)

    def check_folders(self, client, names):
        for name in names:
            with self.subTest(name=name):
                self.assertEqual([BODY.format(name) + "\r\n"], bodies_in(client, name))

    def test_rules_and_clients_have_the_same_folders(self):
        for name in NAMES:
            self.add_rule(name)
        client = self.log_in()
        self.deliver_to(NAMES)
        wanted = sorted({"INBOX"} | {wire_name(without_inbox(name)) for name in NAMES})
        self.assertEqual(wanted, names_in(client.list()))
        subscribed = sorted(set(wanted) - {"INBOX"})
        self.assertEqual(subscribed, names_in(client.lsub()))
        self.check_folders(client, NAMES)

        client.unselect()
        for name in subscribed:
            self.assertEqual("OK", client.delete(f'"{name}"')[0])
        self.assertEqual(["INBOX"], names_in(client.list()))
        for name in subscribed:
            self.assertEqual("OK", client.create(f'"{name}"')[0])
        self.deliver_to(NAMES)
        self.assertEqual(wanted, names_in(client.list()))
        self.check_folders(client, NAMES)

    def test_an_open_session_sees_what_comes(self):
        for name in ["a/b/c", "Work"]:
            self.add_rule(name)
        self.deliver_to(["Work"])
        client = self.log_in()
        self.assertEqual(["INBOX", "Work"], names_in(client.list()))
        self.deliver_to(["a/b/c"])
        self.assertEqual(["INBOX", "Work", "a/b/c"], names_in(client.list()))
        self.check_folders(client, ["a/b/c"])
        self.deliver_to(["a/b/c"])
        client.noop()
        self.assertEqual([b"2"], client.response("EXISTS")[1][-1:])

    def test_mail_is_unread_until_it_is_read(self):
        self.deliver("Hello", "Hello")
        client = self.log_in(self.user.title())  # capitals are as good
        self.assertEqual(1, count_in(client, "INBOX"))
        self.assertEqual([b"1"], client.search(None, "UNSEEN")[1])
        client.store("1", "+FLAGS", r"\Seen")
        client.close()
        self.deliver("Hello", "Hello again")
        self.assertEqual(2, count_in(client, "INBOX"))
        self.assertEqual([b"2"], client.search(None, "UNSEEN")[1])

    def test_subscriptions_of_a_client_stay(self):
        self.add_rule("a/b/c")
        client = self.log_in()
        client.create("Own/Letters")
        client.subscribe("Own/Letters")
        self.deliver_to(["a/b/c"])
        self.assertEqual(["Own/Letters", "a/b/c"], names_in(client.lsub()))

    def test_delete_files_into_the_folder_for_deleted_mail(self):
        self.quarrow("filter", "add", self.user, "--name", "Spam", "--if", "string subject is spam",
                     "--then", "delete")
        self.deliver("spam", "Spam")
        lines = [line for line in self.log_in().list()[1] if rb"\Trash" in line]
        self.assertEqual([b'"/" Trash'], [line[-9:] for line in lines])
        self.assertEqual(1, count_in(self.log_in(), "Trash"))

    def test_applied_rules_keep_what_clients_know_of_a_message(self):
        arrival = '"04-May-2026 12:00:00 +0000"'
        client = self.log_in()
        client.create("Work")
        client.append("Work", "(Home)", arrival, b"Subject: other\r\n\r\nOther\r\n")
        for number, flags in enumerate([r"(\Seen \Flagged Urgent $Forwarded)", "()"]):
            text = f"Subject: folder 0\r\n\r\nText {number}\r\n"
            client.append("INBOX", flags, arrival, text.encode())
        self.add_rule("Work")
        other = self.log_in()
        self.assertEqual(2, count_in(other, "INBOX"))
        watching = self.log_in()  # it has read the keywords of the folder, maybe in this second
        self.assertEqual([("Other", ["Home"], arrival)], self.known_of_messages(watching, "Work"))
        before = self.known_of_messages(client, "INBOX")
        self.assertEqual(2, len(before))
        self.assertIn("2 done, 0 not done", self.quarrow("apply", self.user, "--yes"))
        other.noop()
        self.assertEqual([b""], other.search(None, "ALL")[1])
        self.assertEqual([], self.known_of_messages(client, "INBOX"))
        found = self.known_of_messages(client, "Work")
        self.assertEqual(sorted([*before, ("Other", ["Home"], arrival)]), found)
        watching.noop()
        self.assertEqual(found, self.known_of_messages(watching, "Work"))

        client.store("1:*", "+FLAGS", "Later")
        self.quarrow("apply", self.user, "--undo", "--yes")
        found = self.known_of_messages(client, "INBOX")
        self.assertEqual([(text, sorted([*flags, "Later"]), date) for text, flags, date in before],
                         found)
        self.assertEqual(1, count_in(client, "Work"))

    def test_keywords_wait_for_each_others_lock(self):
        client = self.log_in()
        client.append("INBOX", "(Urgent)", None, b"Subject: folder 0\r\n\r\nText\r\n")
        client.create("Work")
        client.append("Work", "()", None, b"Subject: other\r\n\r\nOther\r\n")
        self.add_rule("Work")
        folder = self.daemon.folder / "root" / "example.org" / self.user.split("@")[0]
        lock = folder / "Maildir" / ".Work" / "dovecot-uidlist.lock"
        count_in(client, "Work")
        # as a Dovecot that is at work, on this machine, writes it
        lock.write_text(f"{os.getpid()}:{socket.gethostname()}")
        os.chown(lock, folder.stat().st_uid, folder.stat().st_gid)
        with subprocess.Popen([QUARROW, "--root", self.daemon.folder / "root", "apply", self.user,
                               "--yes"], stdout=subprocess.DEVNULL) as applying:
            for _ in range(2):  # attempts to lock, which change the folder
                before = lock.parent.stat().st_mtime_ns
                until(lambda since=before: lock.parent.stat().st_mtime_ns != since,
                      "the lock is asked for")
            self.assertFalse((lock.parent / "dovecot-keywords").exists())
            lock.unlink()
            self.assertEqual(0, applying.wait(PATIENCE))
        self.assertFalse(lock.exists())
        client.store("1", "+FLAGS", "Later")
        self.assertEqual("0 Urgent\n1 Later\n", (lock.parent / "dovecot-keywords").read_text())

    def test_keywords_do_not_wait_for_a_dovecot_that_was_killed(self):
        client = self.log_in()
        client.append("INBOX", "(Urgent)", None, b"Subject: folder 0\r\n\r\nText\r\n")
        self.add_rule("Work")
        client.create("Work")
        folder = self.daemon.folder / "root" / "example.org" / self.user.split("@")[0]
        gone = subprocess.Popen(["true"])
        gone.wait()
        lock = folder / "Maildir" / ".Work" / "dovecot-uidlist.lock"
        lock.write_text(f"{gone.pid}:{socket.gethostname()}")
        os.chown(lock, folder.stat().st_uid, folder.stat().st_gid)
        self.assertIn("1 done, 0 not done", self.quarrow("apply", self.user, "--yes"))
        self.assertEqual("0 Urgent\n", (lock.parent / "dovecot-keywords").read_text())

    def test_the_commands_to_look_with(self):
        self.add_rule("a/b/c")
        self.deliver_to(["a/b/c"])
        ask = functools.partial(self.dovecot.run_documented, user=self.user)
        self.assertIn("a/b/c", ask("doveadm mailbox list").splitlines())
        self.assertIn(f"mailbox: a/b/c\nhdr.subject: {subject_for('a/b/c')}",
                      ask("doveadm fetch"))
        self.assertIn("User quota STORAGE", ask("doveadm quota get"))
        self.assertIn(f"folder   {ask('doveadm user').strip()}\n",
                      self.quarrow("user", "show", self.user))

    def test_a_full_mailbox_is_refused_until_there_is_room(self):
        ask = self.dovecot.answer_to_postfix
        self.assertEqual("DUNNO", ask(self.user))
        self.assertEqual("DUNNO", ask(self.user, LIMIT + LIMIT // 20))
        self.assertEqual(FULL, ask(self.user, LIMIT + LIMIT // 5))
        self.deliver("Large", "\r\n".join(["x" * 70] * (LIMIT // 70)))
        for address in [self.user, self.user.title(), self.user.replace("@", "+lists@")]:
            self.assertEqual(FULL, ask(address), address)
        for address in [WITH_OWN_LIMIT, "stranger@example.org"]:
            self.assertEqual("DUNNO", ask(address), address)

        client = self.log_in()
        stored, = self.daemon.messages(self.user)
        used = math.ceil((len(stored) + stored.count(b"\n")) / 1024)  # with IMAP's line ends
        self.assertEqual([f'"User quota" (STORAGE {used} 1024)'.encode()],
                         client.getquotaroot("INBOX")[1][1])
        answer, (text, *_) = client.append("INBOX", "", None, b"Subject: Draft\r\n\r\nHello\r\n")
        self.assertEqual("NO", answer)
        self.assertIn(b"[OVERQUOTA]", text)
        self.assertEqual(1, count_in(client, "INBOX"))
        client.store("1", "+FLAGS", r"\Deleted")
        client.expunge()
        self.assertEqual("DUNNO", ask(self.user))

    def test_a_user_may_have_a_limit_of_their_own(self):
        ask = self.dovecot.answer_to_postfix
        self.assertEqual("DUNNO", ask(WITH_OWN_LIMIT, 2 * LIMIT))
        self.assertEqual(FULL, ask(WITH_OWN_LIMIT, 6 << 30))


if __name__ == "__main__":
    dovecot.skip_unless_possible()
    unittest.main()
