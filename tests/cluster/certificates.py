"""An authority of the test's own, and certificates that it makes out."""
import subprocess

SETTINGS = """[ca]
default_ca = authority
[authority]
new_certs_dir = {folder}
database = {folder}/index
certificate = {folder}/authority.pem
private_key = {folder}/authority.key
rand_serial = yes
default_md = sha256
policy = any
copy_extensions = copy
unique_subject = no
[any]
commonName = supplied
"""
LONG_AGO, YESTERDAY, SOME_DAY = "20200101000000Z", "20200102000000Z", "20491231000000Z"
KEY = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"]


def openssl(*words):
    subprocess.run(["openssl", *map(str, words)], check=True, capture_output=True)


class Authority:
    """Vouches for machines by their names."""

    def __init__(self, folder):
        self._folder = folder
        self.certificate = folder / "authority.pem"
        self._settings = folder / "settings"
        self._settings.write_text(SETTINGS.format(folder=folder))
        (folder / "index").touch()
        openssl("req", "-x509", *KEY, "-subj", "/CN=authority", "-days", 3650, "-keyout",
                folder / "authority.key", "-out", self.certificate)

    def make_out(self, name, path, expired=False):
        """Writes certificate and key for `name` into the file `path`, in place of what it had."""
        key, request, signed = (self._folder / f"new.{kind}" for kind in ("key", "csr", "crt"))
        openssl("req", "-new", *KEY, "-subj", f"/CN={name}", "-addext",
                f"subjectAltName=DNS:{name}", "-keyout", key, "-out", request)
        openssl("ca", "-batch", "-config", self._settings, "-startdate", LONG_AGO, "-enddate",
                YESTERDAY if expired else SOME_DAY, "-in", request, "-out", signed, "-notext")
        path.write_text(signed.read_text() + key.read_text())
