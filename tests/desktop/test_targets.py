"""Heavier programs that people dictate into."""
from desk import DeskTest
from browsers import Chromium, Firefox
from editors import GnomeTextEditor


class Targets(DeskTest):
    def setUp(self):
        super().setUp()
        self.fake_engine("Zürich, 12 \N{GRINNING FACE}.")

    def dictate_into(self, kind):
        editor = self.open(kind)
        self.copy(self.MINE)
        self.start()
        self.dictate()
        editor.wait_text("Zürich, 12 \N{GRINNING FACE}.")
        self.assert_clipboard(self.MINE)

    def test_gtk_4(self):
        self.dictate_into(GnomeTextEditor)

    def test_chromium(self):
        self.dictate_into(Chromium)

    def test_firefox(self):
        self.dictate_into(Firefox)
