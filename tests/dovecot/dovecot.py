"""A Dovecot of the tests' own, with the configuration that docs/dovecot.md shows.

Only names, folders and ports are changed, so that the page can't say what does not work. It listens
on the loopback interface, and all its files lie in a folder that the caller gives: the machine's
Dovecot is left alone. It runs as whoever runs the test.
"""
import grp
import imaplib
import os
import pathlib
import pwd
import shlex
import shutil
import socket
import ssl
import subprocess
import sys

import certificate
import documented
from lmtp_server import PATIENCE, free_port, unprivileged_user, until
from set_up import skip

PAGE = pathlib.Path(__file__).parents[2] / "docs" / "dovecot.md"
VERSION = "2.3."
PASSWORD = "secret"
PATH = os.environ["PATH"] + ":/usr/sbin"  # where Debian has dovecot, and not all users look
ENVIRONMENT = {"PATH": PATH, "LC_ALL": "C.UTF-8"}

OWN_PLACES = """
base_dir = {folder}/run
state_dir = {folder}/state
log_path = {folder}/log
listen = 127.0.0.1
auth_failure_delay = 0
service anvil {{
  unix_listener anvil-auth-penalty {{
    mode = 0
  }}
}}
service imap-login {{
  inet_listener imap {{
    port = {port}
  }}
  inet_listener imaps {{
    port = {tls_port}
    ssl = yes
  }}
}}
"""

# Without the superuser's rights there is one user for everything, and nobody changes their root.
ONE_USER = """
default_internal_user = {user}
default_internal_group = {group}
default_login_user = {user}
service anvil {{
  chroot =
}}
service imap-login {{
  chroot =
}}
"""


def skip_unless_possible():
    if not shutil.which("dovecot", path=PATH) or not os.access("/usr/lib/dovecot/imap", os.X_OK):
        skip("Dovecot's IMAP server is absent; it is in Debian's package dovecot-imapd")
    version = subprocess.run(["dovecot", "--version"], check=True, env=ENVIRONMENT, text=True,
                             stdout=subprocess.PIPE).stdout
    if not version.startswith(VERSION):
        skip(f"{PAGE.name} is for Dovecot {VERSION}x, and this is {version}")


def group_of(user):
    return grp.getgrgid(pwd.getpwnam(user).pw_gid).gr_name


class Dovecot:
    """Between start() and stop(), serves the users' folders below `root`, which an unprivileged
    user owns, and which may be hashed. `limit` is the quota of each user; `policy_user`, or else
    whoever runs the test, may ask at `policy_socket`."""

    def __init__(self, folder, root, limit, policy_socket, policy_user=None, is_hashed=False):
        self.folder = folder
        self.folder.chmod(0o755)
        self.policy_socket = policy_socket
        self._settings = folder / "dovecot.conf"
        self._users = folder / "users"
        self.port = free_port()
        self.tls_port = free_port()
        self._process = None
        for name in ["run", "state"]:
            (folder / name).mkdir()
        certificate.make(folder)
        self.run_documented("/dev/null /etc/dovecot/users")
        text = documented.file(PAGE, "/etc/dovecot/dovecot.conf")
        if is_hashed:
            flat, = [line.strip() for line in text.splitlines() if " default_fields = " in line]
            hashed, = documented.lines(PAGE, "default_fields")
            text = documented.replaced(text, {flat: hashed.strip()})
        self._settings.write_text(self._settings_for(text, root, limit, policy_user))

    def _settings_for(self, page, root, limit, policy_user):
        owner = unprivileged_user()
        text = documented.replaced(page, {
            "/etc/ssl/certs/ssl-cert-snakeoil.pem": self.folder / "certificate",
            "/etc/ssl/private/ssl-cert-snakeoil.key": self.folder / "key",
            "/etc/dovecot/users": self._users,
            "/var/spool/quarrow": root,
            "uid=vmail gid=vmail": f"uid={owner} gid={group_of(owner)}",
            "storage=1G": f"storage={limit}",
            "/var/spool/postfix/private/quota-status": self.policy_socket,
            "user = postfix": f"user = {policy_user or pwd.getpwuid(os.geteuid()).pw_name}",
        }) + OWN_PLACES.format(folder=self.folder, port=self.port,
                               tls_port=self.tls_port)
        if os.geteuid() != 0:
            text += ONE_USER.format(user=owner, group=group_of(owner))
        return text

    def run_documented(self, word, user="", answers="", replacements=()):
        """Runs the page's commands that have `word` in them for the user; gives what they print.
        They read `answers`; of each pair in `replacements`, the second text is in them."""
        commands = "\n".join(documented.lines(PAGE, word)).replace("alice@example.org", user)
        commands = commands.replace("/etc/dovecot", shlex.quote(str(self.folder)))
        commands = commands.replace("doveadm", f"doveadm -c {shlex.quote(str(self._settings))}")
        if os.geteuid() != 0:
            commands = commands.replace("-o root -g dovecot ", "")
        for old, new in replacements:
            commands = commands.replace(old, new)
        done = subprocess.run(["sh", "-e", "-c", commands], input=answers, check=False, text=True,
                              env=ENVIRONMENT, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              timeout=PATIENCE)
        assert done.returncode == 0, f"{commands}: {done.stdout}{done.stderr}"
        return done.stdout

    def add_user(self, user, end_of_line=""):
        """Gives a user the password PASSWORD; `end_of_line` is added to their line."""
        self.run_documented("doveadm pw", user, f"{PASSWORD}\n{PASSWORD}\n",
                            [(r"::\n", f"::{end_of_line}\\n")])

    def start(self):
        self._process = subprocess.Popen(["dovecot", "-F", "-c", self._settings],
                                         env=ENVIRONMENT)
        until(self._is_ready, "Dovecot takes connections")

    def _is_ready(self):
        assert self._process.poll() is None, self.log()
        with socket.socket() as probe:
            is_open = probe.connect_ex(("127.0.0.1", self.port)) == 0
        return is_open and self.policy_socket.exists()

    def stop(self):
        sys.stderr.writelines(line for line in self.log().splitlines(keepends=True)
                              if " Info: " not in line)
        self._process.terminate()
        self._process.wait(PATIENCE)

    def log(self):
        path = self.folder / "log"
        return path.read_text(errors="replace") if path.exists() else ""

    def log_in(self, user):
        """A session of the user."""
        client = imaplib.IMAP4("localhost", self.port, PATIENCE)
        client.starttls(ssl.create_default_context(cafile=self.folder / "certificate"))
        client.login(user, PASSWORD)
        return client

    def policy_client(self):
        """A connection for the questions of Postfix; None while Dovecot refuses them, as it does for
        seconds where a process of its could not start in time."""
        client = socket.socket(socket.AF_UNIX)
        client.settimeout(PATIENCE)
        try:
            client.connect(str(self.policy_socket))
            return client
        except ConnectionRefusedError:
            client.close()
            return None

    def answer_to_postfix(self, recipient, size=0):
        """The answer to a question about a recipient, as Postfix asks it."""
        question = {"request": "smtpd_access_policy", "protocol_state": "RCPT",
                    "recipient": recipient, "size": size}
        lines = "".join(f"{name}={value}\n" for name, value in question.items())
        with until(self.policy_client, "Dovecot answers Postfix") as client:
            client.sendall(lines.encode() + b"\n")
            answer = b""
            while not answer.endswith(b"\n\n"):
                part = client.recv(1000)
                assert part, f"Dovecot hung up after {answer}"
                answer += part
        return answer.decode().strip().removeprefix("action=")
