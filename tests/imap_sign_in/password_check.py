"""Has the program under test check passwords."""
import subprocess

from lmtp_server import PROGRAM

LONG = 60000  # milliseconds
TOO_LONG = 1000 * LONG


def check(url, ca_file, user, password, patience=LONG, deadline=TOO_LONG):
    """The line that the program prints."""
    done = subprocess.run([PROGRAM, url, ca_file, user, str(patience), str(deadline)],
                          input=password, check=True, text=True, stdout=subprocess.PIPE)
    return done.stdout.rstrip("\n")
