"""Microphones, files and clipboards that do not behave; the Dictation after it does."""
import contextlib
import os
import shutil
import signal
import subprocess
import threading
import time

from desk import BUILD, SAMPLES, TOGGLE, DeskTest, Microphone, clipboard, press, run, speak, until
from editors import QtEditor


class Sound(DeskTest):
    def setUp(self):
        super().setUp()
        self.fake_engine()
        self.addCleanup(Microphone.plug)

    def test_without_a_microphone(self):
        editor = self.open(QtEditor)
        Microphone.unplug()
        self.app = self.prepare().start()
        press(TOGGLE)
        report = self.app.wait_for("error")
        message = "No microphone was found. Connect one, or choose it in the sound settings."
        self.assertEqual(report["status"]["payload"], message)
        self.assertEqual(report["errorResolution"]["message"], message)
        Microphone.plug()
        self.app.wait("the microphone", lambda report: report["microphoneGranted"])
        self.dictate()
        editor.wait_text("Spoken words.")

    def test_a_microphone_unplugged_during_a_take(self):
        editor = self.open(QtEditor)
        self.copy(self.MINE)
        self.start()
        self.begin()
        speak(SAMPLES / "12.wav")
        Microphone.unplug()
        report = self.app.wait_for("success", "error")
        self.assertEqual((report["status"]["case"], report["notice"]),
                         ("success", "The microphone is no longer available."))
        editor.wait_text("Spoken words.")
        self.assert_clipboard(self.MINE)
        Microphone.plug()
        self.app.wait("the microphone", lambda report: report["microphoneGranted"])
        self.assertEqual(self.dictate()["notice"], "")
        editor.wait_text("Spoken words." * 2)


class Files(DeskTest):
    def setUp(self):
        super().setUp()
        self.fake_engine()

    def assert_set_aside(self, path, content):
        aside, = path.parent.glob(path.name + ".damaged-*")
        self.assertEqual(aside.read_text(), content)

    def test_a_damaged_history_and_damaged_preferences_are_set_aside(self):
        editor = self.open(QtEditor)
        app = self.prepare(preferences={})
        app.data.mkdir(parents=True)
        app.history.write_text('[{"id": "half')
        app.preferences.write_text('{"clipboardRestoreEnabled": tr')
        self.app = app.start()
        self.app.wait("the microphone", lambda report: report["microphoneGranted"])
        self.dictate()
        editor.wait_text("Spoken words.")
        self.app.end()
        app.wait_history(["Spoken words."])
        self.assert_set_aside(app.history, '[{"id": "half')
        self.assert_set_aside(app.preferences, '{"clipboardRestoreEnabled": tr')

    def test_a_folder_that_cannot_be_written(self):
        editor = self.open(QtEditor)
        # Of root, too, what an ordinary user may not do is refused.
        self.start(wrapper=("setpriv", "--bounding-set=-dac_override,-dac_read_search") if os.getuid() == 0 else ())
        self.app.data.chmod(0o500)
        self.addCleanup(self.app.data.chmod, 0o700)
        self.dictate()
        editor.wait_text("Spoken words.")
        self.assertEqual(self.app.transcripts(), [])
        self.app.data.chmod(0o700)
        self.dictate()
        editor.wait_text("Spoken words." * 2)
        self.app.end()
        self.app.wait_history(["Spoken words."] * 2)

    def test_a_disk_that_is_full_after_two_seconds_of_recording(self):
        editor = self.open(QtEditor)
        app = self.prepare()
        models = app.data / "Models"
        models.mkdir(parents=True)
        for model in (BUILD / "lib/tallowfern/Resources").glob("*.bin"):
            shutil.copyfile(model, models / model.name)
        self.app = app.start("prlimit", "--fsize=65536:")
        self.app.wait("the microphone", lambda report: report["microphoneGranted"])
        self.begin()
        report = self.app.wait_for("success", "error")
        self.assertEqual(report["status"]["case"], "success", report)
        self.assertIn("The recording could not be saved", report["notice"])
        editor.wait_text("Spoken words.")
        self.assertEqual(self.dictate()["notice"], "")
        editor.wait_text("Spoken words." * 2)


class Copying(DeskTest):
    def setUp(self):
        super().setUp()
        self.fake_engine()

    def test_what_is_copied_while_the_engine_works_comes_back(self):
        editor = self.open(QtEditor)
        self.copy(self.MINE)
        self.start()
        allowed = self.engine.says_later("Spoken words.")
        self.begin()
        press(TOGGLE)
        self.app.wait_for("processing")
        self.copy("copied meanwhile")
        allowed.touch()
        self.app.wait_for("success")
        editor.wait_text("Spoken words.")
        self.assert_clipboard("copied meanwhile")

    def test_a_program_that_copies_all_the_time(self):
        editor = self.open(QtEditor)
        self.start()
        enough = threading.Event()

        def copy_on():
            while not enough.is_set():
                subprocess.run(["xclip", "-selection", "clipboard"], input=b"again and again", check=True)

        with contextlib.ExitStack() as stack:
            greedy = threading.Thread(target=copy_on)
            stack.callback(greedy.join)
            stack.callback(enough.set)
            greedy.start()
            self.dictate()
        self.app.wait_history(["Spoken words."])
        before = editor.text()
        self.copy(self.MINE)
        self.engine.says("And now.")
        self.dictate()
        editor.wait_text(before + "And now.")
        self.assert_clipboard(self.MINE)

    def test_an_owner_of_the_clipboard_that_hangs(self):
        editor = self.open(QtEditor)
        owner = self.copy(self.MINE)
        self.start()
        owner.process.send_signal(signal.SIGSTOP)
        self.begin()
        begun = time.monotonic()
        self.finish()
        elapsed = time.monotonic() - begun
        owner.process.send_signal(signal.SIGCONT)
        editor.wait_text("Spoken words.")
        print(f"delivered {elapsed:.2f} s after the second press", flush=True)
        self.assertLess(elapsed, 5)
        self.dictate()
        editor.wait_text("Spoken words." * 2)
