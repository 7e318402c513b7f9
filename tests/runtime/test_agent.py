"""The agent runtime as a process: requests in, events out, services and model servers as they are."""
import json
import os
import pathlib
import signal
import sqlite3
import struct
import subprocess
import tempfile
import time
import unittest
import zlib

from agent import AGENT, BUILD, Agent, children, cloud_model, local_model, new_id, request
from model_server import BUILT, STAND_IN, model_file
from services import ANSWERS, Reply, Service, events

KEY = "sk-TestKeyOfNobody1234567890"
NAMES = {"openAI": "OpenAI", "gemini": "Gemini", "mistral": "Mistral"}


def until(condition, patience=10):
    deadline = time.monotonic() + patience
    while not condition():
        assert time.monotonic() < deadline, "in vain"
        time.sleep(0.01)


def png(path, width, height):
    row = b"\0" + b"\x40\x80\xc0" * width
    chunks = [(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)), (b"IDAT", zlib.compress(row * height)),
              (b"IEND", b"")]
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n")
        for kind, data in chunks:
            file.write(struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data)))


class AgentTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.environment = {"XDG_RUNTIME_DIR": folder.name, "HOME": folder.name}
        self.sessions = self.folder / "Agent/sessions.sqlite"
        self.sessions.parent.mkdir()

    def start(self):
        agent = Agent(self.environment)
        self.addCleanup(self.bury, agent)
        return agent

    def bury(self, agent):
        agent.process.kill()
        agent.process.wait()
        agent.process.stdin.close()

    def rows(self):
        connection = sqlite3.connect(self.sessions)
        try:
            return connection.execute("SELECT role, text FROM message ORDER BY id").fetchall()
        finally:
            connection.close()


class Cloud(AgentTest):
    def service(self, *replies):
        service = Service(self.folder, *replies)
        self.addCleanup(service.shutdown)
        self.environment["TALLOWFERN_CA_FILE"] = str(service.authority)
        for name in NAMES.values():
            self.environment[f"TALLOWFERN_{name.upper()}_BASE_URL"] = service.address
        return service

    def ask(self, agent, provider, **more):
        return agent.answer(request(cloud_model(provider), cloudAPIKey=KEY, sessionPath=str(self.sessions), **more))

    def test_streams_whatever_the_pieces_and_keeps_the_key_to_itself(self):
        for provider in NAMES:
            service = self.service(Reply(ANSWERS[provider]("Grüße", ", ", "Welt.\n"), piece=1))
            agent = self.start()
            asked = request(cloud_model(provider), cloudAPIKey=KEY, sessionPath=str(self.sessions), conversationID=new_id())
            told = [event for _, event in agent.turn(asked)]
            self.assertEqual(told[-1]["kind"], "completed", told)
            self.assertEqual(told[-1]["text"], "Grüße, Welt.")
            self.assertEqual([event["phase"] for event in told if event["kind"] == "phase"], ["loadingModel", "generating"])
            self.assertEqual("".join(event["text"] for event in told if event["kind"] == "delta").strip(), "Grüße, Welt.")
            _, headers, body = service.requests[0]
            held = headers.get("x-goog-api-key") or headers.get("X-Goog-Api-Key") or headers["Authorization"]
            self.assertIn(KEY, held)
            self.assertNotIn(KEY, json.dumps(body))
            process = pathlib.Path(f"/proc/{agent.pid}")
            self.assertNotIn(KEY.encode(), (process / "environ").read_bytes() + (process / "cmdline").read_bytes())
            agent.end()
            written = b"".join(path.read_bytes() for path in self.folder.rglob("*") if path.is_file())
            self.assertNotIn(KEY.encode(), written + "\n".join(agent.errors).encode() + json.dumps(told).encode())
            self.assertEqual(agent.errors, [])

    def test_says_what_helps(self):
        cases = [
            (Reply(b'{"error":{"code":"invalid_api_key","message":"Incorrect: ' + KEY.encode() + b'"}}', 401),
             "OpenAI does not accept your API key. Enter it again."),
            (Reply(b'{"error":{"code":"rate_limit_exceeded"}}', 429, {"Retry-After": "7"}),
             "OpenAI receives too many requests from you. Try again in 7 seconds."),
            (Reply(b"", 302, {"Location": "https://127.0.0.1:1/"}),
             "OpenAI points to another address, to which nothing was sent."),
            (Reply(events({"type": "response.output_text.delta", "delta": "half"}), cut=True),
             "The connection to OpenAI broke before the text was complete. Try again."),
            (Reply(events({"type": "response.output_text.delta", "delta": "half"})),
             "The connection to OpenAI broke before the text was complete. Try again."),
            (Reply(ANSWERS["openAI"](" \n")), "The model returned no text."),
        ]
        for reply, sentence in cases:
            service = self.service(reply)
            self.assertEqual(self.ask(self.start(), "openAI"), ("error", sentence))
            self.assertEqual(len(service.requests), 1, sentence)

    def test_trusts_no_stranger_and_reaches_nobody(self):
        service = self.service(Reply(ANSWERS["gemini"]("secret")))
        del self.environment["TALLOWFERN_CA_FILE"]
        self.assertEqual(self.ask(self.start(), "gemini"),
                         ("error", "Gemini could not prove its identity, so nothing was sent."))
        self.assertEqual(service.requests, [])
        self.environment["TALLOWFERN_MISTRAL_BASE_URL"] = "https://127.0.0.1:1"
        self.assertEqual(self.ask(self.start(), "mistral"), ("error", "Mistral could not be reached."))

    def test_checks_each_way_and_sends_no_key(self):
        service = self.service(Reply(b"{}", 401))
        self.environment["TALLOWFERN_MISTRAL_BASE_URL"] = "http://127.0.0.1:1"
        checks = [({"TALLOWFERN_LLAMA_SERVER_PATH": str(STAND_IN)}, 0,
                   [f"llama-server: {STAND_IN} (version: ", "TallowfernAppleBridge: /", "OpenAI: 127.0.0.1:",
                    "Gemini: 127.0.0.1:", "Mistral: The address of Mistral has to begin with https://."]),
                  ({"TALLOWFERN_LLAMA_SERVER_PATH": "/nowhere", "TALLOWFERN_CA_FILE": ""}, 1,
                   ["llama-server: /nowhere: ", "TallowfernAppleBridge: /",
                    f"OpenAI: {service.address[8:]} has a certificate that is not trusted here.",
                    f"Gemini: {service.address[8:]} has a certificate", "Mistral: "])]
        for more, status, beginnings in checks:
            checked = subprocess.run([AGENT, "--check"], env={**os.environ, **self.environment, **more}, text=True,
                                     capture_output=True, timeout=60)
            lines = checked.stdout.splitlines()
            for line, beginning in zip(lines, beginnings, strict=True):
                self.assertEqual(line[:len(beginning)], beginning)
            self.assertEqual((checked.returncode, checked.stderr), (status, ""))
        for _, headers, body in service.requests:
            self.assertEqual(body, {})
            self.assertFalse({"Authorization", "authorization", "x-goog-api-key", "X-Goog-Api-Key"} & set(headers))

    def test_tries_again_where_that_helps(self):
        good = ANSWERS["mistral"]("fine")
        for first in (Reply(b"{}", 503), Reply(status=0)):
            service = self.service(first, Reply(good))
            self.assertEqual(self.ask(self.start(), "mistral"), ("completed", "fine"))
            self.assertEqual(len(service.requests), 2)
        refusal = Reply(b'{"message":"reasoning_effort is not supported"}', 400)
        service = self.service(refusal, Reply(good))
        self.assertEqual(self.ask(self.start(), "mistral", reasoningEffort="high"), ("completed", "fine"))
        self.assertEqual([body.get("reasoning_effort") for _, _, body in service.requests], ["high", None])

    def test_sends_pictures_small_enough(self):
        service = self.service(Reply(ANSWERS["openAI"]("A wall.")))
        picture = self.folder / "shot.png"
        png(picture, 3000, 1500)
        attachment = {"id": new_id(), "kind": "screenshot", "displayName": "Editor window", "filePath": str(picture),
                      "createdAt": "2026-01-02T03:04:05Z"}
        agent = self.start()
        conversation = {"conversationID": new_id()}
        self.assertEqual(self.ask(agent, "openAI", attachments=[attachment], **conversation), ("completed", "A wall."))
        self.assertEqual(self.ask(agent, "openAI", **conversation), ("completed", "A wall."))
        for (_, _, body), place in zip(service.requests, (0, 0)):
            self.assertTrue(body["input"][place]["content"][0]["image_url"].startswith("data:image/png;base64,"))
        picture.unlink()
        self.assertEqual(self.ask(agent, "openAI", **conversation), ("completed", "A wall."))
        self.assertEqual(self.ask(agent, "openAI", attachments=[attachment]),
                         ("error", "The screenshot could not be read."))

    def test_ends_while_a_service_stalls(self):
        self.service(Reply(events({"type": "response.output_text.delta", "delta": "half"}), stall=30))
        agent = self.start()
        agent.send(request(cloud_model("openAI"), cloudAPIKey=KEY))
        until(lambda: agent.event()[1]["kind"] == "delta")
        self.assertLess(agent.end(), 2)


class Local(AgentTest):
    server = STAND_IN

    def model(self, **behaviour):
        return str(self.folder / model_file(self.folder, self.server, **behaviour))

    def turn(self, model, **more):
        return request(local_model(), modelPath=model, llamaServerPath=str(self.server), sessionPath=str(self.sessions), **more)

    def server_of(self, agent):
        alive, zombies = children(agent.pid)
        self.assertEqual(zombies, [])
        return alive[0] if alive else None

    def test_keeps_the_server_warm_and_the_conversation(self):
        agent, model, conversation = self.start(), self.model(), new_id()
        first = agent.answer(self.turn(model, conversationID=conversation))
        server = self.server_of(agent)
        second = agent.answer(self.turn(model, conversationID=conversation, command="continue"))
        self.assertEqual((first[0], second[0]), ("completed", "completed"))
        self.assertTrue(first[1])
        self.assertEqual(self.server_of(agent), server)
        self.assertEqual([role for role, _ in self.rows()], ["user", "assistant"] * 2)
        arguments = pathlib.Path(f"/proc/{server}/cmdline").read_text().split("\0")
        self.assertIn("--api-key-file", arguments)
        begun = time.monotonic()
        self.assertLess(agent.end(), 2)
        self.assertFalse(pathlib.Path(f"/proc/{server}").exists(), time.monotonic() - begun)

    def test_leaves_nothing_of_an_ephemeral_turn(self):
        agent = self.start()
        kind, _ = agent.answer(self.turn(self.model(), conversationID=new_id(), ephemeralSession=True))
        self.assertEqual(kind, "completed")
        self.assertFalse(self.sessions.exists())

    def test_takes_the_server_with_it_when_it_is_killed(self):
        agent = self.start()
        agent.answer(self.turn(self.model()))
        server = self.server_of(agent)
        agent.process.send_signal(signal.SIGKILL)
        until(lambda: not pathlib.Path(f"/proc/{server}").exists())

    def test_goes_on_after_its_server_was_killed(self):
        agent, model = self.start(), self.model()
        agent.answer(self.turn(model))
        os.kill(self.server_of(agent), signal.SIGKILL)
        until(lambda: children(agent.pid) == ([], []))
        self.assertEqual(agent.answer(self.turn(model))[0], "completed")


class StandIn(Local):
    """What only the stand-in can be made to do."""

    def test_answers_one_at_a_time_and_all_that_is_wrong(self):
        agent, model = self.start(), self.model(text="one two three four five six", delta_seconds=0.05)
        asked = self.turn(model)
        agent.send(asked)
        other = request(local_model())
        agent.send(other)
        agent.send({"requestID": other["requestID"], "version": 1})
        agent.send({"version": 1, "requestID": other["requestID"], "command": "shutdown", "attachments": []})
        agent.process.stdin.write(b"garbage \xff\n\n[]\n")
        agent.process.stdin.flush()
        told = []
        while True:
            _, event = agent.event()
            told.append((event.get("requestID"), event["kind"], event.get("text")))
            if event["kind"] == "completed":
                break
        self.assertEqual(told[-1], (asked["requestID"], "completed", "one two three four five six"))
        errors = [(who, text) for who, kind, text in told if kind == "error"]
        confused = "Command does not understand this request."
        self.assertEqual(errors, [(other["requestID"], "Command is already working."), (other["requestID"], confused),
                                  (other["requestID"], "This command is not supported."), (None, confused), (None, confused)])

    def test_keeps_thoughts_to_the_model(self):
        agent = self.start()
        model = self.model(raw="<think>The user wants\n</think>\n\nA poem.")
        told = [event for _, event in agent.turn(self.turn(model))]
        self.assertEqual(told[-1].get("text"), "A poem.")
        self.assertNotIn("think", json.dumps(told))

    def test_ends_in_time_with_a_server_that_does_not_want_to(self):
        agent = self.start()
        agent.send(self.turn(self.model(text="on and on and on", delta_seconds=5, ignores_term=True)))
        until(lambda: agent.event()[1].get("phase") == "generating")
        server = self.server_of(agent)
        self.assertLess(agent.end(), 2)
        until(lambda: not pathlib.Path(f"/proc/{server}").exists(), 2)

    def test_tells_why_the_server_died(self):
        agent = self.start()
        kind, text = agent.answer(self.turn(self.model(text="one two three four", dies_after=2)))
        self.assertEqual(kind, "error")
        self.assertTrue(text.startswith("Test Writer stopped: "), text)

    def test_answers_for_the_systems_model_with_what_was_downloaded(self):
        bridge = {"appleBridgePath": str(BUILD / "lib/tallowfern/TallowfernAppleBridge"), "sessionPath": str(self.sessions)}
        asked = request(local_model(id="apple-system", name="Apple On-Device", provider="appleSystem"), **bridge)
        self.environment["TALLOWFERN_LLAMA_SERVER_PATH"] = str(STAND_IN)
        agent = self.start()
        kind, text = agent.answer(asked)
        self.assertEqual((kind, text.split(" (")[0]), ("error", "Download DeepSeek Compact"), text)
        place = self.folder / "AgentModels/deepseek-r1-15b-q4"
        place.mkdir(parents=True)
        model = place / model_file(place, STAND_IN, text="Cleaned.")
        model.rename(place / "deepseek-r1-distill-qwen-1.5b-q4_0.gguf")
        self.assertEqual(agent.answer({**asked, "requestID": new_id()}), ("completed", "Cleaned."))


@unittest.skipUnless(BUILT.exists(), "the real llama-server was not built: scripts/engines --writing")
class Real(Local):
    server = BUILT


del Local

if __name__ == "__main__":
    unittest.main(verbosity=2)
