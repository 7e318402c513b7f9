"""Cloud services of the tests: HTTPS on this computer, with a certificate that only the tests trust, and answers by
script."""
import http.server
import json
import pathlib
import ssl
import subprocess
import threading
import time


def certificate(folder):
    """A certificate for 127.0.0.1 and its key, fresh for this folder."""
    chain, key = folder / "service.pem", folder / "service.key"
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                    "-keyout", key, "-out", chain, "-days", "2", "-subj", "/CN=tests",
                    "-addext", "subjectAltName=IP:127.0.0.1"], check=True, capture_output=True)
    return chain, key


def events(*values, end=b""):
    """Server-sent events with these JSON values."""
    return b"".join(b"data: " + json.dumps(value).encode() + b"\n\n" for value in values) + end


ANSWERS = {
    "openAI": lambda *words: events(*({"type": "response.output_text.delta", "delta": word} for word in words),
                                    {"type": "response.completed"}),
    "gemini": lambda *words: events(*({"candidates": [{"content": {"parts": [{"text": word}]}}]} for word in words),
                                    {"candidates": [{"finishReason": "STOP"}]}),
    "mistral": lambda *words: events(*({"choices": [{"delta": {"content": word}}]} for word in words),
                                     {"choices": [{"delta": {}, "finish_reason": "stop"}]}, end=b"data: [DONE]\n\n"),
}


class Reply:
    """Sent in pieces of `piece` bytes with pauses between them; `cut` closes the connection without the end.
    What follows the first piece waits for the event `until`."""

    def __init__(self, body=b"", status=200, headers=None, piece=None, pause=0, cut=False, stall=0, until=None):
        self.body, self.status, self.headers = body, status, headers or {}
        self.piece, self.pause, self.cut, self.stall = piece or max(1, len(body)), pause, cut, stall
        self.until = until


class Service(http.server.ThreadingHTTPServer):
    """Answers each post with the next reply; the last one stays."""
    daemon_threads = True

    def __init__(self, folder, *replies):
        super().__init__(("127.0.0.1", 0), Handler)
        self.replies, self.requests = list(replies), []
        chain, key = certificate(pathlib.Path(folder))
        self.authority = chain
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(chain, key)
        self.socket = context.wrap_socket(self.socket, server_side=True, do_handshake_on_connect=False)
        threading.Thread(target=self.serve_forever, daemon=True).start()

    @property
    def address(self):
        return f"https://127.0.0.1:{self.server_port}"

    def handle_error(self, *_):
        pass  # clients that refuse or leave belong to the tests


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        service = self.server
        service.requests.append((self.path, dict(self.headers), json.loads(body)))
        reply = service.replies.pop(0) if len(service.replies) > 1 else service.replies[0]
        if reply.status == 0:
            self.close_connection = True
            return
        self.send_response(reply.status)
        for name, value in reply.headers.items():
            self.send_header(name, value)
        self.send_header("Transfer-Encoding", "chunked")
        self.end_headers()
        for at in range(0, len(reply.body), reply.piece):
            if at and reply.until:
                reply.until.wait()
            data = reply.body[at:at + reply.piece]
            self.wfile.write(f"{len(data):x}\r\n".encode() + data + b"\r\n")
            self.wfile.flush()
            time.sleep(reply.pause)
        time.sleep(reply.stall)
        if reply.cut:
            self.close_connection = True
        else:
            self.wfile.write(b"0\r\n\r\n")

    def log_message(self, *_):
        pass
