#!/usr/bin/env python3
"""A Postfix and a Dovecot that are set up as docs/dovecot.md says refuse mail for a full mailbox
while the client is connected: postfix_test.py QUARROW_LMTPD
"""
import pathlib
import shlex
import tempfile
import unittest

import documented
import dovecot
import run_strangers
import set_up
from lmtp_server import USERS, DaemonTestCase
from postfix import Postfix

LIMIT = 1 << 16  # bytes that a user may have


class PostfixTest(DaemonTestCase):
    def start_all(self):
        place = pathlib.Path(self.enterContext(
            tempfile.TemporaryDirectory(prefix="quarrow-dovecot-")))
        place.chmod(0o755)
        daemon = self.start("--socket-group", "postfix",
                            change=lambda daemon: daemon.folder.chmod(0o711))
        (place / "postfix").mkdir()
        postfix = Postfix(place / "postfix", daemon.socket)
        run_strangers.configure_as_documented(postfix)
        for line in documented.lines(dovecot.PAGE, "postconf"):
            postfix.configure(shlex.split(line)[1:])
        postfix.start()
        self.addCleanup(postfix.stop)
        (place / "dovecot").mkdir()
        imap = dovecot.Dovecot(place / "dovecot", daemon.folder / "root", f"{LIMIT}B",
                               postfix.folder / "queue" / "private" / "quota-status", "postfix")
        for user in USERS:
            imap.add_user(user)
        imap.start()
        self.addCleanup(imap.stop)
        return daemon, postfix, imap

    def test_refuses_mail_for_a_full_mailbox(self):
        daemon, postfix, imap = self.start_all()
        full, other, third = USERS[:3]
        self.assertEqual(250, run_strangers.answer_to(postfix, full)[0])
        large = "\r\n".join(["x" * 70] * (LIMIT // 70))
        with self.connect(daemon) as client:
            self.assertEqual(250, client.deliver([full], "other", body=large)[0][0])

        code, text = run_strangers.answer_to(postfix, full)
        self.assertEqual(552, code)
        self.assertRegex(text, "^5.2.2 .*Mailbox is full")
        refused = run_strangers.send(postfix, [full, other])
        self.assertEqual([full], list(refused))
        postfix.follow_until(lambda: daemon.messages(other) and postfix.is_empty(),
                             "the message is stored, and the queue is empty")
        self.assertEqual(1, len(daemon.messages(full)))
        self.assertNotIn("status=bounced", postfix.log())

        imap.stop()
        self.assertEqual(250, run_strangers.answer_to(postfix, third)[0])


if __name__ == "__main__":
    set_up.skip_unless_possible()
    dovecot.skip_unless_possible()
    unittest.main()
