"""The servers of local models that the tests know, and models that they load."""
import json
import os
import pathlib
import pwd
import subprocess

SUPPORT = pathlib.Path(__file__).resolve().parents[1] / "support"
STAND_IN = SUPPORT / "llama_server.py"
# What scripts/engines --writing has built; perhaps it is not there.
CACHES = [pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache"),
          pathlib.Path(pwd.getpwuid(os.getuid()).pw_dir) / ".cache"]  # a virtual desktop has a home of its own
PLACES = [cache / "tallowfern-engines/writing/llama-server" for cache in CACHES]
BUILT = next(filter(pathlib.Path.exists, PLACES), PLACES[0])


def model_file(folder, server, **behaviour):
    """Writes a model that the server can load, and gives its name. Only the stand-in behaves as told; the real one says
    one sentence (tiny_writer.py)."""
    path = pathlib.Path(folder) / "model.gguf"
    if pathlib.Path(server) == STAND_IN:
        path.write_text("GGUF" + json.dumps(behaviour))
    else:
        subprocess.run([SUPPORT / "tiny_writer.py", path], check=True,
                       env=os.environ | {"XDG_CACHE_HOME": str(BUILT.parents[2])})
    return path.name
