#!/usr/bin/env python3
"""Compares what libquarrow.so exports with what its headers declare.

Usage: compare_with_headers.py LIBRARY HEADER_FOLDER

Every function and constant of a class or namespace scope that carries QUARROW_EXPORT must be
exported, and nothing else. Prints what is missing or too much, and exits with 1 then.
"""

import pathlib
import re
import subprocess
import sys


EXPORTED_NAME = re.compile(
    r"Quarrow::(?:MessageFilters::)?((?:\w+::)?(?:operator\(\)|operator<<|~?\w+))"
)


def without_comments(text):
    return re.sub(r"//[^\n]*", "", text)


def class_bodies(text):
    """Yields the name and the body of each exported class."""
    for found in re.finditer(r"(?:class|struct)\s+QUARROW_EXPORT\s+(\w+)[^{;]*\{", text):
        depth, end = 1, found.end()
        while depth:
            depth += {"{": 1, "}": -1}.get(text[end], 0)
            end += 1
        yield found.group(1), text[found.end() : end - 1]


def declared_in_class(name, body):
    body = re.sub(r"\b(?:enum|using|friend)\b[^;]*;", "", body)
    body = re.sub(r"[^;{}]*\([^;{}]*\{[^{}]*\}", "", body)  # defined right there, in every program
    for statement in body.split(";"):
        statement = " ".join(statement.split())
        statement = re.sub(r"__attribute__\s*\(\(.*?\)\)\)?", "", statement)
        if re.search(r"=\s*(0|default|delete)\s*$", statement):
            continue
        function = re.search(r"(operator\(\)|~?\w+)\s*\(", statement)
        if function:
            yield f"{name}::{function.group(1)}"
            continue
        constant = re.search(r"static const std::string (\w+)$", statement)
        if constant:
            yield f"{name}::{constant.group(1)}"


def declared(header_folder):
    names = set()
    for header in sorted(pathlib.Path(header_folder).glob("*.h")):
        text = without_comments(header.read_text())
        for name, body in class_bodies(text):
            names.update(declared_in_class(name, body))
        for function in re.finditer(r"^QUARROW_EXPORT [^;]*?(operator<<|\w+)\(", text, re.M):
            names.add(function.group(1))
    return names


def exported(library):
    listing = subprocess.run(
        ["nm", "--dynamic", "--defined-only", "--demangle", library],
        check=True, stdout=subprocess.PIPE, text=True,
    ).stdout
    names = set()
    for line in listing.splitlines():
        symbol = line.split(" ", 2)[2]
        if re.match(r"(typeinfo|typeinfo name|vtable) for Quarrow::", symbol):
            continue
        symbol = symbol.replace("[abi:cxx11]", "")
        found = EXPORTED_NAME.match(symbol)
        names.add(found.group(1) if found else symbol)
    return names


def main():
    in_library, in_headers = exported(sys.argv[1]), declared(sys.argv[2])
    if not in_headers:
        sys.exit(f"no declarations were found in {sys.argv[2]}")
    for name in sorted(in_headers - in_library):
        print(f"declared, but not exported: {name}")
    for name in sorted(in_library - in_headers):
        print(f"exported, but not declared: {name}")
    if in_library != in_headers:
        sys.exit(1)
    print(f"{len(in_library)} names, exported and declared alike")


main()
