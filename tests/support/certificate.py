"""A certificate for localhost that nobody but itself vouches for."""
import subprocess


def make(folder):
    """Writes the files `key` and `certificate` into the folder."""
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                    "ec_paramgen_curve:prime256v1", "-nodes", "-subj", "/CN=localhost",
                    "-keyout", folder / "key", "-out", folder / "certificate"],
                   check=True, stderr=subprocess.DEVNULL)
