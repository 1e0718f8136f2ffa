"""One message to each user, and a fault of one node while they are delivered."""
import collections
import time

import mail

STRUCK_AFTER = 60  # deliveries

# `waited`: deliveries that were tried again; `gap`: the longest time without a delivery to users
# of other nodes; `again`, `empty`: from the fault's end to the next delivery to its own users,
# and to the last one. Times are in seconds.
Row = collections.namedtuple("Row", "fault waited gap again empty")


def wait_for(source):
    with source.stdout:
        if source.wait() != 0:
            raise AssertionError(source.stdout.read().decode())


class Round:
    """`affected`: the users who are at home on the node, if any are."""

    def __init__(self, postfix, node, affected, fault):
        self._postfix, self._node, self._fault = postfix, node, fault
        self._affected = set(affected)
        self._begin = len(postfix.attempts)

    def _attempts(self, status):
        return [each for each in self._postfix.attempts[self._begin:] if each.status == status]

    def _sent(self, affected):
        return sum((each.recipient in self._affected) == affected
                   for each in self._attempts("sent"))

    def run(self, source):
        """`source` sends the messages."""
        self._postfix.follow_until(lambda: len(self._attempts("sent")) >= STRUCK_AFTER,
                                   "mail flows")
        self._fault.strike(self._node)
        gap = self._follow_others()
        wait_for(source)
        if self._fault.stops and self._affected:
            self._postfix.follow_until(lambda: self._attempts("deferred"),
                                       "mail waits for the node")
        before = self._sent(True)
        healed = time.monotonic()
        self._fault.heal(self._node)
        if before < len(self._affected):
            self._postfix.follow_until(lambda: self._sent(True) > before, "mail flows again")
        again = time.monotonic() - healed
        self._postfix.follow_until(self._postfix.is_empty, "the queue is empty")
        empty = time.monotonic() - healed
        waited = {(each.recipient, each.message) for each in self._attempts("deferred")}
        return Row(self._fault.name, len(waited), gap, again, empty)

    def _follow_others(self):
        """Until the users of other nodes have their mail; the longest gap meanwhile."""
        wanted = len(mail.USERS) - len(self._affected)
        longest, last, count = 0, time.monotonic(), self._sent(False)
        while count < wanted:
            self._postfix.follow_until(lambda: self._sent(False) > count,
                                       "users of other nodes get their mail")
            longest, last, count = max(longest, time.monotonic() - last), time.monotonic(), \
                self._sent(False)
        return longest
