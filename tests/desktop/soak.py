#!/usr/bin/python3
"""Many Dictations in a row, while other programs copy and take the focus:

    TALLOWFERN_BUILD=build/release scripts/desktop tests/desktop/soak.py COUNT [--seed N]

Ends at the first violation: words in a window that was not the target, words that are neither in the target nor on the
clipboard nor in the history, a clipboard that was not given back. Memory at the end must be what it was after the start.
"""
import argparse
import pathlib
import random
import sys
import threading
import time

from desk import BUILD, SAMPLES, TOGGLE, DeskTest, clipboard, press, speak, until
from editors import QtEditor

REAL_ENGINE = BUILD / "lib/tallowfern/whisper-cli"
MOST_GROWTH = 3  # megabytes


class Soak(DeskTest):
    def runTest(self):
        self.fake_engine()
        self.target = self.open(QtEditor)
        self.other = self.open(QtEditor)
        self.target.to_front()
        self.mine = "copied at the start"
        self.owner = self.copy(self.mine)
        self.start()
        self.pasted = self.kept = self.crossed = 0
        memory = []
        for number in range(OPTIONS.count):
            self.round(number)
            time.sleep(self.chance.uniform(0, 0.3))
            if number in (OPTIONS.count // 10, OPTIONS.count // 2, OPTIONS.count - 1):
                memory.append(self.memory())
                print(f"after {number + 1}: {self.pasted} pasted, {self.kept} kept on the clipboard, {self.crossed} crossed by "
                      f"a copy, {memory[-1]:.1f} MB", flush=True)
        self.assertLess(memory[-1] - memory[0], MOST_GROWTH, "the memory grows")
        until("the whole history", lambda: len(self.app.transcripts()) == OPTIONS.count)

    def round(self, number):
        words = self.say(number)
        if self.chance.random() < 0.5:
            self.copied(f"mine {number}")
        before = self.target.text()
        self.newer = None
        self.begin()
        if number % 10 == 9:
            speak(SAMPLES / "04.wav")
        if self.chance.random() < 0.3:
            self.other.to_front()
        trouble = self.trouble(number)
        report = self.finish()
        if trouble:
            trouble.join()
        words = words or report["status"]["payload"]
        self.app.wait_for("idle")
        self.check(number, words, before)
        self.target.to_front()

    def say(self, number):
        if number % 10 == 9:
            self.engine.becomes(f'exec "{REAL_ENGINE}" "$@"')
            return None
        self.engine.says(f"Sentence number {number}.")
        return f"Sentence number {number}."

    def copied(self, text):
        self.owner.end()
        self.owner = self.copy(text)
        self.mine = text

    def trouble(self, number):
        """Something that happens at a random moment of the delivery."""
        kind = self.chance.choice(("none", "none", "copy", "focus"))
        if kind == "none":
            return None
        action = self.other.activate if kind == "focus" else lambda: self.copy_newer(f"newer {number}")
        timer = threading.Timer(self.chance.uniform(0, 0.5), action)
        timer.start()
        return timer

    def copy_newer(self, text):
        self.newer = self.copy(text)
        self.mine = text

    def check(self, number, words, before):
        where = f"round {number}"
        self.assertEqual(self.other.text(), "", where)
        added = self.target.text()[len(before):]
        expected = self.mine
        if added == words:
            self.pasted += 1
        elif self.newer and added in ("", self.mine):
            self.crossed += 1  # copied between our keys and the target's reading, or before our keys, twice
        else:
            self.assertEqual(added, "", where)
            expected = words
            self.kept += 1
        until(f"{where}: the history", lambda: self.app.transcripts()[:1] == [words])  # written in the background
        try:
            until("the clipboard", lambda: clipboard() == expected)
        except AssertionError as late:
            raise AssertionError(f"{where}: the clipboard holds {clipboard()!r} and not {expected!r}") from late
        self.mine = expected

    def memory(self):
        """The application's own, in megabytes: its share of common pages changes with what else runs."""
        lines = pathlib.Path(f"/proc/{self.app.process.pid}/smaps_rollup").read_text().splitlines()
        return next(int(line.split()[1]) / 1024 for line in lines if line.startswith("Anonymous:"))


if __name__ == "__main__":
    PARSER = argparse.ArgumentParser(description=__doc__)
    PARSER.add_argument("count", type=int)
    PARSER.add_argument("--seed", type=int, default=random.randrange(1_000_000))
    OPTIONS = PARSER.parse_args()
    print(f"{OPTIONS.count} Dictations, seed {OPTIONS.seed}", flush=True)
    soak = Soak()
    soak.chance = random.Random(OPTIONS.seed)
    result = soak.defaultTestResult()
    soak.run(result)
    for _, text in result.errors + result.failures:
        print(text, file=sys.stderr)
    sys.exit(0 if result.wasSuccessful() else 1)
