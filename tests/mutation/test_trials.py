import json
import os
import tempfile
import unittest

from mutations import Mutant
from trials import BaselineError, Kill, Order, PastKills, Suite, Trial, grouped, patched
from trials import quick_rounds, run_suite, slow_rounds, suites_of, times_by_test


class SuitesTest(unittest.TestCase):
    def names(self, *tests):
        listing = json.dumps({"tests": [{"name": name} for name in tests]})
        return {suite.name: suite.has_numberings for suite in suites_of(listing, {})}

    def test_Numberings_OfOneSuite_AreOneSuite(self):
        names = self.names("library.A.default", "library.A.shuffled:1", "sdk.B")
        self.assertEqual(names, {"library.A": True, "sdk.B": False})

    def test_Suites_ThatReadSourcesOrTestOthers_AreLeftOut(self):
        self.assertEqual(self.names("library.CallSites", "tools.A", "sdk.SdkFunctions.bare"), {})


class OrderTest(unittest.TestCase):
    def setUp(self):
        self.near = Suite("library.Near", False, ["UdfChunksTest"])
        self.far = Suite("library.Far", False, ["PolicerTest"])
        self.order = Order([self.far, self.near])

    def test_Suite_NamedLikeTheFile_IsAskedFirst(self):
        self.assertEqual(self.order.of("PeloraTcam/UdfChunks.cpp"), [self.near, self.far])

    def test_Suite_ThatCaughtOne_IsAskedFirst_AboutThatFile(self):
        self.order.of("PeloraTcam/UdfChunks.cpp")
        self.order.of("PeloraTcam/UdfOther.cpp")
        self.order.caught("PeloraTcam/UdfChunks.cpp", self.far)
        self.assertEqual(self.order.of("PeloraTcam/UdfChunks.cpp"), [self.far, self.near])
        self.assertEqual(self.order.of("PeloraTcam/UdfOther.cpp"), [self.near, self.far])


class PastKillsTest(unittest.TestCase):
    def setUp(self):
        self.kills = PastKills()
        self.kills.add("a.cpp", 10, "library.A: A.F_x_y")
        self.kills.add("a.cpp", 90, "library.B: B.F_x_y exit code -6")
        self.kills.add("a.cpp", 12, "library.A: A.G_x_y (shuffled:1)")

    def near(self, file, line, count=6):
        return [kill.key() for kill in self.kills.near(file, line, lambda kill: True, count)]

    def test_Kills_OfNearLines_ComeFirst(self):
        a, g = ("library.A", "A.F_x_y", "default"), ("library.A", "A.G_x_y", "shuffled:1")
        b = ("library.B", "B.F_x_y", "default")
        self.assertEqual(self.near("a.cpp", 10), [a, g, b])
        self.assertEqual(self.near("a.cpp", 80), [b, g, a])

    def test_Kills_OfTheSameTest_AreOne(self):
        self.kills.add("a.cpp", 11, "library.A: A.F_x_y")
        self.assertEqual(len(self.near("a.cpp", 10)), 3)

    def test_Kills_BeyondTheCount_AreNotGiven(self):
        self.assertEqual(len(self.near("a.cpp", 10, count=2)), 2)

    def test_Kills_OfAnotherFile_AreNotGiven(self):
        self.assertEqual(self.kills.near("b.cpp", 10, lambda kill: True), [])

    def test_Kills_ThatMayNotBeAsked_AreNotGiven(self):
        near = self.kills.near("a.cpp", 10, lambda kill: kill.suite == "library.B")
        self.assertEqual([kill.test for kill in near], ["B.F_x_y"])

    def test_Kills_OfMostMutants_ComeFirst(self):
        self.kills.add("a.cpp", 200, "library.A: A.G_x_y (shuffled:1)")
        frequent = lambda may_ask: [kill.test for kill in self.kills.frequent("a.cpp", may_ask, 2)]
        self.assertEqual(frequent(lambda kill: True)[0], "A.G_x_y")
        self.assertEqual(len(frequent(lambda kill: True)), 2)
        self.assertEqual(frequent(lambda kill: kill.suite == "library.B"), ["B.F_x_y"])

    def test_Verdict_ThatNamesNoTest_IsNoKill(self):
        for why in ("library.A: does not compile", "library.A: exit code 1", "", "does not compile"):
            self.assertIsNone(Kill.told_by(why), why)

    def test_Kills_OfOneSuite_AreOneRun(self):
        kills = [Kill("A", "A.f", "default"), Kill("B", "B.f", "default"), Kill("A", "A.g", "default")]
        runs = [("A", "default", ["A.f", "A.g"]), ("B", "default", ["B.f"])]
        self.assertEqual(grouped(kills), runs)


class MadeUpOverlay:
    """A mutant whose suites are shell scripts."""

    def __init__(self, folder):
        self.folder = folder
        self.made = set()

    def make(self, target):
        return target != "bin/test_library_Broken"

    def path_of(self, target):
        return os.path.join(self.folder, target)


class TrialTest(unittest.TestCase):
    MUTANT = Mutant("a.cpp", "swap", 7, 0, 0, "", "", "")

    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.folder = place.name
        os.mkdir(os.path.join(self.folder, "bin"))
        self.kills = PastKills()

    def suite(self, name, script, *tests):
        suite = Suite(name, False, [])
        suite.times = dict.fromkeys(tests or ("A.F_x_y",), 0.01)
        path = os.path.join(self.folder, suite.target)
        with open(path, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\necho " + name + ' "$GTEST_FILTER" >> ../asked\n' + script + "\n")
        os.chmod(path, 0o755)
        return suite

    def who_catches(self, *suites, asked=None, number=0):
        self.trial = Trial(MadeUpOverlay(self.folder), Order(list(suites)), self.kills)
        asked = asked or {suite.name: set(suite.times) for suite in suites}
        return self.trial.who_catches(self.MUTANT, asked, number)

    def asked(self):
        with open(os.path.join(self.folder, "asked"), encoding="utf-8") as file:
            return file.read().split("\n")[:-1]

    FAILS = "echo '[  FAILED  ] A.F_x_y (3 ms)'; exit 1"
    FAILS_WITH_SEVEN = "[ $PELORA_MUTANT = 7 ] || exit 0; " + FAILS

    def test_Mutant_ThatNobodyCatches_IsAskedOfAll(self):
        self.assertIsNone(self.who_catches(self.suite("l.A", ""), self.suite("l.B", "")))
        self.assertEqual(set(self.asked()), {"l.A *", "l.B *"})

    def test_Mutant_IsAskedOnlyOfTheTestsThatMayNotice(self):
        suites = self.suite("l.A", "", "A.f", "A.g", "A.h"), self.suite("l.B", "")
        self.assertIsNone(self.who_catches(*suites, asked={"l.A": {"A.h", "A.f"}}))
        self.assertEqual(set(self.asked()), {"l.A A.f:A.h"})

    def test_Mutant_ThatIsCaught_IsAskedOfNoOther(self):
        why = self.who_catches(self.suite("l.A", self.FAILS), self.suite("l.B", ""))
        self.assertEqual((why, self.asked()), ("l.A: A.F_x_y", ["l.A *"]))

    def test_Test_ThatCaughtANeighbour_IsAskedFirstAndAlone(self):
        self.kills.add("a.cpp", 9, "l.B: A.F_x_y")
        failing = self.suite("l.B", self.FAILS, "A.F_x_y", "A.G_x_y")
        why = self.who_catches(self.suite("l.A", ""), failing)
        self.assertEqual((why, self.asked()), ("l.B: A.F_x_y", ["l.B A.F_x_y"]))

    def test_Test_ThatCatches_IsRemembered(self):
        self.who_catches(self.suite("l.A", self.FAILS))
        self.assertEqual([kill.test for kill in self.kills.near("a.cpp", 7, lambda kill: True)], ["A.F_x_y"])

    def test_Suite_ThatDoesNotCompile_Catches(self):
        why = self.who_catches(self.suite("library.Broken", ""))
        self.assertEqual(why, "library.Broken: does not compile")
        self.assertIsNone(self.who_catches(self.suite("library.Broken", ""), number=7))
        self.assertTrue(self.trial.left_out({"library.Broken": {"A.F_x_y"}}))

    def test_Mutant_OfManyInABuild_IsChosenByItsNumber(self):
        suite = self.suite("l.A", self.FAILS_WITH_SEVEN)
        self.assertIsNone(self.who_catches(suite, number=6))
        self.assertEqual(self.who_catches(suite, number=7), "l.A: A.F_x_y")

    def test_Test_ThatFailsWithoutTheMutant_ProvesNothing(self):
        suite = self.suite("l.A", self.FAILS)
        self.assertIsNone(self.who_catches(suite, number=7))
        self.assertTrue(self.trial.left_out({"l.A": {"A.F_x_y"}}))
        self.assertFalse(self.trial.left_out({"l.A": {"A.G_x_y"}}))


class RoundsTest(unittest.TestCase):
    def suite(self, name, has_numberings, **times):
        suite = Suite(name, has_numberings, [])
        suite.times = {"A." + test: seconds for test, seconds in times.items()}
        return suite

    def rounds(self, *suites):
        asked = {suite.name: set(suite.times) for suite in suites}
        rounds = [*quick_rounds(suites, asked), *slow_rounds(suites, asked)]
        return [(r.suite.name, r.numbering, r.tests) for r in rounds]

    def test_QuickTests_ComeFirst_AndSlowOnesLast(self):
        suite = self.suite("l.A", True, slow=3, quick=0.01, longer=0.05)
        expected = [
            ("l.A", "default", ["A.quick", "A.longer", "A.slow"]),
            ("l.A", "default", ["A.quick"]),
            ("l.A", "default", ["A.longer"]),
            ("l.A", "shuffled:1", ["A.quick", "A.longer"]),
            ("l.A", "default", ["A.slow"]),
        ]
        self.assertEqual(self.rounds(suite), expected)

    def test_FewOfTheFirstSuites_ComeBeforeAll(self):
        many = {f"t{number}": number / 1000 for number in range(7)}
        suites = [self.suite(f"l.{name}", False, **many) for name in "ABCD"]
        rounds = [(name, len(tests)) for name, _, tests in self.rounds(*suites)]
        first = [("l.A", 5), ("l.B", 5), ("l.C", 5)]
        self.assertEqual(rounds, first + [("l.A", 7), ("l.B", 7), ("l.C", 7), ("l.D", 7)])

    def test_Times_OfAReport_AreFoundByName(self):
        case = {"name": "F_x_y", "classname": "A", "time": "0.5s", "result": "COMPLETED"}
        skipped = dict(case, name="G_x_y", result="SKIPPED")
        report = {"testsuites": [{"testsuite": [case, skipped]}]}
        self.assertEqual(times_by_test(report), {"A.F_x_y": 0.5})


class RunTest(unittest.TestCase):
    def outcome(self, script, seconds=60, patience=None):
        return run_suite(["sh", "-c", script], "/", dict(os.environ), seconds, patience)

    def test_Run_ThatPasses_CatchesNothing(self):
        self.assertIsNone(self.outcome("exit 0"))

    def test_Run_ThatFails_TellsTheTest(self):
        self.assertEqual(self.outcome("echo '[  FAILED  ] A.F_x_y (3 ms)'; exit 1"), "A.F_x_y")

    def test_Run_ThatCrashes_Catches(self):
        self.assertEqual(self.outcome("kill -ABRT $$"), "exit code -6")

    def test_Run_ThatCrashes_TellsTheTestThatWasRunning(self):
        script = "echo '[ RUN      ] A.F_x_y'; echo '[ RUN      ] A.G_x_y'; kill -ABRT $$"
        self.assertEqual(self.outcome(script), "A.G_x_y exit code -6")

    def test_Run_ThatDoesNotEnd_IsEnded(self):
        self.assertEqual(self.outcome("while :; do :; done", seconds=0.2), "does not end")

    def test_Run_ThatWaitsForEver_IsEnded(self):
        self.assertEqual(self.outcome("sleep 60", patience=0.2), "does not end")


class PatchTest(unittest.TestCase):
    class Graph:
        tree = "/x/tree"

    class Overlay:
        folder = "/x/mut0"

    def patch(self, contents):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "binary")
            with open(path, "wb") as file:
                file.write(contents)
            overlay = self.Overlay()
            overlay.graph = self.Graph()
            os.mkdir(os.path.join(folder, "run"))
            with open(patched(path, os.path.join(folder, "run"), overlay), "rb") as file:
                return file.read()

    def test_Path_OfTheLibrary_LeadsToTheMutant(self):
        library = b"lib/libPeloraTcamSdk6Helpers.so.1.0.0"
        self.assertEqual(self.patch(b"<\0/x/tree/" + library), b"<\0/x/mut0/" + library)

    def test_Binary_WithoutThePath_IsRefused(self):
        with self.assertRaises(BaselineError):
            self.patch(b"nothing")


if __name__ == "__main__":
    unittest.main()
