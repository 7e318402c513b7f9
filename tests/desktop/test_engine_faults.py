"""An engine or a model that does not do its work; the Dictation after it does."""
import shutil

from desk import BUILD, SAMPLES, TOGGLE, DeskTest, press
from editors import QtEditor

NO_SPEECH, FAILED = "No speech was detected.", "The local transcription failed."
FLOOD = "head -c {} /dev/zero | tr '\\0' x"
FAULTS = (
    ("crashes", "kill -SEGV $$", FAILED),
    ("is killed", "echo half a sentence; kill -KILL $$", FAILED),
    ("fails with a reason", "echo the reason >&2; exit 3", "the reason"),
    ("prints nothing", "exit 0", NO_SPEECH),
    ("prints blanks", "printf ' \\n\\t\\n'", NO_SPEECH),
    ("prints invalid UTF-8", "printf 'wor\\377ds'", NO_SPEECH),
    ("floods both streams", f"{FLOOD.format('20M')} >&2; {FLOOD.format('80M')}",
     "The speech engine wrote more than a recording can hold."),
    ("is no program", None, "{path}: Exec format error"),
)


class Engine(DeskTest):
    def test_each_fault_is_told_and_the_next_dictation_works(self):
        editor = self.open(QtEditor)
        engine = self.fake_engine()
        self.copy(self.MINE)
        self.start()
        delivered = ""
        for number, (name, script, message) in enumerate(FAULTS):
            with self.subTest(engine=name):
                if script is None:
                    engine.path.write_bytes(b"\0\1\2")
                else:
                    engine.becomes(script)
                self.assertEqual(self.fail_to_dictate(), message.format(path=engine.path))
                self.assertEqual(list(self.folder.rglob("*.wav")), [])
                engine.says(f"Sentence {number}. ")
                self.dictate()
                delivered += f"Sentence {number}."
                editor.wait_text(delivered)
        self.app.wait_history([f"Sentence {number}." for number in reversed(range(len(FAULTS)))])
        self.assert_clipboard(self.MINE)

    def test_a_missing_engine(self):
        editor = self.open(QtEditor)
        engine = self.fake_engine()
        self.start()
        engine.path.unlink()
        self.assertEqual(self.fail_to_dictate(), "The bundled local speech engine is missing.")
        engine.says("Here again.")
        self.dictate()
        editor.wait_text("Here again.")

    def test_while_it_hangs_nothing_else_begins(self):
        editor = self.open(QtEditor)
        engine = self.fake_engine()
        self.start()
        allowed = engine.says_later("At last.")
        self.begin()
        press(TOGGLE)
        self.app.wait_for("processing")
        for verb in ("toggle", "push-to-talk-begin", "push-to-talk-end", "cancel"):
            self.app.do(verb)
            self.assertEqual(self.app.now()["status"]["case"], "processing")
        allowed.touch()
        self.app.wait_for("success")
        editor.wait_text("At last.")
        self.app.wait_history(["At last."])


class Model(DeskTest):
    def test_a_damaged_model_is_told_and_the_next_dictation_works(self):
        editor = self.open(QtEditor)
        self.start()
        self.app.wait("the model", lambda report: report["selectedModelIsStandIn"])
        model, = (self.app.data / "Models").glob("*.bin")
        good = BUILD / "lib/tallowfern/Resources" / model.name
        for name, size in (("empty", 0), ("truncated", good.stat().st_size // 2)):
            with self.subTest(model=name):
                with open(model, "r+b") as file:
                    file.truncate(size)
                message = self.fail_to_dictate(SAMPLES / "12.wav")
                self.assertRegex(message.lower(), "model")
                shutil.copyfile(good, model)
        self.dictate(SAMPLES / "12.wav")
        editor.wait_text("We use Ambergate for the report.")
