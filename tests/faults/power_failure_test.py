#!/usr/bin/env python3
"""The power fails at each moment of a command that writes: see disk_model.py.

usage: power_failure_test.py QUARROW_LMTPD QUARROW LIBRARIES [--long] [unittest arguments]
"""
import pathlib
import shutil
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from setting import IS_LONG, Sandboxes  # noqa: E402

import disk_model  # noqa: E402
import operations  # noqa: E402
from faulty_server import ATTEMPTS, server_with_faulty_calls  # noqa: E402
from sandbox import Sandbox, prepared  # noqa: E402

CUT_OFF = operations.Ending(-9, b"")
DONE = operations.Ending(0, b"")
END = "end"  # the mark of a command's success


class PowerFailure(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.sandboxes = Sandboxes(Sandbox)
        cls.addClassCleanup(cls.sandboxes.close)

    def test_what_was_told_stays(self):
        for operation in (*operations.COMMITS, *operations.DELIVERIES, *operations.APPLICATIONS):
            if operation.uses_database or operation.is_like_another and not IS_LONG:
                continue
            with self.subTest(operation.name), prepared(operation) as template:
                disk, old, new = self.record(operation, template)
                found, count = self.wrong(operation, disk, old, new)
                print(f"{operation.name}: {len(disk.steps)} moments, {count} states of the disk",
                      file=sys.stderr)
                self.assertFalse(found, "\n".join(found))

    def test_each_step_that_is_not_synchronised_is_found(self):
        """So the model would find a program that forgets one."""
        for operation in operations.COMMITS[1], operations.DELIVERIES[2]:
            with self.subTest(operation.name), prepared(operation) as template:
                disk, old, new = self.record(operation, template)
                steps = disk.steps
                for sync in (step for step in steps if isinstance(step, disk_model.Sync)):
                    disk.steps = [step for step in steps if step is not sync]
                    self.assertTrue(self.wrong(operation, disk, old, new)[0], sync)

    def test_what_the_server_answered_for_stays(self):
        servers = Sandboxes(server_with_faulty_calls, 1)
        self.addCleanup(servers.close)
        server = servers.sandbox()
        self.addCleanup(server.daemon.close)
        message = ATTEMPTS[2]
        root = server.daemon.folder / "root"
        disk = disk_model.Disk(root)
        server.faults.arm()
        self.assertEqual({2}, set(message.replies(server.daemon.socket).values()))
        play_with_answers(disk, server.faults.record(), message.recipients)
        count = 0
        for moment in range(len(disk.steps) + 1):
            told = [step for step in disk.steps[:moment] if isinstance(step, str)]
            for tree in disk.states(moment):
                count += 1
                for recipient in told:
                    copies = copies_in(tree, recipient)
                    self.assertEqual([True], [message.is_whole(copy) for copy in copies])
        self.assertEqual(message.recipients, told)
        print(f"quarrow-lmtpd: {len(disk.steps)} moments, {count} states of the disk",
              file=sys.stderr)

    def record(self, operation, template):
        """The disk with all steps of the command, and the states before and behind it."""
        sandbox = self.sandboxes.sandbox()
        sandbox.fill(template)
        disk = disk_model.Disk(sandbox.root)
        old = operation.judge.state(sandbox.root)
        ending = sandbox.attempt(operation, template)
        self.assertEqual(0, ending.status, ending)
        for call in sandbox.calls.record():
            disk.play(call)
        disk.mark(END)
        new = operation.judge.state(sandbox.root)
        return disk, old, new

    def wrong(self, operation, disk, old, new):
        """What is wrong, and how many different states of the disk were looked at."""
        cases = {}
        for moment in range(len(disk.steps) + 1):
            ending = DONE if END in disk.steps[:moment] else CUT_OFF
            for tree in disk.states(moment):
                cases.setdefault((disk_model.frozen(tree), ending), (moment, tree))

        def look(sandbox, case):
            (_, ending), (moment, tree) = case
            shutil.rmtree(sandbox.root, ignore_errors=True)
            disk_model.build(tree, sandbox.root)
            return [f"moment {moment}, {ending}: {what}"
                    for what in operation.judge.faults(sandbox.root, ending, old, new)]

        found = self.sandboxes.each(look, cases.items())
        return [what for each in found for what in each], len(cases)


def play_with_answers(disk, record, recipients):
    """Marks when each recipient's delivery was answered for: behind 354, in their order."""
    answers = None
    for call in record:
        if call.name == "send" and answers is not None and call.data.startswith(b"250"):
            disk.mark(next(answers))
        elif call.name == "send" and call.data.startswith(b"354"):
            answers = iter(recipients)
        elif call.path.startswith(f"{disk.top}/"):
            disk.play(call)


def copies_in(tree, recipient):
    local, domain = recipient.split("@")
    folder = f"{domain}/{local}/Maildir/.Work/new/"
    return [content for path, (content, _) in tree.items() if path.startswith(folder)]


if __name__ == "__main__":
    unittest.main()
