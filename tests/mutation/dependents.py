"""Which tests depend on a source, by what ninja and CTest know."""

import dataclasses
import functools
import json
import os
import pathlib
import re
import subprocess

# Folders of tests that stay out: what they start lives outside of the copy that a change is judged
# in, or takes longer than all others together.
LEFT_OUT = ("page", "postfix", "dovecot", "corpus", "install", "documentation", "house_rules",
            "exported_symbols", "mutation")


@dataclasses.dataclass(frozen=True)
class Test:
    name: str
    command: tuple
    folder: str
    environment: tuple
    targets: tuple  # the programs of ours that it starts


class Dependents:
    def __init__(self, project, build):
        self.project = project
        self.build = build
        self.programs = self._programs()
        self.tests = list(self._tests())

    def _ninja(self, *words):
        return subprocess.run(["ninja", "-C", self.build, *words], check=True, capture_output=True,
                              text=True).stdout.splitlines()

    def _programs(self):
        """The targets that are linked into programs, by where they lie in the build folder."""
        found = set()
        for line in self._ninja("-t", "targets", "all"):
            target, _, rule = line.partition(": ")
            if rule.startswith("CXX_EXECUTABLE_LINKER") and not target.endswith(".cmake") and \
                    not target.startswith("/"):
                found.add(target)
        return sorted(found)

    def _tests(self):
        shown = subprocess.run(["ctest", "--show-only=json-v1"], cwd=self.build, check=True,
                               capture_output=True, text=True).stdout
        for test in json.loads(shown)["tests"]:
            command = tuple(test.get("command", ()))
            targets = tuple(os.path.relpath(word, self.build) for word in command[1:]
                            if os.path.relpath(word, self.build) in self.programs)
            scripts = [word for word in command if word.startswith(str(self.project / "tests"))]
            if not targets or not scripts or test["name"].endswith(".by_nobody"):
                continue
            part = pathlib.Path(scripts[0]).relative_to(self.project / "tests").parts[0]
            if part not in LEFT_OUT:
                properties = {each["name"]: each.get("value") for each in test["properties"]}
                yield Test(test["name"], command,
                           properties.get("WORKING_DIRECTORY", str(self.build)),
                           tuple(properties.get("ENVIRONMENT", ())), targets)

    @functools.lru_cache(maxsize=None)
    def sources(self, program):
        """The project's files that a program is made of."""
        found = set()
        for name in self._ninja("-t", "inputs", program):
            path = self.build / name
            found.add(path)
            if path.match("Unity/*.cxx"):  # sources that are compiled together
                found.update(map(pathlib.Path, re.findall('#include "(.*)"', path.read_text())))
        return {str(path.relative_to(self.project)) for path in found
                if path.is_relative_to(self.project)}

    def unit_tests(self, source):
        """Programs of unit tests in the source's folder, or the nearest one above, that it is
        compiled into."""
        folder = os.path.dirname(source)
        while folder:
            found = [program for program in self.programs
                     if os.path.dirname(program) == folder and program.endswith("_test")
                     and source in self.sources(program)]
            if found:
                return [Test(program, (str(self.build / program), "--gtest_fail_fast",
                                       "--gtest_brief=1"), str(self.build), (), (program,))
                        for program in found]
            folder = os.path.dirname(folder)
        return []

    def whole_program_tests(self, source):
        return [test for test in self.tests
                if any(source in self.sources(target) for target in test.targets)]
