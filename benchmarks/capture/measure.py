#!/usr/bin/python3
"""How long it takes to read what is selected in the program in front, on a private virtual desktop:

    scripts/desktop benchmarks/capture/measure.py [--build FOLDER] [--rounds N] [--words N]

Prints one line per toolkit that is installed: median, 95th percentile, and the most when the program does not answer.
A figure over its budget is marked.
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import tempfile

MEDIAN_BUDGET, STOPPED_BUDGET = 50, 200  # milliseconds
TIMER_SLACK = 10  # of a deadline, on a busy machine


def programs(build, folder, words):
    text = folder / "text.txt"
    text.write_text("A sentence with an emoji \N{GRINNING FACE}. " + "word " * words)
    page = folder / "page.html"
    page.write_text(f"<meta charset=utf-8><textarea autofocus>{text.read_text()}</textarea>")
    return {
        "GTK 3": ["mousepad", "--disable-server", text],
        "Qt": [build / "tests/platform/accessibility/text_editor", text],
        "GTK 4": ["gnome-text-editor", "--standalone", text],
        "Chromium": ["chromium", "--no-sandbox", "--disable-gpu", "--no-first-run", "--password-store=basic",
                     "--force-renderer-accessibility", f"--user-data-dir={os.environ['HOME']}/chromium", page],
    }


def main():
    here = pathlib.Path(__file__).resolve().parents[2]
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, default=here / "build/release")
    parser.add_argument("--rounds", type=int, default=200)
    parser.add_argument("--words", type=int, default=200)
    options = parser.parse_args()
    print(f"{'milliseconds':12} {'median':>8} {'95 %':>8} {'stopped':>8}   budget {MEDIAN_BUDGET} / {STOPPED_BUDGET}")
    with tempfile.TemporaryDirectory(prefix="tallowfern-bench-") as folder:
        for name, command in programs(options.build.resolve(), pathlib.Path(folder), options.words).items():
            if not shutil.which(command[0]):
                print(f"{name:12} {command[0]} is not installed")
                continue
            output = subprocess.run([options.build / "benchmarks/capture_selection", str(options.rounds), *command],
                                    stdout=subprocess.PIPE, text=True, check=True).stdout
            median, high, stopped = map(float, output.split())
            mark = "   OVER" if median > MEDIAN_BUDGET or stopped > STOPPED_BUDGET + TIMER_SLACK else ""
            print(f"{name:12} {median:8.2f} {high:8.2f} {stopped:8.2f}{mark}", flush=True)


if __name__ == "__main__":
    main()
