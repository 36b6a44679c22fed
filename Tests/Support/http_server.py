#!/usr/bin/env python3
"""An HTTP server for tests: documents, and everything that can go wrong with one.

Binds 127.0.0.1 on a free port and prints the port as its first line. With --trace it prints one line for
each request ("GET /path") when it has read it, and "stalled /path" when a stalled answer begins to wait.
With --until-stdin-closes and --trace it repeats each line of its input, after all that it has said before.

  /document             a small TTML document
  /headers              the request's headers as text, one "Name: value" a line, in their order
  /bytes/N              N bytes of a repeating pattern (0123456789abcdef)
  /status/N             an answer with HTTP status N and a short body
  /redirect/N           N redirects (302), one after another, and then /document
  /redirect-loop        a redirect to itself
  /redirect-to/URL      a redirect to URL (percent-encoded)
  /gzip  /brotli        /document with that content encoding, whatever the request accepts
  /gzip-damaged         /document with a content encoding of gzip that it has not
  /gzip-zeros/N         N MiB of zero bytes, gzip-compressed
  /drip/N/MS            N bytes of the pattern, one every MS milliseconds
  /stall/before         reads the request and never answers
  /stall/headers        sends the headers and never the body
  /stall/body           sends the headers and half the body
  /close/before         closes the connection without an answer
  /close/midway         closes the connection after half the body
  /endless              a body that never ends
  /utf16le  /utf16be    a document in UTF-16 with a byte-order mark
  /utf16le-damaged      the same with a lone surrogate and an odd number of bytes
  /utf8-bom             a document in UTF-8 with a byte-order mark
  /files/PATH           a file below the folder given with --root (no listings)
"""

import argparse
import gzip
import os
import signal
import ssl
import sys
import threading
import urllib.parse
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

DOCUMENT = (
    '<?xml version="1.0" encoding="UTF-8"?>\n'
    '<tt xmlns="http://www.w3.org/ns/ttml" xml:lang="en">'
    '<body><div><p begin="0s" end="2s">Grüße, 字幕, \U0001f600</p></div></body></tt>\n'
)
PATTERN = b"0123456789abcdef"

CONTENT_TYPES = {
    ".ttml": "application/ttml+xml",
    ".xml": "application/ttml+xml",
    ".mp4": "video/mp4",
    ".m4s": "video/iso.segment",
    ".mpd": "application/dash+xml",
    ".png": "image/png",
}


def pattern(size):
    return (PATTERN * (size // len(PATTERN) + 1))[:size]


def brotli_stored(data):
    """A brotli stream (RFC 7932) of uncompressed meta-blocks; the standard library has no encoder."""
    bits = []

    def put(value, count):
        bits.extend((value >> i) & 1 for i in range(count))

    def flush():
        while len(bits) % 8:
            bits.append(0)
        packed = bytes(sum(bit << i for i, bit in enumerate(bits[at:at + 8])) for at in range(0, len(bits), 8))
        bits.clear()
        return packed

    out = b""
    put(0, 1)  # window of 16 bits
    for at in range(0, len(data), 65536):
        block = data[at:at + 65536]
        put(0, 1)  # not the last meta-block
        put(0, 2)  # its length has four nibbles
        put(len(block) - 1, 16)
        put(1, 1)  # uncompressed
        out += flush() + block
    put(3, 2)  # the last meta-block, and empty
    return out + flush()


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    server_version = "TestServer"
    sys_version = ""

    def do_GET(self):
        self.server.trace("GET " + self.path)
        path = urllib.parse.urlsplit(self.path).path
        parts = path.strip("/").split("/")
        route = getattr(self, "route_" + parts[0].replace("-", "_"), None)
        if route is None:
            self.answer(b"no such path\n", status=404)
            return
        try:
            route(parts[1:])
        except (ValueError, IndexError):
            self.answer(b"bad path\n", status=400)

    def answer(self, body, status=200, content_type="application/ttml+xml", **headers):
        self.send_response(status)
        self.send_header("Content-Type", content_type)
        self.send_header("Content-Length", str(len(body)))
        for name, value in headers.items():
            self.send_header(name.replace("_", "-"), value)
        self.end_headers()
        self.wfile.write(body)

    def head(self, length=None):
        """Headers of an answer whose body comes by hand."""
        self.send_response(200)
        self.send_header("Content-Type", "application/ttml+xml")
        if length is not None:
            self.send_header("Content-Length", str(length))
        self.send_header("Connection", "close")
        self.end_headers()
        self.wfile.flush()
        self.close_connection = True

    def stall(self):
        """Waits until the client closes the connection or the server ends."""
        self.close_connection = True
        self.server.trace("stalled " + self.path)
        self.connection.settimeout(None)
        try:
            while self.connection.recv(4096):
                pass
        except OSError:
            pass

    def redirect(self, target):
        self.answer(b"", status=302, Location=target)

    def route_document(self, _):
        self.answer(DOCUMENT.encode("utf-8"))

    def route_headers(self, _):
        lines = "".join("%s: %s\n" % item for item in self.headers.items())
        self.answer(lines.encode("latin-1"), content_type="text/plain")

    def route_bytes(self, parts):
        self.answer(pattern(int(parts[0])))

    def route_status(self, parts):
        status = int(parts[0])
        self.answer(b"" if status in (204, 304) else b"status %d\n" % status, status=status)

    def route_redirect(self, parts):
        left = int(parts[0])
        self.redirect("/redirect/%d" % (left - 1) if left > 1 else "/document")

    def route_redirect_loop(self, _):
        self.redirect("/redirect-loop")

    def route_redirect_to(self, _):
        self.redirect(urllib.parse.unquote(self.path[len("/redirect-to/"):]))

    def route_gzip(self, _):
        self.answer(gzip.compress(DOCUMENT.encode("utf-8")), Content_Encoding="gzip")

    def route_brotli(self, _):
        self.answer(brotli_stored(DOCUMENT.encode("utf-8")), Content_Encoding="br")

    def route_gzip_damaged(self, _):
        self.answer(DOCUMENT.encode("utf-8"), Content_Encoding="gzip")

    def route_gzip_zeros(self, parts):
        self.answer(gzip.compress(bytes(int(parts[0]) << 20)), Content_Encoding="gzip")

    def route_drip(self, parts):
        body, pause = pattern(int(parts[0])), int(parts[1]) / 1000.0
        self.head(len(body))
        for at in range(len(body)):
            if self.server.ending.wait(pause):
                return
            self.wfile.write(body[at:at + 1])
            self.wfile.flush()

    def route_stall(self, parts):
        if parts[0] == "headers":
            self.head(1000)
        elif parts[0] == "body":
            self.head(1000)
            self.wfile.write(pattern(500))
            self.wfile.flush()
        elif parts[0] != "before":
            raise ValueError(parts[0])
        self.stall()

    def route_close(self, parts):
        if parts[0] == "midway":
            self.head(1000)
            self.wfile.write(pattern(500))
            self.wfile.flush()
        elif parts[0] != "before":
            raise ValueError(parts[0])
        self.close_connection = True

    def route_endless(self, _):
        self.head()
        block = pattern(65536)
        while not self.server.ending.is_set():
            self.wfile.write(block)

    def route_utf16le(self, _):
        self.answer(b"\xff\xfe" + DOCUMENT.encode("utf-16-le"))

    def route_utf16be(self, _):
        self.answer(b"\xfe\xff" + DOCUMENT.encode("utf-16-be"))

    def route_utf16le_damaged(self, _):
        self.answer(b"\xff\xfe" + DOCUMENT.encode("utf-16-le") + b"\x00\xd8\x41")

    def route_utf8_bom(self, _):
        self.answer(b"\xef\xbb\xbf" + DOCUMENT.encode("utf-8"))

    def route_files(self, parts):
        root = self.server.root
        path = os.path.realpath(os.path.join(root, *map(urllib.parse.unquote, parts))) if root else ""
        if not root or not path.startswith(root + os.sep) or not os.path.isfile(path):
            self.answer(b"no such file\n", status=404)
            return
        with open(path, "rb") as file:
            body = file.read()
        kind = CONTENT_TYPES.get(os.path.splitext(path)[1], "application/octet-stream")
        self.answer(body, content_type=kind)

    def log_message(self, *_):
        pass


class Server(ThreadingHTTPServer):
    daemon_threads = True
    block_on_close = False
    request_queue_size = 128

    def __init__(self, root, traced):
        self.root = os.path.realpath(root) if root else None
        self.traced = traced
        self.trace_lock = threading.Lock()
        self.ending = threading.Event()
        self.tls = None
        super().__init__(("127.0.0.1", 0), Handler)

    def trace(self, line):
        if self.traced:
            with self.trace_lock:
                print(line, flush=True)

    def finish_request(self, request, client_address):
        # The handshake on the connection's own thread, so that one slow client holds up no other.
        if self.tls is not None:
            request = self.tls.wrap_socket(request, server_side=True)
        try:
            super().finish_request(request, client_address)
        finally:
            if self.tls is not None:
                request.close()

    def handle_error(self, request, client_address):
        # Clients that hang up are what this server is for; anything else is a fault of the test.
        if not isinstance(sys.exc_info()[1], (ConnectionError, ssl.SSLError, TimeoutError)):
            super().handle_error(request, client_address)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tls", nargs=2, metavar=("CERT", "KEY"), help="speak https with this certificate")
    parser.add_argument("--root", help="folder served below /files/")
    parser.add_argument("--trace", action="store_true", help="print a line for each request")
    parser.add_argument("--until-stdin-closes", action="store_true",
                        help="end when the standard input does, and so with the program that started this")
    options = parser.parse_args()

    server = Server(options.root, options.trace)
    if options.tls:
        server.tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        server.tls.load_cert_chain(*options.tls)

    def end(*_):
        server.ending.set()
        # shutdown() waits for serve_forever(), which runs on this thread.
        threading.Thread(target=server.shutdown, daemon=True).start()

    signal.signal(signal.SIGTERM, end)
    signal.signal(signal.SIGINT, end)
    if options.until_stdin_closes:
        def watch():
            for line in sys.stdin:
                server.trace(line.rstrip("\n"))
            end()
        threading.Thread(target=watch, daemon=True).start()

    print(server.server_address[1], flush=True)
    server.serve_forever(poll_interval=0.05)
    server.server_close()
    sys.stdout.flush()
    # Connections that stall are on threads of their own, which nothing waits for.
    os._exit(0)


if __name__ == "__main__":
    main()
