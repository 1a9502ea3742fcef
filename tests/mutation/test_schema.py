import os
import shutil
import subprocess
import tempfile
import unittest

from schema import Schema, Unfit, blamed_in, line_regions_of, regions_of, with_prelude

HEAD = '# 1 "/src/A.cpp"\n'
PROGRAM = HEAD + """
extern "C" int printf( const char*, ... );
constexpr int rows[] = { 1, 2, 3 };
static_assert( rows[ 0 ] != 7 );
constexpr int place[] = {
    5, __builtin_LINE()
};
int size() { int count = 0; for ( int row : rows ) { count += row; } return count; }
int asked( int x ) { return x; }
const int factor = asked( 10 );
struct Pair { int left = 4; int right() { return left + 1; } };
constexpr int twice( int x ) { return 2 * x; }
int line() { return __builtin_LINE(); }
int main()
{
    int sum = 0;
    for ( int i = 0; i < 3; ++i ) { if ( i == 1 ) { continue; } sum += i; }
    auto both = [ & ] { return sum * factor; };
    printf( "%d %d %d %d %d %d ", size(), both(), Pair().right(), twice( sum ), line(), __builtin_LINE() );
    printf( "%d %d", place[ 0 ], place[ 1 ] );
}
"""


class ProgramTest(unittest.TestCase):
    """Mutants of a small program, compiled together and run one by one."""

    def setUp(self):
        if not shutil.which("g++"):
            self.skipTest("no g++")
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.folder = place.name

    def outputs(self, *changes):
        """What the program writes, and then what it writes with each mutant."""
        schema = Schema(PROGRAM)
        for number, (before, after) in enumerate(changes, start=1):
            self.assertEqual(PROGRAM.count(before), 1, before)
            schema.add(number, PROGRAM.replace(before, after))
        binary = os.path.join(self.folder, "program")
        with open(binary + ".ii", "w", encoding="utf-8") as file:
            file.write(schema.rendered())
        command = ["g++", "-std=c++20", "-fpreprocessed", binary + ".ii", "-o", binary]
        subprocess.run(command, check=True)
        return [self.output(binary, number) for number in range(len(changes) + 1)]

    def output(self, binary, number):
        environment = dict(os.environ, PELORA_MUTANT=str(number))
        return subprocess.run([binary], env=environment, capture_output=True, text=True).stdout

    def test_Mutants_OfOneProgram_AreChosenWhenItRuns(self):
        outputs = self.outputs(
            ("i == 1", "i != 1"),
            ("sum += i;", ";"),
            ("sum * factor", "sum + factor"),
            ("{ 1, 2, 3 }", "{ 1, 2, 5 }"),
            ("asked( 10 )", "asked( 11 )"),
            ("left = 4", "left = 5"),
            ("2 * x", "3 * x"),
            ("for ( int i = 0; i < 3", "for ( int i = 0; i < 2"),
            ("    5, ", "    6, "),
        )
        expected = [
            "6 20 5 4 13 19 5 6",
            "6 10 5 2 13 19 5 6",
            "6 0 5 0 13 19 5 6",
            "6 12 5 4 13 19 5 6",
            "8 20 5 4 13 19 5 6",
            "6 22 5 4 13 19 5 6",
            "6 20 6 4 13 19 5 6",
            "6 20 5 6 13 19 5 6",
            "6 0 5 0 13 19 5 6",
            "6 20 5 4 13 19 6 6",
        ]
        self.assertEqual(outputs, expected)

    def test_Mutant_ThatDoesNotCompile_IsBlamed(self):
        schema = Schema(PROGRAM)
        schema.add(1, PROGRAM.replace("i == 1", "i != 1"))
        schema.add(2, PROGRAM.replace("sum += i", "sum += unknown"))
        schema.add(3, PROGRAM.replace("{ 1, 2, 3 }", "{ 7, 2, 3 }"))
        path = os.path.join(self.folder, "program.ii")
        with open(path, "w", encoding="utf-8") as file:
            file.write(schema.rendered(blame=True))
        command = ["g++", "-std=c++20", "-fpreprocessed", "-fsyntax-only", path]
        result = subprocess.run(command, capture_output=True, text=True)
        self.assertEqual(blamed_in(result.stderr), {2, 3})


class SchemaTest(unittest.TestCase):
    def placed(self, text, before, after):
        schema = Schema(HEAD + text)
        return schema.add(1, HEAD + text.replace(before, after))

    def test_Text_ThatIsTheSame_IsNotPlaced(self):
        self.assertIsNone(self.placed("void f() { g(); }", "x", "y"))

    def test_Mutant_OfABlock_IsExact(self):
        placed = self.placed("void f() { g(); }", "g", "h")
        self.assertEqual((len(placed.blocks), placed.exact), (1, True))

    def test_Mutant_OfWhatTheCompilerMayRun_IsNotExact(self):
        self.assertFalse(self.placed("constexpr int f() { return 1; }", "1", "2").exact)

    def test_Mutant_OfAValue_IsInNoBlock(self):
        placed = self.placed('const T a( "x", y );', '"x"', '"x "')
        self.assertEqual((placed.blocks, placed.exact), ([], False))

    def test_Mutant_OfAConstant_IsInTheBlocksThatNameIt(self):
        text = "constexpr int a = 1; constexpr int b = a; int f() { return b; } int g() { return a; }"
        self.assertEqual(len(self.placed(text, "1", "2").blocks), 2)

    def test_Mutant_OfTwoPlaces_IsInBothBlocks(self):
        text = "int f() {\nreturn 1;\n}\nint g() {\nreturn 1;\n}\n"
        self.assertEqual(len(self.placed(text, "1", "2").blocks), 2)

    def test_Mutant_OfAnythingElse_IsUnfit(self):
        for text, before, after in (
            ("A::A() : b_( 1 ) { f(); }", "1", "2"),
            ("const T a[] = { { 1 }, { 2 } };", "{ 1 }, { 2 }", "{ 2 }, { 1 }"),
            ("constexpr int a = 1; const T b = a;", "1", "2"),
            ("using A = int;", "int", "long"),
        ):
            with self.assertRaises(Unfit, msg=text):
                self.placed(text, before, after)

    def test_Mutant_ThatIsRemoved_LeavesNoTrace(self):
        schema = Schema(HEAD + "void f() { g(); }")
        schema.add(1, HEAD + "void f() { h(); }")
        schema.remove(1)
        self.assertEqual(schema.edits, {})

    def test_Lines_OfAVersion_AreThoseOfTheSource(self):
        schema = Schema(HEAD + "\nvoid f()\n{\n    g();\n}\n")
        schema.add(1, HEAD + "\nvoid f()\n{\n    h();\n}\n")
        parts = schema.rendered().split('# 3 "/src/A.cpp"\n')
        self.assertEqual([part.split("\n")[1].strip() for part in parts[1:]], ["h();", "g();"])

    def test_Declarations_StandBehindThePrecompiledHeader(self):
        text = '# 0 "a"\n#pragma GCC pch_preprocess "x.gch"\n# 1 "a"\n'
        self.assertEqual(with_prelude(text, "P\n").split("\n")[2], "P")


class RegionsTest(unittest.TestCase):
    def parts(self, regions, old, new):
        return [(old[r.start : r.end], new[r.new_start : r.new_end]) for r in regions]

    def test_Region_IsAsSmallAsCanBe(self):
        old, new = "abcdef", "abXdef"
        self.assertEqual(self.parts(regions_of(old, new), old, new), [("c", "X")])
        self.assertEqual(self.parts(regions_of("aaa", "aaaa"), "aaa", "aaaa"), [("", "a")])
        self.assertEqual(regions_of("same", "same"), [])

    def test_Regions_OfSeveralLines_AreOneEach(self):
        old, new = "a1\nb\nc1\n", "a2\nb\nc2\n"
        self.assertEqual(self.parts(line_regions_of(old, new), old, new), [("1", "2"), ("1", "2")])


if __name__ == "__main__":
    unittest.main()
