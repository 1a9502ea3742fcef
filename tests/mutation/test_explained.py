import dataclasses
import unittest

from explained import ExplainedError, as_entry, key_of, read_explained, reason_for
from mutations import Mutant

MUTANT = Mutant("PeloraTcam/A.cpp", "swap", 7, 0, 0, "", "a(); b();", "b(); a();")


class ExplainedTest(unittest.TestCase):
    def test_Entry_OfAReport_WithAReason_IsFound(self):
        text = "# A comment.\n\n" + as_entry(MUTANT) + "= They do not know\n= of each other.\n"
        self.assertEqual(read_explained(text), {key_of(MUTANT): "They do not know of each other."})

    def test_TwoEntries_AreBothFound(self):
        entry = as_entry(MUTANT) + "= Why.\n"
        self.assertEqual(len(read_explained(entry + "\n" + entry.replace("A.cpp", "B.cpp"))), 2)

    def test_Reason_OfTheEntry_IsThatOfTheMutant(self):
        reasons = read_explained(as_entry(MUTANT) + "= Why.\n")
        self.assertEqual(reason_for(MUTANT, reasons), "Why.")
        self.assertIsNone(reason_for(dataclasses.replace(MUTANT, after="c();"), reasons))

    def test_Star_StandsForAllOfTheKindInTheFile(self):
        reasons = read_explained("PeloraTcam/A.cpp | swap\n- *\n+ *\n= A set.\n")
        self.assertEqual(reason_for(MUTANT, reasons), "A set.")
        self.assertIsNone(reason_for(dataclasses.replace(MUTANT, kind="drop"), reasons))
        self.assertIsNone(reason_for(dataclasses.replace(MUTANT, file="B.cpp"), reasons))

    def test_Star_ForTheLinesAfter_StandsForAllMutantsOfTheLines(self):
        for kind, found in (("swap", "Why."), ("*", "Why."), ("drop", None)):
            reasons = read_explained(f"PeloraTcam/A.cpp | {kind}\n- a(); b();\n+ *\n= Why.\n")
            self.assertEqual(reason_for(MUTANT, reasons), found)
            self.assertIsNone(reason_for(dataclasses.replace(MUTANT, before="c();"), reasons))

    def test_Line_DoesNotMatter(self):
        moved = Mutant("PeloraTcam/A.cpp", "swap", 9, 5, 5, "", "a(); b();", "b(); a();")
        self.assertEqual(key_of(moved), key_of(MUTANT))

    def test_Entry_WithoutAReason_IsRefused(self):
        with self.assertRaises(ExplainedError):
            read_explained(as_entry(MUTANT))
        with self.assertRaises(ExplainedError):
            read_explained(as_entry(MUTANT) + "=\n")

    def test_Entry_WithoutAKind_IsRefused(self):
        with self.assertRaises(ExplainedError):
            read_explained("PeloraTcam/A.cpp\n- a\n+ b\n= Why.\n")


if __name__ == "__main__":
    unittest.main()
