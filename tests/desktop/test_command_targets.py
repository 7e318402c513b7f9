"""Heavier programs in which Commands refine their own text."""
from browsers import Chromium, Firefox
from editors import GnomeTextEditor
from test_command import CommandTest


class Targets(CommandTest):
    def test_gtk_4(self):
        self.refine_until_the_user_edits(GnomeTextEditor)

    def test_chromium(self):
        self.refine_until_the_user_edits(lambda: Chromium("--force-renderer-accessibility"))

    def test_firefox(self):
        self.refine_until_the_user_edits(Firefox)
