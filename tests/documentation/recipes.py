#!/usr/bin/env -S python3 -B
"""Runs the recipes of quarrow(7), and compares what they print with what the page shows.

Usage: recipes.py QUARROW PAGE MESSAGES

Each recipe, a subsection of RECIPES, begins on a system of its own, on which the commands in front
of all recipes were run: with the users alice, bob and carol of example.org, and with the MESSAGES
in the folder mail and in alice's inbox. Each command must succeed. A line "..." stands for any
number of lines. Prints what differs, and exits with 1 then.
"""
import pathlib
import re
import sys
import tempfile

import typed_commands

SYSTEM = [
    "quarrow init --catalogue fields.xml",
    "for name in alice bob carol; do quarrow user add $name@example.org; done",
    "mkdir -p root/example.org/alice/Maildir/{cur,new,tmp}",
    "cp -p mail/*.eml root/example.org/alice/Maildir/new",
]

NEW_FOLDER = re.compile(r"^quarrow: .*: the folder .* does not exist yet; it is made at delivery\n",
                        re.M)


def literal_lines(page):
    """{heading: lines of its literal blocks}; those in front of all recipes have no heading."""
    found = {"": []}
    heading, is_literal = "", False
    for line in page.partition(".Sh RECIPES\n")[2].partition("\n.Sh ")[0].splitlines():
        if line.startswith(".Ss "):
            heading = line[4:]
            found[heading] = []
        elif line.startswith((".Bd", ".Ed")):
            is_literal = line.startswith(".Bd -literal")
        elif is_literal:
            found[heading].append(line.replace("\\&", "").replace("\\e", "\\"))
    return found


def commands_in(lines):
    """[(command, the lines that it prints)]; a command goes on behind a backslash."""
    found = []
    for line in lines:
        if line.startswith("$ "):
            found.append((line[2:], []))
        elif found[-1][0].endswith("\\"):
            found[-1] = (f"{found[-1][0]}\n{line}", [])
        else:
            found[-1][1].append(line)
    return found


def is_shown(printed, lines):
    """Whether what was printed is what the page shows, without the remarks on new folders."""
    printed = NEW_FOLDER.sub("", printed)
    pattern = "".join(r"(?:.*\n)*" if line == "..." else re.escape(line + "\n") for line in lines)
    return re.fullmatch(pattern, printed) is not None


def results(commands, quarrow, messages):
    """What the commands print on a new system, and their exit status."""
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "root").mkdir()
        typed_commands.copy_messages(messages, folder / "mail")
        told = typed_commands.run([*SYSTEM, *commands], folder, quarrow, QUARROW_ROOT="root")
    return told[len(SYSTEM):]


def differences(recipe, quarrow, messages):
    """A text for each command that does something else than the page says."""
    told = results([command for command, _ in recipe], quarrow, messages)
    if len(told) != len(recipe):
        yield "the shell has ended before the last command\n"
    for (command, lines), (printed, status) in zip(recipe, told):
        if status != 0 or not is_shown(printed, lines):
            shown = "".join(f"{line}\n" for line in lines)
            yield f"$ {command}\n{printed}exit status {status}; the page shows:\n{shown}"


def main(quarrow, page, messages):
    blocks = literal_lines(pathlib.Path(page).read_text())
    first = commands_in(blocks.pop(""))
    if len(blocks) < 15 or not all(blocks.values()):
        sys.exit(f"{page}: too few recipes, or one without commands")
    found = [f"{heading}: {difference}" for heading, lines in blocks.items()
             for difference in differences([*first, *commands_in(lines)], quarrow,
                                           pathlib.Path(messages))]
    print("\n".join(found))
    sys.exit(1 if found else 0)


main(*sys.argv[1:])
