"""What the desktop tests do to a private virtual desktop: start Tallowfern, press keys, speak, copy, wait for events.

Runs inside `scripts/desktop`; TALLOWFERN_BUILD names the build tree.
"""
import json
import os
import pathlib
import subprocess
import tempfile
import threading
import time
import unittest

PATIENCE = 60  # seconds for each event; a slow machine is no failure
TOGGLE, TALK, CANCEL = os.environ.get("TALLOWFERN_TOGGLE", "alt+space"), "ctrl+alt+space", "Escape"

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ["TALLOWFERN_BUILD"])
COMMAND = str(BUILD / "bin/tallowfern")
SAMPLES = SOURCE / "resources/samples"
DESKTOP = pathlib.Path(os.environ["TALLOWFERN_DESKTOP"])


def until(what, condition, patience=PATIENCE):
    """The first true value of the condition, for programs that tell nobody when they are done."""
    deadline = time.monotonic() + patience
    while not (value := condition()):
        if time.monotonic() > deadline:
            raise AssertionError(f"{what}: not within {patience} s")
        time.sleep(0.02)
    return value


def run(*command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, timeout=PATIENCE, text=True, **options).stdout.strip()


def press(keys):
    run("xdotool", "key", keys, check=True)


def hold(keys):
    run("xdotool", "keydown", keys, check=True)


def release(keys):
    run("xdotool", "keyup", keys, check=True)


def speak(recording):
    """Into the virtual microphone, with the half second of silence that people leave before they press a key."""
    run("paplay", "-d", "vmic_in", str(recording), check=True)
    subprocess.run(["paplay", "--raw", "--rate=16000", "--channels=1", "-d", "vmic_in"], input=bytes(16000), check=True,
                   timeout=PATIENCE)


class Microphone:
    """The virtual microphone of the desktop, to be pulled out and put back."""

    @staticmethod
    def unplug():
        for module in run("pactl", "list", "short", "modules", check=True).splitlines():
            if "module-remap-source" in module:
                run("pactl", "unload-module", module.split()[0], check=True)

    @staticmethod
    def plug():
        Microphone.unplug()
        run("pactl", "load-module", "module-remap-source", "source_name=vmic", "master=vmic_in.monitor", "channel_map=mono",
            check=True)
        run("pactl", "set-default-source", "vmic", check=True)


class Clipboard:
    """A program of somebody else that owns the clipboard for as long as this object lives, or until another copies."""

    def __init__(self, text):
        self.process = subprocess.Popen(["xclip", "-quiet", "-selection", "clipboard"], stdin=subprocess.PIPE,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.process.stdin.write(text.encode())
        self.process.stdin.close()
        until("the clipboard to be taken", lambda: clipboard() == text)

    def end(self):
        self.process.kill()
        self.process.wait()


def clipboard():
    try:
        return subprocess.run(["xclip", "-o", "-selection", "clipboard"], stdout=subprocess.PIPE, text=True, timeout=5,
                              stderr=subprocess.DEVNULL).stdout
    except subprocess.TimeoutExpired:
        return None


class FakeEngine:
    """A program in the place of the speech engine, which a test may replace between two Dictations."""

    def __init__(self, path, text):
        self.path = path
        self.says(text)

    def becomes(self, script):
        draft = self.path.with_suffix(".new")
        draft.write_text("#!/bin/sh\n" + script + "\n")
        draft.chmod(0o700)
        draft.rename(self.path)

    def says(self, text):
        self.becomes(f"cat <<'END'\n{text}\nEND")

    def says_later(self, text):
        """When the file that is returned exists."""
        allowed = self.path.with_suffix(".allowed")
        allowed.unlink(missing_ok=True)
        self.becomes(f"until [ -e '{allowed}' ]; do sleep 0.02; done; echo '{text}'")
        return allowed


class Tallowfern:
    """The application with folders of its own, followed through its control command."""

    def __init__(self, folder, preferences=None, environment=None):
        self.folder = folder
        self.data = folder / "data/Tallowfern"
        self.preferences = folder / "config/tallowfern/preferences.json"
        self.history = self.data / "history.json"
        self.errors = folder / "stderr"
        self.environment = os.environ | {"XDG_DATA_HOME": str(folder / "data"), "XDG_CACHE_HOME": str(folder / "cache"),
                                         "XDG_CONFIG_HOME": str(folder / "config")} | (environment or {})
        self.preferences.parent.mkdir(parents=True, exist_ok=True)
        if preferences is not None:
            self.preferences.write_text(json.dumps(preferences))
        self.process = None

    def start(self, *wrapper):
        with open(self.errors, "wb") as errors:
            self.process = subprocess.Popen([*wrapper, COMMAND], env=self.environment, stderr=errors)
        self.reports, self.seen, self.change = [], 0, threading.Condition()
        threading.Thread(target=self._follow, args=(self.process,), daemon=True).start()
        self.wait("a report", lambda report: True)
        return self

    def _follow(self, process):
        while process.poll() is None:  # until it is there to be followed
            with subprocess.Popen([COMMAND, "status", "--json", "--follow"], stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL) as follower:
                for line in follower.stdout:
                    with self.change:
                        self.reports.append(json.loads(line))
                        self.change.notify_all()
        with self.change:
            self.change.notify_all()

    def wait(self, what, condition, patience=PATIENCE):
        """The next report that fulfils the condition; the search goes on behind the one that was found last."""
        deadline = time.monotonic() + patience
        with self.change:
            while True:
                for index in range(self.seen, len(self.reports)):
                    if condition(self.reports[index]):
                        self.seen = index + 1
                        return self.reports[index]
                if self.process.poll() is not None:
                    raise AssertionError(f"Tallowfern ended ({self.process.returncode}) instead of: {what}")
                if not self.change.wait(max(0, deadline - time.monotonic())):
                    raise AssertionError(f"{what}: not within {patience} s; last report: {self.reports[-1:]}")

    def wait_for(self, *cases):
        return self.wait(" or ".join(cases), lambda report: report["status"]["case"] in cases)

    def now(self):
        return json.loads(run(COMMAND, "status", "--json", check=True))

    def do(self, *words):
        return subprocess.run([COMMAND, *words], env=self.environment, capture_output=True, text=True, timeout=PATIENCE)

    def transcripts(self):
        return [item["text"] for item in json.loads(self.history.read_text())] if self.history.exists() else []

    def wait_history(self, texts):
        """Written in the background, the newest first."""
        until(f"the history to be {texts}", lambda: self.transcripts() == texts)

    def end(self):
        if self.process is None:
            return
        try:
            if self.process.poll() is None:
                self.do("quit")
            self.process.wait(PATIENCE)
        finally:
            self.process.kill()


class DeskTest(unittest.TestCase):
    """A test with a Tallowfern of its own, and what the user had copied before."""

    MINE = "what I had copied"
    RESTORE = {"clipboardRestoreEnabled": True, "clipboardRestoreDelay": 1}

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="case-", dir=DESKTOP))
        self.engine = None

    def copy(self, text):
        owner = Clipboard(text)
        self.addCleanup(owner.end)
        return owner

    def fake_engine(self, text="Spoken words."):
        self.engine = FakeEngine(self.folder / "whisper-cli", text)
        return self.engine

    def prepare(self, preferences=None, environment=None):
        named = {"TALLOWFERN_WHISPER_CLI_PATH": str(self.engine.path)} if self.engine else {}
        app = Tallowfern(self.folder, self.RESTORE if preferences is None else preferences, named | (environment or {}))
        self.addCleanup(app.end)
        return app

    def start(self, preferences=None, environment=None, wrapper=()):
        """`wrapper` is a command that runs another one under some restriction."""
        self.app = self.prepare(preferences, environment).start(*wrapper)
        self.app.wait("the microphone", lambda report: report["microphoneGranted"])
        return self.app

    def open(self, kind, *arguments):
        editor = kind(*arguments)
        self.addCleanup(editor.end)
        return editor

    def begin(self, keys=TOGGLE):
        press(keys)
        self.app.wait_for("recording")

    def finish(self, keys=TOGGLE):
        """The report of success; a failure of the Dictation is one of the test."""
        press(keys)
        report = self.app.wait_for("success", "error")
        self.assertEqual(report["status"]["case"], "success", report)
        return report

    def cancel(self):
        """The key is ours a moment after the recording is told."""
        until("the cancel key", lambda: any(key["name"] == "cancel" and key["active"] for key in self.app.now()["hotKeys"]))
        press(CANCEL)
        self.app.wait_for("idle")

    def dictate(self, recording=None):
        self.begin()
        if recording:
            speak(recording)
        return self.finish()

    def fail_to_dictate(self, recording=None):
        """The message of the failure."""
        self.begin()
        if recording:
            speak(recording)
        press(TOGGLE)
        report = self.app.wait_for("success", "error")
        self.assertEqual(report["status"]["case"], "error", report)
        self.assertEqual(report["errorResolution"]["message"], report["status"]["payload"])
        return report["status"]["payload"]

    def assert_clipboard(self, text):
        try:
            until("the clipboard", lambda: clipboard() == text)
        except AssertionError as late:
            raise AssertionError(f"the clipboard holds {clipboard()!r} and not {text!r}") from late
