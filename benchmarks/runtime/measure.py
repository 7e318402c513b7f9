#!/usr/bin/python3
"""What the agent runtime costs between a caller and a model:

    benchmarks/runtime/measure.py [--build FOLDER] [--rounds N]

Prints the time from the start of its process to its first event for a request that waited in the pipe, the time that it
adds to a turn (request and end together) and to a piece of the answer, and its memory at rest. What a caller and a model
need between each other without it is measured first, and taken off.
"""
import argparse
import http.client
import json
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUDGET = 1.0  # milliseconds, at the median


def milliseconds(values):
    return f"median {statistics.median(values) * 1000:.2f} ms (least {min(values) * 1000:.2f}, most {max(values) * 1000:.2f})"


def pss(pid):
    """In megabytes."""
    for line in pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines():
        if line.startswith("Pss:"):
            return int(line.split()[1]) / 1024
    return 0


def without_runtime(server, rounds):
    """The same two figures for a caller that speaks to the server itself."""
    process = subprocess.Popen([server], stderr=subprocess.PIPE, text=True)
    port = int(re.search(r":(\d+)$", process.stderr.readline().strip())[1])
    connection = http.client.HTTPConnection("127.0.0.1", port)
    connection.connect()
    turns, pieces = [], []
    for _ in range(rounds):
        begun = time.monotonic()
        connection.request("POST", "/v1/chat/completions", json.dumps({"stream": True, "messages": []}))
        moments = []
        for line in connection.getresponse():
            if line.startswith(b"data: {"):
                for word in json.loads(line[6:])["choices"][0]["delta"].get("content", "").split():
                    moments.append(float(word))
                    pieces.append(time.monotonic() - moments[-1])
        turns.append((moments[0] - begun) + (time.monotonic() - moments[-1]))
    process.kill()
    process.wait()
    return statistics.median(turns), statistics.median(pieces)


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
        bare_turn, bare_piece = without_runtime(server, options.rounds)
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
        print(f"without the runtime: {bare_turn * 1000:.2f} ms a turn, {bare_piece * 1000:.2f} ms a delta")
        for name, values, bare in (("turn", turns, bare_turn), ("delta", pieces, bare_piece)):
            print(f"added per {name}:", milliseconds([value - bare for value in values]), f"budget {BUDGET:.1f} ms")
        print(f"memory after {options.rounds} turns (PSS): {pss(agent.pid):.1f} MB")
        print(f"end of input to end of process: {agent.end() * 1000:.0f} ms")


if __name__ == "__main__":
    main()
