#!/usr/bin/env -S python3 -B
"""Rules that the sources keep and no compiler looks at.

Usage: house_rules.py PROJECT_FOLDER

  includes    a file includes its own folder and folders below it in LAYERS, none above or beside it
  guards      a header's guard is its path: QUARROW_SERVER_LOG_H_ for server/log.h
  namespaces  what a folder holds is in its namespace, which is opened in one piece: A::B, never B
              inside A; declarations of other libraries' classes may stand in theirs
  names       no two sources of the layers have the same name, but for each program's main.cc

Prints each place that breaks a rule, and exits with 1 then.
"""

import collections
import pathlib
import re
import sys

# From the top down. Folders of one layer do not include each other.
LAYERS = (
    ("apps/quarrow", "apps/quarrow-homes", "apps/quarrow-lmtpd", "apps/quarrow-webd"),
    ("web_server",),
    ("web_api", "signing_in", "moving", "monitoring"),
    ("http", "lmtp", "homes", "doctor", "importing", "refiling"),
    ("server", "trial", "administration"),
    ("delivery", "include/quarrow/delivery", "completion"),
    ("sieve_match",),
    ("message_filters",),
    ("include/quarrow",),
    ("host",),
    ("system",),
)
# One folder as far as includes are concerned: a library and its installed headers.
SAME = {"include/quarrow/delivery": "delivery"}
NAMESPACES = {
    "administration": "Quarrow::Administration",
    "apps/quarrow": "Quarrow::Command",
    "apps/quarrow-homes": "Quarrow::HomesServer",
    "apps/quarrow-lmtpd": "Quarrow::Lmtpd",
    "apps/quarrow-webd": "Quarrow::Webd",
    "completion": "Quarrow::Completion",
    "delivery": "Quarrow::Delivery",
    "doctor": "Quarrow::Doctor",
    "include/quarrow/delivery": "Quarrow::Delivery",
    "homes": "Quarrow::Homes",
    "http": "Quarrow::Http",
    "importing": "Quarrow::Importing",
    "lmtp": "Quarrow::Lmtp",
    "moving": "Quarrow::Moving",
    "monitoring": "Quarrow::Monitoring",
    "refiling": "Quarrow::Refiling",
    "server": "Quarrow::Server",
    "signing_in": "Quarrow::SigningIn",
    "system": "Quarrow",
    "trial": "Quarrow::Trial",
    "web_api": "Quarrow::WebApi",
    "web_server": "Quarrow::WebServer",
}
# Roots that an include may be relative to, besides the project's own.
INCLUDE_ROOTS = ("include", "host/base", "host/zvellparser", "host/zvelluser")
OTHER_GUARDS = ("host", "examples")  # a mail server's headers have guards of their own
ALL_FOLDERS = [folder for layer in LAYERS for folder in layer]
LAYER_OF = {folder: number for number, layer in enumerate(LAYERS) for folder in layer}


class Source:
    """A source or header, by its path from the project's folder."""

    def __init__(self, project, path):
        self.project = project
        self.path = path.relative_to(project)
        self.name = str(self.path)
        self.lines = path.read_text().splitlines()

    def is_test(self):
        return self.path.stem.endswith(("_test", "_test_support"))

    def folder(self):
        return folder_of(self.name)

    def includes(self):
        """The project's own files among those that it includes, by their paths."""
        for line in self.lines:
            found = re.match(r'#include ["<]([^">]+)[">]', line)
            for root in ("", *INCLUDE_ROOTS) if found else ():
                path = pathlib.Path(root, found[1])
                if (self.project / path).is_file():
                    yield str(path)
                    break


def folder_of(name):
    """The folder of the layers that holds a file; None for others, such as those of tests/."""
    holding = [folder for folder in ALL_FOLDERS if name.startswith(folder + "/")]
    return max(holding, key=len, default=None)


def sources(project):
    for path in sorted([*project.rglob("*.cc"), *project.rglob("*.h")]):
        if path.relative_to(project).parts[0] != "build":
            yield Source(project, path)


def wrong_includes(source):
    own = source.folder()
    if not own:
        return
    for name in source.includes():
        other = folder_of(name)
        if not other and not source.is_test():
            yield f"includes {name}, which is for tests and measurements"
        elif other and SAME.get(own, own) != SAME.get(other, other):
            if LAYER_OF[other] <= LAYER_OF[own]:
                yield f"includes {name}, which is not below {own}/"


def wrong_guards(source):
    if source.path.suffix != ".h" or source.path.parts[0] in OTHER_GUARDS:
        return
    path = re.sub(r"^include/quarrow/", "", source.name)
    guard = "QUARROW_" + re.sub(r"\W", "_", path).upper() + "_"
    directives = [line for line in source.lines if line.startswith("#")]
    if directives[:2] != [f"#ifndef {guard}", f"#define {guard}"] or \
            source.lines[-1] != f"#endif  // {guard}":
        yield f"the guard is not {guard}"


# A namespace that holds nothing but declarations of classes.
DECLARATIONS = re.compile(r"^namespace ([\w:]+) \{\n(?:class \w+;\n)+\}  // namespace \1\n", re.M)


def wrong_namespaces(source):
    own = source.folder()
    wanted = NAMESPACES.get(own)
    opened = None
    for line in DECLARATIONS.sub("", "\n".join(source.lines)).splitlines():
        found = re.match(r"(?:inline )?namespace ([\w:]+) \{", line)
        if found and opened:
            yield f"namespace {found[1]} is opened inside {opened}"
        elif found:
            opened = found[1]
            if wanted and opened != wanted:
                yield f"namespace {opened} instead of {wanted}"
        elif opened and line.startswith(f"}}  // namespace {opened}"):
            opened = None


RULES = (wrong_includes, wrong_guards, wrong_namespaces)


def shared_names(project):
    places = collections.defaultdict(list)
    for source in sources(project):
        folder = source.folder()
        if folder and folder != "host" and source.path.suffix == ".cc":
            places[source.path.name].append(source.name)
    places.pop("main.cc", None)
    for name, paths in sorted(places.items()):
        if len(paths) > 1:
            yield f"{name} is the name of {' and '.join(paths)}"


def main(folder):
    project = pathlib.Path(folder)
    found = [f"{source.name}: {fault}" for source in sources(project)
             for rule in RULES for fault in rule(source)]
    found += shared_names(project)
    print("\n".join(found))
    sys.exit(1 if found else 0)


main(*sys.argv[1:])
