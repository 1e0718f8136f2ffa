#!/usr/bin/env python3
"""Each call for files of each command that writes fails once, and the process is killed before and
behind it.

usage: calls_test.py QUARROW_LMTPD QUARROW LIBRARIES [--long] [unittest arguments]
"""
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from setting import IS_LONG, STEP, Sandboxes  # noqa: E402

import faulty_calls  # noqa: E402
import operations  # noqa: E402
import traced_calls  # noqa: E402
from sandbox import Sandbox, arguments_of, prepared  # noqa: E402


class Calls(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.sandboxes = Sandboxes(Sandbox)
        cls.addClassCleanup(cls.sandboxes.close)

    def test_a_commit_leaves_the_old_state_or_the_new_one(self):
        self.try_all(operations.COMMITS)

    def test_a_delivery_loses_nothing(self):
        self.try_all(operations.DELIVERIES)

    def test_what_is_applied_to_mail_can_be_taken_back(self):
        self.try_all(operations.APPLICATIONS)

    def test_the_faults_miss_no_call(self):
        """The kernel is asked by strace, without the faults."""
        for operation in (*operations.COMMITS, *operations.DELIVERIES, *operations.APPLICATIONS):
            with self.subTest(operation.name), prepared(operation) as template:
                sandbox = self.sandboxes.sandbox()
                sandbox.fill(template)
                traced = traced_calls.changing_calls(
                    sandbox.root, arguments_of(operation, sandbox.root), operation.message)
                sandbox.attempt(operation, template)
                self.assertEqual(traced, traced_calls.names_of(sandbox.calls.record()))

    def try_all(self, all_operations):
        for operation in all_operations:
            if operation.is_like_another and not IS_LONG:
                continue
            with self.subTest(operation.name), prepared(operation) as template:
                self.try_operation(operation, template)

    def try_operation(self, operation, template):
        sandbox = self.sandboxes.sandbox()
        sandbox.fill(template)
        old = operation.judge.state(sandbox.root)
        ending = sandbox.attempt(operation, template)
        self.assertEqual(0, ending.status, ending)
        calls = [call for call in sandbox.calls.record() if is_tried(operation, call)]
        new = operation.judge.state(sandbox.root)
        faults = [fault for call in calls for fault in faults_in(operation, call)][::STEP]

        def wrong(sandbox, fault):
            ending = sandbox.attempt(operation, template, fault)
            if sandbox.calls.count() < fault.first:
                return [f"{fault}: there was no such call"]
            names = {call.number: call for call in calls}
            return [f"{fault}, {names[fault.first].name} {names[fault.first].path}: {what} {ending}"
                    for what in operation.judge.faults(sandbox.root, ending, old, new)]

        found = [what for each in self.sandboxes.each(wrong, faults) for what in each]
        print(f"{operation.name}: {len(calls)} calls, {len(faults)} faults", file=sys.stderr)
        self.assertFalse(found, "\n".join(found))


def is_tried(operation, call):
    """The short run leaves out how SQLite reads the configuration in each command."""
    is_database = "quarrow.sqlite" in call.path
    return call.number > 0 and (IS_LONG or operation.uses_database or not is_database)


def faults_in(operation, call):
    """In the short run, the errors take turns from call to call."""
    errors = list(faulty_calls.faults_of(call))
    if not IS_LONG and not operation.is_thorough:
        errors = [errors[call.number % len(errors)]]
    return [*errors, *faulty_calls.kills_at(call, IS_LONG)]


if __name__ == "__main__":
    unittest.main()
