import contextlib
import dataclasses
import io
import os
import tempfile
import unittest

from explained import keys_for, read_explained
from mutate import CAUGHT, EXPLAINED, EXPLAINED_AWAY, INVALID, SAME_CODE, SURVIVED
from mutate import judge, parse_arguments, run_all, sources_of
from mutation_run import MutationRun
from mutations import Mutant, mutants_of
from results import Results
from trials import BaselineError

MUTANT = Mutant("PeloraTcam/A.cpp", "swap", 7, 0, 0, "", "a(); b();", "b(); a();")


def judged(**counts):
    """The exit code and the output for so many mutants of each outcome."""
    outcomes = {"caught": CAUGHT, "explained": EXPLAINED_AWAY, "survived": SURVIVED}
    outcomes |= {"same": SAME_CODE, "invalid": INVALID}
    results = [(MUTANT, outcomes[name], "") for name, count in counts.items() for _ in range(count)]
    output = io.StringIO()
    with contextlib.redirect_stdout(output):
        code = judge(results)
    return code, output.getvalue()


class JudgementTest(unittest.TestCase):
    def test_Share_OfNinetyFive_IsEnough(self):
        self.assertEqual(judged(caught=95, survived=5)[0], 0)

    def test_Share_BelowNinetyFive_Fails(self):
        self.assertEqual(judged(caught=94, survived=6)[0], 1)

    def test_Explained_CountNeitherWay(self):
        self.assertEqual(judged(caught=19, survived=1, explained=50)[0], 0)
        self.assertEqual(judged(caught=18, survived=2, explained=50)[0], 1)

    def test_InvalidAndSameCode_AreNotValid(self):
        code, output = judged(caught=20, invalid=7, same=3)
        self.assertEqual(code, 0)
        self.assertIn("20 valid mutants: 20 caught, 0 explained, 0 survived.", output)

    def test_Nothing_Tried_IsNoSuccess(self):
        self.assertEqual(judged(invalid=3)[0], 2)

    def test_Survivor_IsListedAsAnEntry(self):
        _, output = judged(caught=1, survived=1)
        self.assertIn("PeloraTcam/A.cpp | swap\n- a(); b();\n+ b(); a();\n", output)


class Graph:
    def affected(self, file):
        return {file}


class MadeUpRun(MutationRun):
    """A run whose mutants meet the outcomes that are given, or a failure."""

    def __init__(self, outcome):
        base = type("Base", (), {"work": "/nowhere"})
        super().__init__(base, Graph(), None, None, {}, {})
        self.outcome = outcome

    def try_bunch(self, bunch, worker):
        if isinstance(self.outcome, Exception):
            raise self.outcome
        for mutant in bunch:
            self.note(mutant, self.outcome, "")


class RunTest(unittest.TestCase):
    def tried(self, outcome, minutes):
        run = MadeUpRun(outcome)
        with contextlib.redirect_stdout(io.StringIO()):
            run.run([MUTANT] * 9, 2, minutes)
        return [result for _, result, _ in run.results]

    def test_Mutants_AreTriedOnceEach(self):
        self.assertEqual(self.tried(CAUGHT, minutes=1), [CAUGHT] * 9)

    def test_Time_ThatIsUp_StartsNone(self):
        self.assertEqual(self.tried(CAUGHT, minutes=0), [])

    def test_Failure_OfATrial_EndsTheRun(self):
        with self.assertRaises(BaselineError):
            self.tried(BaselineError("no"), minutes=1)


class AllTest(unittest.TestCase):
    """Runs over all mutants, with a results file."""

    MUTANTS = [dataclasses.replace(MUTANT, start=start, end=start) for start in range(5)]
    REASONS = {("PeloraTcam/A.cpp", "swap", "*", "*"): "Why."}

    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.path = os.path.join(place.name, "results.txt")

    def run_all(self, outcome, *arguments, reasons=None):
        """The exit code, how many were tried, and the output."""
        run = MadeUpRun(outcome)
        run.explained = reasons or {}
        run.kept = Results(self.path, self.MUTANTS, {"PeloraTcam/A.cpp": ""})
        options = parse_arguments(["--all", *arguments])
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            code = run_all(options, run, self.MUTANTS, 1)
        return code, len(run.results), output.getvalue()

    def test_Mutants_AreAllTried_AndThenKnown(self):
        self.assertEqual(self.run_all(CAUGHT)[:2], (0, 5))
        code, tried, output = self.run_all(SURVIVED)
        self.assertEqual((code, tried), (0, 0))
        self.assertIn("5 valid mutants: 5 caught", output)

    def test_Time_ThatIsUp_LeavesTheOthers(self):
        code, tried, output = self.run_all(CAUGHT, "--minutes", "0")
        self.assertEqual((code, tried), (3, 0))
        self.assertIn("5 mutants are left to try.", output)

    def test_Survivors_AreTriedAgain_WhenAsked(self):
        self.assertEqual(self.run_all(SURVIVED)[:2], (1, 5))
        self.assertEqual(self.run_all(CAUGHT)[:2], (1, 0))
        self.assertEqual(self.run_all(CAUGHT, "--again")[:2], (0, 5))

    def test_Survivor_ThatIsExplainedByNow_Counts_AsExplained(self):
        self.run_all(SURVIVED)
        output = self.run_all(CAUGHT, reasons=self.REASONS)[2]
        self.assertRegex(output, r"swap +0 +5 +0 ")

    def test_Explained_WhoseReasonIsGone_CountsAsASurvivor(self):
        self.run_all(EXPLAINED_AWAY, reasons=self.REASONS)
        output = self.run_all(CAUGHT)[2]
        self.assertIn("5 valid mutants: 0 caught, 0 explained, 5 survived.", output)


class ExplainedListTest(unittest.TestCase):
    def test_Entries_OfTheList_AreMutantsOfTheSources(self):
        root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
        with open(os.path.join(root, EXPLAINED), encoding="utf-8") as file:
            reasons = read_explained(file.read())
        mutants = [m for path, text in sources_of(root).items() for m in mutants_of(path, text)]
        known = {key for mutant in mutants for key in keys_for(mutant)}
        self.assertEqual([key for key in reasons if key not in known], [], "no longer mutants")


if __name__ == "__main__":
    unittest.main()
