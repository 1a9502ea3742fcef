import json
import os
import tempfile
import unittest

from trials import STAGES, BaselineError, Order, Suite, patched, run_suite, suites_of, times_by_test


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


class StageTest(unittest.TestCase):
    def setUp(self):
        self.suite = Suite("library.A", True, [])

    def test_SlowTests_ComeAfterTheQuickOnes(self):
        self.suite.slow = ["A.slow", "B.slow"]
        filters = [stage.filter_for(self.suite) for stage in STAGES]
        self.assertEqual(filters, ["*-A.slow:B.slow", "A.slow:B.slow", "*-A.slow:B.slow"])
        self.assertEqual([stage.numbering for stage in STAGES], ["default", "default", "shuffled:1"])

    def test_Suite_WithoutSlowTestsAndNumberings_IsAskedOnce(self):
        suite = Suite("library.A", False, [])
        self.assertEqual([stage.applies_to(suite) for stage in STAGES], [True, False, False])

    def test_Times_OfAReport_AreFoundByName(self):
        case = {"name": "F_x_y", "classname": "A", "time": "0.5s"}
        self.assertEqual(times_by_test({"testsuites": [{"testsuite": [case]}]}), {"A.F_x_y": 0.5})


class RunTest(unittest.TestCase):
    def outcome(self, script, seconds=60):
        return run_suite(["sh", "-c", script], "/", dict(os.environ), seconds)

    def test_Run_ThatPasses_CatchesNothing(self):
        self.assertIsNone(self.outcome("exit 0"))

    def test_Run_ThatFails_TellsTheTest(self):
        self.assertEqual(self.outcome("echo '[  FAILED  ] A.F_x_y (3 ms)'; exit 1"), "A.F_x_y")

    def test_Run_ThatCrashes_Catches(self):
        self.assertEqual(self.outcome("kill -ABRT $$"), "exit code -6")

    def test_Run_ThatDoesNotEnd_IsEnded(self):
        self.assertEqual(self.outcome("sleep 60", seconds=0.2), "does not end")


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
