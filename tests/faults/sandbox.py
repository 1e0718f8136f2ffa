"""A root in which one command after the other runs with faults."""

import contextlib
import pathlib
import shutil
import tempfile

import faulty_calls
import operations
from setting import USER, copy_folder, done, library, run


class Root:
    """A root that is made anew for each attempt."""

    def __init__(self, folder):
        self.root = folder / "root"

    def fill(self, template):
        shutil.rmtree(self.root, ignore_errors=True)
        copy_folder(template, self.root)


class Sandbox(Root):
    """A root for commands of which a call fails."""

    def __init__(self, folder):
        super().__init__(folder)
        self.calls = faulty_calls.FaultyCalls(library("faulty_calls"), self.root)

    def attempt(self, operation, template, fault=None):
        """The command, on a copy of the template."""
        self.fill(template)
        self.calls.arm(fault)
        result = run(self.root, *arguments_of(operation, self.root), message=operation.message,
                     environment=self.calls.environment())
        return operations.Ending(result.returncode, result.stderr)


def arguments_of(operation, root):
    return [str(root / word) if word in operations.FILES else word for word in operation.arguments]


@contextlib.contextmanager
def prepared(operation):
    """A root that has what is there before."""
    with tempfile.TemporaryDirectory() as folder:
        template = pathlib.Path(folder) / "root"
        template.mkdir()
        done(template, "init", "--catalogue", template / "fields.xml")
        done(template, "user", "add", USER)
        operation.prepare(template)
        yield template
