import os
import tempfile
import unittest

from measured import LIBRARIES, Measured


class MeasuredTest(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.tree = place.name
        self.path = os.path.join(place.name, "measured.json")
        os.makedirs(os.path.join(self.tree, "lib"))
        for name in ("test", *LIBRARIES):
            self.write(name, "first")
        self.count = 0

    def write(self, name, text):
        with open(os.path.join(self.tree, name), "w", encoding="utf-8") as file:
            file.write(text)

    def measure(self):
        self.count += 1
        return {"A.f": self.count}

    def of(self, what="times"):
        return Measured(self.path, self.tree).of(what, "test", self.measure)

    def test_Measurement_IsKept(self):
        self.assertEqual([self.of(), self.of()], [{"A.f": 1}] * 2)

    def test_Measurement_OfSomethingElse_IsMade(self):
        self.assertEqual([self.of(), self.of("marks")], [{"A.f": 1}, {"A.f": 2}])

    def test_Measurement_OfAChangedBinary_IsMadeAgain(self):
        for number, name in enumerate(("test", *LIBRARIES), start=2):
            self.of()
            self.write(name, "second")
            self.assertEqual(self.of(), {"A.f": number}, name)


if __name__ == "__main__":
    unittest.main()
