#!/usr/bin/python3
"""Many turns in a row through one agent runtime and one model server:

    TALLOWFERN_BUILD=build/release tests/runtime/soak_turns.py COUNT [--warm N] [--seed N] [--server PROGRAM]

Every turn must be answered and kept, no zombie may stay, and the resident memory of both processes at the end must be
within 5 % of what it was after a fifth of the turns, or after those of --warm: the real server keeps up to 256 MB of
prompts that it has read, which takes it about 1,500 turns of a tiny model.
"""
import argparse
import pathlib
import random
import sqlite3
import sys
import tempfile
import time

from agent import Agent, children, local_model, new_id, request, resident
from model_server import STAND_IN, model_file

MOST_GROWTH = 0.05
TURNS_OF_A_CONVERSATION = 8
MOST_WORDS = 15  # the tiny model of the real server counts a token for each letter


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("count", type=int)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 31))
    parser.add_argument("--server", type=pathlib.Path, default=STAND_IN)
    parser.add_argument("--warm", type=int, help="turns before the memory is first read; a fifth, if not given")
    options = parser.parse_args()
    warm = options.warm or options.count // 5
    print(f"{options.count} turns, seed {options.seed}, server {options.server.name}", flush=True)
    chance = random.Random(options.seed)
    with tempfile.TemporaryDirectory() as folder:
        sessions = pathlib.Path(folder) / "sessions.sqlite"
        model = pathlib.Path(folder) / model_file(folder, options.server, text="Some words, and a few more words to it.")
        agent = Agent({"XDG_RUNTIME_DIR": folder})
        begun, memory, conversation = time.monotonic(), {}, new_id()
        for number in range(1, options.count + 1):
            if chance.random() < 1 / TURNS_OF_A_CONVERSATION:
                conversation = new_id()
            words = " ".join(chance.choices(["shorter", "longer", "kinder", "ü"], k=chance.randrange(1, MOST_WORDS)))
            kind, text = agent.answer(request(
                local_model(), words, modelPath=str(model), llamaServerPath=str(options.server),
                sessionPath=str(sessions), conversationID=conversation))
            assert kind == "completed" and text, f"turn {number}: {kind}: {text}"
            servers, zombies = children(agent.pid)
            assert len(servers) == 1 and not zombies, f"turn {number}: servers {servers}, zombies {zombies}"
            if number in (warm, options.count):
                memory[number] = resident(agent.pid), resident(servers[0])
        seconds = time.monotonic() - begun
        connection = sqlite3.connect(sessions)
        kept = connection.execute("SELECT count(*) FROM message").fetchone()[0]
        assert kept == 2 * options.count, f"{kept} messages were kept"
        (early, late) = memory.values()
        for name, before, after in zip(("runtime", "server"), early, late):
            print(f"{name}: {before / 1e6:.1f} MB after {warm} turns, {after / 1e6:.1f} MB after {options.count}")
            assert after <= before * (1 + MOST_GROWTH), f"the memory of the {name} grows"
        agent.end()
        print(f"{options.count} turns in {seconds:.0f} s: all answered and kept, no zombie")


if __name__ == "__main__":
    sys.exit(main())
