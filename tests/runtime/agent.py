"""Drives the agent runtime as the application does: request lines in, event lines out."""
import json
import os
import pathlib
import queue
import subprocess
import threading
import time
import uuid

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("TALLOWFERN_BUILD", SOURCE / "build/release"))
AGENT = BUILD / "lib/tallowfern/tallowfern-agent"
PATIENCE = 60


def local_model(**more):
    return {"id": "test", "name": "Test Writer", "officialName": "test", "organization": "Test", "detail": "",
            "sizeLabel": "", "license": "", "sourceRevision": "", "provider": "llamaCPP",
            "capabilities": {"text": True, "images": False}, "artifacts": [], "isCustom": True,
            "recommendedFor16GB": False, **more}


def cloud_model(provider, official_name="model", identifier="cloud"):
    return local_model(id=identifier, officialName=official_name, provider=provider,
                       capabilities={"text": True, "images": True})


def new_id():
    return str(uuid.uuid4()).upper()


def request(model, instruction="Write.", **more):
    return {"version": 1, "requestID": new_id(), "command": "run", "model": model, "instruction": instruction,
            "attachments": [], **more}


def resident(pid):
    """In bytes; nothing when the process is gone."""
    try:
        return int(pathlib.Path(f"/proc/{pid}/statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")
    except (FileNotFoundError, ProcessLookupError, IndexError):
        return None


def children(pid):
    """Identifiers of the direct children that are no zombies, and of the zombies."""
    alive, zombies = [], []
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            fields = (folder / "stat").read_text().rpartition(")")[2].split()
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(fields[1]) == pid:
            (zombies if fields[0] == "Z" else alive).append(int(folder.name))
    return alive, zombies


class Agent:
    """A running agent runtime; its events are queued with the moment of their arrival."""

    def __init__(self, environment=None, program=AGENT):
        self.process = subprocess.Popen([program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                        env=os.environ | (environment or {}))
        self.pid = self.process.pid
        self.events = queue.Queue()
        self.errors = []
        threading.Thread(target=self._read, daemon=True).start()
        threading.Thread(target=self._read_errors, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            self.events.put((time.monotonic(), json.loads(line)))
        self.events.put((time.monotonic(), None))

    def _read_errors(self):
        for line in self.process.stderr:
            self.errors.append(line.decode(errors="replace").rstrip())

    def send(self, line):
        self.process.stdin.write(json.dumps(line).encode() + b"\n")
        self.process.stdin.flush()
        return line.get("requestID")

    def event(self, patience=PATIENCE):
        """The next event with the moment of its arrival; nothing at the end of the output."""
        return self.events.get(timeout=patience)

    def turn(self, line, patience=130):
        """All events of one request, the last of which ends it."""
        identifier = self.send(line)
        events = []
        while True:
            moment, event = self.event(patience)
            if event is None:
                raise EOFError("the runtime has ended: " + " ".join(self.errors[-3:]))
            if event.get("requestID") != identifier:
                continue
            events.append((moment, event))
            if event["kind"] in ("completed", "error"):
                return events

    def answer(self, line, patience=130):
        """The text of the end of a turn, with what kind of end it was."""
        end = self.turn(line, patience)[-1][1]
        return end["kind"], end.get("text", "")

    def end(self, patience=5):
        """Closes the input and waits; gives the seconds that it took."""
        begun = time.monotonic()
        self.process.stdin.close()
        self.process.wait(patience)
        return time.monotonic() - begun
