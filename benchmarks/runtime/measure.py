#!/usr/bin/python3
"""What the agent runtime costs between a caller and a model:

    benchmarks/runtime/measure.py [--build FOLDER] [--rounds N]

Prints the time from the start of its process to its first event for a request that waited in the pipe, the time that it
adds to a turn (request and end together) and to a piece of the answer, and its memory at rest.
"""
import argparse
import os
import pathlib
import statistics
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUDGETS = {"added per turn": 1.0, "added per delta": 1.0}  # milliseconds, at the median


def milliseconds(values):
    return f"median {statistics.median(values) * 1000:.2f} ms (least {min(values) * 1000:.2f}, most {max(values) * 1000:.2f})"


def pss(pid):
    """In megabytes."""
    for line in pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines():
        if line.startswith("Pss:"):
            return int(line.split()[1]) / 1024
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release")
    parser.add_argument("--rounds", type=int, default=20)
    options = parser.parse_args()
    os.environ["TALLOWFERN_BUILD"] = str(options.build)
    sys.path.insert(0, str(ROOT / "tests/runtime"))
    from agent import Agent, local_model, request

    with tempfile.TemporaryDirectory() as folder:
        model = pathlib.Path(folder) / "model.gguf"
        model.write_bytes(b"GGUF")
        server = pathlib.Path(__file__).with_name("timed_server.py")

        def turn():
            return request(local_model(), modelPath=str(model), llamaServerPath=str(server), ephemeralSession=True)

        starts = []
        for _ in range(options.rounds):
            begun = time.monotonic()
            agent = Agent({"XDG_RUNTIME_DIR": folder})
            agent.send(turn())
            moment, event = agent.event()
            assert event.get("phase") == "loadingModel", event
            starts.append(moment - begun)
            agent.process.kill()
            agent.process.wait()
        print("start to ready:", milliseconds(starts))

        agent = Agent({"XDG_RUNTIME_DIR": folder})
        time.sleep(1)
        print(f"memory at rest (PSS): {pss(agent.pid):.1f} MB")
        turns, pieces = [], []
        for number in range(options.rounds + 1):
            asked = turn()
            begun = time.monotonic()
            events = agent.turn(asked)
            moments = [float(word) for word in events[-1][1]["text"].split()]
            if number == 0:
                continue  # the server had to start
            for arrival, event in events:
                if event["kind"] == "delta":
                    pieces += [arrival - float(word) for word in event["text"].split()]
            turns.append((moments[0] - begun) + (events[-1][0] - moments[-1]))
        print("added per turn:", milliseconds(turns), f"budget {BUDGETS['added per turn']} ms")
        print("added per delta:", milliseconds(pieces), f"budget {BUDGETS['added per delta']} ms")
        print(f"memory after {options.rounds} turns (PSS): {pss(agent.pid):.1f} MB")
        print(f"end of input to end of process: {agent.end() * 1000:.0f} ms")


if __name__ == "__main__":
    main()
