#!/usr/bin/python3
"""Edits between the turns of a conversation, at random, in editors of two toolkits:

    TALLOWFERN_BUILD=build/release scripts/desktop tests/desktop/refine_rounds.py COUNT [--seed N]

After each refinement the editor must hold what the user has written, to the letter: the refinement stands where the
text before it stood, or is added at the cursor when that one was not ours any more, or is on the clipboard only.
"""
import argparse
import collections
import pathlib
import random
import sys
import tempfile

from desk import DESKTOP, FakeEngine, Tallowfern, clipboard, press, run, until
from editors import Mousepad, QtEditor
from writing import WritingModel, preferences

COMMAND_KEYS = "shift+alt+space"
TURNS_OF_A_CONVERSATION = 10
PIECES = ["rain", "sun", "😀", "é", "Ann", "漢字", "e\u0301", "👩‍👩‍👧", "late,", "\n", "ok."]


def text_of(chance, number):
    """Different from all others, and nothing that a user types."""
    return f"<{number} {' '.join(chance.choices(PIECES, k=chance.randrange(1, 12)))}>"


class Rounds:
    def __init__(self, chance, count, kind, folder):
        self.chance, self.outcomes = chance, collections.Counter()
        self.texts = [text_of(chance, number) for number in range(count)]
        model = WritingModel(folder, texts=list(self.texts))
        engine = FakeEngine(folder / "whisper-cli", "Go on.")
        self.app = Tallowfern(folder, preferences(), model.environment | {"TALLOWFERN_WHISPER_CLI_PATH": str(engine.path)})
        self.app.start()
        self.app.wait("the microphone", lambda report: report["microphoneGranted"])
        self.editor = kind()

    def end(self):
        self.editor.end()
        self.app.end()

    def wait_phase(self, phase):
        return self.app.wait(phase, lambda report: report["agentPhase"] in (phase, "error"))

    def text(self):
        """Once it has stood still, and without the newline that an editor adds for itself."""
        seen = [None, None]

        def settled():
            seen[:] = seen[1], self.editor.text()
            return seen[0] == seen[1]
        until("the text to settle", settled)
        return seen[1]

    def edit(self):
        """Something that a user does in the meantime."""
        places = {"start": ["ctrl+Home"], "end": ["ctrl+End"],
                  "somewhere": ["ctrl+Home"] + ["Right"] * self.chance.randrange(40)}
        for keys in places[self.chance.choice(list(places))]:
            press(keys)
        what = self.chance.choice(["nothing", "nothing", "type", "delete", "erase"])
        if what == "type":
            run("xdotool", "type", "--delay", "1", self.chance.choice(["x", "ab c", ". "]), check=True)
        elif what == "delete":
            press("Delete")
        elif what == "erase":
            press("BackSpace")

    def turn(self, number):
        self.editor.to_front()
        if number % TURNS_OF_A_CONVERSATION == 0:
            press("ctrl+End")
            press(COMMAND_KEYS)
            self.wait_phase("listening")
            before, earlier = self.text(), None
            press(COMMAND_KEYS)
        else:
            self.edit()
            before, earlier = self.text(), self.texts[number - 1]
            self.app.do("command", "--follow-up", "Again")
        self.wait_phase("loadingModel")
        report = self.wait_phase("completed")
        assert report["agentPhase"] == "completed", report
        new = self.texts[number]
        self.outcomes[self.judge(before, earlier, new, report["agentResultNeedsPaste"])] += 1

    def judge(self, before, earlier, new, needs_paste):
        if needs_paste:
            after = self.text()
            assert after == before, f"{before!r} became {after!r}, and {new!r} was to be on the clipboard"
            assert clipboard() == new
            return "on the clipboard"
        until("the new text", lambda: new in self.editor.text())
        after = self.text()
        if earlier and before.count(earlier) == 1 and after == before.replace(earlier, new):
            return "replaced"
        assert after.replace(new, "", 1) == before, f"{before!r} became {after!r} by {new!r} after {earlier!r}"
        return "added"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("count", type=int)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 31))
    options = parser.parse_args()
    print(f"{options.count} rounds, seed {options.seed}", flush=True)
    chance = random.Random(options.seed)
    for kind in (Mousepad, QtEditor):
        rounds = Rounds(chance, options.count // 2, kind, pathlib.Path(tempfile.mkdtemp(prefix="rounds-", dir=DESKTOP)))
        try:
            for number in range(options.count // 2):
                rounds.turn(number)
        finally:
            rounds.end()
        print(f"{kind.__name__}: " + ", ".join(f"{count} {name}" for name, count in rounds.outcomes.items()), flush=True)


if __name__ == "__main__":
    sys.exit(main())
