"""The README's pictures, taken inside a private virtual desktop: scripts/desktop python3 desktop_pictures.py PREFIX RECORDING FOLDER"""
import os
import pathlib
import subprocess
import sys
import time

import demo


def main():
    prefix, recording, folder = pathlib.Path(sys.argv[1]), sys.argv[2], pathlib.Path(sys.argv[3])
    settings = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "tallowfern"
    settings.mkdir(mode=0o700)
    (settings / "preferences.json").write_text('{"clipboardRestoreEnabled": true, "overlayAppearance": "Dark"}')
    subprocess.run(["xsetroot", "-solid", "#C9CBC4"], check=True)
    editor = subprocess.Popen(["gnome-text-editor", "--new-window"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--class", "gnome-text-editor", "windowactivate", "--sync"],
                   check=True, timeout=demo.PATIENCE, stdout=subprocess.DEVNULL)
    subprocess.run(["xdotool", "getactivewindow", "windowsize", "--sync", "760", "360", "windowmove", "--sync", "260", "170"],
                   check=True)
    tallowfern = demo.Tallowfern(prefix)
    subprocess.run(["xdotool", "key", "alt+space"], check=True)
    tallowfern.wait_for("recording")
    speaking = subprocess.Popen(["paplay", "-d", "vmic_in", recording])
    time.sleep(2.4)  # in the middle of the sentence
    take(folder / "desktop-recording.png")
    speaking.wait()
    subprocess.run(["paplay", "--raw", "--rate=16000", "--channels=1", "-d", "vmic_in"], input=bytes(16000), check=True)
    subprocess.run(["xdotool", "key", "alt+space"], check=True)
    tallowfern.wait_for("success")
    time.sleep(1)  # until the editor has drawn the words; the overlay stays a little longer
    take(folder / "desktop-pasted.png")
    subprocess.run([tallowfern.command, "quit"], check=True)
    editor.terminate()


def take(file):
    subprocess.run(["import", "-window", "root", "-crop", "860x560+210+30", "+repage", "-strip", str(file)], check=True)


main()
