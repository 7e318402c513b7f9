"""A writing model for the desktop tests: the stand-in for llama-server, or the real one with a tiny model."""
import base64
import json
import sys

from desk import SOURCE

sys.path.append(str(SOURCE / "tests/runtime"))
from agent import local_model  # noqa: E402
from model_server import BUILT, STAND_IN, model_file  # noqa: E402, F401

CHOSEN = {"writingProvider": "local", "selectedModelID": "test"}


class WritingModel:
    """Puts a model into the folder of an application that is not started yet."""

    def __init__(self, folder, server=STAND_IN, **behaviour):
        self.log = folder / "model-requests"
        self.environment = {"TALLOWFERN_LLAMA_SERVER_PATH": str(server)}
        place = folder / "data/Tallowfern/AgentModels/test"
        place.mkdir(parents=True)
        name = model_file(place, server, requests=str(self.log), **behaviour)
        (place / "eyes.gguf").write_text('GGUF{"kind": "clip"}')
        artifacts = [self.artifact(name, "model"), self.artifact("eyes.gguf", "visionProjector")]
        model = local_model(artifacts=artifacts, capabilities={"text": True, "images": server == STAND_IN})
        custom = folder / "data/Tallowfern/Agent/custom-models.json"
        custom.parent.mkdir(parents=True)
        custom.write_text(json.dumps([model]))

    @staticmethod
    def artifact(name, role):
        return {"fileName": name, "url": "https://localhost/m", "byteSize": 1, "sha256": "0", "role": role}

    def requests(self):
        return [json.loads(line) for line in self.log.read_text().splitlines()] if self.log.exists() else []

    def messages(self):
        """Of the newest request, as (role, text)."""
        return [(each["role"], " ".join(part.get("text", "") for part in parts(each))) for each in
                self.requests()[-1]["messages"]]

    def picture(self):
        """The newest one in the newest request, as bytes."""
        urls = [part["image_url"]["url"] for each in self.requests()[-1]["messages"] for part in parts(each)
                if part["type"] == "image_url"]
        return base64.b64decode(urls[-1].partition(",")[2])


def parts(message):
    content = message["content"]
    return content if isinstance(content, list) else [{"type": "text", "text": content}]


def preferences(**settings):
    """Of an application that writes with the test's model."""
    value = base64.b64encode(json.dumps(CHOSEN | settings).encode()).decode()
    return {"agentSettings": {"data": value}}
