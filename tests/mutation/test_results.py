import os
import tempfile
import unittest

from mutations import Mutant
from results import Results, ResultsError

SOURCE = "void f()\n{\n    a(); b();\n}\n\nvoid g()\n{\n    a(); b();\n}\n"


def mutant(source=SOURCE, which=0, file="PeloraTcam/A.cpp", after="b(); a();"):
    """The swap of the two calls in the first or the second function."""
    start = source.index("a();") if not which else source.rindex("a();")
    line = source.count("\n", 0, start) + 1
    return Mutant(file, "swap", line, start, start + 9, after, "a(); b();", after)


class ResultsTest(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.path = os.path.join(place.name, "deeper", "results.txt")

    def results(self, *mutants, source=SOURCE):
        return Results(self.path, mutants, {m.file: source for m in mutants})

    def lines(self):
        with open(self.path, encoding="utf-8") as file:
            return file.read().split("\n")[:-1]

    def test_Verdict_OfAnEarlierRun_IsKnown(self):
        one = mutant()
        self.results(one).add(one, "caught", "library.A: A.F_x_y")
        self.assertEqual(self.results(one).of(one), ("caught", "library.A: A.F_x_y"))

    def test_Verdict_AboutAFunctionThatHasMoved_IsKnown(self):
        one, moved = mutant(), mutant("// More.\nvoid h()\n{}\n\n" + SOURCE)
        self.results(one).add(one, "caught", "")
        again = self.results(moved, source="// More.\nvoid h()\n{}\n\n" + SOURCE)
        self.assertEqual(again.of(moved), ("caught", ""))

    def test_Verdict_AboutAFunctionThatHasChanged_IsNotKnown(self):
        changed = SOURCE.replace("{\n", "{\n    c();\n", 1)
        self.results(mutant()).add(mutant(), "caught", "")
        self.assertIsNone(self.results(mutant(changed), source=changed).of(mutant(changed)))

    def test_Verdict_AboutARowOfATable_IsKnownWhenAnotherChanges(self):
        row, more = mutant("a(); b();", file="A.def"), mutant("c();\na(); b();", file="A.def")
        self.results(row, source="a(); b();").add(row, "caught", "")
        self.assertEqual(self.results(more, source="c();\na(); b();").of(more), ("caught", ""))

    def test_Verdicts_AboutTheSameLineOfTwoFunctions_AreTwo(self):
        first, second = mutant(), mutant(which=1)
        self.results(first, second).add(first, "caught", "")
        self.assertIsNone(self.results(first, second).of(second))

    def test_Verdict_AboutAnotherChangeOrFile_IsNotKnown(self):
        self.results(mutant()).add(mutant(), "caught", "")
        for other in (mutant(after="b();"), mutant(file="PeloraTcam/B.cpp")):
            self.assertIsNone(self.results(other).of(other))

    def test_Verdict_GivenAgain_IsTheLatest(self):
        one = mutant()
        self.results(one).add(one, "survived", "")
        self.results(one).add(one, "caught", "library.A: A.F_x_y")
        self.assertEqual(self.results(one).of(one)[0], "caught")

    def test_File_ThatDoesNotExist_KnowsNothing(self):
        self.assertIsNone(self.results(mutant()).of(mutant()))

    def test_Line_ThatWasCutOff_IsRemoved(self):
        one = mutant()
        self.results(one).add(one, "caught", "")
        with open(self.path, "a", encoding="utf-8") as file:
            file.write("0123")
        self.results(one).add(one, "survived", "")
        self.assertEqual(self.results(one).of(one)[0], "survived")

    def test_File_WithSomethingElse_IsRefused(self):
        self.results(mutant()).add(mutant(), "caught", "")
        for line in ("text", "0123456789 unknown", "012345678 caught", "= 0123456789 caught"):
            with open(self.path, "w", encoding="utf-8") as file:
                file.write(line + "\n")
            with self.assertRaises(ResultsError):
                self.results(mutant())

    def test_Test_ThatCatchesSeveral_IsNamedOnce(self):
        first, second = mutant(), mutant(which=1)
        results = self.results(first, second)
        for one in (first, second):
            results.add(one, "caught", "library.A: A.F_x_y")
        self.assertEqual([line[0] for line in self.lines()].count("="), 1)

    def test_Tidying_KeepsTheLatestVerdictOfEachMutantThatThereIs(self):
        first, second = mutant(), mutant(which=1)
        results = self.results(first, second)
        for one, outcome in ((first, "survived"), (second, "caught"), (first, "same")):
            results.add(one, outcome, "library.A: A.F_x_y")
        remaining = self.results(first)
        remaining.tidy()
        self.assertEqual(self.lines()[0], "# PeloraTcam/A.cpp")
        self.assertRegex(self.lines()[1], r"^[0-9a-f]{10} same$")
        self.assertEqual(len(self.lines()), 2)
        self.assertEqual(self.results(first).of(first), ("same", ""))


if __name__ == "__main__":
    unittest.main()
