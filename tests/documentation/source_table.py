#!/usr/bin/env -S python3 -B
"""Compares the table in docs/architecture.md that says where each thing is with the sources.

Usage: source_table.py PROJECT_FOLDER

Each file that the table names must exist, and each source and header outside tests, fuzz targets,
measurements and examples must stand in it, those of the page among them. Prints what differs, and
exits with 1 then.
"""

import pathlib
import re
import sys

HEADING = "## Where each thing is"
ELSEWHERE = {"bench", "build", "examples", "fuzz", "tests"}  # folders without a row
NAME = re.compile(r"`([\w/-]+)`")


def named(page):
    """{(folder, name without its ending)}; a row without a folder goes on with the last one."""
    found = set()
    folder = None
    for line in page.partition(HEADING)[2].splitlines():
        cells = line.split("|")
        if len(cells) != 5:
            continue
        folder = (NAME.findall(cells[1]) or [folder])[0]
        found.update((folder.rstrip("/"), name) for name in NAME.findall(cells[2]) if folder)
    return found


def present(project):
    """The same of the sources."""
    found = set()
    page = [path for ending in ("js", "css", "html") for path in project.glob(f"page/**/*.{ending}")]
    for path in [*project.rglob("*.cc"), *project.rglob("*.h"), *page]:
        folder = path.parent.relative_to(project)
        is_test = path.stem.endswith(("_test", "_test_support"))
        if folder.parts[0] not in ELSEWHERE and not is_test:
            found.add((str(folder), path.stem))
    return found


def main(folder):
    project = pathlib.Path(folder)
    in_table = named((project / "docs" / "architecture.md").read_text())
    in_folders = present(project)
    if not in_table:
        sys.exit(f'no table below "{HEADING}"')
    for place, name in sorted(in_table - in_folders):
        print(f"in the table, but there is no such source: {place}/{name}")
    for place, name in sorted(in_folders - in_table):
        print(f"not in the table: {place}/{name}")
    sys.exit(0 if in_table == in_folders else 1)


main(*sys.argv[1:])
