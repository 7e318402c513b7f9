#!/usr/bin/python3
"""Kills the application, the agent runtime or the model server at random moments of a turn:

    TALLOWFERN_BUILD=build/release tests/runtime/kill_rounds.py COUNT [--seed N] [--server PROGRAM]

"tallowfern ask" stands for the application. After each kill no process may be left, the session database must be
sound, and the next turn must work. SERVER is a llama-server; without it the stand-in of the tests.
"""
import argparse
import json
import os
import pathlib
import random
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time

from agent import BUILD, children, local_model
from model_server import STAND_IN, model_file

APPLICATION = BUILD / "lib/tallowfern/tallowfern-app"
SECONDS_TO_VANISH = 5


class Rounds:
    def __init__(self, folder, chance, server):
        self.folder, self.chance, self.server = folder, chance, server
        self.data = folder / "data/Tallowfern"
        self.marker = f"TALLOWFERN_KILL_ROUNDS={folder}"
        self.environment = os.environ | {
            "HOME": str(folder), "XDG_DATA_HOME": str(folder / "data"), "XDG_CONFIG_HOME": str(folder / "config"),
            "XDG_STATE_HOME": str(folder / "state"), "XDG_RUNTIME_DIR": str(folder), "TALLOWFERN_KILL_ROUNDS": str(folder),
            "TALLOWFERN_LLAMA_SERVER_PATH": str(server)}
        model = self.data / "AgentModels/test"
        model.mkdir(parents=True)
        name = model_file(model, server, text=" ".join(["on and"] * 20), delta_seconds=0.03, load_seconds=0.1)
        # The real server says its sentence in an instant.
        self.longest = 1.4 if server == STAND_IN else 0.25
        (self.data / "Agent").mkdir()
        artifact = {"fileName": name, "url": "https://localhost/m", "byteSize": 1, "sha256": "0", "role": "model"}
        (self.data / "Agent/custom-models.json").write_text(json.dumps([local_model(artifacts=[artifact])]))
        self.killed = {"application": 0, "runtime": 0, "server": 0, "nobody": 0}

    def ask(self, *options):
        return subprocess.Popen([APPLICATION, "ask", "Write on.", "--model", "test", *options], env=self.environment,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def ours(self):
        """All processes of this program's making."""
        found = []
        for folder in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if self.marker.encode() in (folder / "environ").read_bytes().split(b"\0"):
                    found.append(int(folder.name))
            except (FileNotFoundError, ProcessLookupError, PermissionError):
                continue
        return found

    def kill_one(self, application):
        time.sleep(self.chance.uniform(0, self.longest))
        runtimes, _ = children(application.pid)
        servers = [each for runtime in runtimes for each in children(runtime)[0]]
        victims = {"application": [application.pid], "runtime": runtimes, "server": servers}
        name = self.chance.choice([each for each in victims if victims[each]])
        try:
            os.kill(victims[name][0], signal.SIGKILL)
            self.killed[name] += 1
        except ProcessLookupError:
            self.killed["nobody"] += 1

    def round(self, number):
        application = self.ask(*(["--continue"] if number and self.chance.random() < 0.5 else []))
        self.kill_one(application)
        application.communicate(timeout=60)
        deadline = time.monotonic() + SECONDS_TO_VANISH
        while left := self.ours():
            assert time.monotonic() < deadline, f"round {number}: processes {left} are left"
            time.sleep(0.05)
        self.assert_sound(number)
        next_turn = self.ask()
        out, errors = next_turn.communicate(timeout=60)
        assert next_turn.returncode == 0 and out.strip(), f"round {number}: the next turn failed: {errors}"

    def assert_sound(self, number):
        database = self.data / "Agent/sessions.sqlite"
        if not database.exists():
            return
        with sqlite3.connect(database) as connection:
            assert connection.execute("PRAGMA integrity_check").fetchone() == ("ok",), f"round {number}: damaged"
        connection.close()
        assert not list(database.parent.glob("*.damaged-*")), f"round {number}: a database was set aside"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("count", type=int)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 31))
    parser.add_argument("--server", type=pathlib.Path, default=STAND_IN)
    options = parser.parse_args()
    print(f"{options.count} rounds, seed {options.seed}, server {options.server}", flush=True)
    with tempfile.TemporaryDirectory() as folder:
        rounds = Rounds(pathlib.Path(folder), random.Random(options.seed), options.server)
        begun = time.monotonic()
        for number in range(options.count):
            rounds.round(number)
        killed = ", ".join(f"{name} {count}" for name, count in rounds.killed.items())
        print(f"{options.count} kills ({killed}) in {time.monotonic() - begun:.0f} s: sound, no orphan, each next turn worked")


if __name__ == "__main__":
    sys.exit(main())
