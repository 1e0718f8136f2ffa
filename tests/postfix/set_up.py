"""What both tests need: the folder, users with rules, the LMTP server, Postfix, and the load."""
import collections
import contextlib
import itertools
import os
import pathlib
import pwd
import re
import shutil
import signal
import subprocess
import sys
import tempfile

import postfix
import users

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from server_process import children  # noqa: E402

SERVICE_USER = "nobody"
WORKERS = 8
SESSIONS = 10  # in which one kind of mail is sent at a time

# A message that lies in a mailbox.
Stored = collections.namedtuple("Stored", "user folder message subject")


def skip(reason):
    print("skipped: " + reason)
    sys.exit(77)


def skip_unless_possible():
    if os.geteuid() != 0:
        skip("only the superuser can start Postfix")
    for program in ["postfix", "smtp-source", "postqueue"]:
        if shutil.which(program) is None:
            skip(f"{program} is not there")
    for name in ["postfix", SERVICE_USER]:
        with contextlib.suppress(KeyError):
            pwd.getpwnam(name)
            continue
        skip(f"there is no user {name}")


class LmtpServer:
    """quarrow-lmtpd on a socket that Postfix may open."""

    def __init__(self, program, folder, root):
        self.socket = folder / "lmtp"
        self._log = folder / "lmtpd.log"
        spool = folder / "spool"
        spool.mkdir()
        shutil.chown(spool, SERVICE_USER)
        with open(self._log, "wb") as log:
            self._process = subprocess.Popen(
                [program, "--user", SERVICE_USER, "--root", root, "--spool", spool,
                 "--listen", self.socket, "--socket-group", "postfix",
                 "--workers", str(WORKERS), "--host-name", "mx.example.org",
                 # longer than the tests' own work between two looks at the helpers
                 "--evaluation-time", "60"],
                stdout=log, stderr=log)

    def log(self):
        return self._log.read_text(errors="replace")

    def complaints(self):
        """The lines of its log that are not for information only."""
        return [line for line in self.log().splitlines(keepends=True) if " info: " not in line]

    def workers(self):
        return children(self._process.pid)

    def helpers(self):
        return list(itertools.chain.from_iterable(map(children, self.workers())))

    def stop(self):
        """Its exit status."""
        self._process.terminate()
        return self._process.wait(postfix.PATIENCE)

    def kill(self):
        self._process.kill()
        self._process.wait()


class MailSystem:
    """Postfix and quarrow-lmtpd over a root with the users' folders."""

    def __init__(self, quarrow, lmtpd, folder, configure):
        self.folder = folder
        self.root = folder / "root"
        folder.chmod(0o755)
        users.write_rules(quarrow, self.root)
        self.own(self.root)
        self.lmtp = LmtpServer(lmtpd, folder, self.root)
        (folder / "postfix").mkdir()
        self.postfix = postfix.Postfix(folder / "postfix", self.lmtp.socket)
        configure(self.postfix)
        self.postfix.start()
        self.sent = {}  # kinds of mail by their subjects

    @staticmethod
    def own(path):
        for each in [path, *path.rglob("*")]:
            shutil.chown(each, SERVICE_USER)

    def close(self):
        self.postfix.stop()
        self.lmtp.kill()

    def send(self, rounds, watch):
        """Sends `rounds` kinds of mail, each user getting one message of each; every third kind in
        messages with two recipients. `watch` is called all the while. The number of messages."""
        count = 0
        for number, mail in enumerate(itertools.islice(users.kinds_of_mail(), rounds)):
            subject = f"{mail.subject} {number}"
            self.sent[subject] = mail
            recipients = 2 if number % 3 == 2 else 1
            messages = len(users.USERS) // recipients
            count += messages
            source = self.postfix.source(
                "-d", "-s", SESSIONS, "-m", messages, "-r", recipients, "-N", "-l", mail.size,
                "-S", subject, "-f", mail.sender, "-t", "user@example.org")
            while source.poll() is None:
                watch()
            with source.stdout:
                if source.returncode != 0:
                    raise AssertionError(source.stdout.read().decode())
        return count

    def stored(self):
        """Everything that lies in the users' mailboxes, each file checked for being whole."""
        return [read_stored(user, path, self.sent)
                for user in users.USERS
                for path in sorted((users.home(self.root, user) / "Maildir").glob("**/new/*"))]


def read_stored(user, path, sent):
    content = path.read_bytes()
    size = re.search(r",S=(\d+)$", path.name)
    if int(size[1]) != len(content):
        raise AssertionError(f"{path}: {len(content)} bytes")
    header, body = content.split(b"\n\n", 1)
    fields = dict(re.findall(r"^(Subject|Message-I[dD]): (.*)$", header.decode(), re.MULTILINE))
    mail = sent[fields["Subject"]]
    if abs(len(body) - mail.size) > mail.size / 40 + 4:  # line ends are shorter here
        raise AssertionError(f"{path}: a body of {len(body)} bytes, {mail.size} were sent")
    folder = path.parent.parent.name
    return Stored(user, "" if folder == "Maildir" else folder,
                  fields.get("Message-Id") or fields.get("Message-ID"), fields["Subject"])


@contextlib.contextmanager
def mail_system(prepare=lambda folder: None, configure=lambda postfix: None):
    """The system for the programs on the command line: QUARROW QUARROW_LMTPD full|reduced.
    `prepare` is called with its folder before anything is in it, `configure` with Postfix before
    it starts."""
    skip_unless_possible()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("told to stop"))  # cleaning up all the same
    quarrow, lmtpd = map(os.path.abspath, sys.argv[1:3])
    with tempfile.TemporaryDirectory(prefix="quarrow-postfix-") as name:
        folder = pathlib.Path(name)
        with contextlib.ExitStack() as stack:
            cleanup = prepare(folder)
            if cleanup is not None:
                stack.callback(cleanup)
            system = MailSystem(quarrow, lmtpd, folder, configure)
            stack.callback(system.close)
            yield system


def is_full_load():
    return sys.argv[3] == "full"
