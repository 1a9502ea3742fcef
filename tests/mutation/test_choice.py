import collections
import unittest

from choice import choose
from mutations import Mutant


def mutant(file, kind, line):
    return Mutant(file, kind, line, 0, 0, "", "", "")


MANY = [
    mutant(file, kind, line)
    for file in ("a.cpp", "b.cpp", "costly.h")
    for kind in ("bit", "drop", "swap")
    for line in range(40)
]


def chosen(seed, count):
    return choose(MANY, seed, count, lambda file: file == "costly.h")


class ChoiceTest(unittest.TestCase):
    def test_Seed_TheSame_ChoosesTheSame(self):
        self.assertEqual(chosen(3, 50), chosen(3, 50))

    def test_Seed_Another_ChoosesOthers(self):
        self.assertNotEqual(chosen(3, 50), chosen(4, 50))

    def test_Count_Larger_StartsWithTheSame(self):
        self.assertEqual(chosen(3, 50)[:20], chosen(3, 20))

    def test_Mutants_Chosen_AreDifferent(self):
        self.assertEqual(len(set(chosen(3, 100))), 100)

    def test_Count_AboveAll_ChoosesAll(self):
        self.assertEqual(set(chosen(3, 1000)), set(MANY))

    def test_Kinds_AreChosenEvenly(self):
        kinds = collections.Counter(m.kind for m in chosen(3, 90))
        self.assertEqual(kinds, {"bit": 30, "drop": 30, "swap": 30})

    def test_Files_AreChosenEvenly_CostlyOnesOnceInTen(self):
        files = collections.Counter(m.file for m in chosen(3, 60))
        self.assertEqual(files, {"a.cpp": 27, "b.cpp": 27, "costly.h": 6})


if __name__ == "__main__":
    unittest.main()
