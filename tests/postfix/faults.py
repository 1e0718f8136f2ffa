"""What goes wrong while mail comes in, and when: each fault at its share of the deliveries."""
import contextlib
import os
import pathlib
import signal

import crashes
import users

REJECTING = users.USERS[24]  # has no rules of their own
REJECTION = b'require "reject";\nreject "No, thank you";\n'
READ_ONLY = users.USERS[0:5]
READ_ONLY_FOLDERS = users.USERS[5:8]
WITH_A_FILE_AS_MAILDIR = users.USERS[10:15]
WITH_A_BROKEN_SCRIPT = users.USERS[15:19]
FAILURES_OF_A_FULL_DISK = 20  # that are waited for until there is room again
HEAVY_MAIL = [0.08, 0.35, 0.75]  # shares of the deliveries; a round of messages at each
LONGEST_PAUSE = 0.02  # seconds between two kills that are due


def is_alive(process):
    try:
        stat = pathlib.Path(f"/proc/{process}/stat").read_text()
    except (FileNotFoundError, ProcessLookupError):
        return False
    return stat.rpartition(")")[2].split()[0] not in "ZX"


class Faults:
    """Makes trouble for `system` while `total` deliveries are made; `random` tells when."""

    def __init__(self, system, total, kills, random):
        self._system, self._random = system, random
        self._scripts = {}
        self._failures_before = None  # deliveries that had failed before the disk was full
        self.on_full_disk = 0  # deliveries that failed
        self.killed = {"worker": 0, "helper": 0}
        self.crashes = crashes.Crashes(system)
        self._start()
        plan = [(0.10, self._take_rights), (0.30, self._give_rights), (0.30, self._remove_files),
                (0.40, self._break_scripts), (0.60, self._mend_scripts), (0.50, self._fill_disk)]
        plan += [(share, self.crashes.send) for share in HEAVY_MAIL]
        plan += [(random.uniform(0.02, 0.95), self._kill) for _ in range(kills)]
        self._due = sorted(((share * total, action) for share, action in plan),
                           key=lambda entry: entry[0])

    def _start(self):
        for user in WITH_A_FILE_AS_MAILDIR:
            self._maildir(user).write_bytes(b"")
        self._script(REJECTING).write_bytes(REJECTION)

    def step(self):
        """Follows Postfix for a while, and does what is due."""
        self._follow()
        if self._failures_before is not None:
            return self._make_room()
        while self._due and self._due[0][0] <= len(self._final()) and self._due[0][1]():
            self._due.pop(0)
            self._follow()
            if self._failures_before is not None:
                return None
        return None

    def _follow(self):
        self._system.postfix.follow(self._random.uniform(0, LONGEST_PAUSE))
        self.crashes.kill()

    def is_over(self):
        return not self._due and self._failures_before is None

    def _final(self):
        return [each for each in self._system.postfix.attempts if each.status != "deferred"]

    def _maildir(self, user):
        return users.home(self._system.root, user) / "Maildir"

    def _script(self, user):
        return users.home(self._system.root, user) / ".delivery_filter"

    def _kill(self):
        kind = self._random.choice(sorted(self.killed))
        processes = self._system.lmtp.workers() if kind == "worker" else self._system.lmtp.helpers()
        living = list(filter(is_alive, processes))
        if not living:
            # The next message brings one; when there is none any more, nobody is left to kill.
            return self._system.postfix.is_empty()
        try:
            os.kill(self._random.choice(living), signal.SIGKILL)
        except ProcessLookupError:  # it ended by itself
            return False
        self.killed[kind] += 1
        return True

    def _set_mode(self, mode):
        """Of all that messages are made in: whole mailboxes, and others without their inbox."""
        for users_of_pattern, pattern in [(READ_ONLY, "**/tmp"), (READ_ONLY_FOLDERS, ".*/tmp")]:
            for user in users_of_pattern:
                for path in self._maildir(user).glob(pattern):
                    path.chmod(mode)
        return True

    def _take_rights(self):
        return self._set_mode(0o500)

    def _give_rights(self):
        return self._set_mode(0o700)

    def _remove_files(self):
        for user in WITH_A_FILE_AS_MAILDIR:
            self._maildir(user).unlink()
        return True

    def _replace_script(self, user, text):
        new = self._script(user).with_suffix(".new")
        new.write_bytes(text)
        new.replace(self._script(user))

    def _break_scripts(self):
        for user in WITH_A_BROKEN_SCRIPT:
            self._scripts[user] = self._script(user).read_bytes()
            self._replace_script(user, b'if header :contains "subject" {')
        return True

    def _mend_scripts(self):
        for user, text in self._scripts.items():
            self._replace_script(user, text)
        return True

    def _ballast(self):
        return self._system.root / "ballast"

    def _failures(self):
        return sum("451 4.3.0" in each.text for each in self._system.postfix.attempts)

    def _fill_disk(self):
        with contextlib.suppress(OSError), open(self._ballast(), "wb", buffering=0) as file:
            while file.write(bytes(1 << 20)):
                continue
        self._failures_before = self._failures()
        return True

    def _make_room(self):
        self.on_full_disk = self._failures() - self._failures_before
        if self.on_full_disk < FAILURES_OF_A_FULL_DISK and not self._system.postfix.is_empty():
            return
        self._ballast().unlink()
        self._failures_before = None
