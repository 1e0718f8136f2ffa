#!/usr/bin/env -S python3 -B
"""Compares what the programs say with --help with what their manual pages say, and with what they
offer to shells that complete command lines.

Usage: help_and_manual.py QUARROW QUARROW_HOMES QUARROW_LMTPD QUARROW_WEBD FOLDER_OF_PAGES

For each program and subcommand, the options of the help, those of the page's SYNOPSIS and those
that the page describes must be the same, with the same arguments; the subcommands and the
positional arguments likewise, these in their order. A default that the help shows is what the
option's description names in front of "by default", and the other way round. What the help says of
an option, an argument or a subcommand has a word of what the page says of it, so that no text is
missing, or another one's. Prints what differs, and exits with 1 then.

A page quarrow-NAME.1 describes the subcommands of its synopsis, each in a subsection of its name or
else, where it is the only one, in DESCRIPTION; the others are in quarrow.1, which refers to all.
"""

import collections
import pathlib
import re
import subprocess
import sys

# Every subcommand has them; the pages name them once, for the program.
HELP = ("-h", "--help")
# So are they; the synopsis has the first of them in front of each subcommand.
SHARED = {"--root": "Op Fl -root Ar dir", "--keep-case": "Op Fl -keep-case"}
# Said by the library that reads command lines.
NOT_OURS = {*HELP, "--version", "help"}
TEXT_COLUMN = 30  # where the help says what something is
# Words that any sentence may have.
COMMON_WORDS = {"from", "that", "this", "with"}


class Help:
    """The help that a program gives. Names are as they are given, arguments in lower case."""

    def __init__(self, program, words):
        self.options = {}  # name: argument, "" for none
        self.defaults = {}  # name: text, for options whose default is shown
        self.positionals = []
        self.subcommands = []
        self.texts = {}  # name: what is said of it; of an option, by the first of its names
        text = subprocess.run([program, *words, HELP[-1]], check=True, capture_output=True,
                              text=True, timeout=60).stdout
        readers = {"Options:": self._read_option, "Positionals:": self._read_positional,
                   "Subcommands:": self.subcommands.append}
        lines = text.splitlines()
        self.about = lines[0]
        read = None
        for line, after in zip(lines, [*lines[1:], ""]):
            if not line.startswith(" "):
                read = readers.get(line)
            elif read and re.match(r"  \S", line):
                is_long = after.startswith(" " * TEXT_COLUMN)
                names, said = (line, after) if is_long else (line[:TEXT_COLUMN], line[TEXT_COLUMN:])
                read(names.strip())
                self.texts[re.split("[ ,]", names.strip())[0]] = said.strip()

    def _read_option(self, text):
        names, _, rest = text.partition(" ")
        rest = re.sub(r"REQUIRED|(?:Excludes|Needs): .*|\(Env:.*|\.\.\.", "", rest).strip()
        described, _, default = rest.partition("=")
        for name in names.split(","):
            self.options[name] = described.partition(":")[0].lower()  # a range may stand behind
            if default:
                self.defaults[name] = default.strip("[] ")

    def _read_positional(self, text):
        self.positionals.append(text.split()[0].lower())


class Words:
    """The options and positional arguments in the macros of some lines of mdoc."""

    def __init__(self, lines):
        self.options = {}
        self.positionals = []
        for line in lines:
            self._read(line)

    def _read(self, line):
        macro = name = None
        for word in line.replace(",", " ").split():
            if word in ("Fl", "Ar", "Cm", "Op"):
                macro = word
                name = name if word in ("Ar", "Cm") else None
            elif macro == "Fl" and word != "|":
                name = "-" + word
                self.options[name] = ""
            elif macro in ("Ar", "Cm") and word != "...":
                self._take(name, word, macro)

    def _take(self, name, word, macro):
        if name:
            self.options[name] += word
        elif macro == "Ar" and word not in self.positionals:
            self.positionals.append(word)


class Page:
    """A manual page, by its source."""

    def __init__(self, path):
        self.sections = {}  # by heading, of sections and of subsections
        heading = ""
        for line in path.read_text().splitlines():
            if line.startswith((".Sh ", ".Ss ")):
                heading = line[4:]
            self.sections.setdefault(heading, []).append(line)

    def subsections(self):
        return {name for name, lines in self.sections.items() if lines[0].startswith(".Ss ")}

    def synopsis(self):
        """{subcommand or "": lines}."""
        found = {}
        for form in "\n".join(self.sections["SYNOPSIS"]).split("\n.Nm")[1:]:
            lines = [line.lstrip(".") for line in form.splitlines()]
            command = [line[3:] for line in lines if line.startswith("Cm ")]
            words = " ".join(command)
            # the root stands in front of the subcommand, and is the program's
            lines = lines if not command else lines[lines.index("Cm " + words) + 1:]
            found.setdefault(words, []).extend(lines)
        return found

    def about(self, subcommand):
        """What it says of a subcommand: on a page for a few, that in front of the first list."""
        lines = (self.sections.get(subcommand) or
                 self.sections["NAME"] + self.sections["DESCRIPTION"])
        return " ".join([*self.synopsis().get(subcommand, ()), *lines])

    def described(self, heading):
        """{option: (argument, text)} of the entries of lists in that section."""
        entries = {}
        names = {}
        for line in self.sections.get(heading, []):
            if line.startswith(".It "):
                names = Words([line[4:]]).options
                entries.update({name: [argument, ""] for name, argument in names.items()})
            elif line == ".El":
                names = {}
            for name in names:
                entries[name][1] += re.sub(r"^\.\w+ ", " ", line) + " "
        return entries

    def texts(self):
        """{option: text} of all lists; entries that stand together have the text behind them."""
        found = collections.defaultdict(str)
        for lines in self.sections.values():
            names = []
            is_text = False
            for line in lines:
                if line == ".El" or line.startswith(".It ") and is_text:
                    names = []
                is_text = not line.startswith(".It ")
                names += [] if is_text else Words([line[4:]]).options
                for name in names if is_text else ():
                    found[name] += re.sub(r"^\.\w+ ", "", line) + " "
        return found


def stems(text):
    """How the words of a text begin that could tell what it is about."""
    words = re.findall(r"[a-z]{4,}", text.lower())
    return {word[:4] for word in words if word not in COMMON_WORDS}


class Comparison:
    def __init__(self):
        self.differs = False

    def expect_told(self, what, said, manual):
        """What the help says must be more than a word, and about what the manual is about."""
        if len(said.split()) < 2 or not stems(said) & stems(manual):
            self.differs = True
            print(f"{what}: the help says {said!r}, the page {manual!r}")

    def texts(self, name, told, manual, page):
        """`manual`: what the page says of the command, `page`: of options, by their names."""
        self.expect_told(name, told.about, manual)
        for part, said in told.texts.items():
            if part not in NOT_OURS and part not in told.subcommands:
                self.expect_told(f"{name}, {part}", said,
                                 page.get(part, "") if part.startswith("-") else manual)

    def expect_equal(self, what, in_help, in_page, page="the page"):
        """Compares two sets, two dictionaries, or two lists."""
        if in_help == in_page:
            return
        self.differs = True
        if isinstance(in_help, list):
            return print(f"{what}: the help has {in_help}, {page} {in_page}")
        if isinstance(in_help, dict):
            in_help, in_page = in_help.items(), in_page.items()
        print(f"{what}: only the help has {sorted(in_help - in_page)}, "
              f"only {page} {sorted(in_page - in_help)}")

    def completion(self, program, words=()):
        """Of the subcommand `words`, and of those below it."""
        told = Help(program, words)
        name = " ".join((pathlib.Path(program).name, *words))
        self.expect_equal(f"{name}, long options", {o for o in told.options if o[:2] == "--"},
                          offered(program, *words, "--"), "the completion")
        for option, argument in told.options.items():
            if "|" in argument:
                self.expect_equal(f"{name}, {option}", set(argument.split("|")),
                                  offered(program, *words, option, ""), "the completion")
        if told.subcommands:
            self.expect_equal(f"{name}, subcommands", set(told.subcommands),
                              offered(program, *words, ""), "the completion")
        for word in told.subcommands:
            self.completion(program, (*words, word))

    def command(self, name, told, synopsis, described):
        """`told`: the help; `synopsis`: lines; `described`: as Page.described gives it."""
        used = Words(synopsis)
        self.expect_equal(f"{name}, options in the synopsis", told.options, used.options)
        self.expect_equal(f"{name}, positional arguments", told.positionals, used.positionals)
        arguments = {option: argument for option, (argument, _) in described.items()}
        self.expect_equal(f"{name}, described options", told.options, arguments)
        defaults = {option: found[1] for option, (_, text) in described.items()
                    if (found := re.search(r"(\S+) by default", text))}
        self.expect_equal(f"{name}, defaults", told.defaults, defaults)


def offered(program, *words):
    """The candidates for the last of the words."""
    answer = subprocess.run([program, "complete", "fish", *words], check=True,
                            capture_output=True, text=True, timeout=60).stdout
    return {line.partition("\t")[0] for line in answer.splitlines()[1:]}


def subcommands(program, words=()):
    """{words: help} of all subcommands that have none themselves."""
    told = Help(program, words)
    if not told.subcommands:
        return {" ".join(words): told}
    return {name: each for word in told.subcommands
            for name, each in subcommands(program, (*words, word)).items()}


def pages_of_subcommands(folder):
    """{subcommand: page} of the pages that describe a few of them."""
    pages = [Page(path) for path in sorted(folder.glob("quarrow-*.1"))]
    return {name: page for page in pages for name in page.synopsis()}


def compare_quarrow(comparison, program, folder):
    page = Page(folder / "quarrow.1")
    commands = subcommands(program)
    synopsis = page.synopsis()
    names = set(commands)
    elsewhere = pages_of_subcommands(folder)
    nouns = {name.partition(" ")[0] for name in elsewhere} - names
    texts = collections.defaultdict(str)  # of options, on all pages
    for each in {page, *elsewhere.values()}:
        for option, text in each.texts().items():
            texts[option] += text
    here = set(synopsis) - {""}  # with a hint at the page of some subcommands and nouns
    comparison.expect_equal("quarrow, subcommands in the synopses", names, here - nouns | set(elsewhere))
    comparison.expect_equal("quarrow, described subcommands", here, page.subsections())
    comparison.expect_equal("quarrow, pages referred to",
                            {f"{path.stem} {path.suffix[1:]}" for path in folder.glob("quarrow*")
                             if path.name != "quarrow.1"},
                            set(re.findall(r"^\.Xr (quarrow[-\w]* \d)", "\n".join(
                                page.sections["SEE ALSO"]), re.M)))
    told = Help(program, ())
    comparison.command("quarrow", told, [*synopsis[""], *SHARED.values()],
                       page.described("DESCRIPTION"))
    comparison.texts("quarrow", told, " ".join(page.sections["NAME"]), texts)
    for noun in nouns:
        own = Page(folder / f"quarrow-{noun}.1")
        comparison.texts(f"quarrow {noun}", Help(program, (noun,)), own.about(noun), texts)
    for name in names & (here - nouns | set(elsewhere)):
        told = commands[name]
        for option in (*HELP, *SHARED):
            del told.options[option]
        own = elsewhere.get(name, page)
        entries = own.described(name if name in own.sections else "DESCRIPTION")
        entries.pop("--root", None)  # the program's
        comparison.command(name, told, own.synopsis()[name], entries)
        comparison.texts(name, told, own.about(name), texts)


def compare_server(comparison, name, program, folder):
    page = Page(folder / f"{name}.8")
    told = Help(program, ())
    comparison.command(name, told, page.synopsis()[""], page.described("DESCRIPTION"))
    comparison.texts(name, told, page.about(name), page.texts())


def main(quarrow, homes, lmtpd, webd, folder):
    comparison = Comparison()
    compare_quarrow(comparison, quarrow, pathlib.Path(folder))
    for name, program in (("quarrow-homes", homes), ("quarrow-lmtpd", lmtpd),
                          ("quarrow-webd", webd)):
        compare_server(comparison, name, program, pathlib.Path(folder))
    for program in (quarrow, homes, lmtpd, webd):
        comparison.completion(program)
    sys.exit(1 if comparison.differs else 0)


main(*sys.argv[1:])
