import contextlib
import dataclasses
import io
import unittest

import mutation_run
from mutation_run import CAUGHT, EXPLAINED_AWAY, INVALID, SAME_CODE, SURVIVED, MutationRun, bunches_of
from mutations import Mutant
from trials import slow_rounds

MUTANT = Mutant("PeloraTcam/A.cpp", "drop", 7, 0, 0, "", "a();", ";")
MUTANTS = [dataclasses.replace(MUTANT, line=line) for line in range(1, 5)]


class Together:
    """A build of all mutants; those of odd lines do not fit, and that of line 4 is not exact."""

    def __init__(self, graph, folder, mutants, source):
        self.folder = folder
        every = dict(enumerate(mutants, start=1))
        self.unfit = {n: "unfit" for n, mutant in every.items() if mutant.line % 2}
        self.numbers = {n: mutant for n, mutant in every.items() if n not in self.unfit}
        self.blocks = {number: {"A.o": ["block"]} for number in every}
        self.inexact = {n for n, mutant in every.items() if mutant.line == 4}
        self.builds = not any(mutant.after == "bad" for mutant in mutants)

    def make(self, target):
        return self.builds

    def remove(self):
        pass


class Alone:
    """A mutant that is compiled by itself."""

    def __init__(self, graph, folder, mutant, source):
        self.folder = folder
        self.mutant = mutant
        TRIED.append(mutant.line)

    def make(self, target):
        return self.mutant.after != "invalid"

    def same_code(self, flags):
        return self.mutant.after == "same"

    def remove(self):
        pass


class MadeUpTrial:
    """Catches what has the text "caught"."""

    def __init__(self, overlay, order, past_kills):
        pass

    def who_catches(self, mutant, asked, number=0, stages=()):
        caught = mutant.after == "caught" or (mutant.after == "slow" and slow_rounds in stages)
        return "a test" if caught else None

    def left_out(self, asked):
        return False


class Reach:
    def asked(self, file, blocks=None):
        return [{}] if blocks else [{}, {}]


class Graph:
    def affected(self, file):
        return {"A.o"}

    def needed(self, target, file):
        return []


class Order:
    def of(self, file):
        return []


TRIED = []


class RunTest(unittest.TestCase):
    def setUp(self):
        TRIED.clear()
        replaced = {"SchemaOverlay": Together, "Overlay": Alone, "Trial": MadeUpTrial}
        for name, value in replaced.items():
            self.addCleanup(setattr, mutation_run, name, getattr(mutation_run, name))
            setattr(mutation_run, name, value)

    def verdicts(self, *afters, reasons=None):
        """What becomes of mutants of the lines 1, 2, ..., by their lines."""
        base = type("Base", (), {"work": "/nowhere"})
        sources = {"PeloraTcam/A.cpp": ""}
        run = MutationRun(base, Graph(), Order(), Reach(), sources, reasons or {})
        mutants = [dataclasses.replace(m, after=after) for m, after in zip(MUTANTS, afters)]
        with contextlib.redirect_stdout(io.StringIO()):
            run.run(mutants, 1, 1)
        return {mutant.line: outcome for mutant, outcome, _ in run.results}

    def test_Mutants_AreTriedTogether_AndTheUnfitAlone(self):
        verdicts = self.verdicts("caught", "caught", "invalid", "caught")
        self.assertEqual(verdicts, {1: CAUGHT, 2: CAUGHT, 3: INVALID, 4: CAUGHT})
        self.assertEqual(TRIED, [1, 3])

    def test_Mutant_ThatIsNotExact_IsTriedAlone_IfNobodyCatchesIt(self):
        self.verdicts("caught", "caught", "caught", "other")
        self.assertEqual(TRIED, [4, 1, 3, 4, 4])

    def test_Mutant_ThatNoQuickTestCatches_IsPutOff_AndAskedOfTheSlowOnes(self):
        verdicts = self.verdicts("slow", "slow", "caught", "caught")
        self.assertEqual(list(verdicts), [4, 3, 2, 1])
        self.assertEqual(set(verdicts.values()), {CAUGHT})

    def test_Survivor_IsComparedWithTheOptimisedCode(self):
        verdicts = self.verdicts("same", "same", "other", "other")
        self.assertEqual(verdicts, {1: SAME_CODE, 2: SAME_CODE, 3: SURVIVED, 4: SURVIVED})

    def test_Survivor_ThatIsExplained_IsTold(self):
        reasons = {("PeloraTcam/A.cpp", "drop", "*", "*"): "Why."}
        self.assertEqual(self.verdicts("x", "x", reasons=reasons), {1: EXPLAINED_AWAY, 2: EXPLAINED_AWAY})

    def test_Bunch_ThatDoesNotBuild_IsHalved(self):
        verdicts = self.verdicts("caught", "caught", "caught", "bad")
        self.assertEqual(verdicts, {1: CAUGHT, 2: CAUGHT, 3: CAUGHT, 4: SURVIVED})


class BunchesTest(unittest.TestCase):
    def sizes(self, *files):
        mutants = [dataclasses.replace(MUTANT, file=file) for file in files]
        return [(bunch[0].file, len(bunch)) for bunch in bunches_of(mutants)]

    def test_Bunches_AreOfOneFile(self):
        self.assertEqual(self.sizes("A", "A", "B"), [("A", 2), ("B", 1)])

    def test_Bunches_OfTables_AreSmaller(self):
        self.assertEqual(self.sizes(*["A.def"] * 70), [("A.def", 60), ("A.def", 10)])
        self.assertEqual(self.sizes(*["A.cpp"] * 160), [("A.cpp", 150), ("A.cpp", 10)])


if __name__ == "__main__":
    unittest.main()
