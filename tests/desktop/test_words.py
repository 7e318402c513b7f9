"""What arrives of the words that were spoken."""
import csv
import re

from desk import SAMPLES, DeskTest
from editors import QtEditor


def words(text):
    return re.findall(r"[\w']+", text.lower())


def errors(spoken, heard):
    """Words to insert, delete or replace to get from one list to the other."""
    row = list(range(len(heard) + 1))
    for i, expected in enumerate(spoken, 1):
        diagonal, row[0] = row[0], i
        for j, got in enumerate(heard, 1):
            diagonal, row[j] = row[j], min(row[j] + 1, row[j - 1] + 1, diagonal + (expected != got))
    return row[-1]


class Words(DeskTest):
    def test_fewer_than_a_tenth_are_wrong(self):
        editor = self.open(QtEditor)
        self.start()
        with open(SAMPLES / "transcripts.tsv", encoding="utf-8") as file:
            samples = list(csv.DictReader(file, delimiter="\t"))
        wrong, count, before = 0, 0, ""
        for sample in samples:
            delivered = self.dictate(SAMPLES / sample["file"])["lastTranscript"]
            editor.wait_text(before + delivered)
            spoken, heard = words(sample["transcript"]), words(editor.text()[len(before):])
            before = editor.text()
            mistakes = errors(spoken, heard)
            wrong, count = wrong + mistakes, count + len(spoken)
            print(f"{sample['file']}: {mistakes} of {len(spoken)} wrong: {delivered}", flush=True)
        print(f"word error rate: {wrong / count:.1%} of {count} words", flush=True)
        self.assertEqual(len(samples), 12)
        self.assertLess(wrong / count, 0.1)
