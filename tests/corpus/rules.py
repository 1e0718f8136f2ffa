"""The rules that the mail is filed by, and what they ought to do with a message."""
import dataclasses
import datetime

import reading

SEVERAL_HEADERS = {"to_cc": ("to", "cc"), "from_to_cc": ("from", "to", "cc")}
KIBIBYTE = 1024


@dataclasses.dataclass(frozen=True)
class Rule:
    """One filter, in the words that `quarrow filter add` takes."""

    name: str
    relation: str  # of the tests: "all" or "any"
    tests: tuple
    actions: tuple


# The first that matches decides, so that narrow rules stand in front of wide ones. Of an address
# header that the interpreter can't read only the addresses in it and their names are compared:
# string tests on such headers ask for what stands in names or in well-formed headers.
RULES = (
    Rule("frogs", "all", ("string subject begin_with Die Hasen und die Frösche",
                          "not string subject end_with )"), ("move Fables",)),
    Rule("umlauts", "any", ("case string from contains Skyttä", "string to contains Müller",
                            "string from begin_with David Höhn"), ("copy Umlauts",)),
    Rule("shouting", "all", ("case string subject contains FREE",
                             "not string subject begin_with re:"), ("delete",)),
    Rule("advertised", "any", ("string subject begin_with adv", "string subject end_with !!!",
                               "case string subject contains $",
                               "not address to_cc contains ."), ("copy Bait", "delete")),
    Rule("regulars", "any", ("address from is tomwhore@slack.net",
                             "address from is GARYM@canada.com",
                             "address from contains @evergo."), ("move Fork/Regulars",)),
    Rule("exact case", "all", ("case address to_cc is FoRK@xent.com",), ("move Exact",)),
    Rule("hettinga", "all", ("address from_to_cc is rah@shipwright.com",
                             "size size less 8"), ("copy Bearer", "move Short")),
    Rule("big", "all", ("size size greater 16", "not size size greater 64"), ("move Big",)),
    Rule("first days", "all", ("date zvx-received-date before 2026-01-05",
                               "string list-id contains fork.xent.com"), ("move First",)),
    Rule("one day", "all", ("date zvx-received-date is 2026-02-14",
                            "not string received contains phobos"), ("copy Valentine",)),
    Rule("last days", "all", ("date zvx-received-date after 2026-03-25",
                              "not address to_cc contains freshrpms"), ("move Last",)),
    Rule("packages", "any", ("string list-id is RPM discussion list <rpm-zzzlist.freshrpms.net>",
                             "address to_cc is rpm-zzzlist@freshrpms.net"), ("move Packages",)),
    Rule("bracketed", "any", ("string subject begin_with [ILUG]", "string subject contains [SAt",
                              "string subject end_with ..."), ("move Tagged",)),
    Rule("exmh", "all", ("address to_cc contains exmh-", "case string x-mailer contains exmh"),
         ("copy Exmh", "copy Archive")),
    Rule("questions", "all", ("string subject end_with ?", "not string subject begin_with RE:",
                              "not address from contains yahoo"), ("move Questions",)),
    Rule("groups", "all", ("string to_cc contains yahoogroups.COM>",), ("move Groups",)),
    Rule("irish", "any", ("address from_to_cc contains @linux.ie", "string from end_with .ie>",
                          "string cc end_with .ie"), ("move Ireland", "move Ireland")),
    Rule("replies", "all", ("string subject begin_with Re: ", "not string subject contains wedded",
                            "address from_to_cc contains fork@", "size size less 3"),
         ("move Replies",)),
    Rule("pictures", "any", ("string content-type begin_with TEXT/HTML",
                             "string content-type contains multipart/related"), ("delete",)),
    Rule("addressed", "any", ("address to is zzzz@spamassassin.taint.org",
                              "address cc is zzzz@spamassassin.taint.org"), ("copy Me",)),
)


def folded(text, match_case=False):
    """What is compared: UTF-8, in which bytes.lower() knows the ASCII letters only."""
    octets = text.encode("utf-8")
    return octets if match_case else octets.lower()


def compare(comparator, text, value, match_case):
    """Whether a text is, contains, begins or ends with a value."""
    text, value = folded(text, match_case), folded(value, match_case)
    if comparator == "is":
        return text == value
    if comparator == "contains":
        return value in text
    return text.startswith(value) if comparator == "begin_with" else text.endswith(value)


def string_holds(message, field, comparator, value, match_case):
    exact = match_case and comparator in ("is", "contains")
    return any(compare(comparator, message.headers[name], value, exact)
               for name in SEVERAL_HEADERS.get(field, (field,)) if message.headers.get(name))


def address_holds(message, field, comparator, value, match_case):
    return any(compare(comparator, address, value, match_case)
               for name in SEVERAL_HEADERS.get(field, (field,))
               for address in reading.addresses(message, name))


def size_holds(message, _field, comparator, value, _match_case):
    limit = int(value) * KIBIBYTE
    return message.size > limit if comparator == "greater" else message.size < limit


def date_holds(message, _field, comparator, value, _match_case):
    day = datetime.date.fromisoformat(value)
    if comparator == "is":
        return message.received == day
    return message.received < day if comparator == "before" else message.received > day


TYPES = {"string": string_holds, "address": address_holds, "size": size_holds, "date": date_holds}


def test_holds(text, message):
    """Whether a test, written as for the command, holds for a message."""
    unnegated = text.removeprefix("not ")
    kind, field, comparator, value = unnegated.removeprefix("case ").split(" ", 3)
    match_case = unnegated.startswith("case ")
    return TYPES[kind](message, field, comparator, value, match_case) != text.startswith("not ")


def matches(rule, message):
    joined = all if rule.relation == "all" else any
    return joined(test_holds(test, message) for test in rule.tests)


def first_match(message):
    """The rule that decides about a message; None when it is left alone."""
    return next((rule for rule in RULES if matches(rule, message)), None)


def results(rule):
    """What a rule's actions look like in the command's JSON: filing in front of keeping."""
    filed, kept = [], []
    for method, _, folder in (action.partition(" ") for action in rule.actions):
        filed.append({"action": "fileinto", "mailbox": folder or "Trash"})
        if method == "copy":
            kept.append({"action": "keep"})
    return filed + kept
