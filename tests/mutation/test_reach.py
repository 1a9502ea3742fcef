import unittest

from reach import LIBRARY, Reach, with_marks
from trials import Suite

A, B = "PeloraTcam/A.o", "PeloraTcam/B.o"


class Graph:
    """Two objects of the library, a header that both include, and a test that includes it too."""

    affected_by = {"A.cpp": {A}, "B.cpp": {B}, "Both.h": {A, B, "test.o"}, "Other.h": {"test.o"}}

    inputs = {LIBRARY: [A, B]}

    def affected(self, file):
        return self.affected_by[file] | {"lib"}

    def needed(self, target, file):
        return ["test.o"] if target == "bin/test_l_Near" and "test.o" in self.affected_by[file] else []


class ReachTest(unittest.TestCase):
    NEAR, FAR = {"N.x", "N.y"}, {"F.x", "F.y"}

    def setUp(self):
        self.suites = [Suite("l.Near", False, []), Suite("l.Far", False, [])]
        self.suites[0].times = dict.fromkeys(self.NEAR, 0.1)
        self.suites[1].times = dict.fromkeys(self.FAR, 0.1)

    def asked(self, file, reached, blocks=None):
        return Reach(Graph(), self.suites, reached).asked(file, blocks)

    def test_Test_ThatDoesNotRunTheBlock_IsNotAsked(self):
        reached = {("l.Far", "F.x"): {(A, "1")}, ("l.Far", "F.y"): {(A, "2")}, ("l.Near", "N.x"): {(B, "1")}}
        self.assertEqual(self.asked("A.cpp", reached, {A: ["1"]}), [{"l.Far": {"F.x"}}])
        self.assertEqual(self.asked("A.cpp", reached, {A: ["1", "2"]}), [{"l.Far": {"F.x", "F.y"}}])

    def test_Block_ThatNobodyRuns_IsAskedOfNobody(self):
        self.assertEqual(self.asked("A.cpp", {("l.Far", "F.x"): {(A, "1")}}, {A: ["3"]}), [{}])

    def test_Mutant_OfNoBlock_IsAskedOfAll_FirstOfThoseThatRunItsSource(self):
        reached = {("l.Far", "F.x"): {(A, "1")}, ("l.Near", "N.x"): {(B, "1")}}
        first, others = self.asked("A.cpp", reached)
        self.assertEqual(first, {"l.Far": {"F.x"}})
        self.assertEqual(others, {"l.Far": {"F.y"}, "l.Near": self.NEAR})

    def test_Mutant_OfABlockElsewhere_IsAskedOfAll(self):
        first, others = self.asked("A.cpp", {("l.Far", "F.x"): {(A, "1")}}, {"agent.o": ["1"]})
        self.assertEqual((first, others["l.Near"]), ({"l.Far": {"F.x"}}, self.NEAR))

    def test_Suite_ThatTheFileIsCompiledInto_IsAskedAll(self):
        asked = self.asked("Both.h", {("l.Far", "F.x"): {(A, "1")}}, {A: ["1"]})
        self.assertEqual(asked, [{"l.Near": self.NEAR, "l.Far": {"F.x"}}])


class MarksTest(unittest.TestCase):
    TEXT = (
        '# 1 "/src/PeloraTcam/A.cpp"\nvoid f() { if ( a ) { g(); } }\n'
        '# 1 "/src/agent/B.h"\nvoid h() {}\n# 3 "/src/sdk/C.h"\nconstexpr int i() { return 1; }\n'
    )

    def test_Blocks_OfMutatedSources_MarkThemselves(self):
        marked, names = with_marks(self.TEXT, 7)
        self.assertIn("void f() { ::PeloraMutation::mark( 7 ); if ( a ) { ::PeloraMutation::mark( 8 ); g(); } }", marked)
        self.assertIn("{ ::PeloraMutation::markUnlessConstant( 9 ); return 1; }", marked)
        self.assertIn("void h() {}", marked)
        self.assertEqual(names, ["PeloraTcam/A.cpp:1:1", "PeloraTcam/A.cpp:1:2", "sdk/C.h:3:1"])


if __name__ == "__main__":
    unittest.main()
