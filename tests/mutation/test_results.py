import os
import tempfile
import unittest

from mutations import Mutant
from results import Results, ResultsError

MUTANT = Mutant("PeloraTcam/A.cpp", "swap", 7, 3, 9, "b(); a();", "a(); b();", "b(); a();")
SOURCES = {"PeloraTcam/A.cpp": "a(); b();"}


class ResultsTest(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.path = os.path.join(place.name, "deeper", "results.jsonl")

    def results(self, sources=None):
        return Results(self.path, sources or SOURCES)

    def test_Verdict_OfAnEarlierRun_IsKnown(self):
        self.results().add(MUTANT, "caught", "library.A: A.F_x_y", {"tests": 0.123})
        known = self.results().of(MUTANT)
        self.assertEqual((known["outcome"], known["why"]), ("caught", "library.A: A.F_x_y"))
        self.assertEqual(known["seconds"], {"tests": 0.12})

    def test_Verdict_AboutAFileThatHasChanged_IsNotKnown(self):
        self.results().add(MUTANT, "caught", "", {})
        self.assertIsNone(self.results({"PeloraTcam/A.cpp": "a(); c();"}).of(MUTANT))

    def test_Verdict_AboutAnotherChangeOfTheSamePlace_IsNotKnown(self):
        self.results().add(MUTANT, "caught", "", {})
        other = Mutant("PeloraTcam/A.cpp", "drop", 7, 3, 9, ";", "a(); b();", ";")
        self.assertIsNone(self.results().of(other))

    def test_Verdict_GivenAgain_IsTheLatest(self):
        self.results().add(MUTANT, "SURVIVED", "", {})
        self.results().add(MUTANT, "caught", "library.A: A.F_x_y", {})
        self.assertEqual(self.results().of(MUTANT)["outcome"], "caught")

    def test_File_ThatDoesNotExist_KnowsNothing(self):
        self.assertIsNone(self.results().of(MUTANT))

    def test_Line_ThatWasCutOff_IsRemoved(self):
        self.results().add(MUTANT, "caught", "", {})
        with open(self.path, "a", encoding="utf-8") as file:
            file.write('{"key": ["Pelora')
        self.results().add(MUTANT, "SURVIVED", "", {})
        self.assertEqual(self.results().of(MUTANT)["outcome"], "SURVIVED")

    def test_File_WithSomethingElse_IsRefused(self):
        self.results().add(MUTANT, "caught", "", {})
        for line in ("text", '"text"', "{}", "[]"):
            with open(self.path, "w", encoding="utf-8") as file:
                file.write(line + "\n")
            with self.assertRaises(ResultsError):
                self.results()


if __name__ == "__main__":
    unittest.main()
