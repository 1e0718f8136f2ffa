#!/usr/bin/env python3
"""Plants fifos, links and folders among a user's files: planted_files_test.py PROGRAM"""

import os
import shutil
import unittest

from lmtp_server import USERS, Daemon, Lmtp

PLANTER, NEIGHBOUR, VICTIM = USERS[:3]

# Below the planter's folder, and the same below the victim's, where a link leads.
NAMES = ["Maildir", "Maildir/tmp", "Maildir/new", "Maildir/subscriptions", "Maildir/.Work",
         "Maildir/.Work/tmp", "Maildir/.Work/new", "Maildir/.Work/maildirfolder",
         ".delivery_filter", ".delivery_filter.xml", ".delivery_filter.tmp"]


def plant_fifo(path, _):
    os.mkfifo(path)
    path.chmod(0o666)  # the server is not the superuser


def plant_folder(path, _):
    path.mkdir()
    path.chmod(0o777)


def plant_link(path, target):
    path.symlink_to(target)


def remove(path):
    if path.is_dir() and not path.is_symlink():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


def files_below(folder):
    return {path: path.read_bytes() for path in folder.rglob("*") if path.is_file()}


class PlantedFilesTest(unittest.TestCase):
    def set_up_planter(self, daemon):
        """A Maildir with a folder Work that lacks what a delivery completes."""
        home = daemon.home(PLANTER)
        remove(home / "Maildir")
        for name in ["cur", "new", "tmp", ".Work/cur", ".Work/new"]:
            (home / "Maildir" / name).mkdir(parents=True)
        shutil.copy(daemon.home(VICTIM) / ".delivery_filter", home)
        daemon.give_away()

    def deliver(self, daemon, user):
        with Lmtp(daemon.socket) as client:
            client.ehlo("test")
            return client.deliver([user], "work")[0][0]

    def test_stop_no_worker_and_lead_to_nobody_else(self):
        daemon = Daemon("--workers", "1")
        self.addCleanup(daemon.close)
        self.assertEqual(250, self.deliver(daemon, VICTIM))
        victims = files_below(daemon.home(VICTIM))
        for name in NAMES:
            for plant in [plant_fifo, plant_folder, plant_link]:
                with self.subTest(name=name, plant=plant.__name__):
                    self.set_up_planter(daemon)
                    planted = daemon.home(PLANTER) / name
                    remove(planted)
                    plant(planted, daemon.home(VICTIM) / name)
                    self.assertIn(self.deliver(daemon, PLANTER), [250, 451])
                    self.assertEqual(250, self.deliver(daemon, NEIGHBOUR))
                    self.assertEqual(victims, files_below(daemon.home(VICTIM)))
                    remove(planted)

    def test_are_told_in_the_log(self):
        daemon = Daemon("--workers", "1")
        self.addCleanup(daemon.close)
        script = daemon.home(PLANTER) / ".delivery_filter"
        script.unlink()
        os.mkfifo(script)
        self.assertEqual(250, self.deliver(daemon, PLANTER))
        self.assertEqual(1, len(daemon.messages(PLANTER)))
        self.assertRegex(daemon.log_text(), f" warning: user={PLANTER} .* note="
                         '"damaged script: can\'t be read: (Is not a regular file|Permission denied)')

    def test_that_outgrow_a_list_of_subscriptions_are_left_alone(self):
        daemon = Daemon("--workers", "1")
        self.addCleanup(daemon.close)
        maildir = daemon.home(PLANTER) / "Maildir"
        maildir.mkdir()
        (maildir / "subscriptions").touch()
        daemon.give_away()
        os.truncate(maildir / "subscriptions", 8 << 30)  # a sparse file
        self.assertEqual(250, self.deliver(daemon, PLANTER))
        self.assertEqual(1, len(daemon.messages(PLANTER, ".Work")))
        self.assertEqual(8 << 30, (maildir / "subscriptions").stat().st_size)


if __name__ == "__main__":
    unittest.main()
