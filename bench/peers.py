"""Common parts of the comparisons with other mail programs: rules, messages, configuration."""

import os
import pathlib
import pwd
import re
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77
DOMAIN = "example.org"
SERVICE_USER = "nobody"  # owns the mail where the comparison runs as the superuser
EXAMPLE_MAIL = pathlib.Path(__file__).resolve().parent.parent / "examples" / "mail"
NUMBER_FIELD = b"X-Comparison-Number"  # in front of each message, by which it is found again
RULES = 20
TIME_LIMIT = 600  # seconds, against hanging only

# The tests as the command takes them, and as maildrop has them. The shares are those of real rules:
# in ten, four look at the subject's words, two at addresses, two at how the subject begins. No
# value has characters that a regular expression escapes: interpreters read a backslash in
# different ways.
SUBJECT = ("string subject contains {0} offer", r"/^Subject:.*{0} offer/")
BEGINNING = ("string subject begin_with {0} news", r"/^Subject:[ \t]*{0} news/")
ADDRESS = ("address from_to_cc contains {0}@example.net", r"/^(From|To|Cc):.*{0}@example\.net/")
LIST = ("string list-id is <{0}.example.net>", r"/^List-Id:[ \t]*<{0}\.example\.net>[ \t]*$/")
SIZE = ("size size greater 900000", "$SIZE > 921600000")
MIXTURE = (SUBJECT, SUBJECT, BEGINNING, SUBJECT, ADDRESS, SIZE, SUBJECT, BEGINNING, LIST, ADDRESS)
# The only one that real mail passes: lists are what people file most.
LAST = ("address to_cc contains list", "/^(To|Cc):.*list/")


def rules(count=RULES):
    """(test, maildrop's test, folder) for each rule, in their order."""
    for number in range(count - 1):
        test, expression = MIXTURE[number % len(MIXTURE)]
        word = f"qx{number}"
        yield test.format(word), expression.format(word), f"Folders/F{number}"
    yield LAST + ("Lists",)


def skip_without(**packages):
    """Ends the script, saying why, when a program is not there: skip_without(package="path")."""
    for package, program in packages.items():
        if not shutil.which(program):
            print(f"skipped: {program} is absent; it is in Debian's package "
                  f"{package.replace('_', '-')}")
            sys.exit(SKIPPED)


def skip_without_root():
    if os.geteuid() != 0:
        print("skipped: must be the superuser's, since the servers change their users")
        sys.exit(SKIPPED)


def service_user():
    return pwd.getpwnam(SERVICE_USER) if os.geteuid() == 0 else pwd.getpwuid(os.geteuid())


def give_away(folder):
    """Makes everything in a folder the service user's."""
    if os.geteuid() != 0:
        return
    user = service_user()
    for path in [folder, *folder.rglob("*")]:
        os.chown(path, user.pw_uid, user.pw_gid, follow_symlinks=False)


def temporary_folder():
    """A folder that others may look through; on the disk that TMPDIR says."""
    folder = tempfile.TemporaryDirectory(prefix="quarrow-peers-")
    os.chmod(folder.name, 0o755)
    return folder


def clean_environment(home):
    """Without what would make the dynamic linker search in more places."""
    return {"PATH": os.environ["PATH"], "HOME": str(home), "LC_ALL": "C.UTF-8"}


class Quarrow:
    """The command of a build folder, and users with the same rules below a root of their own."""

    def __init__(self, build, folder):
        self.command = str(build.resolve() / "apps" / "quarrow" / "quarrow")
        self.server = str(build.resolve() / "apps" / "quarrow-lmtpd" / "quarrow-lmtpd")
        self.root = folder / "quarrow"
        self.root.mkdir()
        self.run("init", "--catalogue", self.root / "fields.xml")

    def run(self, *arguments):
        return subprocess.run([self.command, "--root", self.root, *arguments], check=True,
                              env=clean_environment(self.root), stdout=subprocess.PIPE,
                              timeout=TIME_LIMIT).stdout

    def home(self, user):
        return self.root / DOMAIN / user

    def script(self, user):
        return self.home(user) / ".delivery_filter"

    def add_user(self, user, count=RULES):
        self.run("user", "add", f"{user}@{DOMAIN}")
        for number, (test, _, folder) in enumerate(rules(count)):
            self.run("filter", "add", f"{user}@{DOMAIN}", "--name", f"Rule number {number}",
                     "--if", test, "--then", f"move {folder}")


def maildrop_filter(maildir, count=RULES):
    """The rules in maildrop's language."""
    lines = [f"if ({expression})\n{{\n  to \"{maildir}/.{folder.replace('/', '.')}/\"\n}}\n"
             for _, expression, folder in rules(count)]
    return "".join(lines) + f"to \"{maildir}/\"\n"


def make_maildrop_folders(maildir, count=RULES):
    """maildrop makes no folders."""
    for name in ["", *(folder for _, _, folder in rules(count))]:
        for part in ("cur", "new", "tmp"):
            place = maildir / ("." + name.replace("/", ".") if name else "") / part
            place.mkdir(parents=True)


def numbered(number, text):
    return NUMBER_FIELD + b": %d\r\n" % number + text


def messages_of(folder):
    """The files of a folder in a mail server's form: CRLF, no mbox line, numbers in front.

    Messages that a mail server would not pass on are left out: lines above 998 bytes, zero bytes.
    """
    texts = []
    for path in sorted(path for path in folder.rglob("*") if path.is_file()):
        text = re.sub(rb"\r\n|\r|\n", b"\r\n", path.read_bytes())
        text = re.sub(rb"\AFrom [^\r]*\r\n", b"", text)
        if text and b"\0" not in text and max(map(len, text.split(b"\r\n"))) <= 998:
            texts.append(numbered(len(texts), text))
    return texts


def filed(maildir):
    """Where the messages of a Maildir are: {number: folder}, "" for the inbox."""
    found = {}
    for kind in ("new", "cur"):
        for path in maildir.glob(f"**/{kind}/*"):
            number = re.search(rb"^" + NUMBER_FIELD + rb": (\d+)", path.read_bytes(), re.MULTILINE)
            if number:
                found[int(number[1])] = str(path.parent.parent.relative_to(maildir)).strip(".")
    return found


def check_verdicts(reference, **others):
    """Ends the script when a program files a message elsewhere than the reference."""
    for name, verdicts in others.items():
        differing = [number for number in reference.keys() | verdicts.keys()
                     if reference.get(number) != verdicts.get(number)]
        if differing:
            first = min(differing)
            sys.exit(f"{name}: {len(differing)} other verdicts, the first about message {first}: "
                     f"{verdicts.get(first)!r} instead of {reference.get(first)!r}")
    away = sum(1 for folder in reference.values() if folder)
    print(f"equal verdicts about {len(reference)} messages, {away} of them filed by a rule")


DOVECOT = """
base_dir = {folder}/run
state_dir = {folder}/state
log_path = {folder}/log
protocols = lmtp
ssl = no
disable_plaintext_auth = no
first_valid_uid = 1
first_valid_gid = 1
mail_uid = {uid}
mail_gid = {gid}
mail_home = {folder}/home/%d/%n
mail_location = maildir:~/Maildir
mail_fsync = optimized
lda_mailbox_autocreate = yes
postmaster_address = postmaster@example.org
hostname = mx.example.org
namespace inbox {{
  inbox = yes
  separator = /
}}
passdb {{
  driver = static
  args = nopassword=y
}}
userdb {{
  driver = static
  args = uid={uid} gid={gid} home={folder}/home/%d/%n allow_all_users=yes
}}
protocol lmtp {{
  mail_plugins = sieve
}}
protocol lda {{
  mail_plugins = sieve
  log_path = /dev/stderr
}}
plugin {{
  sieve = file:~/sieve;active=~/.dovecot.sieve
}}
service lmtp {{
  process_min_avail = {processes}
  unix_listener {folder}/lmtp {{
    mode = 0666
  }}
}}
"""


class Dovecot:
    """A Dovecot with its own configuration, state and sockets; nothing of the system's is used."""

    def __init__(self, folder, processes=1):
        self.folder = folder / "dovecot"
        self.folder.mkdir()
        for name in ("run", "state", "home"):
            (self.folder / name).mkdir()
        self.configuration = self.folder / "dovecot.conf"
        user = service_user()
        self.configuration.write_text(DOVECOT.format(
            folder=self.folder, uid=user.pw_uid, gid=user.pw_gid, processes=processes))
        self.socket = str(self.folder / "lmtp")
        self.process = None

    def home(self, user):
        return self.folder / "home" / DOMAIN / user

    def add_user(self, user, script):
        """A user with this script, compiled ahead, as Dovecot's manual recommends."""
        home = self.home(user)
        home.mkdir(parents=True)
        shutil.copyfile(script, home / ".dovecot.sieve")
        subprocess.run(["sievec", "-c", self.configuration, home / ".dovecot.sieve"], check=True,
                       env=clean_environment(home), timeout=TIME_LIMIT)

    def start(self):
        give_away(self.folder / "home")
        self.process = subprocess.Popen(["dovecot", "-F", "-c", self.configuration],
                                        env=clean_environment(self.folder))

    def stop(self):
        if self.process:
            self.process.terminate()
            self.process.wait(TIME_LIMIT)
