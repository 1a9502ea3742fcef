import unittest

from reach import Reach, hooks_for
from trials import Order, Suite

A, B = "PeloraTcam/A.o", "PeloraTcam/B.o"


class Graph:
    """Two objects of the library, a header that both include, and a test that includes it too."""

    affected_by = {"A.cpp": {A}, "B.cpp": {B}, "Both.h": {A, B, "test.o"}, "Other.h": {"test.o"}}

    def affected(self, file):
        return self.affected_by[file] | {"lib"}

    def needed(self, target, file):
        return ["test.o"] if target == "bin/test_l_Near" and "test.o" in self.affected_by[file] else []


class ReachTest(unittest.TestCase):
    def setUp(self):
        self.near, self.far = Suite("l.Near", False, []), Suite("l.Far", False, [])

    def asked(self, file, **reached):
        reach = Reach(Graph(), {A: reached.get("a", set()), B: reached.get("b", set())})
        order = Order([self.near, self.far], reach.may_notice)
        return [suite.name for suite in order.of(file)]

    def test_Suite_ThatCallsNothingOfTheSource_IsNotAsked(self):
        self.assertEqual(self.asked("A.cpp", a={"l.Far"}, b={"l.Near"}), ["l.Far"])

    def test_Header_OfASource_IsReachedWithIt(self):
        self.assertEqual(self.asked("Both.h", a={"l.Far"}), ["l.Near", "l.Far"])

    def test_Source_ThatNobodyCalls_IsAskedOfAll(self):
        self.assertEqual(self.asked("A.cpp"), ["l.Near", "l.Far"])

    def test_Header_ThatIsInNoObjectOfTheLibrary_IsAskedOfAll(self):
        self.assertEqual(self.asked("Other.h", a={"l.Far"}), ["l.Near", "l.Far"])

    def test_Hooks_AreOneForEachSource(self):
        hooks = hooks_for(3)
        self.assertIn("reached_2( void*, void* ) { if ( seen ) { seen[ 2 ] = 1; } }", hooks)
        self.assertNotIn("reached_3", hooks)
        self.assertIn("mmap( nullptr, 3,", hooks)


if __name__ == "__main__":
    unittest.main()
