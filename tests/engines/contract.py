"""Holds the speech engines to what the application relies on:

    contract.py FOLDER_OF_THE_PROGRAMS RESOURCES

Words of all sample recordings, alone and joined to long ones; status and sentences of every failure; progress lines.
"""
import csv
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import wave

import parakeet_model

PROGRAMS, RESOURCES = (pathlib.Path(argument) for argument in sys.argv[1:3])
MODEL = RESOURCES / "models/ggml-tiny.en-q5_1.bin"
SAMPLES = RESOURCES / "samples"


def run(program, *words):
    return subprocess.run([PROGRAMS / program, *map(str, words)], capture_output=True, timeout=120)


def whisper(file, *more, model=MODEL):
    return run("whisper-cli", "--model", model, "--file", file, "--no-timestamps", "--no-prints", "--print-progress",
               "--language", "en", "--threads", "2", "--suppress-nst", *more)


def transcripts():
    with open(SAMPLES / "transcripts.tsv", newline="") as table:
        return [(row["file"], row["transcript"], row["terms"] or "") for row in csv.DictReader(table, delimiter="\t")]


def sound(name):
    with wave.open(str(SAMPLES / name)) as file:
        return file.readframes(file.getnframes())


def words_of(text):
    return re.findall(r"[a-z']+", text.lower())


def word_errors(expected, heard):
    row = list(range(len(heard) + 1))
    for i, word in enumerate(expected, 1):
        before, row[0] = row[0], i
        for j, other in enumerate(heard, 1):
            before, row[j] = row[j], min(row[j] + 1, row[j - 1] + 1, before + (word != other))
    return row[-1]


class Words(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def write(self, frames, name="long.wav"):
        path = pathlib.Path(self.folder.name) / name
        with wave.open(str(path), "wb") as file:
            file.setparams((1, 2, 16000, 0, "NONE", ""))
            file.writeframes(frames)
        return path

    def test_every_sample_to_the_letter(self):
        for name, transcript, terms in transcripts():
            with self.subTest(name):
                done = whisper(SAMPLES / name, *(["--prompt", terms] if terms else []))
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertEqual(done.stdout.decode().strip(), transcript)

    def test_long_recordings_lose_and_double_no_sentence(self):
        everything = transcripts()
        pause = bytes(16000)
        errors = total = 0
        for order in (everything, everything[::-1], everything[5:] + everything[:5]):
            path = self.write(pause.join(sound(name) for name, _, _ in order))
            done = whisper(path)
            self.assertEqual(done.returncode, 0, done.stderr)
            expected = words_of(" ".join(transcript for _, transcript, _ in order))
            heard = words_of(done.stdout.decode())
            errors += word_errors(expected, heard)
            total += len(expected)
            self.assertLess(abs(len(heard) - len(expected)), 0.1 * len(expected), heard)
        print(f"joined recordings of {len(pause.join(sound(n) for n, _, _ in everything)) / 32000:.0f} s: "
              f"{errors} of {total} words differ")
        self.assertLess(errors, 0.1 * total)  # the small model hears joined voices less well

    def test_words_around_a_long_pause_are_kept(self):
        texts = {name: transcript for name, transcript, _ in transcripts()}
        for before, between in ((0, 5), (4, 2), (1, 20)):
            path = self.write(bytes(32000 * before) + sound("01.wav") + bytes(32000 * between) + sound("02.wav"))
            done = whisper(path)
            self.assertEqual(done.stdout.decode().strip(), f"{texts['01.wav']} {texts['02.wav']}", (before, between))

    def test_progress_rises_to_the_end(self):
        done = whisper(SAMPLES / "02.wav")
        percents = [int(value) for value in re.findall(r"progress = +(\d+)%", done.stderr.decode())]
        self.assertEqual(percents, sorted(set(percents)))
        self.assertEqual(percents[-1], 100)
        self.assertGreater(len(percents), 5)

    def test_nothing_said_is_success_with_no_words(self):
        for seconds in (0.05, 1, 40):
            done = whisper(self.write(bytes(int(32000 * seconds))))
            self.assertEqual((done.returncode, done.stdout), (0, b""), seconds)

    def test_a_prompt_of_any_size_and_kind_is_taken(self):
        for prompt in ("漢" * 30000, "a" * 90000, "-" * 60000, "Kafka, " * 10000, "", "--help", "\n\"'$(x)"):
            done = whisper(SAMPLES / "06.wav", "--prompt", prompt)
            self.assertEqual(done.returncode, 0, prompt[:9])

    def test_a_prompt_does_not_take_the_place_of_the_words(self):
        done = whisper(SAMPLES / "10.wav", "--prompt", ", ".join(f"Term number {number}" for number in range(1000)))
        self.assertEqual(done.stdout.decode().strip(), dict(t[:2] for t in transcripts())["10.wav"])


class Parakeet(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.model = pathlib.Path(self.folder.name) / "model.bin"
        parakeet_model.write(self.model)

    def hear(self, recording, model):
        return run("parakeet-cli", "--model", model, "--file", recording, "--threads", "2", "--no-prints")

    def test_hears_all_of_short_and_long_recordings(self):
        path = pathlib.Path(self.folder.name) / "recording.wav"
        for names in (["06.wav"], ["07.wav"], [name for name, _, _ in transcripts()]):
            frames = b"".join(map(sound, names))
            with wave.open(str(path), "wb") as file:
                file.setparams((1, 2, 16000, 0, "NONE", ""))
                file.writeframes(frames)
            done = self.hear(path, self.model)
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            self.assertRegex(done.stdout.decode(), "^a+( a+)*\n$")
            self.assertAlmostEqual(done.stdout.count(b"a"), len(frames) / 32000 / 0.08, delta=4)

    def test_damaged_models(self):
        good = self.model.read_bytes()
        for cut in (4, 60, 300, 2500, 3200, len(good) // 2, len(good) - 4):
            self.model.write_bytes(good[:cut])
            done = self.hear(SAMPLES / "06.wav", self.model)
            self.assertEqual((done.returncode, done.stdout, done.stderr.count(b"\n")), (1, b"", 2), (cut, done.stderr))


class Failures(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def file(self, name, content):
        path = pathlib.Path(self.folder.name) / name
        path.write_bytes(content)
        return path

    def assert_told(self, done, what):
        self.assertEqual(done.returncode, 1, what)
        self.assertEqual(done.stdout, b"", what)
        lines = [line for line in done.stderr.decode().splitlines() if line and "progress" not in line]
        self.assertEqual(len(lines), 2, (what, lines))
        self.assertTrue(all(line.endswith(".") for line in lines), lines)

    def test_recordings(self):
        good = (SAMPLES / "06.wav").read_bytes()
        for what, path in {
                "missing": "/nonexistent.wav", "empty": self.file("empty", b""), "a folder": self.folder.name,
                "noise": self.file("noise", os.urandom(5000)), "header alone": self.file("header", good[:44]),
                "cut in the header": self.file("cut", good[:20])}.items():
            self.assert_told(whisper(path), what)
            self.assert_told(run("parakeet-cli", "--model", MODEL, "--file", path, "--threads", "2", "--no-prints"), what)

    def test_models(self):
        good = MODEL.read_bytes()
        cases = {"missing": "/nonexistent.bin", "empty": self.file("empty", b""), "page": self.file("page", b"<html>" * 99),
                 "a folder": self.folder.name}
        for cut in (4, 40, 60, 1000, 300000, len(good) // 2, len(good) - 100):
            cases[f"cut at {cut}"] = self.file(f"cut{cut}", good[:cut])
        for what, model in cases.items():
            self.assert_told(whisper(SAMPLES / "06.wav", model=model), what)
        for model in (MODEL, cases["page"], cases["cut at 40"]):
            self.assert_told(run("parakeet-cli", "--model", model, "--file", SAMPLES / "06.wav", "--threads", "2",
                                 "--no-prints"), model)

    def test_command_lines(self):
        for words in ([], ["--what"], ["--model", MODEL], ["--model", MODEL, "--file", SAMPLES / "06.wav", "--threads", "0"],
                      ["--model", MODEL, "--file", SAMPLES / "06.wav", "--language", "xx"]):
            self.assert_told(run("whisper-cli", *words), words)


if __name__ == "__main__":
    if not (PROGRAMS / "whisper-cli").exists():
        print(f"There is no whisper-cli in {PROGRAMS}; scripts/engines builds it.")
        sys.exit(77)  # skipped
    unittest.main(argv=sys.argv[:1])
