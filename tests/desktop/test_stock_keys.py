"""A window manager that has taken Alt+Space, as most do."""
from desk import DeskTest
from editors import QtEditor


class StockKeys(DeskTest):
    def test_the_toggle_gets_super_in_addition(self):
        self.fake_engine()
        editor = self.open(QtEditor)
        self.start()
        keys = {key["name"]: key for key in self.app.now()["hotKeys"]}
        self.assertEqual(keys["toggle"], {"name": "toggle", "keys": "Alt+Super+Space", "active": True})
        self.begin("super+alt+space")
        self.finish("super+alt+space")
        editor.wait_text("Spoken words.")
