#!/usr/bin/env -S python3 -B
"""Compares docs/rules.schema.json with what quarrow exports, and with what it imports.

Usage: rules_schema.py QUARROW SCHEMA

Lists of filters that the schema takes are imported, and come out as they went in; lists that it
refuses are refused, too. Exits with 1 where the two differ, and with 77, for skipped, where the
library for schemas is missing.
"""

import copy
import json
import subprocess
import sys
import tempfile

try:
    import jsonschema
except ImportError:
    print("skipped: python3-jsonschema is missing")
    sys.exit(77)

USER = "alice@example.org"


def test(kind, field, comparator, value, **others):
    return {"type": kind, "field": field, "comparator": comparator, "value": value,
            "negative": False, "match_case": False, **others}


FILTER = {"id": 1, "enabled": True, "name": "a", "relation": "allof",
          "tests": [test("string", "subject", "contains", "x")],
          "actions": [{"method": "move", "target": "Work"}]}


def changed(**parts):
    return [{**copy.deepcopy(FILTER), **parts}]


GOOD = [
    [],
    [FILTER],
    changed(id=-2147483648, enabled=False, relation="anyof", name="Gr\u00f6\u00dfe \"x\"", tests=[
        test("string", "to_cc", "is", "a", negative=True, match_case=True),
        test("string", "x-a", "begin_with", "a"), test("string", "x-a", "end_with", "a"),
        test("address", "from", "is", "bob@example.org"), test("address", "cc", "contains", "b"),
        test("size", "size", "greater", "5"), test("size", "size", "less", "5"),
        test("date", "zvx-received-date", "is", "2026-05-01"),
        test("date", "zvx-received-date", "before", "2026-05-01"),
        test("date", "zvx-received-date", "after", "2026-05-01")]),
    changed(tests=[]),
    changed(actions=[{"method": "copy", "target": "A/B", "value": "kept"}, {"method": "delete"}]),
]
BAD = [
    {},
    [1],
    [{name: value for name, value in FILTER.items() if name != "enabled"}],
    changed(other=1),
    changed(id=0), changed(id=2147483648), changed(id="1"),
    changed(enabled="true"),
    changed(name=""), changed(name=None),
    changed(relation="all"),
    changed(tests=[test("string", "subject", "contains", "x")] * 11),
    changed(tests=[test("text", "subject", "contains", "x")]),
    changed(tests=[test("address", "from", "begin_with", "x")]),
    changed(tests=[test("size", "size", "is", "5")]),
    changed(tests=[test("date", "zvx-received-date", "contains", "2026-05-01")]),
    changed(tests=[test("string", "", "is", "x")]),
    changed(tests=[test("string", "subject", "is", "")]),
    changed(tests=[test("string", "subject", "is", "a\"b")]),
    changed(tests=[test("string", "subject", "is", "a\\b")]),
    changed(tests=[test("string", "subject", "is", 5)]),
    changed(tests=[test("string", "subject", "is", "x", negative=0)]),
    changed(actions=[]),
    changed(actions=[{"method": "burn"}]),
    changed(actions=[{"method": "move"}]),
    changed(actions=[{"method": "move", "target": ""}]),
    changed(actions=[{"method": "delete", "value": ""}]),
]


class Command:
    def __init__(self, program, root):
        self.start = [program, "--root", root]

    def run(self, *words, text=None):
        return subprocess.run([*self.start, *words], input=text, capture_output=True, text=True,
                              check=False, timeout=60)

    def set_up(self, root):
        for words in (("init", "--catalogue", root + "/fields.xml"), ("user", "add", USER)):
            if self.run(*words).returncode != 0:
                sys.exit("the test could not begin")

    def round_trip(self, filters):
        """What comes out of an import and an export; None when the import is refused."""
        took = self.run("import", USER, "-", "--from", "json", "--replace",
                        text=json.dumps(filters))
        return json.loads(self.run("export", USER).stdout) if took.returncode == 0 else None


def differences(validator, command):
    for filters in GOOD:
        exported = command.round_trip(filters)
        if exported != filters:
            yield f"not the same after import and export: {filters}"
        elif not validator.is_valid(exported):
            yield f"the schema refuses what was exported: {exported}"
    for filters in BAD:
        if validator.is_valid(filters):
            yield f"the schema takes what is wrong: {filters}"
        if command.round_trip(filters) is not None:
            yield f"imported, although it is wrong: {filters}"


def main(quarrow, path):
    with open(path, encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft202012Validator.check_schema(schema)
    with tempfile.TemporaryDirectory() as root:
        command = Command(quarrow, root)
        command.set_up(root)
        found = list(differences(jsonschema.Draft202012Validator(schema), command))
    print("\n".join(found))
    sys.exit(1 if found else 0)


main(*sys.argv[1:])
