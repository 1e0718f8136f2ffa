#!/usr/bin/env python3
"""nginx, Dovecot and the web server, set up as docs/web.md says: documented_test.py PROGRAM QUARROW
[unittest arguments]

The page's commands run as they stand, but for names, folders and ports.
"""
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import unittest

import documented
import dovecot
import nginx
from lmtp_server import PATIENCE, PROGRAM
from web_server import ALICE, Daemon

QUARROW = os.path.abspath(sys.argv.pop(1))
TRUSTED = "login_trusted_networks"
# These change the machine: packages, users, services. What they lead to is tried in another way.
FOR_ADMINISTRATORS = ("apt-get ", "useradd ", "install -d ", "systemctl ", "quarrow-webd --config ",
                      "ln -s ", "nginx -t")


class Commands:
    """The page's commands, with the texts that are replaced in them. Each is to be run once."""

    def __init__(self, replacements):
        self.replacements = replacements
        self.left = [line.strip() for block in documented.code_blocks(nginx.PAGE)
                     if block[0][0] != "#" for line in block
                     if not line.strip().startswith(FOR_ADMINISTRATORS)
                     and not line.strip().endswith(";") and TRUSTED not in line]

    def run(self, word, answers=""):
        """Runs those with `word` in them; gives what they print."""
        found = [line for line in self.left if word in line]
        assert found, f"{nginx.PAGE} has no command with {word}"
        self.left = [line for line in self.left if line not in found]
        commands = "\n".join(found)
        for old, new in self.replacements.items():
            commands = commands.replace(old, str(new))
        done = subprocess.run(["sh", "-e", "-c", commands], input=answers, check=False, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=PATIENCE)
        assert done.returncode == 0, f"{commands}: {done.stdout}{done.stderr}"
        return done.stdout


class DocumentedTest(unittest.TestCase):
    def setUp(self):
        self.place = pathlib.Path(self.enterContext(
            tempfile.TemporaryDirectory(prefix="quarrow-web-page-")))
        self.place.chmod(0o755)
        self.settings = self.place / "webd.conf"
        (self.place / "nginx").mkdir()
        self.commands = Commands({
            "/etc/quarrow/webd.conf": self.settings,
            "/etc/nginx/quarrow-users": self.place / "quarrow-users",
            "user=quarrow-web ": "",  # the test's server is told its user
            " jar ": f" {shlex.quote(str(self.place))}/jar ",
            '"secret"': f'"{dovecot.PASSWORD}"'})
        if os.geteuid() != 0:
            self.commands.replacements["-o root -g www-data "] = ""

    def start_dovecot(self):
        folder = self.place / "dovecot"
        folder.mkdir()
        server = dovecot.Dovecot(folder, self.place, "1M", folder / "quota-status")
        line, = documented.lines(nginx.PAGE, TRUSTED)
        settings = folder / "dovecot.conf"
        settings.write_text(f"{line}\n{settings.read_text()}")
        server.add_user(ALICE)
        server.start()
        self.addCleanup(server.stop)
        self.commands.replacements.update({
            "$(hostname -f)": f"localhost:{server.tls_port}",
            "/etc/ssl/certs/ssl-cert-snakeoil.pem": folder / "certificate"})

    def start_web_server(self):
        group = ["--socket-group", nginx.GROUP] if nginx.GROUP else []
        daemon = Daemon(PROGRAM, "--config", self.settings, *group)
        self.addCleanup(daemon.close)
        subprocess.run([QUARROW, "--root", daemon.folder / "root", "init", "--catalogue",
                        self.place / "fields.xml"], stdout=subprocess.DEVNULL, check=True)
        self.commands.replacements["/run/quarrow-webd/socket"] = daemon.socket
        return daemon

    def start_nginx(self, daemon, change=lambda site: site):
        server = nginx.Nginx(self.place / "nginx", daemon.socket, change)
        server.start()
        self.addCleanup(server.stop)
        self.commands.replacements["https://filters.example.org"] = server.address
        return server

    def curl(self, server, *arguments):
        """The status and the body of an answer about the session."""
        told = subprocess.run(
            ["curl", "--silent", "--cacert", server.certificate, "--write-out", "\n%{http_code}",
             *arguments, f"{server.address}/api/v1/session"], check=True, text=True,
            stdout=subprocess.PIPE, timeout=PATIENCE).stdout
        body, _, status = told.rpartition("\n")
        return int(status), body

    def test_users_sign_in_with_the_password_of_their_mail(self):
        self.start_dovecot()
        self.commands.run("imap=imaps")
        server = self.start_nginx(self.start_web_server())
        self.assertIn("Sign in first.", self.commands.run("--unix-socket"))
        self.assertEqual(401, self.curl(server, "--header", f"X-Quarrow-User: {ALICE}")[0])
        told = self.commands.run("api/v1/session")
        self.assertIn("Sign in first.", told)
        self.assertIn(ALICE, told)
        self.assertIn('"filters":[]', self.commands.run("api/v1/rules"))
        self.check_the_rest()

    def test_nginx_signs_users_in(self):
        def with_own_sign_in(site):
            lines = documented.lines(nginx.PAGE, "auth_basic") + documented.lines(
                nginx.PAGE, "$remote_user")
            return documented.replaced(site, {
                'proxy_set_header X-Quarrow-User "";': "\n".join(lines).replace(
                    "/etc/nginx", str(self.place))})

        self.commands.run("quarrow-users", f"{dovecot.PASSWORD}\n{dovecot.PASSWORD}\n")
        if os.geteuid() != 0:
            (self.place / "quarrow-users").chmod(0o600)
        self.commands.run("trust-proxy-user")
        server = self.start_nginx(self.start_web_server(), with_own_sign_in)
        right = self.curl(server, "--user", f"{ALICE}:{dovecot.PASSWORD}")
        self.assertEqual(200, right[0], right[1])
        self.assertIn(ALICE, right[1])
        forged = ["--header", f"X-Quarrow-User: {ALICE}"]
        self.assertEqual(401, self.curl(server, *forged)[0])
        self.assertEqual(401, self.curl(server, *forged, "--user", f"{ALICE}:wrong")[0])

    def check_the_rest(self):
        """Of the commands, only those of the other test are left."""
        self.assertEqual([], [line for line in self.commands.left
                              if not re.search("quarrow-users|trust-proxy-user", line)])


if __name__ == "__main__":
    dovecot.skip_unless_possible()
    nginx.skip_unless_possible()
    unittest.main()
