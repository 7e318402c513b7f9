#!/usr/bin/python3
"""Stands in for llama-server: its arguments, its lines on standard error, its HTTP, its failures.

The "model" is a file that begins with GGUF and goes on with a JSON object that says how to behave:
    text            what it answers (it goes out word by word)
    texts           what it answers one after the other; the last one stays
    delta_seconds   between two words
    thinking        thought before the answer, unless --reasoning is off
    raw             sent as it is, in place of text: a template that nobody knows
    load_seconds    until it listens
    context         the most tokens that the memory is enough for
    eats_bytes      memory taken while loading
    ignores_term    stays at SIGTERM
    dies_after      words, then it kills itself with SIGKILL
    fills_context   ends for the length, not by itself
    no_system_role  its template refuses system messages
    kind            "clip": a projector
    truncated       a file that was cut off
    requests        a file to which each request is written, a line each
    allowed         a file without which the last word is not said
"""
import argparse
import http.server
import json
import os
import pathlib
import signal
import sys
import threading
import time

BEGUN = time.monotonic()
SLOT = threading.Lock()


def log(level, text):
    elapsed = time.monotonic() - BEGUN
    print(f"{int(elapsed) // 60}.{int(elapsed) % 60:02}.{int(elapsed * 1000) % 1000:03}.000 {level} srv  llama_server: {text}",
          file=sys.stderr, flush=True)


def fail(*lines):
    for line in lines:
        log("E", line)
    log("E", "exiting due to model loading error")
    sys.exit(1)


class Arguments(argparse.ArgumentParser):
    def error(self, message):
        unknown = message.rpartition("unrecognized arguments: ")[2].split()[0]
        print(f"error: invalid argument: {unknown}", file=sys.stderr)
        sys.exit(1)


def read_arguments():
    parser = Arguments(add_help=False, allow_abbrev=False)
    parser.add_argument("--version", action="store_true")
    parser.add_argument("-m", type=pathlib.Path)
    parser.add_argument("--mmproj", type=pathlib.Path)
    parser.add_argument("--host", default="127.0.0.1")
    parser.add_argument("--port", type=int, default=8080)
    parser.add_argument("--api-key-file", type=pathlib.Path)
    parser.add_argument("--reasoning", choices=["on", "off", "auto"], default="auto")
    parser.add_argument("-c", type=int, default=4096)
    for name in ("--parallel", "--cache-ram", "--reasoning-budget", "-t", "-ngl"):
        parser.add_argument(name)
    for name in ("--no-webui", "--offline", "--jinja"):
        parser.add_argument(name, action="store_true")
    return parser.parse_args()


def read_gguf(path):
    try:
        data = path.read_bytes()
    except OSError as error:
        fail(f"failed to open GGUF file '{path}' ({error.strerror})")
    if len(data) < 4:
        fail("failed to read magic")
    if data[:4] != b"GGUF":
        fail(f"invalid magic characters: '{data[:4].decode(errors='replace')}', expected 'GGUF'")
    try:
        return json.loads(data[4:])
    except ValueError:
        fail("failed to read key-value pairs")


def load(arguments):
    model = read_gguf(arguments.m)
    if model.get("kind") == "clip":
        fail("CLIP cannot be used as main model, use it with --mmproj instead")
    if model.get("truncated"):
        fail("tensor 'output.weight' data is not within the file bounds, model is corrupted or incomplete")
    if arguments.c > model.get("context", arguments.c):
        fail("failed to allocate buffer of size 1207959552", "failed to allocate buffer for kv cache",
             f"failed to create_context with model '{arguments.m}'")
    model["memory"] = bytearray(model.get("eats_bytes", 0))
    for page in range(0, len(model["memory"]), 4096):
        model["memory"][page] = 1
    time.sleep(model.get("load_seconds", 0))
    projector = arguments.mmproj
    if projector and (not projector.exists() or read_gguf(projector).get("kind") != "clip"):
        fail(f"failed to load multimodal model, '{projector}'")
    return model


def parts_of(message):
    content = message.get("content") or ""
    return content if isinstance(content, list) else [{"type": "text", "text": content}]


class Refusal(Exception):
    def __init__(self, code, kind, message, **more):
        super().__init__(message)
        self.code = code
        self.body = {"error": {"code": code, "message": message, "type": kind, **more}}


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True
    arguments = key = model = None

    def log_message(self, *_):
        pass

    def do_GET(self):
        self.answer(self.get)

    def do_POST(self):
        self.answer(self.post)

    def answer(self, work):
        body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        try:
            work(body)
        except Refusal as refusal:
            self.reply(refusal.code, refusal.body)
        except (BrokenPipeError, ConnectionResetError):
            self.close_connection = True

    def reply(self, code, value):
        body = json.dumps(value).encode()
        self.send_response(code)
        self.send_header("Content-Type", "application/json; charset=utf-8")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def admit(self):
        if self.key and self.headers.get("Authorization") != f"Bearer {self.key}":
            raise Refusal(401, "authentication_error", "Invalid API Key")
        if self.model is None:
            raise Refusal(503, "unavailable_error", "Loading model")

    def get(self, _):
        if self.path == "/health":
            if self.model is None:
                raise Refusal(503, "unavailable_error", "Loading model")
            return self.reply(200, {"status": "ok"})
        self.admit()
        if self.path == "/v1/models":
            return self.reply(200, {"object": "list", "data": [{"id": "local", "object": "model"}]})
        raise Refusal(404, "not_found_error", "File Not Found")

    def post(self, body):
        self.admit()
        if self.path != "/v1/chat/completions":
            raise Refusal(404, "not_found_error", "File Not Found")
        try:
            request = json.loads(body)
        except ValueError:
            raise Refusal(500, "server_error", "parse error at line 1, column 2") from None
        if "requests" in self.model:
            with open(self.model["requests"], "a") as seen:
                seen.write(json.dumps(request) + "\n")
        self.examine(request)
        with SLOT:  # one slot: the others wait, without an error and without a header
            self.speak(request)

    def examine(self, request):
        messages = request.get("messages")
        if not messages:
            raise Refusal(400, "invalid_request_error", "'messages' is required")
        if self.model.get("no_system_role") and any(each["role"] == "system" for each in messages):
            raise Refusal(500, "server_error", "System role not supported")
        parts = [part for message in messages for part in parts_of(message)]
        for part in parts:
            if part["type"] != "image_url":
                continue
            if not self.arguments.mmproj:
                raise Refusal(500, "server_error", "image input is not supported - hint: if this is unexpected, you may "
                              "need to provide the mmproj")
            if not part["image_url"]["url"].startswith("data:image/"):
                raise Refusal(400, "invalid_request_error", "Invalid url value")
        tokens = sum(len(part.get("text", "").encode()) for part in parts) // 3
        if tokens > self.arguments.c:
            raise Refusal(400, "exceed_context_size_error", f"request ({tokens} tokens) exceeds the available context size "
                          f"({self.arguments.c} tokens), try increasing it", n_prompt_tokens=tokens, n_ctx=self.arguments.c)

    def deltas(self):
        yield {"role": "assistant", "content": None}
        if self.arguments.reasoning != "off":
            for word in self.model.get("thinking", "").split():
                yield {"reasoning_content": word + " "}
        texts = self.model.get("texts") or [self.model.get("text", "A stand-in wrote this.")]
        text = self.model.get("raw") or (texts.pop(0) if len(texts) > 1 else texts[0])
        words = text.split(" ")
        for number, word in enumerate(words):
            while number == len(words) - 1 and not os.path.exists(self.model.get("allowed", "/")):
                time.sleep(0.02)
            if number == self.model.get("dies_after"):
                os.kill(os.getpid(), signal.SIGKILL)
            yield {"content": " " * bool(number) + word}
            time.sleep(self.model.get("delta_seconds", 0))

    def speak(self, request):
        end = "length" if self.model.get("fills_context") else "stop"
        if not request.get("stream"):
            text = "".join(delta.get("content") or "" for delta in self.deltas())
            return self.reply(200, {"object": "chat.completion", "choices": [
                {"index": 0, "finish_reason": end, "message": {"role": "assistant", "content": text}}]})
        self.send_response(200)
        self.send_header("Content-Type", "text/event-stream")
        self.send_header("Transfer-Encoding", "chunked")
        self.end_headers()
        for delta in self.deltas():
            self.event({"finish_reason": None, "index": 0, "delta": delta})
        self.event({"finish_reason": end, "index": 0, "delta": {}})
        self.chunk(b"data: [DONE]\n\n")
        self.chunk(b"")

    def event(self, choice):
        self.chunk(b"data: " + json.dumps({"choices": [choice], "model": "local", "object": "chat.completion.chunk"}).encode()
                   + b"\n\n")

    def chunk(self, data):
        self.wfile.write(b"%x\r\n%s\r\n" % (len(data), data))
        self.wfile.flush()


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def handle_error(self, request, client_address):
        pass  # a client that went away


def main():
    signal.signal(signal.SIGTERM, lambda *_: os._exit(0))
    arguments = read_arguments()
    if arguments.version:
        print("version: 0.5.0 (stand-in)", file=sys.stderr)
        return
    Handler.arguments = arguments
    Handler.key = arguments.api_key_file.read_text().strip() if arguments.api_key_file else None
    try:
        server = Server((arguments.host, arguments.port), Handler)
    except OSError:
        fail(f"couldn't bind HTTP server socket, hostname: {arguments.host}, port: {arguments.port}")
    threading.Thread(target=server.serve_forever, daemon=True).start()
    model = load(arguments)
    if model.get("ignores_term"):
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
    Handler.model = model
    log("I", "model loaded")
    log("I", f"listening on http://{arguments.host}:{server.server_address[1]}")
    while True:
        signal.pause()


if __name__ == "__main__":
    main()
