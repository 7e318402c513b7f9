#!/usr/bin/python3
"""Our download against curl's, over the loopback to the same disk, in turns:

    benchmarks/download/measure.py [--build FOLDER] [--gigabytes N] [--rounds N]

Prints the throughput of both, their ratio and the most memory that ours took.
"""
import argparse
import http.server
import os
import pathlib
import statistics
import subprocess
import tempfile
import threading
import time

BUDGET = 0.9  # of curl's throughput


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True


def handler(path):
    class Handler(http.server.BaseHTTPRequestHandler):
        protocol_version = "HTTP/1.1"

        def do_GET(self):
            with open(path, "rb") as file:
                size = os.fstat(file.fileno()).st_size
                self.send_response(200)
                self.send_header("Content-Length", str(size))
                self.end_headers()
                self.wfile.flush()
                sent = 0
                while sent < size:
                    sent += os.sendfile(self.connection.fileno(), file.fileno(), sent, size - sent)

        def log_message(self, *_):
            pass

    return Handler


def main():
    here = pathlib.Path(__file__).resolve().parents[2]
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", default=here / "build/release")
    parser.add_argument("--gigabytes", type=float, default=2)
    parser.add_argument("--rounds", type=int, default=5)
    options = parser.parse_args()
    program = pathlib.Path(options.build) / "benchmarks/download_fetch"
    with tempfile.TemporaryDirectory(prefix="tallowfern-bench-", dir=options.build) as folder:
        source, target = pathlib.Path(folder) / "source", pathlib.Path(folder) / "target"
        size = int(options.gigabytes * 1e9)
        with open(source, "wb") as file:
            block = os.urandom(1 << 20)
            for at in range(0, size, len(block)):
                file.write(block[:size - at])
        server = Server(("127.0.0.1", 0), handler(source))
        threading.Thread(target=server.serve_forever, daemon=True).start()
        url = f"http://127.0.0.1:{server.server_port}/"
        ours, curls, memory = [], [], []
        for _ in range(options.rounds):
            seconds, megabytes = subprocess.run([program, url, folder], capture_output=True, text=True,
                                                check=True).stdout.split()
            ours.append(float(seconds))
            memory.append(float(megabytes))
            begun = time.monotonic()
            subprocess.run(["curl", "-sS", "-o", target, url], check=True)
            curls.append(time.monotonic() - begun)
            target.unlink()
    ratio = statistics.median(curls) / statistics.median(ours)
    for name, times in (("ours", ours), ("curl", curls)):
        print(f"{name}: {size / statistics.median(times) / 1e6:.0f} MB/s (median of {options.rounds}, "
              f"{min(times):.2f} to {max(times):.2f} s)")
    print(f"ratio {ratio:.2f} (budget {BUDGET}{'' if ratio >= BUDGET else ', BELOW'}), memory at most {max(memory):.1f} MB "
          f"for a file of {size / 1e6:.0f} MB")


if __name__ == "__main__":
    main()
