"""Commands as a user gives them."""
import struct
import subprocess
import unittest
import uuid

from desk import CANCEL, SAMPLES, DeskTest, clipboard, press, run, speak, until
from editors import Mousepad, QtEditor
from writing import BUILT, STAND_IN, WritingModel, preferences

COMMAND_KEYS, SCREENSHOT_KEYS = "shift+alt+space", "ctrl+shift+alt+space"
RECORDING, WORDS = SAMPLES / "03.wav", "It will be rainy in Toronto on Tuesday."
NEW, SHORT, SHORTEST = "Dear Ann, 😀 it will rain.", "It rains é.", "Rain."


class CommandTest(DeskTest):
    def begin_command(self, keys=COMMAND_KEYS):
        press(keys)
        return self.wait_phase("listening")

    def wait_phase(self, *phases):
        return self.app.wait(" or ".join(phases), lambda report: report["agentPhase"] in phases)

    def say(self, keys=COMMAND_KEYS):
        """From the first press to the end."""
        self.begin_command(keys)
        speak(RECORDING)
        press(COMMAND_KEYS)
        self.wait_phase("transcribing")
        return self.finish_command()

    def follow_up(self, text):
        self.app.do("command", "--follow-up", text)
        self.wait_phase("loadingModel")
        return self.finish_command()

    def finish_command(self):
        report = self.wait_phase("completed", "error", "cancelled")
        self.assertEqual(report["agentPhase"], "completed", report)
        return report

    def write_into(self, editor, text):
        """As a user types, with the last word selected."""
        run("xdotool", "type", "--delay", "20", text, check=True)
        until("the typed text", lambda: editor.text().strip() == text)
        press("ctrl+shift+Left")

    def start_with(self, model, environment=None, **settings):
        return self.start(preferences(**settings), model.environment | (environment or {}))

    def refine_until_the_user_edits(self, kind):
        model = WritingModel(self.folder, texts=[NEW, SHORT, SHORTEST, "Sun."])
        self.start_with(model)
        editor = self.open(kind)
        self.write_into(editor, "Hello world")
        self.say()
        editor.wait_text("Hello " + NEW)
        roles, texts = zip(*model.messages())
        self.assertEqual(roles[-1], "user")
        self.assertIn("world", texts[-1])
        self.assertIn(WORDS, texts[-1])

        self.follow_up("Make it shorter")
        editor.wait_text("Hello " + SHORT)
        self.assertIn("Make it shorter", model.messages()[-1][1])

        self.app.do("command", "--follow-up")
        self.wait_phase("listening")
        speak(RECORDING)
        self.app.do("command", "--follow-up")
        self.wait_phase("transcribing")
        self.finish_command()
        editor.wait_text("Hello " + SHORTEST)
        self.assertEqual(len(model.messages()), len(model.requests()[0]["messages"]) + 4)

        press("Left")
        run("xdotool", "type", "!", check=True)
        editor.wait_text("Hello Rain!.")
        self.assertTrue(self.follow_up("About the sun")["agentResultNeedsPaste"])
        self.assertEqual(clipboard(), "Sun.")
        editor.wait_text("Hello Rain!.")


class Written(CommandTest):
    def test_replaces_the_selection_and_refines_its_own_text_in_a_gtk_editor(self):
        self.refine_until_the_user_edits(Mousepad)

    def test_replaces_the_selection_and_refines_its_own_text_in_a_qt_editor(self):
        self.refine_until_the_user_edits(QtEditor)

    @unittest.skipUnless(BUILT.exists(), "the real llama-server is not built (scripts/engines --writing)")
    def test_with_the_real_model_server(self):
        model = WritingModel(self.folder, BUILT)
        self.start_with(model)
        editor = self.open(QtEditor)
        text = self.say()["agentResultText"]
        self.assertTrue(text)
        editor.wait_text(text)

    def test_a_profile_instructs_the_model(self):
        key = {"keyCode": 18, "keyLabel": "1", "control": True, "option": True, "shift": False, "command": False}
        profile = {"id": str(uuid.uuid4()).upper(), "name": "Pirate", "prompt": "Write like a pirate.", "shortcut": key}
        model = WritingModel(self.folder, text="Arr.")
        self.start_with(model, promptProfiles=[profile])
        editor = self.open(QtEditor)
        self.assertEqual(self.begin_command("ctrl+alt+1")["agentPhaseDetail"], "Pirate")
        speak(RECORDING)
        press("ctrl+alt+1")
        self.finish_command()
        editor.wait_text("Arr.")
        self.assertIn(("system", True), [(role, "Write like a pirate." in text) for role, text in model.messages()])
        self.app.do("command", "--profile", "1")
        self.wait_phase("listening")
        self.assertEqual(self.app.do("command", "--profile", "0").returncode, 2)

    def test_a_screenshot_shows_the_window_in_front(self):
        model = WritingModel(self.folder, text="An editor.")
        self.start_with(model)
        below = self.open(Mousepad)
        editor = self.open(QtEditor)
        self.assertNotEqual(self.size_of(below), self.size_of(editor))
        self.assertEqual(self.begin_command(SCREENSHOT_KEYS)["agentPhaseDetail"], "Window attached")
        speak(RECORDING)
        press(SCREENSHOT_KEYS)
        self.finish_command()
        picture = model.picture()
        self.assertEqual(picture[:8], b"\x89PNG\r\n\x1a\n")
        self.assertEqual(struct.unpack(">II", picture[16:24]), self.size_of(editor))
        kept = list((self.folder / "data/Tallowfern/Agent/Attachments").rglob("*.png"))
        self.assertEqual([path.parent.name for path in kept], [self.app.now()["activeAgentConversationID"]])

    @staticmethod
    def size_of(editor):
        lines = run("xdotool", "getwindowgeometry", "--shell", editor.window, check=True).splitlines()
        values = dict(line.split("=") for line in lines)
        return int(values["WIDTH"]), int(values["HEIGHT"])


class Ended(CommandTest):
    def test_in_each_phase_and_at_once(self):
        model = WritingModel(self.folder, text=" ".join(["on and"] * 200), delta_seconds=0.05, load_seconds=1)
        self.start_with(model)
        editor = self.open(QtEditor)
        self.begin_command()
        until("the cancel key", lambda: any(key["name"] == "cancel" and key["active"] for key in self.app.now()["hotKeys"]))
        press(CANCEL)
        self.wait_phase("cancelled")
        for phase in ("loadingModel", "generating"):
            self.begin_command()
            speak(RECORDING)
            press(COMMAND_KEYS)
            self.wait_phase(phase)
            self.app.do("cancel")
            self.wait_phase("cancelled")
        self.app.wait("the overlay to go", lambda report: not report["isOverlayPresented"])
        self.assertEqual(editor.text(), "")
        self.assertEqual(list((self.folder / "data").rglob("*.wav")), [])

    def test_with_a_sentence_where_the_model_cannot_be_had(self):
        model = WritingModel(self.folder, text="Never.")
        self.start_with(model, selectedModelID="qwen3-4b-q4")
        self.open(QtEditor)
        press(COMMAND_KEYS)
        report = self.wait_phase("error")
        self.assertEqual(report["agentPhaseDetail"], "Download Qwen Writer before using it.")
        self.assertEqual(report["errorResolution"]["destination"], "commandModels")
        self.app.wait("the overlay", lambda shown: shown["isOverlayPresented"])


class Told(CommandTest):
    def test_by_a_notice_that_leads_to_the_application(self):
        dunst = subprocess.Popen(["dunst"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(dunst.wait)
        self.addCleanup(dunst.kill)
        until("the notification service", lambda: subprocess.run(["dunstctl", "count"], capture_output=True).returncode == 0)
        model = WritingModel(self.folder, text="Written.")
        self.start_with(model)
        self.open(Mousepad)
        self.say()
        until("the notice", lambda: run("dunstctl", "count", "displayed") == "1")
        run("dunstctl", "action", "0", check=True)
        until("the main window", lambda: run("xdotool", "search", "--onlyvisible", "--name", "^Tallowfern$",
                                             stderr=subprocess.DEVNULL))


if __name__ == "__main__":
    unittest.main()
