import os
import tempfile
import unittest

from precompiled import Headers, PrecompiledHeaders, header_command, leading_includes

FILES = {
    "lib/A.cpp": '#include "lib/A.h"\n\n// Why.\n#include "lib/B.h"\n#include <map>\n\nint a = 1;\n#include "lib/T.def"\n',
    "lib/A.h": '#pragma once\n#include "lib/C.h"\n',
    "lib/B.h": "#pragma once\n",
    "lib/C.h": '#pragma once\n#include "lib/T.def"\n',
}
COMMAND = "g++ -I/src -O0 -MD -MT a.o -MF a.o.d -o a.o -c /src/lib/A.cpp"


class PrecompiledTest(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.root = place.name
        for path, text in FILES.items():
            os.makedirs(os.path.dirname(os.path.join(self.root, path)), exist_ok=True)
            with open(os.path.join(self.root, path), "w", encoding="utf-8") as file:
                file.write(text)
        self.headers = Headers(self.root)
        self.commands = []

    def precompiled(self, works=True):
        def compile_one(command):
            self.commands.append(command)
            return works

        return PrecompiledHeaders(self.headers, os.path.join(self.root, "pre"), compile_one)

    def test_Includes_BehindCode_AreNotLeading(self):
        lines = [line for line, _ in leading_includes(FILES["lib/A.cpp"])]
        self.assertEqual(lines, ['#include "lib/A.h"', '#include "lib/B.h"', "#include <map>"])

    def test_Headers_IncludedThroughOthers_AreFound(self):
        self.assertEqual(self.headers.included_by("lib/A.h"), {"lib/A.h", "lib/C.h", "lib/T.def"})

    def test_Header_ThatBringsInTheMutatedFile_IsLeftOut(self):
        lines = self.headers.that_can_be_precompiled("lib/A.cpp", "lib/T.def")
        self.assertEqual(lines, ['#include "lib/B.h"', "#include <map>"])

    def test_Source_ThatIsMutatedItself_HasAllOfItsHeadersPrecompiled(self):
        self.assertEqual(len(self.headers.that_can_be_precompiled("lib/A.cpp", "lib/A.cpp")), 3)

    def test_Headers_OfOneObject_ArePrecompiledOnce(self):
        precompiled = self.precompiled()
        flags = [precompiled.flag_for("a.o", COMMAND, "lib/A.cpp", "lib/A.cpp") for _ in range(2)]
        self.assertEqual(flags, [f" -include {self.root}/pre/includes0.h"] * 2)
        self.assertEqual(len(self.commands), 1)

    def test_Headers_WithoutTheMutatedFile_AreOthers(self):
        precompiled = self.precompiled()
        first = precompiled.flag_for("a.o", COMMAND, "lib/A.cpp", "lib/A.cpp")
        second = precompiled.flag_for("a.o", COMMAND, "lib/A.cpp", "lib/T.def")
        self.assertNotEqual(first, second)

    def test_Headers_ThatDoNotPrecompile_AreNotTaken(self):
        self.assertEqual(self.precompiled(False).flag_for("a.o", COMMAND, "lib/A.cpp", "x"), "")

    def test_Command_ForAHeader_HasTheFlagsOfTheObject(self):
        self.assertEqual(
            header_command(COMMAND, "/pre/x.h"),
            "g++ -I/src -O0 -x c++-header -c /pre/x.h -o /pre/x.h.gch",
        )


if __name__ == "__main__":
    unittest.main()
