#!/usr/bin/python3
"""Our SHA-256 of a file against sha256sum's, in turns, on a file that the memory holds:

    benchmarks/hashing/measure.py [--build FOLDER] [--megabytes N] [--rounds N]

Prints the throughput of both and the ratio of the times. Both are whole processes; ours starts Qt's library too.
"""
import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

BUDGET = 1.0  # of the time of sha256sum


def timed(command):
    begun = time.monotonic()
    output = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    return time.monotonic() - begun, output.split()[0]


def main():
    here = pathlib.Path(__file__).resolve().parents[2]
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", default=here / "build/release")
    parser.add_argument("--megabytes", type=int, default=1000)
    parser.add_argument("--rounds", type=int, default=5)
    options = parser.parse_args()
    program = pathlib.Path(options.build) / "benchmarks/hashing_hash"
    with tempfile.NamedTemporaryFile(prefix="tallowfern-bench-", dir=options.build) as file:
        block = os.urandom(1_000_000)
        for _ in range(options.megabytes):
            file.write(block)
        file.flush()
        ours, theirs = [], []
        for _ in range(options.rounds):
            seconds, digest = timed([program, file.name])
            ours.append(seconds)
            seconds, expected = timed(["sha256sum", file.name])
            theirs.append(seconds)
            if digest != expected:
                sys.exit(f"wrong digest: {digest} instead of {expected}")
    for name, times in (("ours", ours), ("sha256sum", theirs)):
        print(f"{name}: {options.megabytes / statistics.median(times):.0f} MB/s (median of {options.rounds}, "
              f"{min(times):.2f} to {max(times):.2f} s)")
    ratio = statistics.median(ours) / statistics.median(theirs)
    print(f"ratio of the times {ratio:.2f} (budget {BUDGET}{'' if ratio <= BUDGET else ', ABOVE'})")


if __name__ == "__main__":
    main()
