#!/usr/bin/python3
"""A model server whose words are the moments at which it sent them: the first one the arrival of the request. It is
started as llama-server is, and answers only chats."""
import http.server
import json
import os
import socket
import sys
import time

PIECES = int(os.environ.get("TALLOWFERN_BENCH_PIECES", "20"))
PAUSE = 0.05  # seconds between two pieces


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def setup(self):
        super().setup()
        self.connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

    def do_POST(self):
        self.rfile.read(int(self.headers["Content-Length"]))
        arrival = time.monotonic()
        self.send_response(200)
        self.send_header("Content-Type", "text/event-stream")
        self.send_header("Transfer-Encoding", "chunked")
        self.end_headers()
        self.piece({"content": f"{arrival:.6f} "})
        for _ in range(PIECES):
            time.sleep(PAUSE)
            self.piece({"content": f"{time.monotonic():.6f} "})
        self.piece({}, "stop")
        self.chunk(b"data: [DONE]\n\n")
        self.chunk(b"")

    def piece(self, delta, reason=None):
        choice = {"index": 0, "delta": delta, "finish_reason": reason}
        self.chunk(b"data: " + json.dumps({"choices": [choice]}).encode() + b"\n\n")

    def chunk(self, data):
        self.wfile.write(f"{len(data):x}\r\n".encode() + data + b"\r\n")
        self.wfile.flush()

    def log_message(self, *_):
        pass


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
print(f"0.00.100.000 I srv  llama_server: listening on http://127.0.0.1:{server.server_port}", file=sys.stderr, flush=True)
server.serve_forever()
