"""What a test in a browser can do to the web server: it sends POST /kill or POST /start to an
address of this program, and has an answer when that is done."""
import contextlib
import http.server
import threading

from lmtp_server import PATIENCE


def kill(daemon):
    """As if the power failed, for this server."""
    daemon.process.kill()
    daemon.process.wait(PATIENCE)


@contextlib.contextmanager
def server_control(daemon):
    """Gives the address."""
    orders = {"/kill": lambda: kill(daemon), "/start": daemon.run}

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_POST(self):
            orders[self.path]()
            self.send_response(204)
            self.end_headers()

        def log_message(self, *_):
            pass

    with http.server.HTTPServer(("127.0.0.1", 0), Handler) as server:
        thread = threading.Thread(target=server.serve_forever)
        thread.start()
        try:
            yield f"http://127.0.0.1:{server.server_port}"
        finally:
            server.shutdown()
            thread.join()
