"""An agent runtime that behaves as its first argument says."""
import json
import os
import random
import signal
import sys
import time

MODE = sys.argv[1]
SIZE = 100 << 20


def read_request():
    line = sys.stdin.buffer.readline()
    return json.loads(line)["requestID"] if line else sys.exit(0)


def event(identifier, kind, **more):
    return json.dumps({"version": 1, "requestID": identifier, "kind": kind, **more}).encode() + b"\n"


def write(data, descriptor=1):
    while data:
        data = data[os.write(descriptor, data):]


if MODE == "deaf":
    time.sleep(600)
while True:
    request = read_request()
    if MODE == "stays":
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
        write(event(request, "delta", text="here"))
        time.sleep(600)
    elif MODE == "dies":
        write(b"one\ntwo\n", 2)
        write(event(request, "delta", text="half")[:20])
        os.kill(os.getpid(), signal.SIGSEGV)
    elif MODE == "bytes":
        for byte in event(request, "phase", phase="generating") + event(request, "completed", text="Zürich\n😀"):
            write(bytes([byte]))
    elif MODE == "garbage":
        random.seed(7)
        write(random.randbytes(1 << 16) + b"\n")
    elif MODE == "floods":
        write(event(request, "phase", phase="generating"))
        line = event(request, "delta", text="x" * 1000)
        write(line * (SIZE // len(line)))
        write(event(request, "completed", text="enough"))
    elif MODE == "floods-errors":
        write(b"noise " * (SIZE // 6), 2)
        write(event(request, "completed", text="enough"))
    elif MODE == "rambles":
        write(b"x" * SIZE)
        write(b"\n")
    elif MODE == "rambles-later":
        write(event(request, "completed", text="first"))
        write(b"x" * SIZE)
