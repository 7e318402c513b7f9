"""What writing models do for the user: questions from a terminal, cleaner words, and keys that nobody else sees."""
import base64
import json
import os
import pathlib
import pwd
import re
import secrets
import subprocess
import sys
import threading
import unittest

from desk import COMMAND, DESKTOP, PATIENCE, SOURCE, DeskTest, run, until
from editors import QtEditor

sys.path.insert(0, str(SOURCE / "tests/runtime"))
from agent import AGENT, children, local_model, resident  # noqa: E402
from model_server import STAND_IN, SUPPORT  # noqa: E402
from services import ANSWERS, Reply, Service  # noqa: E402

# The desktop has a home of its own; what scripts/engines --writing has built lies in the user's.
CACHE = pathlib.Path(pwd.getpwuid(os.getuid()).pw_dir) / ".cache"
BUILT = CACHE / "tallowfern-engines/writing/llama-server"


def setUpModule():
    """The desktop's keyring, open as after a login; one that the bus has started by itself knows no password."""
    keyring = subprocess.Popen(["gnome-keyring-daemon", "--replace", "--unlock", "--components=secrets", "--foreground"],
                               stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    unittest.addModuleCleanup(keyring.wait)
    unittest.addModuleCleanup(keyring.kill)
    keyring.stdin.write(b"moss")
    keyring.stdin.close()
    ask = ["gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/", "--method",
           "org.freedesktop.DBus.GetConnectionUnixProcessID", "org.freedesktop.secrets"]
    until("the keyring", lambda: run(*ask, stderr=subprocess.DEVNULL) == f"(uint32 {keyring.pid},)")


class Writing(DeskTest):
    server = STAND_IN

    def prepare_writing(self, preferences=None, **more):
        environment = {"TALLOWFERN_LLAMA_SERVER_PATH": str(self.server), "XDG_STATE_HOME": str(self.folder / "state")}
        self.fake_engine()
        self.app = self.prepare(preferences, environment | more)
        self.seen = self.folder / "requests"

    def write_model(self, identifier, name, **behaviour):
        path = self.app.data / "AgentModels" / identifier / name
        path.parent.mkdir(parents=True, exist_ok=True)
        if self.server == STAND_IN:
            path.write_text("GGUF" + json.dumps({"requests": str(self.seen), **behaviour}))
        else:
            environment = os.environ | {"XDG_CACHE_HOME": str(CACHE)}
            subprocess.run([SUPPORT / "tiny_writer.py", path], env=environment, check=True)
        return path

    def own_models(self, *models):
        path = self.app.data / "Agent/custom-models.json"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(json.dumps(models))

    def messages(self):
        """Of each request that the model server got."""
        return [json.loads(line)["messages"] for line in self.seen.read_text().splitlines()] if self.seen.exists() else []


def agent_of(pid):
    """The process of the runtime that this one has started."""
    [agent] = [each for each in children(pid)[0] if str(AGENT) in pathlib.Path(f"/proc/{each}/cmdline").read_text()]
    return agent


def artifact(name, role):
    return {"fileName": name, "url": "", "byteSize": 1, "sha256": "", "role": role}


def text_model(identifier="mine"):
    return local_model(id=identifier, artifacts=[artifact("model.gguf", "model")])


class Ask(Writing):
    ANSWER = "One two three."

    def setUp(self):
        super().setUp()
        self.prepare_writing()
        self.own_models(text_model())
        self.app.start()

    def ask(self, *words, model="mine"):
        asked = self.app.do("ask", "--model", model, *words)
        return asked.returncode, asked.stdout, asked.stderr

    def test_it_answers_and_continues(self):
        self.write_model("mine", "model.gguf", text=self.ANSWER)
        self.assertEqual(self.ask("Count", "to three"), (0, self.ANSWER + "\n", ""))
        self.assertEqual(self.ask("And on", "--continue"), (0, self.ANSWER + "\n", ""))
        self.assertEqual(self.ask("Anew"), (0, self.ANSWER + "\n", ""))
        self.assert_seen()

    def assert_seen(self):
        told = [[(one["role"], one["content"]) for one in messages if one["role"] != "system"]
                for messages in self.messages()]
        first = [("user", "Count to three")]
        self.assertEqual(told, [first, first + [("assistant", self.ANSWER), ("user", "And on")], [("user", "Anew")]])


@unittest.skipUnless(BUILT.exists(), "the real llama-server was not built: scripts/engines --writing")
class AskTheRealServer(Ask):
    server, ANSWER = BUILT, "The tiny model on this computer wrote these few words, and it means no harm."

    def assert_seen(self):
        pass  # it tells nobody


class AskMore(Writing):
    def setUp(self):
        super().setUp()
        self.prepare_writing()

    def test_words_are_shown_as_they_come(self):
        allowed = self.folder / "allowed"
        self.own_models(text_model())
        self.write_model("mine", "model.gguf", text="first last", allowed=str(allowed))
        self.app.start()
        with subprocess.Popen([COMMAND, "ask", "Go", "--model", "mine"], env=self.app.environment,
                              stdout=subprocess.PIPE) as asking:
            self.addCleanup(allowed.touch)
            self.assertEqual(os.read(asking.stdout.fileno(), 99), b"first")
            allowed.touch()
            self.assertEqual(asking.stdout.read(), b" last\n")
        self.assertEqual(asking.returncode, 0)

    def test_a_picture_reaches_the_model(self):
        self.own_models(local_model(id="sees", capabilities={"text": True, "images": True}, artifacts=[
            artifact("model.gguf", "model"), artifact("eye.gguf", "visionProjector")]))
        self.write_model("sees", "model.gguf", text="A square.")
        self.write_model("sees", "eye.gguf", kind="clip")
        run("convert", "-size", "40x30", "xc:#4080c0", str(self.folder / "shot.png"), check=True)
        self.app.start()
        asked = self.app.do("ask", "What is it?", "--model", "sees", "--image", str(self.folder / "shot.png"))
        self.assertEqual((asked.returncode, asked.stdout, asked.stderr), (0, "A square.\n", ""))
        [picture] = [part for part in self.messages()[0][-1]["content"] if part["type"] == "image_url"]
        kind, _, data = picture["image_url"]["url"].partition(",")
        self.assertEqual(kind, "data:image/png;base64")
        received = self.folder / "received.png"
        received.write_bytes(base64.b64decode(data, validate=True))
        self.assertEqual(run("identify", "-format", "%wx%h", str(received)), "40x30")
        self.assertEqual(run("convert", str(received), "-format", "%[hex:p{20,15}]", "info:")[:6], "4080C0")

    def test_what_goes_wrong_is_said(self):
        self.own_models(text_model(), text_model("broken"))
        self.write_model("mine", "model.gguf")
        self.write_model("broken", "model.gguf", truncated=True)
        picture = self.folder / "shot.png"
        run("convert", "-size", "4x3", "xc:red", str(picture), check=True)
        self.app.start()
        cases = [
            (["--model", "nobody"], {}, 'There is no writing model "nobody".'),
            (["--model", "gemma4-e2b-q4"], {}, "Download Gemma 4 E2B before using it."),
            (["--model", "mine", "--continue"], {}, "There is no earlier question to continue."),
            (["--model", "mine", "--image", "/nowhere.png"], {}, "/nowhere.png cannot be read."),
            (["--model", "mine", "--image", str(picture)], {},
             "Switch to an image-capable model to include a screenshot."),
            (["--model", "mistral-small"], {}, "Add your Mistral API key before using this model."),
            (["--model", "mine"], {"TALLOWFERN_LLAMA_SERVER_PATH": "/nowhere/llama-server"},
             "Test Writer needs the program llama-server, which is not installed."),
            (["--model", "broken"], {}, "Test Writer stopped: "),
        ]
        for words, environment, sentence in cases:
            with self.subTest(sentence):
                asked = subprocess.run([COMMAND, "ask", "Write.", *words], env=self.app.environment | environment,
                                       capture_output=True, text=True, timeout=PATIENCE)
                self.assertNotEqual(asked.returncode, 0)
                self.assertEqual(asked.stdout, "")
                said = asked.stderr.removeprefix("tallowfern: ")
                self.assertTrue(said == sentence + "\n" or sentence.endswith(": ") and said.startswith(sentence), said)


class SmartDictation(Writing):
    SPOKEN, CLEANED = "so um we need six no sorry seven laptops", "So we need seven laptops."

    def setUp(self):
        super().setUp()
        self.prepare_writing(self.RESTORE | {"smartDictation": True})
        self.engine.says(self.SPOKEN)

    def write_system_model(self, **behaviour):
        """The one that the bridge chooses, since it is the smallest."""
        return self.write_model("deepseek-r1-15b-q4", "deepseek-r1-distill-qwen-1.5b-q4_0.gguf", **behaviour)

    def test_the_cleaned_words_are_pasted(self):
        self.write_system_model(text=self.CLEANED)
        editor = self.open(QtEditor)
        self.app.start()
        self.assertEqual(self.dictate()["lastTranscript"], self.CLEANED)
        editor.wait_text(self.CLEANED)
        self.app.wait_history([self.CLEANED])
        [[system, user]] = self.messages()
        self.assertIn("clean up dictation transcripts", system["content"])
        self.assertNotIn(self.SPOKEN, system["content"])
        self.assertRegex(user["content"], f"<reference [^>]*>\n{self.SPOKEN}\n</reference [^>]*>\n\n"
                         "Clean up the dictation transcript provided as reference material.$")
        self.assertFalse((self.app.data / "Agent/sessions.sqlite").exists())
        agent = agent_of(self.app.process.pid)
        [server] = children(agent)[0]
        self.app.end()
        until("the end of both", lambda: not resident(agent) and not resident(server))

    def test_the_words_as_they_were_said_are_pasted_whatever_fails(self):
        editor = self.open(QtEditor)
        self.app.start()
        written = ""
        for behaviour in (None, {"truncated": True}, {"text": self.CLEANED, "dies_after": 2}, {"text": self.CLEANED}):
            with self.subTest(behaviour=behaviour):
                if behaviour is not None:
                    self.write_system_model(**behaviour)
                written += self.CLEANED if behaviour == {"text": self.CLEANED} else self.SPOKEN
                self.dictate()
                editor.wait_text(written)


SERVICES = [  # a model, its provider, and where its key lies
    ("openai-luna", "openAI", "openai-api", "OPENAI_API_KEY"),
    ("gemini-flash", "gemini", "gemini-api", "GEMINI_API_KEY"),
    ("mistral-small", "mistral", "mistral-api", "MISTRAL_API_KEY"),
]


class Keys(Writing):
    def setUp(self):
        super().setUp()
        self.key = "sk-" + secrets.token_hex(20)
        self.service = Service(self.folder, Reply(b""))
        self.addCleanup(self.service.shutdown)
        recorder = self.folder / "agent"  # of all that the runtime says
        recorder.write_text(f"#!/bin/bash\nexec '{AGENT}' > >(tee -a '{self.folder}/agent-out') "
                            f"2> >(tee -a '{self.folder}/agent-err' >&2)\n")
        recorder.chmod(0o700)
        (self.folder / "tmp").mkdir()
        addresses = {f"TALLOWFERN_{name}_BASE_URL": self.service.address for name in ("OPENAI", "GEMINI", "MISTRAL")}
        self.prepare_writing(TALLOWFERN_TALLOWFERN_AGENT_PATH=str(recorder), TMPDIR=str(self.folder / "tmp"),
                             TALLOWFERN_CA_FILE=str(self.service.authority), **addresses)

    def store(self, place, account):
        """As the manual says, by its own words; one who pipes the key in adds a line end."""
        [line] = re.findall(r"`(secret-tool store [^`]*)`", (SOURCE / "README.md").read_text())
        line = line.replace("openai-api", place).replace("OPENAI_API_KEY", account)
        subprocess.run(["sh", "-c", line], input=f"{self.key}\n".encode(), check=True, timeout=PATIENCE)

    def traces(self):
        """What was looked at, and what of it holds the key: files of this desktop, what processes were started with."""
        forms = self.key.encode(), self.key.encode("utf-16-le")
        looked_at, found = set(), set()
        started_with = (path for name in ("environ", "cmdline") for path in pathlib.Path("/proc").glob(f"[0-9]*/{name}"))
        for path in (*DESKTOP.rglob("*"), *started_with):
            try:
                data = path.read_bytes() if path.is_file() else b""
            except (FileNotFoundError, ProcessLookupError, PermissionError):
                continue
            if data:
                looked_at.add(str(path))
            if any(form in data for form in forms):
                found.add(str(path))
        return looked_at, found

    def assert_no_traces(self, *must_be_looked_at):
        looked_at, found = self.traces()
        self.assertEqual(found, set())
        self.assertLessEqual({str(path) for path in must_be_looked_at}, looked_at)

    def ask(self, model):
        out, err = self.folder / "ask-out", self.folder / "ask-err"
        with open(out, "w") as output, open(err, "w") as errors:
            asking = subprocess.Popen([COMMAND, "ask", "Go", "--model", model], env=self.app.environment, stdout=output,
                                      stderr=errors)
        self.addCleanup(asking.kill)
        return asking, out, err

    def test_the_search_finds_what_is_there(self):
        planted, wide = self.folder / "data/.hidden/file", DESKTOP / "run/wide"
        planted.parent.mkdir(parents=True)
        planted.write_bytes(b"..." + self.key.encode() + b"...")
        self.addCleanup(wide.unlink)
        wide.write_bytes(self.key.encode("utf-16-le"))
        told = subprocess.Popen(["sh", "-c", "read line", self.key], stdin=subprocess.PIPE)
        knows = subprocess.Popen(["sh", "-c", "read line"], stdin=subprocess.PIPE, env=os.environ | {"KEY": self.key})
        for process in (told, knows):
            self.addCleanup(process.wait)
            self.addCleanup(process.stdin.close)
        self.assertEqual(self.traces()[1],
                         {str(planted), str(wide), f"/proc/{told.pid}/cmdline", f"/proc/{knows.pid}/environ"})

    def test_a_key_of_the_keyring_reaches_its_service_and_nobody_else(self):
        for _, _, place, account in SERVICES:
            self.store(place, account)
        self.app.start("sh", "-c", f"exec \"$@\" >'{self.folder}/stdout'", "sh")
        for model, provider, *_ in SERVICES:
            with self.subTest(provider):
                self.assert_answers(model, provider)
                self.assert_refusal_is_told_without_the_key(model)
        self.app.end()
        self.assert_no_traces(self.app.data / "Agent/sessions.sqlite", self.folder / "agent-out",
                              DESKTOP / "home/.local/share/keyrings/login.keyring")

    def assert_answers(self, model, provider):
        finished = threading.Event()
        self.addCleanup(finished.set)
        answer = ANSWERS[provider]("Grüße.")
        self.service.requests.clear()
        self.service.replies = [Reply(answer, piece=answer.index(b"\n\n") + 2, until=finished)]
        asking, out, err = self.ask(model)
        until("the words", lambda: out.read_text() == "Grüße.")
        agent = agent_of(asking.pid)
        self.assert_no_traces(*(f"/proc/{pid}/{name}" for pid in (self.app.process.pid, asking.pid, agent)
                                for name in ("environ", "cmdline")))
        finished.set()
        self.assertEqual((asking.wait(PATIENCE), out.read_text(), err.read_text()), (0, "Grüße.\n", ""))
        [(_, headers, _)] = self.service.requests
        named = {name.lower(): value for name, value in headers.items()}
        self.assertEqual(named.get("x-goog-api-key") or named["authorization"].removeprefix("Bearer "), self.key)

    def assert_refusal_is_told_without_the_key(self, model):
        self.service.replies = [Reply(json.dumps({"error": {"message": f"{self.key} is odd"}}).encode(), 400)]
        asking, out, err = self.ask(model)
        self.assertEqual((asking.wait(PATIENCE), out.read_text()), (1, ""))
        self.assertRegex(err.read_text(), "could not answer: … is odd\n$")


if __name__ == "__main__":
    unittest.main(verbosity=2)
