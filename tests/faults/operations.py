"""The commands that write, and what may be there after a fault in one of them."""

import dataclasses
import os
import re
import typing

from setting import USER, add_rule, done, home, message, run

HISTORY = ".delivery_filter.history"
JOURNAL = ".delivery_journal"
FIELDS = ".delivery_filter.custom.xml"
LOCK = ".quarrow_lock"
HASH = "63/84"  # of USER
FILES = ("fields.xml", "user.tar")  # arguments that stand for files in the root
IMPORT = ("user", "import", USER, "user.tar")
TIMES_AND_NAMES = re.compile(rb"^(state \w+) \d+ (\w+ \d+) .*", re.MULTILINE)
BODY = "".join(f"line {number}\n" for number in range(20000))


@dataclasses.dataclass(frozen=True)
class Ending:
    """How a command with a fault ended."""
    status: int  # of its exit; negative when it was killed
    complaint: bytes  # on standard error


def is_told(ending):
    """A command that fails says why."""
    return ending.status <= 0 or bool(ending.complaint)


class Rules:
    """A change of rules: document, script and history are the old ones or the new ones."""
    listing = ("filter", "list", USER, "--format", "json")

    def state(self, root):
        """Once the next process was there."""
        listed = run(root, *self.listing)
        files = {path.name: path.read_bytes() for path in home(root).iterdir() if path.is_file()}
        files.pop(".delivery_filter.lock", None)
        if HISTORY in files:
            files[HISTORY] = TIMES_AND_NAMES.sub(rb"\1 \2", files[HISTORY])
        return {"listing": (listed.returncode, listed.stdout), **files}

    def faults(self, root, ending, old, new):
        """What is wrong; nothing where all is well."""
        yield from wrong_script(root, ending, old, new)
        state = self.state(root)
        is_new = state == new or ending.complaint and without_history(state) == without_history(new)
        if not is_new and state != old:
            yield f"neither old nor new: {difference(state, old)}; {difference(state, new)}"
        if ending.status == 0 and not is_new:
            yield "nothing changed, and the exit status is 0"
        if not is_told(ending):
            yield "no complaint"


def wrong_script(root, ending, old, new):
    """Before the next process: mail may come in at any moment."""
    script = home(root) / ".delivery_filter"
    found = script.read_bytes() if script.exists() else None
    possible = [new.get(script.name)] if ending.status == 0 else \
        [old.get(script.name), new.get(script.name)]
    if found not in possible:
        yield f"another script: {found}"


def without_history(state):
    return {name: content for name, content in state.items() if name != HISTORY}


def difference(state, other):
    return sorted(name for name in state.keys() | other.keys()
                  if state.get(name) != other.get(name))


class Fields(Rules):
    """A change of the user's fields."""
    listing = ("field", "list", USER, "--format", "json")

    def state(self, root):
        state = super().state(root)
        state.pop(FIELDS + ".new", None)  # of a process that was killed: the next change removes it
        return state


class Users(Rules):
    """A user's folder is made."""

    def state(self, root):
        return {"listing": done(root, "user", "list")}


class Form(Rules):
    """A user's folder changes its form: there is one folder, with all that was in it."""

    def state(self, root):
        folders = [home(root), home(root).parent / "%" / HASH / home(root).name]
        return {"listing": done(root, *self.listing),
                **{str(path.relative_to(root)): path.is_file() and path.read_bytes()
                   for folder in folders for path in folder.glob("**/*")}}

    def faults(self, root, ending, old, new):
        state = self.state(root)
        if state not in (old, new):
            yield f"neither old nor new: {difference(state, old)}; {difference(state, new)}"
        if ending.status == 0 and state != new:
            yield "not done, and the exit status is 0"
        if not is_told(ending):
            yield "no complaint"


class Lock(Rules):
    """A user is locked."""

    def state(self, root):
        state = super().state(root)
        state.pop(LOCK + ".new", None)  # of a process that was killed: the next lock removes it
        return state


class Import(Rules):
    """A user comes from another machine: there is no user, or the whole user."""

    def state(self, root):
        return {"listing": done(root, "user", "list"),
                **{str(path.relative_to(home(root))): path.is_file() and path.read_bytes()
                   for path in home(root).glob("**/*")}}

    def faults(self, root, ending, old, new):
        state = self.state(root)
        if state not in (old, new):
            yield f"a part of a user: {difference(state, new)}"
        if ending.status == 0 and state != new:
            yield "not done, and the exit status is 0"
        if not is_told(ending):
            yield "no complaint"
        if state == old:
            run(root, *IMPORT[:-1], str(root / IMPORT[-1]))
            if self.state(root) != new or [*home(root).parent.glob(".importing-*")]:
                yield "the next import does not make the user, or leaves something"


class Configuration(Rules):
    """A change in the database of the configuration."""

    def state(self, root):
        return {"listing": done(root, "config", "list")}


class Beginning(Rules):
    """The configuration is made: what was begun is completed by the next attempt."""

    def state(self, root):
        done(root, "init", "--catalogue", root / "fields.xml")
        return {"listing": done(root, "config", "list"),
                "fields": (root / "fields.xml").read_bytes()}


def stored(root):
    """[(folder, content)] of the messages that mail clients see."""
    maildir = home(root) / "Maildir"
    return sorted((str(path.parent.parent.relative_to(maildir)), path.read_bytes())
                  for part in ("new", "cur") for path in maildir.glob(f"**/{part}/*"))


@dataclasses.dataclass(frozen=True)
class Delivery:
    """One message is delivered."""
    content: bytes
    folders: tuple

    def state(self, root):
        return stored(root)

    def copies(self, root):
        """The folders that hold the message; None for a message that is not whole."""
        whole = f"Delivered-To: {USER}\n".encode() + self.content
        return [folder if content == whole else None for folder, content in stored(root)]

    def faults(self, root, ending, _old, _new):
        copies = self.copies(root)
        if None in copies or len(set(copies)) < len(copies):
            yield f"not whole, or twice: {copies}"
        yield from self.wrong_places(ending, copies)
        if ending.status > 0 and ending.status != os.EX_TEMPFAIL:
            yield f"exit status {ending.status}"  # the mail server would give the message up
        if not is_told(ending):
            yield "no complaint"
        if None not in copies:
            yield from self.faults_of_next(root, copies)

    def wrong_places(self, ending, copies):
        """The inbox stands for folders that can't be written, and for rules that can't be read."""
        is_as_wanted = copies == sorted(self.folders)
        is_in_inbox = "." in copies and len(copies) <= len(self.folders)
        is_right = {0: is_as_wanted or is_in_inbox and bool(ending.complaint),
                    os.EX_TEMPFAIL: not copies}
        if not is_right.get(ending.status, set(copies) <= {".", *self.folders}):
            yield f"delivered to {copies}"

    def faults_of_next(self, root, copies):
        """The mail server tries again, and nothing is in the way."""
        again = run(root, "deliver", "-d", USER, message=self.content)
        if again.returncode != 0 or self.copies(root) != sorted([*copies, *self.folders]):
            yield f"the next delivery: {again}, {self.copies(root)}"


class Application:
    """Rules are applied to mail that is there, or that is taken back: nothing is lost, and all can
    be brought back."""

    def state(self, root):
        return [(str(path.parent.relative_to(home(root))), path.name, path.read_bytes())
                for path in sorted((home(root) / "Maildir").glob("**/*"))
                if path.parent.name in ("new", "cur")]

    def faults(self, root, ending, old, new):
        state = self.state(root)
        if {name for _, name, _ in state} != {name for _, name, _ in old}:
            yield f"not all messages are there: {state}"
        if not set(state) <= {*old, *new} or len(set(state)) < len(state):
            yield f"messages that are neither old nor new: {state}"
        if ending.status == 0 and state != new:
            yield f"not done, and the exit status is 0: {state}"
        if not is_told(ending):
            yield "no complaint"
        undone = run(root, "apply", USER, "--undo", "--yes")
        if undone.returncode != 0 and b"nothing to undo" not in undone.stderr:
            yield f"can't be undone: {undone}"
        filed_first = min(old, new, key=len)  # copies are in the state that is applied only
        if self.state(root) != filed_first:
            yield f"not all was brought back: {undone}, {self.state(root)}"


@dataclasses.dataclass(frozen=True)
class Operation:
    name: str
    prepare: typing.Callable  # makes what is there before, in a root with the user
    arguments: tuple
    judge: typing.Any
    message: bytes = b""
    uses_database: bool = False  # to write
    is_like_another: bool = False  # and so only in the long run
    is_thorough: bool = False  # all errors in each call in the short run, too


def nothing(_root):
    pass


def two_rules(root):
    add_rule(root, "work")
    done(root, "filter", "add", USER, "--name", "both", "--if", "string subject contains both",
         "--then", "move work", "--then", "move other")


def undone_rules(root):
    two_rules(root)
    done(root, "undo", USER)


def rules_and_folders(root):
    two_rules(root)
    for subject in ("work", "both"):
        done(root, "deliver", "-d", USER, message=message(subject))
    for part in ("work", "other"):
        for path in (home(root) / "Maildir").glob(f".{part}/new/*"):
            path.unlink()


def mail(root):
    for subject in ("work", "both", "nothing"):
        done(root, "deliver", "-d", USER, message=message(subject))
    two_rules(root)


def applied_rules(root):
    mail(root)
    done(root, "apply", USER, "--yes")


def no_configuration(root):
    home(root).rmdir()
    home(root).parent.rmdir()
    (root / "quarrow.sqlite").unlink()
    (root / "fields.xml").unlink()


def no_user(root):
    home(root).rmdir()
    home(root).parent.rmdir()


def no_hashed_user(root):
    no_user(root)
    done(root, "config", "set", "hashed-folders", "1")


def exported_user(root):
    add_rule(root, "work")
    done(root, "deliver", "-d", USER, message=message("work"))
    done(root, "user", "lock", USER)
    done(root, "user", "export", USER, str(root / "user.tar"))
    done(root, "user", "remove", "--with-mail", USER)


def a_field(root):
    done(root, "field", "add", USER, "string", "x-first")


def delivery(name, prepare, subject, folders, *options, body="body\n", **how):
    content = message(subject, body)
    return Operation(name, prepare, ("deliver", "-d", USER, *options), Delivery(content, folders),
                     content, **how)


NEW_RULE = ("filter", "add", USER, "--name", "New", "--if", "string subject contains new",
            "--then", "move New")

COMMITS = (
    Operation("the first filter", nothing, NEW_RULE, Rules()),
    Operation("filter add", two_rules, NEW_RULE, Rules(), is_thorough=True),
    Operation("filter remove", two_rules, ("filter", "remove", USER, "2"), Rules(),
              is_like_another=True),
    Operation("undo", two_rules, ("undo", USER), Rules()),
    Operation("redo", undone_rules, ("redo", USER), Rules(), is_like_another=True),
    Operation("the first field", nothing, ("field", "add", USER, "string", "x-new"), Fields(),
              is_like_another=True),
    Operation("field add", a_field, ("field", "add", USER, "string", "x-new"), Fields()),
    Operation("field remove", a_field, ("field", "remove", USER, "x-first"), Fields(),
              is_like_another=True),
    Operation("user add", no_user, ("user", "add", USER), Users()),
    Operation("user add, hashed", no_hashed_user, ("user", "add", USER), Users()),
    Operation("user rehash", two_rules, ("user", "rehash", USER), Form()),
    Operation("user lock", two_rules, ("user", "lock", USER, "--reason", "moves"), Lock()),
    Operation("user import", exported_user, IMPORT, Import(), is_like_another=True),
    Operation("config set", nothing, ("config", "set", "grade", "5"), Configuration(),
              uses_database=True, is_like_another=True),
    Operation("init", no_configuration, ("init", "--catalogue", "fields.xml"), Beginning(),
              uses_database=True),
)
DELIVERIES = (
    delivery("the first delivery", nothing, "nothing", (".",)),
    delivery("delivery to a new folder", two_rules, "work", (".work",), is_thorough=True),
    delivery("delivery to a folder", rules_and_folders, "work", (".work",), is_like_another=True),
    delivery("delivery to two folders", rules_and_folders, "both", (".other", ".work")),
    delivery("delivery with a journal", rules_and_folders, "work", (".work",), "--journal"),
    delivery("delivery of a large message", rules_and_folders, "work", (".work",), body=BODY,
             is_like_another=True),
)
APPLICATIONS = (
    Operation("apply", mail, ("apply", USER, "--yes"), Application()),
    Operation("apply --undo", applied_rules, ("apply", USER, "--undo", "--yes"), Application()),
)
