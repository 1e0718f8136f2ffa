"""An nginx of the tests' own in front of the web server, with the site that docs/web.md shows.

Only names and ports are changed, so that the page can't say what does not work. It listens on the
loopback interface, with a certificate of its own, and runs as whoever runs the test; where that is
the superuser, what speaks with clients runs as www-data.
"""
import os
import pathlib
import shutil
import socket
import subprocess

import certificate
import documented
from lmtp_server import PATIENCE, free_port, until
from set_up import skip

PAGE = pathlib.Path(__file__).parents[2] / "docs" / "web.md"
PATH = os.environ["PATH"] + ":/usr/sbin"  # where Debian has nginx, and not all users look
GROUP = "www-data" if os.geteuid() == 0 else None  # who may open the web server's socket

SETTINGS = """{user}
daemon off;
pid {folder}/pid;
error_log {folder}/log;
events {{}}
http {{
  access_log off;
  client_body_temp_path {folder}/client;
  proxy_temp_path {folder}/proxy;
  fastcgi_temp_path {folder}/fastcgi;
  uwsgi_temp_path {folder}/uwsgi;
  scgi_temp_path {folder}/scgi;
{site}
}}
"""


def skip_unless_possible():
    if not shutil.which("nginx", path=PATH):
        skip("nginx is absent; scripts/install-page-tools installs it")


class Nginx:
    """Between start() and stop(), serves what the web server behind `web_socket` answers, at
    `address`. `change` gets the documented site, and gives the one to use."""

    def __init__(self, folder, web_socket, change=lambda site: site):
        self.folder = folder
        self.folder.chmod(0o755)
        self.port = free_port()
        self.address = f"https://localhost:{self.port}"
        self.certificate = folder / "certificate"
        self._process = None
        certificate.make(folder)
        site = change(documented.file(PAGE, "/etc/nginx/sites-available/quarrow"))
        self._settings = folder / "nginx.conf"
        self._settings.write_text(SETTINGS.format(
            folder=folder, user="user www-data;" if GROUP else "",
            site=documented.replaced(site, {
                "listen 443 ssl": f"listen 127.0.0.1:{self.port} ssl",
                "  listen [::]:443 ssl;\n": "",
                "filters.example.org": "localhost",
                "/etc/ssl/certs/ssl-cert-snakeoil.pem": self.certificate,
                "/etc/ssl/private/ssl-cert-snakeoil.key": folder / "key",
                "/run/quarrow-webd/socket": web_socket})))

    def start(self):
        self._process = subprocess.Popen(
            ["nginx", "-c", self._settings, "-e", self.folder / "log"],
            env={**os.environ, "PATH": PATH}, stderr=subprocess.DEVNULL)
        until(self._is_ready, "nginx takes connections")

    def _is_ready(self):
        assert self._process.poll() is None, self.log()
        with socket.socket() as probe:
            return probe.connect_ex(("127.0.0.1", self.port)) == 0

    def stop(self):
        self._process.terminate()
        self._process.wait(PATIENCE)

    def log(self):
        path = self.folder / "log"
        return path.read_text(errors="replace") if path.exists() else ""
