"""Fifty users with different rules, the mail that they get, and where the rules want it.

Each user is in one of the groups below. What a group's rules do is written down twice: as options
of `quarrow filter add`, and as a function that was derived from their meaning.
"""
import collections
import itertools
import subprocess

USERS = [f"{number}user@example.org" for number in range(1, 51)]  # as smtp-source counts them
SENDERS = ["boss@example.net", "shop@ads.example.com", "list@example.com"]
SUBJECTS = ["Report of today", "invoice enclosed", "Hello there"]
SIZES = [200, 6000, 60000]  # bytes; rules tell below from above 20 KiB

Mail = collections.namedtuple("Mail", "sender subject size")
HEAVY = Mail("heavy@example.com", "Heavy", 6)  # no rule is about it


def by_subject(mail):
    if mail.subject.startswith("Report"):
        return [".Reports"]
    return [".Bills.2026"] if "invoice" in mail.subject else [""]


def by_sender(mail):
    if mail.sender == "boss@example.net":
        return [".Boss"]
    return [".Trash"] if "ads.example.com" in mail.sender else [""]


def by_size(mail):
    if mail.size > 20 * 1024:
        return [".Large"]
    return ["", ".Small"] if mail.subject.startswith("Hello") else [""]


def by_several(mail):
    if mail.sender == "list@example.com" and mail.size < 20 * 1024:
        return [".Lists.v1"]
    return [".Work"] if "invoice" in mail.subject or mail.sender == "boss@example.net" else [""]


def without_rules(_):
    return [""]


Group = collections.namedtuple("Group", "filters wanted")
GROUPS = [
    Group([["--if", "string subject begin_with Report", "--then", "move Reports"],
           ["--if", "string subject contains INVOICE", "--then", "move Bills/2026"]], by_subject),
    Group([["--if", "address from is boss@example.net", "--then", "move Boss"],
           ["--if", "address from contains ads.example.com", "--then", "delete"]], by_sender),
    Group([["--if", "size size greater 20", "--then", "move Large"],
           ["--if", "string subject begin_with Hello", "--then", "copy Small"]], by_size),
    Group([["--all", "--if", "address from is list@example.com", "--if", "size size less 20",
            "--then", "move Lists/v1"],
           ["--any", "--if", "string subject contains invoice",
            "--if", "address from is boss@example.net", "--then", "move Work"]], by_several),
    Group([], without_rules),
]


def group_of(user):
    return GROUPS[USERS.index(user) % len(GROUPS)]


def wanted(user, mail):
    """The Maildir++ folders that `mail` belongs in, "" for the inbox."""
    return group_of(user).wanted(mail)


def kinds_of_mail():
    """Every mix of sender, subject and size, again and again."""
    return itertools.cycle(Mail(*mix) for mix in itertools.product(SENDERS, SUBJECTS, SIZES))


def home(root, user):
    local, domain = user.split("@")
    return root / domain / local


def write_rules(quarrow, root):
    """Makes every user's folder and commits their rules with the command `quarrow`."""
    command = [quarrow, "--root", root]
    subprocess.run([*command, "init", "--catalogue", root / "fields.xml"], check=True,
                   stdout=subprocess.DEVNULL)
    for user in USERS:
        subprocess.run([*command, "user", "add", user], check=True, stdout=subprocess.DEVNULL)
        for number, options in enumerate(group_of(user).filters):
            subprocess.run([*command, "filter", "add", user, "--name", f"Rule {number}", *options],
                           check=True, stdout=subprocess.DEVNULL)
