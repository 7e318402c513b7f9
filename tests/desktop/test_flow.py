"""Dictations as a user does them."""
from desk import CANCEL, SAMPLES, TALK, TOGGLE, DeskTest, clipboard, hold, press, release, run, speak, until
from editors import Mousepad, QtEditor, Terminal

RECORDING, WORDS = SAMPLES / "03.wav", "It will be rainy in Toronto on Tuesday."


class Spoken(DeskTest):
    def test_toggle_pastes_the_words_and_gives_the_clipboard_back(self):
        editor = self.open(Mousepad)
        self.copy(self.MINE)
        self.start()
        self.dictate(RECORDING)
        editor.wait_text(WORDS)
        self.assert_clipboard(self.MINE)
        self.app.wait_history([WORDS])

    def test_push_to_talk_records_while_it_is_held(self):
        editor = self.open(QtEditor)
        self.start()
        hold(TALK)
        self.app.wait_for("recording")
        speak(RECORDING)
        release(TALK)
        self.app.wait_for("success")
        editor.wait_text(WORDS)


class Flow(DeskTest):
    def setUp(self):
        super().setUp()
        self.fake_engine()

    def test_a_terminal_gets_the_words(self):
        editor = self.open(Terminal)
        self.copy(self.MINE)
        self.start()
        self.dictate()
        editor.wait_text("Spoken words.")
        self.assert_clipboard(self.MINE)

    def test_escape_discards_the_recording_without_a_trace(self):
        editor = self.open(Terminal)
        self.copy(self.MINE)
        self.start()
        self.begin()
        self.cancel()
        press(CANCEL)  # the applications' own again
        editor.wait_text("\x1b")
        self.assertEqual(clipboard(), self.MINE)
        self.assertEqual(self.app.transcripts(), [])
        self.assertEqual([file for file in self.folder.rglob("*.wav")], [])
        self.dictate()
        editor.wait_text("\x1bSpoken words.")

    def test_two_dictations_within_the_delay_give_back_what_the_user_had_copied(self):
        editor = self.open(QtEditor)
        self.copy(self.MINE)
        self.start({"clipboardRestoreEnabled": True, "clipboardRestoreDelay": 5})
        self.dictate()
        self.engine.says(" And more.")
        self.dictate()
        editor.wait_text("Spoken words.And more.")
        self.assertNotEqual(clipboard(), self.MINE)
        self.assert_clipboard(self.MINE)

    def test_what_another_program_copied_meanwhile_stays(self):
        self.open(QtEditor)
        self.copy(self.MINE)
        self.start()
        self.dictate()
        self.copy("newer")
        self.app.wait_for("idle")  # later than the delay
        self.assertEqual(clipboard(), "newer")

    def test_the_target_comes_back_to_front(self):
        target = self.open(Mousepad)
        other = self.open(QtEditor)
        target.to_front()
        self.start()
        self.begin()
        other.to_front()
        self.finish()
        target.wait_text("Spoken words.")
        self.assertTrue(target.is_in_front())
        self.assertEqual(other.text(), "")

    def test_words_for_a_closed_window_stay_on_the_clipboard(self):
        other = self.open(Terminal)
        target = self.open(QtEditor)
        self.copy(self.MINE)
        self.start()
        allowed = self.engine.says_later("Spoken words.")
        self.begin()
        press(TOGGLE)
        self.app.wait_for("processing")
        target.end()
        until("the other window in front", other.is_in_front)
        allowed.touch()
        self.app.wait_for("success")
        self.app.wait_for("idle")
        self.assertEqual(clipboard(), "Spoken words.")
        self.app.wait_history(["Spoken words."])
        press("x")
        other.wait_text("x")

    def test_a_modifier_that_is_still_held_does_not_leak_into_the_paste(self):
        editor = self.open(Mousepad)
        self.start()
        self.begin()
        hold("alt")
        self.addCleanup(release, "alt")
        self.finish(TOGGLE.replace("alt+", ""))
        editor.wait_text("Spoken words.")

    def test_a_keyboard_without_latin_letters(self):
        editor = self.open(QtEditor)
        run("setxkbmap", "ru", check=True)
        self.addCleanup(run, "setxkbmap", "us")
        self.start()
        self.dictate()
        editor.wait_text("Spoken words.")
