import os
import tempfile
import unittest

from base_build import BuildGraph, Overlay, copy_changed, link_names
from mutations import Mutant


def write(folder, path, text):
    path = os.path.join(folder, path)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
    return path


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


class CopyTest(unittest.TestCase):
    def setUp(self):
        self.place = tempfile.TemporaryDirectory()
        self.addCleanup(self.place.cleanup)
        self.root = os.path.join(self.place.name, "root")
        self.copy = os.path.join(self.place.name, "copy")

    def test_Tree_IsCopied_WithoutBuildsAndHiddenFolders(self):
        for path in ("a/one.cpp", "build/two.cpp", ".git/three", "build-debug/four"):
            write(self.root, path, "text")
        copy_changed(self.root, self.copy)
        self.assertEqual(os.listdir(self.copy), ["a"])

    def test_File_ThatIsTheSame_KeepsItsTime(self):
        write(self.root, "a/one.cpp", "text")
        copy_changed(self.root, self.copy)
        os.utime(os.path.join(self.copy, "a/one.cpp"), (1, 1))
        copy_changed(self.root, self.copy)
        self.assertEqual(os.stat(os.path.join(self.copy, "a/one.cpp")).st_mtime, 1)

    def test_File_ThatChanged_IsCopiedAgain(self):
        write(self.root, "a/one.cpp", "text")
        copy_changed(self.root, self.copy)
        write(self.root, "a/one.cpp", "another")
        copy_changed(self.root, self.copy)
        self.assertEqual(read(os.path.join(self.copy, "a/one.cpp")), "another")

    def test_File_ThatIsGone_IsRemoved(self):
        gone = write(self.root, "a/one.cpp", "text")
        write(self.root, "a/two.cpp", "text")
        copy_changed(self.root, self.copy)
        os.remove(gone)
        copy_changed(self.root, self.copy)
        self.assertEqual(os.listdir(os.path.join(self.copy, "a")), ["two.cpp"])


SOURCES, TREE = "/work/src", "/work/tree"
COMMANDS = [
    {"output": "a.dir/A.cpp.o", "command": "g++ -I/work/src -MF a.dir/A.cpp.o.d -o a.dir/A.cpp.o -c /work/src/lib/A.cpp"},
    {"output": "a.dir/B.cpp.o", "command": "g++ -I/work/src -MF a.dir/B.cpp.o.d -o a.dir/B.cpp.o -c /work/src/lib/B.cpp"},
    {"output": "lib/libA.so.1.0.0", "command": "g++ -Wl,-soname,libA.so.1 -o lib/libA.so.1.0.0 a.dir/A.cpp.o b.o"},
    {"output": "bin/test_A", "command": "g++ a.dir/B.cpp.o -o bin/test_A lib/libA.so.1.0.0"},
    {"output": "bin/test_B", "command": "g++ a.dir/B.cpp.o -o bin/test_B"},
    {"output": "lib/libA.so.1", "command": "cmake -E cmake_symlink_library lib/libA.so.1.0.0"},
]
DEPS = {
    "a.dir/A.cpp.o": {"/work/src/lib/A.cpp", "/work/src/lib/A.h"},
    "a.dir/B.cpp.o": {"/work/src/lib/B.cpp", "/work/src/lib/A.h"},
}


class GraphTest(unittest.TestCase):
    def setUp(self):
        self.graph = BuildGraph(SOURCES, TREE, COMMANDS, DEPS)

    def test_Source_Affects_WhatIsMadeOfIt(self):
        self.assertEqual(self.graph.affected("lib/A.cpp"), {"a.dir/A.cpp.o", "lib/libA.so.1.0.0"})

    def test_Program_LinkedToAChangedSharedLibrary_IsNotAffected(self):
        self.assertEqual(self.graph.needed("bin/test_A", "lib/A.cpp"), [])

    def test_Header_Affects_AllThatIncludeIt(self):
        self.assertIn("bin/test_B", self.graph.affected("lib/A.h"))

    def test_Needed_ForATarget_ComesInTheOrderOfMaking(self):
        needed = self.graph.needed("lib/libA.so.1.0.0", "lib/A.cpp")
        self.assertEqual(needed, ["a.dir/A.cpp.o", "lib/libA.so.1.0.0"])

    def test_Needed_ForAnUnaffectedTarget_IsNothing(self):
        self.assertEqual(self.graph.needed("bin/test_B", "lib/A.cpp"), [])


class OverlayTest(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.folder = os.path.join(place.name, "mut0")
        graph = BuildGraph(SOURCES, TREE, COMMANDS, DEPS)
        mutant = Mutant("lib/A.cpp", "constant", 1, 4, 5, "2", "", "")
        self.overlay = Overlay(graph, self.folder, mutant, "a = 1;")

    def test_ChangedFile_StandsInItsFolder(self):
        self.assertEqual(read(os.path.join(self.folder, "src/lib/A.cpp")), "a = 2;")

    def test_Compilation_TakesTheChangedFileAndItsFolderFirst(self):
        command = self.overlay.command_for("a.dir/A.cpp.o")
        self.assertIn(f"-c {self.folder}/src/lib/A.cpp", command)
        self.assertIn(f"-o {self.folder}/a.dir/A.cpp.o", command)
        self.assertIn(f"-MF {self.folder}/a.dir/A.cpp.o.d", command)
        self.assertIn(f"-I{self.folder}/src -I/work/src", command)

    def test_Texts_OfItsPlace_AreThoseOfTheRealFile(self):
        self.assertIn(f"-fmacro-prefix-map={self.folder}/src/=", self.overlay.command_for("a.dir/A.cpp.o"))

    def test_Linking_TakesWhatChangedAndTheRestAsItIs(self):
        self.assertEqual(
            self.overlay.command_for("lib/libA.so.1.0.0"),
            f"g++ -Wl,-soname,libA.so.1 -o {self.folder}/lib/libA.so.1.0.0 {self.folder}/a.dir/A.cpp.o b.o",
        )

    def test_Library_GetsItsShorterNames(self):
        write(self.folder, "lib/libA.so.1.0.0", "built")
        link_names(os.path.join(self.folder, "lib/libA.so.1.0.0"))
        self.assertEqual(read(os.path.join(self.folder, "lib/libA.so.1")), "built")
        self.assertEqual(read(os.path.join(self.folder, "lib/libA.so")), "built")


class ChangedTest(unittest.TestCase):
    """Objects that a header's mutant does and does not change, with a compiler that is a script."""

    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.sources = os.path.join(place.name, "src")
        self.tree = os.path.join(place.name, "tree")
        self.folder = os.path.join(place.name, "mut0")
        write(self.sources, "lib/A.h", "int one; int two;")
        os.makedirs(self.tree)
        deps = {name: {f"{self.sources}/lib/A.h"} for name in ("a/One.o", "a/Two.o")}
        commands = [self.compiling("One"), self.compiling("Two")]
        commands.append({"output": "bin/test_A", "command": "cat a/One.o a/Two.o -o bin/test_A"})
        self.graph = BuildGraph(self.sources, self.tree, commands, deps)

    def compiling(self, name):
        """A compiler whose preprocessor gives what stands of its own name in the first header."""
        script = write(self.tree, f"compile{name}", COMPILER.replace("NAME", name.lower()))
        source = write(self.sources, f"lib/{name}.cpp", "")
        return {"output": f"a/{name}.o", "command": f"sh {script} -I{self.sources} -o a/{name}.o -c {source}"}

    def overlay(self, old, new):
        source = read(os.path.join(self.sources, "lib/A.h"))
        start = source.index(old)
        mutant = Mutant("lib/A.h", "constant", 1, start, start + len(old), new, "", "")
        return Overlay(self.graph, self.folder, mutant, source)

    def test_Object_ThatReadsTheSame_IsTakenFromTheBaseBuild(self):
        overlay = self.overlay("one;", "one = 1;")
        self.assertTrue(overlay.make("a/Two.o"))
        self.assertEqual((overlay.made, overlay.unchanged), (set(), {"a/Two.o"}))
        self.assertEqual(overlay.path_of("a/Two.o"), os.path.join(self.tree, "a/Two.o"))

    def test_Object_ThatReadsOtherwise_IsMade(self):
        overlay = self.overlay("one;", "one = 1;")
        self.assertTrue(overlay.make("a/One.o"))
        self.assertEqual(overlay.made, {"a/One.o"})

    def test_Program_WithOneChangedPart_TakesTheOtherFromTheBaseBuild(self):
        overlay = self.overlay("one;", "one = 1;")
        overlay.make("a/One.o")
        overlay.make("a/Two.o")
        command = overlay.command_for("bin/test_A")
        self.assertEqual(command, f"cat {self.folder}/a/One.o a/Two.o -o {self.folder}/bin/test_A")

    def test_Program_WithoutAChangedPart_IsNotMade(self):
        overlay = self.overlay("one;", "one ;")
        self.assertTrue(overlay.make("bin/test_A"))
        self.assertEqual(overlay.made, set())


COMPILER = """
include= output=
while [ $# -gt 0 ]; do
    case "$1" in
    -I*) [ -f "${include}/lib/A.h" ] || include=${1#-I} ;;
    -o) output=$2 ;;
    esac
    shift
done
text=$( sed 's/.*\\(NAME[^;]*\\);.*/\\1/' "$include/lib/A.h" | tr -d ' ' )
if [ -n "$output" ]; then echo "$text" > "$output"; else echo "$text"; fi
"""


if __name__ == "__main__":
    unittest.main()
