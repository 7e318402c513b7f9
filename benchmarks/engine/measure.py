#!/usr/bin/python3
"""Our speech engine against the library's own program, on the same model and recordings:

    benchmarks/engine/measure.py [--ours PROGRAM] [--upstream PROGRAM] [--rounds N]

Upstream is built by `scripts/engines --upstream`, which prints its path. Times are whole processes as the application
starts them, in turns, so that both meet the same machine; warm, and cold with the model dropped from memory before.
"""
import argparse
import csv
import os
import pathlib
import statistics
import subprocess
import time
import wave

ROOT = pathlib.Path(__file__).resolve().parents[2]
MODEL = ROOT / "resources/models/ggml-tiny.en-q5_1.bin"
SAMPLES = ROOT / "resources/samples"
BUDGET = 0.6  # of upstream's time


def drop_from_memory(path):
    with open(path, "rb") as file:
        os.fsync(file.fileno())
        os.posix_fadvise(file.fileno(), 0, 0, os.POSIX_FADV_DONTNEED)


def run(program, recording, threads):
    begun = time.monotonic()
    done = subprocess.run([program, "--model", MODEL, "--file", recording, "--no-timestamps", "--no-prints", "--print-progress",
                           "--language", "en", "--threads", str(threads), "--suppress-nst"], capture_output=True, check=True)
    return time.monotonic() - begun, done.stdout.decode().strip()


def seconds_of(recording):
    with wave.open(str(recording)) as file:
        return file.getnframes() / file.getframerate()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--ours", default=ROOT / "build/release/lib/tallowfern/whisper-cli")
    parser.add_argument("--upstream")
    parser.add_argument("--rounds", type=int, default=3)
    options = parser.parse_args()
    upstream = options.upstream or subprocess.run([ROOT / "scripts/engines", "--upstream"], capture_output=True, text=True,
                                                  check=True).stdout.strip().splitlines()[-1]
    with open(SAMPLES / "transcripts.tsv", newline="") as table:
        recordings = [SAMPLES / row["file"] for row in csv.DictReader(table, delimiter="\t")]
    recordings = [recording for recording in recordings if 3.5 <= seconds_of(recording) <= 6.5]
    print(f"{len(recordings)} recordings of {sum(map(seconds_of, recordings)) / len(recordings):.1f} s on average, "
          f"median of {options.rounds} rounds each")
    for cold in (False, True):
        sums, same = [0.0, 0.0], True
        for recording in recordings:
            times, texts = ([], []), [None, None]
            for _ in range(options.rounds):
                for which, program in enumerate((options.ours, upstream)):
                    if cold:
                        drop_from_memory(MODEL)
                    seconds, texts[which] = run(program, recording, 2)
                    times[which].append(seconds)
            same = same and texts[0] == texts[1]
            for which in (0, 1):
                sums[which] += statistics.median(times[which])
        ratio = sums[0] / sums[1]
        print(f"{'cold' if cold else 'warm'}: ours {sums[0] / len(recordings):.2f} s, upstream {sums[1] / len(recordings):.2f} s, "
              f"ratio {ratio:.2f} (budget {BUDGET}{'' if ratio <= BUDGET else ', OVER'}), "
              f"words {'the same' if same else 'DIFFER'}")


if __name__ == "__main__":
    main()
