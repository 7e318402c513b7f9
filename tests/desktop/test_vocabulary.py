"""The user's terms: what the engine is told of them, and what they make of the words that it heard."""
from desk import BUILD, SAMPLES, DeskTest, until
from editors import QtEditor

SAMPLE = SAMPLES / "10.wav"
HEARD = "We upgraded Kafka and now the package is slow."
LONGEST_ARGUMENT = 128 * 1024  # of the system; a longer one does not start a program


class Vocabulary(DeskTest):
    def listen_in(self):
        """The real engine, whose arguments are written down on the way."""
        told = self.folder / "arguments"
        engine = self.fake_engine()
        engine.becomes(f"printf '%s\\n' \"$@\" >'{told}'\nexec '{BUILD / 'lib/tallowfern/whisper-cli'}' \"$@\"")
        return told

    def dictate_with(self, terms):
        told = self.listen_in()
        editor = self.open(QtEditor)
        self.start(self.RESTORE | {"vocabulary": terms})
        delivered = self.dictate(SAMPLE)["lastTranscript"]
        editor.wait_text(delivered)
        until("the arguments", told.exists)
        return delivered, told.read_text().splitlines()

    def test_without_terms_the_words_stand_as_they_were_heard(self):
        delivered, arguments = self.dictate_with([])
        self.assertEqual(delivered, HEARD)
        self.assertNotIn("--prompt", arguments)

    def test_terms_reach_the_engine_and_give_the_words_their_capitals(self):
        delivered, arguments = self.dictate_with(["KAFKA", "PackAge", "sLo"])
        self.assertEqual(delivered, HEARD.replace("Kafka", "KAFKA").replace("package", "PackAge"))
        self.assertEqual(arguments[arguments.index("--prompt") + 1], "KAFKA, PackAge, sLo")

    def test_a_list_beyond_all_bounds_is_no_obstacle(self):
        terms = ["KAFKA"] + [f"Term number {number}" for number in range(10_000)]
        delivered, arguments = self.dictate_with(terms)
        self.assertIn("KAFKA", delivered)
        prompt = arguments[arguments.index("--prompt") + 1]
        self.assertTrue(prompt.endswith(", Term number 9999"), prompt[-60:])
        self.assertLess(len(prompt), LONGEST_ARGUMENT)
