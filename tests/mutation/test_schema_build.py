import os
import shutil
import subprocess
import tempfile
import unittest

from base_build import BuildGraph
from mutations import Mutant, mutants_of
from schema_build import SchemaOverlay, layers_of

SOURCE = """#include <cstdio>
const int sizes[] = { 1, 2 };
int main()
{
    const int three = 3;
    static_assert( three == 3 );
    std::printf( "%d", sizes[ 1 ] + 5 );
}
"""


class SchemaOverlayTest(unittest.TestCase):
    """A program of one source whose mutants are built together."""

    def setUp(self):
        if not shutil.which("g++"):
            self.skipTest("no g++")
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.sources, self.tree = os.path.join(place.name, "src"), os.path.join(place.name, "tree")
        for folder in (os.path.join(self.sources, "PeloraTcam"), self.tree):
            os.makedirs(folder)
        self.path = os.path.join(self.sources, "PeloraTcam", "A.cpp")
        with open(self.path, "w", encoding="utf-8") as file:
            file.write(SOURCE)
        commands = [
            {"output": "A.o", "command": f"ccache g++ -std=c++20 -I{self.sources} -o A.o -c {self.path}"},
            {"output": "bin/test_A", "command": "g++ A.o -o bin/test_A"},
        ]
        graph = BuildGraph(self.sources, self.tree, commands, {"A.o": {self.path}})
        mutants = [m for m in mutants_of("PeloraTcam/A.cpp", SOURCE) if m.kind == "constant"]
        self.mutants = {mutant.after: number for number, mutant in enumerate(mutants, start=1)}
        self.overlay = SchemaOverlay(graph, os.path.join(place.name, "mut0"), mutants, SOURCE)
        os.makedirs(os.path.join(self.overlay.folder, "bin"))

    def output(self, number):
        environment = dict(os.environ, PELORA_MUTANT=str(number))
        command = [self.overlay.path_of("bin/test_A")]
        return subprocess.run(command, env=environment, capture_output=True, text=True).stdout

    def number_of(self, part):
        return next(number for after, number in self.mutants.items() if part in after)

    def test_Mutants_AreOneProgram(self):
        self.assertTrue(self.overlay.make("bin/test_A"))
        self.assertEqual(self.output(0), "7")
        self.assertEqual(self.output(self.number_of("+ 6")), "8")
        self.assertEqual(self.output(self.number_of("sizes[ 0 ]")), "6")

    def test_Mutant_ThatDoesNotCompile_IsTakenOut(self):
        self.assertTrue(self.overlay.make("bin/test_A"))
        bad = self.number_of("three == 4")
        self.assertEqual(self.overlay.unfit[bad], "the compiler complains")
        self.assertNotIn(bad, self.overlay.numbers)

    def test_Blocks_OfAMutant_AreNamed(self):
        self.overlay.make("bin/test_A")
        self.assertEqual(self.overlay.blocks[self.number_of("+ 6")], {"A.o": ["PeloraTcam/A.cpp:4:1"]})

    def test_Mutant_OfAValue_ChangesNoBlock(self):
        self.overlay.make("bin/test_A")
        value = self.number_of("{ 1, 3 }")
        self.assertIsNone(self.overlay.blocks[value])
        self.assertIn(value, self.overlay.inexact)


class LayersTest(unittest.TestCase):
    def test_Mutants_OfOneLayer_ChangeDifferentPlaces(self):
        places = [(0, 2), (1, 3), (5, 5), (5, 6), (7, 8)]
        numbers = {
            number: Mutant("A.def", "blank", 1, start, end, "", "", "")
            for number, (start, end) in enumerate(places, start=1)
        }
        self.assertEqual(layers_of(numbers), [[1, 3, 5], [2, 4]])


if __name__ == "__main__":
    unittest.main()
