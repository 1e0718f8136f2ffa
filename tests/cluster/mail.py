"""The users, what is sent to them, and where it must be afterwards."""
import collections
import re

USERS = [f"{number}user@example.org" for number in range(1, 301)]  # as smtp-source counts them
SENDER = "list@example.com"

Delivery = collections.namedtuple("Delivery", "user message")


def has_rule(user):
    """Whether the user has the rule below; every second one does."""
    return USERS.index(user) % 2 == 0


RULE = ["--name", "Reports", "--if", "string subject begin_with Report", "--then", "move Reports"]


def subject_of(number):
    """That of the round of this number."""
    return f"{'Report' if number % 2 == 0 else 'Hello'} {number}"


def folder_for(user, subject):
    return ".Reports" if has_rule(user) and subject.startswith("Report") else ""


def stored_for(root, user):
    """The messages of a user below `root`: subject and Maildir++ folder of each copy."""
    local, domain = user.split("@")
    found = collections.defaultdict(list)
    for path in sorted((root / domain / local / "Maildir").glob("**/new/*")):
        header = path.read_text(errors="replace").split("\n\n", 1)[0]
        fields = dict(re.findall(r"^(Subject|Message-I[dD]): (.*)$", header, re.MULTILINE))
        folder = path.parent.parent.name
        identifier = fields.get("Message-Id") or fields.get("Message-ID")
        found[Delivery(user, identifier)].append(
            (fields["Subject"], "" if folder == "Maildir" else folder))
    return found


class Judgement:
    """What Postfix was told, beside what is on the disks."""

    def __init__(self, attempts, stored, expected):
        self.faults = []
        self.doubles = 0
        self.deliveries = expected
        by_delivery = collections.defaultdict(list)
        for attempt in attempts:
            by_delivery[Delivery(attempt.recipient, attempt.message)].append(attempt)
        if len(by_delivery) != expected:
            self.faults.append(f"{len(by_delivery)} deliveries instead of {expected}")
        for delivery, tries in by_delivery.items():
            self._judge(delivery, tries, stored.get(delivery, []))
        self.faults += [f"{delivery}: on a disk, and Postfix knows nothing of it"
                        for delivery in stored.keys() - by_delivery.keys()]

    def _judge(self, delivery, tries, copies):
        *before, last = tries
        if last.status != "sent" or any(each.status != "deferred" for each in before):
            self.faults.append(f"{delivery}: {[(each.status, each.text) for each in tries]}")
        if not copies:
            self.faults.append(f"{delivery}: LOST, though Postfix was told that it is stored")
        for subject, folder in copies:
            if folder != folder_for(delivery.user, subject):
                self.faults.append(f"{delivery}: {subject} in {folder or 'the inbox'}")
        self.doubles += max(len(copies) - 1, 0)
        # A copy too many has its reason: a connection that was lost while the end was answered.
        if len(copies) > 1 + sum(each.code.startswith("4.4.") for each in before):
            self.faults.append(f"{delivery}: {len(copies)} copies after "
                               f"{[each.text for each in before]}")
