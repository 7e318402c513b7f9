#!/usr/bin/python3
"""Measures the application as a user meets it, inside a private virtual desktop:

    scripts/desktop benchmarks/flow/measure.py [--build FOLDER] [--rounds N] [--rest SECONDS]
                                                     [--recording SECONDS]

Prints one line per figure: name, minimum, median, maximum, budget. A figure over its budget is marked; the exit status
stays 0, since a busy machine is no fault of the program.
"""
import argparse
import ctypes
import json
import math
import os
import pathlib
import random
import select
import signal
import statistics
import subprocess
import sys
import tempfile
import time

import dbus

SERVICE, PATH, INTERFACE = "com.tallowfern.Tallowfern", "/com/tallowfern/Tallowfern", "com.tallowfern.Control1"
CONTROL_KEYS = (37, 105)  # X key codes of the two Ctrl keys, with which the chord begins
SETTLE = 0.075  # the fixed wait between activation and chord, seconds
IN_MODIFY = 0x2
IN_CREATE = 0x100


class Application:
    """The tray application, started on its own data and configuration folders."""

    def __init__(self, build, history_items=0, environment=None, preferences=None):
        self.folder = tempfile.TemporaryDirectory(prefix="tallowfern-bench-")
        root = pathlib.Path(self.folder.name)
        self.data = root / "data"
        configuration = root / "config" / "tallowfern"
        configuration.mkdir(parents=True, mode=0o700)
        (self.data / "Tallowfern").mkdir(parents=True, mode=0o700)
        (configuration / "preferences.json").write_text(json.dumps(preferences or {}))
        if history_items:
            self.write_history(history_items)
        self.environment = os.environ | {"XDG_DATA_HOME": str(self.data), "XDG_CONFIG_HOME": str(root / "config")}
        self.environment |= environment or {}
        self.program = pathlib.Path(build) / "lib/tallowfern/tallowfern-app"
        self.process = None

    def write_history(self, count):
        item = {"createdAt": "2026-01-01T08:00:00Z", "duration": 4.2, "modelID": "pocket",
                "text": "A sentence of an ordinary length, as people say it when they dictate a short answer to a mail."}
        items = [item | {"id": f"00000000-0000-4000-8000-{number:012X}"} for number in range(count)]
        (self.data / "Tallowfern" / "history.json").write_text(json.dumps(items, indent=4, sort_keys=True))

    def start(self):
        """Returns the seconds until the application answers, which it does from the moment its hot keys work."""
        begun = time.monotonic()
        self.process = subprocess.Popen([self.program], env=self.environment, stdout=subprocess.DEVNULL)
        while True:
            try:
                self.status()
                return time.monotonic() - begun
            except dbus.DBusException:
                if self.process.poll() is not None:
                    sys.exit("the application has ended")
                time.sleep(0.001)

    def status(self):
        bus = dbus.SessionBus()
        message = dbus.lowlevel.MethodCallMessage(SERVICE, PATH, INTERFACE, "Status")
        message.set_auto_start(False)
        return json.loads(bus.send_message_with_reply_and_block(message, 5).get_args_list()[0])

    def wait_for(self, case, seconds=60):
        deadline = time.monotonic() + seconds
        while self.status()["status"]["case"] != case:
            if time.monotonic() > deadline:
                sys.exit(f"the application did not become {case}")
            time.sleep(0.005)

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait()

    def memory(self):
        text = pathlib.Path(f"/proc/{self.process.pid}/smaps_rollup").read_text()
        return next(int(line.split()[1]) / 1024 for line in text.splitlines() if line.startswith("Pss:"))

    def processor_time(self):
        fields = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def wakeups(self):
        total = 0
        for status in pathlib.Path(f"/proc/{self.process.pid}/task").glob("*/status"):
            total += next(int(line.split()[1]) for line in status.read_text().splitlines()
                          if line.startswith("voluntary_ctxt_switches"))
        return total


def press(*keys):
    subprocess.run(["xdotool", "key", *keys], check=True)


class FolderWatch:
    """Tells when a file in the folder grows."""

    def __init__(self, folder):
        self.libc = ctypes.CDLL(None, use_errno=True)
        self.descriptor = self.libc.inotify_init1(os.O_NONBLOCK | os.O_CLOEXEC)
        self.libc.inotify_add_watch(self.descriptor, os.fsencode(folder), IN_MODIFY | IN_CREATE)
        self.folder = pathlib.Path(folder)

    def wait_for_samples(self, header=44):
        while True:
            if not select.select([self.descriptor], [], [], 10)[0]:
                sys.exit("no sample arrived")
            os.read(self.descriptor, 65536)
            if any(file.stat().st_size > header for file in self.folder.glob("*.wav")):
                return time.monotonic()

    def close(self):
        os.close(self.descriptor)


def first_sample(application, rounds):
    application.start()
    folder = application.data / "Tallowfern" / "TemporaryRecordings"
    figures = []
    for _ in range(rounds):
        watch = FolderWatch(folder)
        subprocess.run(["xdotool", "keydown", "alt"], check=True)
        pressed = time.monotonic()  # the start of the program that presses the key counts too: some milliseconds
        with subprocess.Popen(["xdotool", "keydown", "space"]):
            figures.append(watch.wait_for_samples() - pressed)
        watch.close()
        subprocess.run(["xdotool", "keyup", "space", "keyup", "alt"], check=True)
        application.wait_for("recording")
        press("Escape")
        application.wait_for("idle")
    application.stop()
    return figures


def chord_after_engine(build, rounds):
    """From the end of the engine to the first key of the chord in the target, less the fixed wait."""
    with tempfile.TemporaryDirectory(prefix="tallowfern-bench-") as folder:
        ended = pathlib.Path(folder) / "ended"
        engine = pathlib.Path(folder) / "whisper-cli"
        engine.write_text("#!/usr/bin/python3\nimport time, sys\nprint(' Ten words of no importance, spoken for the clock.')\n"
                          f"sys.stdout.flush()\nopen({str(ended)!r}, 'w').write(repr(time.monotonic()))\n"
                          "import os\nos._exit(0)\n")
        engine.chmod(0o755)
        subprocess.run(["xclip", "-selection", "clipboard"], input=b"what the user had", check=True)
        target = subprocess.Popen([pathlib.Path(build) / "benchmarks/chord_target"], stdout=subprocess.PIPE, text=True)
        while target.stdout.readline().strip() != "ready":
            pass
        application = Application(build, environment={"TALLOWFERN_WHISPER_CLI_PATH": str(engine)})
        application.start()
        figures = []
        for _ in range(rounds):
            press("alt+space")
            application.wait_for("recording")
            time.sleep(0.3)
            press("alt+space")
            while True:
                word, code, when = target.stdout.readline().split()
                if int(code) in CONTROL_KEYS:
                    break
            figures.append(float(when) - float(ended.read_text()) - SETTLE)
            application.wait_for("idle")
        application.stop()
        target.kill()
        return figures


def at_rest(build, seconds):
    application = Application(build)
    application.start()
    time.sleep(10)  # the sound server puts its devices to sleep some seconds after the start, and tells of it
    before = application.wakeups()
    time.sleep(seconds)
    wakeups = (application.wakeups() - before) / seconds
    memory = application.memory()
    application.stop()
    return wakeups, memory


def while_recording(build, seconds):
    """The processor that the application takes with the overlay up and somebody speaking, and its memory afterwards."""
    application = Application(build)
    application.start()
    press("alt+space")
    application.wait_for("recording")
    babble = subprocess.Popen(["paplay", "--raw", "--rate=16000", "--channels=1", "-d", "vmic_in"], stdin=subprocess.PIPE)
    noise = random.Random(1)
    babble.stdin.write(b"".join(int(noise.gauss(0, 1500 + 1400 * math.sin(i / 900))).to_bytes(2, "little", signed=True)
                                for i in range(int(16000 * (seconds + 1)))))
    babble.stdin.close()
    before = application.processor_time()
    time.sleep(seconds)
    share = 100 * (application.processor_time() - before) / seconds
    press("Escape")
    application.wait_for("idle")
    babble.kill()
    time.sleep(1)
    memory = application.memory()
    application.stop()
    return share, memory


def tell(name, figures, unit, budget):
    figures = [figure * (1000 if unit == "ms" else 1) for figure in figures]
    mark = "" if statistics.median(figures) <= budget else "   OVER"
    print(f"{name:42} {min(figures):8.2f} {statistics.median(figures):8.2f} {max(figures):8.2f} {unit:4} budget {budget}{mark}",
          flush=True)


def main():
    here = pathlib.Path(__file__).resolve().parents[2]
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", default=here / "build/release")
    parser.add_argument("--rounds", type=int, default=15)
    parser.add_argument("--rest", type=float, default=60)
    parser.add_argument("--recording", type=float, default=20)
    options = parser.parse_args()
    print(f"{'':42} {'minimum':>8} {'median':>8} {'maximum':>8}")
    starts = []
    for _ in range(options.rounds):
        application = Application(options.build, history_items=10000)
        starts.append(application.start())
        application.stop()
    tell("start to working hot keys, 10,000 items", starts, "ms", 400)
    tell("hot key press to first sample", first_sample(Application(options.build), options.rounds), "ms", 50)
    tell("end of engine to chord, beyond the waits", chord_after_engine(options.build, options.rounds), "ms", 15)
    wakeups, memory = at_rest(options.build, options.rest)
    tell("wakeups at rest", [wakeups], "/s", 0.2)
    tell("memory at rest (PSS)", [memory], "MB", 30)
    share, memory = while_recording(options.build, options.recording)
    tell("processor with the overlay, recording", [share], "%", 5)
    tell("memory after the overlay was shown (PSS)", [memory], "MB", 30)


if __name__ == "__main__":
    main()
