"""Keys that others hold, and the control command."""
import os
import pathlib
import signal
import subprocess
import time

from desk import COMMAND, TALK, TOGGLE, DeskTest, press, run, until
from editors import QtEditor, Terminal


class Keys(DeskTest):
    def bind(self, *keys):
        """The window manager takes these keys."""
        taken = self.folder / "taken"
        settings = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "openbox/rc.xml"
        before = settings.read_text()
        self.addCleanup(run, "openbox", "--reconfigure")
        self.addCleanup(settings.write_text, before)
        bindings = "".join(f'<keybind key="{key}"><action name="Execute"><command>touch {taken}</command></action></keybind>'
                           for key in keys)
        settings.write_text(before.replace("</openbox_config>", f"<keyboard>{bindings}</keyboard></openbox_config>"))
        run("openbox", "--reconfigure", check=True)
        until("the window manager to take the keys", lambda: press(TALK) or taken.exists())
        return taken

    def test_a_key_that_another_program_holds_is_dead_and_harms_no_other(self):
        taken = self.bind("C-A-space", "W-C-A-space")
        editor = self.open(QtEditor)
        self.fake_engine()
        self.start()
        keys = {key["name"]: key for key in self.app.now()["hotKeys"]}
        self.assertEqual(keys["pushToTalk"], {"name": "pushToTalk", "keys": "Ctrl+Alt+Space", "active": False})
        self.assertTrue(keys["toggle"]["active"])
        self.dictate()
        editor.wait_text("Spoken words.")
        taken.unlink()
        press(TALK)
        until("the other program to have its key", taken.exists)
        self.assertNotEqual(self.app.now()["status"]["case"], "recording")
        self.app.end()
        self.assertEqual(self.app.errors.read_text(),
                         "tallowfern: another program holds Ctrl+Alt+Space; choose another shortcut.\n")


class Control(DeskTest):
    def setUp(self):
        super().setUp()
        self.fake_engine()

    def test_the_verbs_do_what_the_keys_do(self):
        editor = self.open(QtEditor)
        self.start()
        for begin, end in (("toggle", "toggle"), ("push-to-talk-begin", "push-to-talk-end")):
            self.assertEqual(self.app.do(begin).returncode, 0)
            self.app.wait_for("recording")
            self.assertEqual(self.app.do(end).returncode, 0)
            self.app.wait_for("success")
        editor.wait_text("Spoken words." * 2)
        self.app.do("toggle")
        self.app.wait_for("recording")
        self.assertEqual(self.app.do("cancel").returncode, 0)
        self.app.wait_for("idle")
        self.assertEqual(self.app.do("quit").returncode, 0)
        self.assertEqual(self.app.process.wait(30), 0)
        self.assertEqual(self.app.errors.read_text(), "")

    def test_a_second_start_hands_over_to_the_first(self):
        editor = self.open(QtEditor)
        self.start()
        before = run("xdotool", "getactivewindow", check=True)
        second = subprocess.run([COMMAND], env=self.app.environment, capture_output=True, timeout=30)
        self.assertEqual((second.returncode, second.stdout, second.stderr), (0, b"", b""))
        until("the main window in front", lambda: run("xdotool", "getactivewindow", "getwindowname") == "Tallowfern")
        run("xdotool", "windowactivate", "--sync", before, check=True)
        self.dictate()
        editor.wait_text("Spoken words.")

    def test_without_a_running_instance_each_verb_says_so(self):
        self.app = self.prepare()
        for verb in ("toggle", "push-to-talk-begin", "push-to-talk-end", "cancel", "quit", "status"):
            result = self.app.do(verb)
            self.assertEqual((verb, result.returncode, result.stderr), (verb, 1, "Tallowfern is not running.\n"))
        self.assertEqual(self.app.do("dance").returncode, 2)
        self.assertIn('"dance" is not a command.', self.app.do("dance").stderr)

    def test_it_ends_at_once_in_the_middle_of_its_work(self):
        self.open(Terminal)
        worker = self.folder / "engine"
        for case, ending in (("recording", signal.SIGTERM), ("processing", signal.SIGTERM), ("processing", signal.SIGINT)):
            with self.subTest(case=case, ending=ending):
                self.engine.becomes(f"echo $$ >'{worker}'; exec sleep 1000")
                self.start()
                self.begin()
                if case == "processing":
                    press(TOGGLE)
                    until("the engine", lambda: worker.exists() and worker.read_text().strip())
                begun = time.monotonic()
                self.app.process.send_signal(ending)
                self.assertEqual(self.app.process.wait(30), 0)
                self.assertLess(time.monotonic() - begun, 5)
        engine = pathlib.Path("/proc", worker.read_text().strip(), "cmdline")
        until("the engine to be gone", lambda: not engine.exists() or not engine.read_bytes())
        self.start()
        self.assertEqual(list(self.folder.rglob("*.wav")), [])
