#!/usr/bin/env python3
"""Each call for files of the LMTP server fails once in a delivery, and the worker is killed before
and behind it.

usage: server_calls_test.py QUARROW_LMTPD QUARROW LIBRARIES [--long] [unittest arguments]
"""
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from setting import IS_LONG, STEP, Sandboxes  # noqa: E402

import faulty_calls  # noqa: E402
from faulty_server import ATTEMPTS, GONE, server_with_faulty_calls  # noqa: E402


class CallsOfServer(unittest.TestCase):
    def setUp(self):
        self.servers = Sandboxes(self.make_server, 4)
        self.addCleanup(self.servers.close)

    def make_server(self, folder):
        server = server_with_faulty_calls(folder)
        self.addCleanup(server.daemon.close)
        return server

    def test_a_message_that_was_answered_for_is_there_once(self):
        for attempt in ATTEMPTS:
            with self.subTest(attempt.name):
                server = self.servers.sandbox()
                self.assertEqual({2}, set(server.try_attempt(attempt).values()))
                calls = [call for call in server.faults.record() if call.number > 0][::STEP]
                faults = [fault for call in calls for fault in faults_in(call)]
                found = self.servers.each(lambda server, fault: list(wrong(server, attempt, fault)),
                                          faults)
                print(f"{attempt.name}: {len(calls)} calls, {len(faults)} faults", file=sys.stderr)
                self.assertFalse(any(found), "\n".join(what for each in found for what in each))


def faults_in(call):
    """A worker that follows one that was killed comes after a second: the short run kills fewer."""
    yield from faulty_calls.faults_of(call)
    if IS_LONG or call.number % 3 == 0:
        yield from faulty_calls.kills_at(call, IS_LONG)


def wrong(server, attempt, fault):
    before = len(server.complaints())
    replies = server.try_attempt(attempt, fault)
    if server.faults.count() < fault.first:
        yield f"{fault}: there was no such call"
    is_told = len(server.complaints()) > before
    for recipient, reply in replies.items():
        copies = server.copies(recipient)
        folders = [folder for folder, _ in copies]
        wanted = {2: (["."], [".Work"]) if is_told else ([".Work"],), 4: ([],),
                  GONE: ([], [".Work"], ["."])}
        if folders not in wanted.get(reply, ()) or \
                not all(attempt.is_whole(content) for _, content in copies):
            yield f"{fault}: {replies}, stored for {recipient}: {folders}"
    if not server.goes_on(attempt):
        yield f"{fault}: the next message is refused"


if __name__ == "__main__":
    unittest.main()
