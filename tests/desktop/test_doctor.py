"""What is said to somebody for whom it does not work."""
import json
import subprocess

from desk import COMMAND, DeskTest, Microphone


class Doctor(DeskTest):
    def ask(self, environment=None):
        done = subprocess.run([COMMAND, "doctor", "--json"], env=self.app.environment | (environment or {}),
                              capture_output=True, text=True, timeout=30)
        self.assertEqual(done.stderr, "")
        return done.returncode, {one["subject"]: one for one in json.loads(done.stdout)}

    def states(self, subjects):
        return {name: one["state"] for name, one in subjects.items()}

    def test_it_looks_at_the_desktop_as_it_is(self):
        self.app = self.prepare()
        status, found = self.ask()
        self.assertEqual(status, 0, found)
        expected = {"Session": "good", "Tallowfern": "good", "Speech engines": "good", "Speech model": "poor", "Disk": "good",
                    "Hot keys": "good", "Microphone": "poor", "Pasting": "good", "Accessibility bus": "good",
                    "Overlay": "good", "Tray": "poor", "Notifications": "poor", "Secret service": "poor"}
        self.assertEqual(self.states(found) | {"Notifications": "poor", "Secret service": "poor"}, expected)
        self.assertEqual(found["Tallowfern"]["detail"], "not running")
        self.assertEqual(found["Microphone"]["detail"], "silent")

        self.start()
        _, found = self.ask()
        self.assertEqual(found["Tallowfern"]["detail"], "running")
        self.assertEqual(found["Hot keys"]["detail"], "Alt+Space, Ctrl+Alt+Space, Alt+Shift+Space")

    def test_it_tells_what_is_broken(self):
        self.app = self.prepare(environment={"TALLOWFERN_WHISPER_CLI_PATH": "/nowhere/whisper-cli"})
        Microphone.unplug()
        self.addCleanup(Microphone.plug)
        status, found = self.ask()
        self.assertEqual(status, 1)
        for subject in ("Microphone", "Speech engines"):
            self.assertEqual(found[subject]["state"], "bad")
            self.assertTrue(found[subject]["mend"])
        status, found = self.ask({"DISPLAY": ":63999"})
        self.assertEqual((status, found["Session"]["state"]), (1, "bad"))
