"""The overlay on a real desktop: what it looks like, where it stands, and that it is never in the way."""
import json
import re
import subprocess

from desk import SOURCE, TOGGLE, DeskTest, press, run, until
from editors import QtEditor

PICTURES = SOURCE / "docs/screenshots"
CLASSIC, MINI = (318, 64), (160, 44)
DESKTOP_COLOUR = "#2F6F9F"


def overlay():
    """The identifier of the overlay's window while it is shown."""
    for window in run("xdotool", "search", "--onlyvisible", "--name", "^Tallowfern$").split():
        if "_NET_WM_WINDOW_TYPE_UTILITY" in run("xprop", "-id", window, "_NET_WM_WINDOW_TYPE"):
            return window
    return None


def place(window):
    """Left, top, width, height."""
    text = run("xwininfo", "-id", window)
    return tuple(int(re.search(rf"{name}: +(-?\d+)", text)[1])
                 for name in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"))


def active_window():
    return run("xdotool", "getactivewindow")


def picture_of(window, file):
    left, top, width, height = place(window)
    subprocess.run(["import", "-window", "root", "-crop", f"{width}x{height}+{left}+{top}", "+repage", file], check=True)


def difference(shown, expected, width, height):
    """The share of pixels within the pill that look different; the edge of text may."""
    inside = f"{width - 24}x{height - 12}+12+6"
    done = subprocess.run(["compare", "-metric", "AE", "-fuzz", "25%", f"{shown}[{inside}]", f"{expected}[{inside}]", "null:"],
                          stderr=subprocess.PIPE, text=True)
    return float(done.stderr.split()[0]) / (width * height)


class Overlay(DeskTest):
    def setUp(self):
        super().setUp()
        run("xsetroot", "-solid", DESKTOP_COLOUR, check=True)
        self.editor = self.open(QtEditor)
        self.engine = self.fake_engine()

    def show(self):
        self.begin()
        return until("the overlay", overlay)

    def hide(self):
        self.cancel()
        until("the overlay to go", lambda: overlay() is None)

    def wait_place(self, expected):
        until(f"the overlay at {expected}", lambda: (window := overlay()) and place(window) == expected)

    def stored(self):
        values = json.loads(self.app.preferences.read_text())
        return values.get("overlayRelativeX"), values.get("overlayRelativeY")

    def drag(self, from_point, to_point):
        for command in (("mousemove", *from_point), ("mousedown", "1"), ("mousemove", *((a + b) // 2 for a, b in
                        zip(from_point, to_point))), ("mousemove", *to_point), ("mouseup", "1")):
            run("xdotool", *map(str, command), check=True)

    def test_it_floats_above_everything_and_never_has_the_focus(self):
        self.start()
        before = active_window()
        window = self.show()
        self.assertEqual(place(window), (481, 72, *CLASSIC))
        self.assertEqual(active_window(), before)
        properties = run("xprop", "-id", window, "_NET_WM_STATE", "_NET_WM_DESKTOP", "WM_HINTS")
        for expected in ("_NET_WM_STATE_ABOVE", "_NET_WM_STATE_SKIP_TASKBAR", "4294967295",
                         "Client accepts input or input focus: False"):
            self.assertIn(expected, properties)
        run("xdotool", "windowmove", "--sync", before, "300", "20", check=True)
        run("xdotool", "windowraise", before, check=True)
        stack = run("xprop", "-root", "_NET_CLIENT_LIST_STACKING").split()
        self.assertEqual(int(stack[-1], 16), int(window))
        run("xdotool", "set_num_desktops", "2", "set_desktop", "1", check=True)
        until("the overlay on the other workspace", overlay)
        run("xdotool", "set_desktop", "0", check=True)
        run("xdotool", "mousemove", "640", "100", "click", "1", check=True)
        self.assertEqual(active_window(), before)
        self.assertEqual(self.app.now()["status"]["case"], "recording")
        self.assertEqual(self.stored(), (None, None), "neither a click nor our own moves are the user's")

    def test_every_form_looks_as_it_was_drawn(self):
        # Dark and light lie one above the other in the pictures.
        for form, size, dark in (("classic", CLASSIC, True), ("classic", CLASSIC, False), ("mini", MINI, True),
                                 ("mini", MINI, False)):
            with self.subTest(form=form, dark=dark):
                self.start(self.RESTORE | {"overlaySize": form.capitalize(), "overlayAppearance": "Dark" if dark else "Light"})
                for state, word in (("pasted", "success"), ("error", "error")):
                    self.engine.becomes("echo Spoken words." if word == "success" else "exit 0")
                    window = self.show()
                    press(TOGGLE)
                    self.app.wait_for(word)
                    width, height = size
                    top = 14 + (0 if dark else height + 28)
                    expected = f"{self.folder}/expected.png"
                    subprocess.run(["convert", str(PICTURES / f"overlay-{form}-{state}.png"), "-crop",
                                    f"{width}x{height}+14+{top}", "+repage", expected], check=True)
                    shown = f"{self.folder}/shown-{form}-{state}-{dark}.png"

                    def looks_right():
                        picture_of(window, shown)
                        return difference(shown, expected, width, height) < 0.02
                    until(f"the picture of {form} {state}", looks_right, 10)
                    corner = run("convert", shown, "-format", "%[pixel:p{0,0}]", "info:")
                    self.assertIn(run("convert", f"xc:{DESKTOP_COLOUR}", "-format", "%[pixel:p{0,0}]", "info:"), corner)
                    if word == "success":
                        self.app.wait_for("idle")
                self.app.end()

    def test_a_drag_is_kept_across_sizes_screens_and_starts(self):
        self.start()
        self.show()
        self.drag((640, 100), (640 + 481, 100 - 72))
        self.wait_place((962, 0, *CLASSIC))
        until("the place to be stored", lambda: self.stored() == (1, 1))
        self.app.end()
        self.start(json.loads(self.app.preferences.read_text()) | {"overlaySize": "Mini"})
        self.show()
        self.wait_place((1280 - 160, 0, *MINI))
        run("xrandr", "--setmonitor", "small", "1024/270x700/185+0+0", "screen", check=True)
        self.addCleanup(run, "xrandr", "--delmonitor", "small")
        self.wait_place((1024 - 160, 0, *MINI))
        self.assertEqual(self.stored(), (1, 1), "only a drag is a new place")

    def test_it_goes_to_the_screen_with_the_focus_and_leaves_one_that_is_removed(self):
        for name, left, output in (("left", 0, "screen"), ("right", 640, "none")):
            run("xrandr", "--setmonitor", name, f"640/170x800/210+{left}+0", output, check=True)
            self.addCleanup(run, "xrandr", "--delmonitor", name, stderr=subprocess.DEVNULL)
        self.start(self.RESTORE | {"overlayRelativeX": 0.5, "overlayRelativeY": 0, "overlaySize": "Mini"})
        run("xdotool", "windowmove", "--sync", active_window(), "700", "100", check=True)
        self.show()
        self.wait_place((640 + 240, 800 - 44, *MINI))
        run("xrandr", "--delmonitor", "right", check=True)
        self.wait_place((240, 800 - 44, *MINI))
        self.hide()

    def test_a_click_on_a_failure_leads_to_its_mend(self):
        self.engine.becomes("exit 0")
        self.start()
        self.show()
        press(TOGGLE)
        self.app.wait_for("error")
        run("xdotool", "mousemove", "640", "100", "click", "1", check=True)
        until("the overlay to go", lambda: overlay() is None)
        self.assertEqual(self.app.now()["status"]["case"], "error", "it ends with the next Dictation")
        until("the main window in front", lambda: run("xdotool", "getactivewindow", "getwindowname") == "Tallowfern")

