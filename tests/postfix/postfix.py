"""A Postfix of the tests' own: its configuration, queue and data lie in a folder that the caller
gives, and it listens on a Unix socket only. The machine's Postfix, if there is one, is left alone.
"""
import os
import re
import select
import shutil
import smtplib
import socket
import subprocess
import time

PATIENCE = 240  # seconds until something that must happen counts as missing

# Postfix tries again after a second what it otherwise leaves alone for five minutes.
SETTINGS = """compatibility_level = 3.6
queue_directory = {folder}/queue
data_directory = {folder}/data
mail_owner = postfix
setgid_group = postdrop
maillog_file = {folder}/maillog
maillog_file_prefixes = {folder}
myhostname = mx.example.org
mydestination =
mynetworks = 127.0.0.0/8
inet_interfaces = loopback-only
inet_protocols = ipv4
alias_maps =
alias_database =
local_recipient_maps =
smtpd_relay_restrictions = permit_mynetworks, reject
smtpd_client_connection_count_limit = 0
virtual_mailbox_domains = example.org
virtual_transport = lmtp:unix:{socket}
default_transport = error:only example.org is served
minimal_backoff_time = 1s
maximal_backoff_time = 1s
queue_run_delay = 1s
transport_retry_time = 1s
lmtp_destination_concurrency_limit = 10
"""

# Without pickup, Postfix counts as not running.
SERVICES = """smtp unix n - n - - smtpd
pickup unix n - n 60 1 pickup
cleanup unix n - n - 0 cleanup
qmgr unix n - n 300 1 qmgr
rewrite unix - - n - - trivial-rewrite
bounce unix - - n - 0 bounce
defer unix - - n - 0 bounce
trace unix - - n - 0 bounce
verify unix - - n - 1 verify
flush unix n - n 1000? 0 flush
proxymap unix - - n - - proxymap
showq unix n - n - - showq
error unix - - n - - error
retry unix - - n - - error
lmtp unix - - n - - lmtp
anvil unix - - n - 1 anvil
postlog unix-dgram n - n - 1 postlogd
"""

MESSAGE_ID = re.compile(r"postfix/cleanup\[\d+\]: (\w+): message-id=(.*)$")
ATTEMPT = re.compile(r"postfix/(?:lmtp|error|retry)\[\d+\]: (\w+): to=<([^>]*)>,.* dsn=([\d.]+), "
                     r"status=(\w+) \((.*)\)$")
REMOVED = re.compile(r"postfix/qmgr\[\d+\]: (\w+): removed$")


class Attempt:
    """One try to deliver one message to one recipient."""

    def __init__(self, message, recipient, code, status, text):
        self.message, self.recipient = message, recipient
        self.code, self.status, self.text = code, status, text


class Postfix:
    """Between start() and stop(), takes mail for example.org and hands it to the socket `lmtp`.
    `launcher`: words in front of the command that starts it. After `silence` seconds without news
    it is made to look through its queues."""

    def __init__(self, folder, lmtp, launcher=(), silence=3):
        self.folder = folder
        self._launcher, self._silence = launcher, silence
        self.attempts = []
        self._waiting = {}  # messages in the queue, by their names there
        self._seen = {}  # all that ever were
        self._rest = b""
        self._last_news = time.monotonic()
        (folder / "maillog").touch()
        (folder / "config").mkdir()
        (folder / "queue").mkdir()
        (folder / "data").mkdir(mode=0o700)
        shutil.chown(folder / "data", "postfix", "postfix")
        settings = SETTINGS.format(folder=folder, socket=lmtp)
        (folder / "config" / "main.cf").write_text(settings)
        (folder / "config" / "master.cf").write_text(SERVICES)
        self._tail = None

    def start(self):
        self._tail = subprocess.Popen(["tail", "-n", "+1", "-F", self.folder / "maillog"],
                                      stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self._control("start")

    def stop(self):
        self._control("stop")
        self._tail.terminate()
        self._tail.wait()
        self._tail.stdout.close()

    def configure(self, arguments):
        """Has postconf(1) change settings, before start()."""
        subprocess.run(["postconf", "-c", self.folder / "config", *arguments], check=True)

    def connect(self):
        """A conversation with its SMTP server."""
        client = smtplib.SMTP()
        client.sock = socket.socket(socket.AF_UNIX)
        client.sock.settimeout(PATIENCE)
        client.sock.connect(str(self.folder / "queue" / "public" / "smtp"))
        client.getreply()
        client.ehlo("client.example.net")
        return client

    def _control(self, command):
        done = subprocess.run([*self._launcher, "postfix", "-c", self.folder / "config", command],
                              check=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, timeout=PATIENCE)
        if done.returncode != 0:
            raise AssertionError(f"postfix {command}: {done.stdout}{self.log()}")

    def log(self):
        return (self.folder / "maillog").read_text(errors="replace")

    def source(self, *arguments):
        """A running smtp-source, which sends into this Postfix."""
        server = self.folder / "queue" / "public" / "smtp"
        return subprocess.Popen(["smtp-source", *map(str, arguments), f"unix:{server}"],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def send(self, *arguments):
        """Has smtp-source send something, and waits until that is done."""
        source = self.source(*arguments)
        with source.stdout:
            if source.wait(PATIENCE) != 0:
                raise AssertionError(source.stdout.read().decode())

    def follow(self, seconds):
        """Takes in what Postfix has logged; waits for that at most `seconds`."""
        if not select.select([self._tail.stdout], [], [], seconds)[0]:
            return
        self._last_news = time.monotonic()
        lines = (self._rest + os.read(self._tail.stdout.fileno(), 1 << 20)).split(b"\n")
        self._rest = lines.pop()
        for line in lines:
            self._take(line.decode(errors="replace"))

    def _take(self, line):
        if match := MESSAGE_ID.search(line):
            self._waiting[match[1]] = self._seen[match[1]] = match[2]
        elif match := ATTEMPT.search(line):
            self.attempts.append(Attempt(self._seen[match[1]], *match.groups()[1:]))
        elif match := REMOVED.search(line):
            self._waiting.pop(match[1], None)

    def messages(self):
        """How many messages it has taken so far, its own included."""
        return len(self._seen)

    def follow_until(self, condition, what, step=None):
        """Until `condition()` holds, calls `step`, which calls follow(), or that itself."""
        end = time.monotonic() + PATIENCE
        while not condition():
            if time.monotonic() > end:
                raise AssertionError(f"in vain: {what}; the log ends\n{self.log()[-4000:]}")
            step() if step else self.follow(1)
            self._look_again()

    def _look_again(self):
        """Sends the queue manager through its queues when nothing has happened for long. A message
        that it would try again while the last attempt has not let go of it goes among the new ones,
        which it looks through every five minutes, or when more mail comes."""
        if time.monotonic() - self._last_news > self._silence:
            self._control("flush")
            self._last_news = time.monotonic()

    def is_empty(self):
        return not self._waiting
