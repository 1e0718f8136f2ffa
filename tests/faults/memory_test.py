#!/usr/bin/env python3
"""One allocation after the other fails, in commands and in the LMTP server.

usage: memory_test.py QUARROW_LMTPD QUARROW LIBRARIES [--long] [unittest arguments]
"""
import collections
import pathlib
import signal
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from setting import IS_LONG, IS_SANITIZED, Sandboxes, library, run  # noqa: E402

import operations  # noqa: E402
from faulty_memory import FaultyMemory  # noqa: E402
from faulty_server import ATTEMPTS, GONE, Server  # noqa: E402
from sandbox import Root, arguments_of, prepared  # noqa: E402

ALL = 1 << 40
FIRST, OTHERS = (ALL, ALL) if IS_LONG else (200, 60)
TRIED = operations.COMMITS[1], operations.COMMITS[3], operations.COMMITS[6], \
    operations.DELIVERIES[1], operations.APPLICATIONS[0]


def sample(count, first, others):
    """Numbers from 1 to count: the first ones all, of the others about so many."""
    step = max(1, (count - first) // others)
    return [*range(1, min(count, first) + 1), *range(first + 1, count + 1, step)]


def memory_of(folder, asking=""):
    return FaultyMemory(library("faulty_memory"), folder / "memory", asking)


class ShortRoot(Root):
    """A root for commands that are short of memory."""

    def __init__(self, folder, asking=""):
        super().__init__(folder)
        self.memory = memory_of(folder, asking)

    def attempt(self, operation, template, number=0, last=0):
        self.fill(template)
        self.memory.arm(number, last)
        result = run(self.root, *arguments_of(operation, self.root), message=operation.message,
                     environment=self.memory.environment())
        return operations.Ending(result.returncode, result.stderr)


@unittest.skipIf(IS_SANITIZED, "skipped: sanitizers have an allocation of their own")
class Memory(unittest.TestCase):
    def test_a_command_does_its_work_or_says_that_it_can_not(self):
        sandboxes = Sandboxes(ShortRoot)
        self.addCleanup(sandboxes.close)
        for operation in TRIED:
            with self.subTest(operation.name), prepared(operation) as template:
                self.try_operation(sandboxes, operation, template)

    def try_operation(self, sandboxes, operation, template):
        count, tries, endings, found = self.outcomes(
            sandboxes, operation, template,
            lambda count: [(number, 0) for number in sample(count, FIRST, OTHERS)])
        print(f"{operation.name}: {len(tries)} of {count} allocations, exit statuses "
              f"{dict(collections.Counter(ending.status for ending in endings))}", file=sys.stderr)
        self.assertFalse(found, "\n".join(found))
        if operation not in operations.APPLICATIONS:  # where libraries that parse mail end it
            self.assert_orderly([number for number, _ in tries], endings)

    def outcomes(self, sandboxes, operation, template, choose):
        """How many allocations there are, those that `choose` has fail of so many, each from a first
        one to a last one, how each of these attempts ended, and what was wrong afterwards."""
        sandbox = sandboxes.sandbox()
        sandbox.fill(template)
        old = operation.judge.state(sandbox.root)
        self.assertEqual(0, sandbox.attempt(operation, template).status)
        count = sandbox.memory.count()
        new = operation.judge.state(sandbox.root)

        def look(sandbox, failing):
            ending = sandbox.attempt(operation, template, *failing)
            return ending, [f"allocations {failing}: {what}" for what in
                            operation.judge.faults(sandbox.root, ending, old, new)]

        tries = choose(count)
        endings, found = zip(*sandboxes.each(look, tries))
        return count, tries, endings, [what for each in found for what in each]

    def test_a_folder_has_its_name_or_the_rules_stay(self):
        """ICU, which writes the names, gives an empty one where memory is short for it."""
        sandboxes = Sandboxes(lambda folder: ShortRoot(folder, asking="libicuuc"))
        self.addCleanup(sandboxes.close)
        operation = operations.COMMITS[1]
        with prepared(operation) as template:
            _, _, endings, found = self.outcomes(
                sandboxes, operation, template,
                lambda count: [(number, last) for number in range(1, count + 1)
                               for last in (number, ALL)])
        self.assertFalse(found, "\n".join(found))
        self.assertTrue(any(b"memory is short for a folder's name" in ending.complaint
                            for ending in endings), endings)

    def assert_orderly(self, numbers, endings):
        """Only what the program has before its first line may end it by a signal."""
        aborted = [number for number, ending in zip(numbers, endings)
                   if ending.status == -signal.SIGABRT and b"bad_alloc" in ending.complaint]
        refused = [number for number, ending in zip(numbers, endings) if ending.status > 0]
        others = [ending for ending in endings if ending.status < 0]
        self.assertEqual(len(aborted), len(others), others)
        self.assertLess(max(aborted, default=0), min(refused))

    def test_the_server_loses_nothing_and_goes_on(self):
        servers = Sandboxes(self.make_server, 4)
        self.addCleanup(servers.close)
        attempt = ATTEMPTS[0]
        server = servers.sandbox()
        self.assertEqual({2}, set(server.try_attempt(attempt).values()))
        count = server.faults.count()
        numbers = sample(count, FIRST if IS_LONG else 0, OTHERS)
        found = servers.each(lambda server, number: list(wrong(server, attempt, number)), numbers)
        print(f"quarrow-lmtpd: {len(numbers)} of {count} allocations", file=sys.stderr)
        self.assertFalse(any(found), "\n".join(what for each in found for what in each))

    def make_server(self, folder):
        server = Server(folder, memory_of(folder))
        self.addCleanup(server.daemon.close)
        return server


def wrong(server, attempt, number):
    """A reply takes memory: where that is short, a message that is stored may be tried again."""
    (recipient, reply), = server.try_attempt(attempt, number).items()
    copies = server.copies(recipient)
    possible = {2: (1,), 4: (0, 1), GONE: (0, 1)}
    if len(copies) not in possible.get(reply, ()) or \
            not all(attempt.is_whole(content) for _, content in copies):
        yield f"allocation {number}: {reply}, {copies}"
    if not server.goes_on(attempt):
        yield f"allocation {number}: the next message is refused"


if __name__ == "__main__":
    unittest.main()
