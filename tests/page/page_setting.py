"""All that a browser needs to meet the page as users do: the web server with its page, users with
mail, a Dovecot that knows their passwords, and an nginx that speaks TLS."""
import contextlib
import os
import pathlib
import subprocess
import tarfile
import tempfile

import dovecot
import nginx
from lmtp_server import PROGRAM
from web_server import ALICE, BOB, Daemon

PROJECT = pathlib.Path(__file__).parents[2]
CORPUS = PROJECT.parent / "shared" / "corpus" / "mail.tar.xz"
EVERY = 9  # message of the corpus is a user's
NEWEST = 1777896000  # 2026-05-04 12:00 UTC
HOUR = 3600


def example_mail():
    return [path.read_bytes() for path in sorted((PROJECT / "examples" / "mail").glob("*.eml"))]


def without_envelope_line(message):
    """The files of the corpus begin with a line of mbox files, which no mail server keeps."""
    return message.partition(b"\n")[2] if message.startswith(b"From ") else message


def real_mail():
    """Messages of the corpus; of the examples where it is absent, since it does not belong to the
    project."""
    if not CORPUS.exists():
        return example_mail()
    with tarfile.open(CORPUS) as corpus:
        files = [member for member in corpus if member.isfile()]
        return [without_envelope_line(corpus.extractfile(member).read())
                for member in files[::EVERY]]


def fill_inbox(maildir, messages):
    """The first message is the newest, each further one an hour older; every second one was read."""
    for name in ("cur", "new", "tmp"):
        (maildir / name).mkdir(parents=True)
    for number, message in enumerate(messages):
        name = f"{NEWEST - number * HOUR}.M{number}P1.host,S={len(message)}"
        path = maildir / "new" / name if number % 2 == 0 else maildir / "cur" / f"{name}:2,S"
        path.write_bytes(message)


def fill_inboxes(daemon):
    fill_inbox(daemon.home(ALICE) / "Maildir", example_mail())
    fill_inbox(daemon.home(ALICE) / "Maildir" / ".Archive", [])
    fill_inbox(daemon.home(BOB) / "Maildir", real_mail())


class Setting:
    """What runs, and where: `address` of the page, `users` with their passwords, and `command`,
    which begins each call of the `quarrow` command."""

    def __init__(self, stack, quarrow):
        """What it starts is stopped, and what it makes removed, when `stack` is closed."""
        place = pathlib.Path(stack.enter_context(
            tempfile.TemporaryDirectory(prefix="quarrow-page-")))
        place.chmod(0o755)
        self.quarrow = quarrow
        self.users = {"alice": {"user": ALICE, "password": dovecot.PASSWORD},
                      "bob": {"user": BOB, "password": dovecot.PASSWORD}}
        self.imap = self._start_dovecot(stack, place)
        catalogue = place / "fields.xml"
        options = ["--page", PROJECT / "page", "--catalogue", catalogue,
                   "--imap", f"imaps://localhost:{self.imap.tls_port}",
                   "--imap-ca", self.imap.folder / "certificate"]
        if nginx.GROUP:
            options += ["--socket-group", nginx.GROUP]
        self.daemon = Daemon(PROGRAM, *options, prepare=fill_inboxes)
        stack.callback(self.daemon.close)
        self.command = [quarrow, "--root", str(self.daemon.folder / "root")]
        subprocess.run([*self.command, "init", "--catalogue", catalogue],
                       stdout=subprocess.DEVNULL, check=True)
        (place / "nginx").mkdir()
        self.proxy = nginx.Nginx(place / "nginx", self.daemon.socket)
        self.proxy.start()
        stack.callback(self.proxy.stop)
        self.address = self.proxy.address

    def _start_dovecot(self, stack, place):
        folder = place / "dovecot"
        folder.mkdir()
        server = dovecot.Dovecot(folder, place, "1M", folder / "quota-status")
        for user in self.users.values():
            server.add_user(user["user"])
        server.start()
        stack.callback(server.stop)
        return server

    def server(self):
        """What a test needs that looks into the users' folders, or has the web server end and
        begin: its `process`, `command` and `log`, the port of Dovecot, and `quarrow`, the
        command."""
        return {"process": self.daemon.process.pid, "command": self.daemon.command,
                "log": self.daemon.folder / "log", "socket": self.daemon.socket,
                "root": self.daemon.folder / "root", "imap_port": self.imap.tls_port,
                "quarrow": self.quarrow}

    def logs(self):
        return {"web_server": self.daemon.log_text(), "nginx": self.proxy.log()}


@contextlib.contextmanager
def page_setting(quarrow):
    dovecot.skip_unless_possible()
    nginx.skip_unless_possible()
    with contextlib.ExitStack() as stack:
        yield Setting(stack, os.path.abspath(quarrow))
