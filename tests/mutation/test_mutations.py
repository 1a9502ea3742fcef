import unittest

from mutations import mutants_of


def changed(source, kind, file="PeloraTcam/A.cpp"):
    """The changed sources of one kind."""
    return [m.applied_to(source) for m in mutants_of(file, source) if m.kind == kind]


def body(statements):
    return "void f() {\n    " + statements + "\n}\n"


class ComparisonTest(unittest.TestCase):
    def test_Comparison_OfEachSort_TurnsIntoItsNeighbour(self):
        pairs = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&"}
        for operator, other in pairs.items():
            self.assertEqual(changed(f"int x = a {operator} b;", "comparison"), [f"int x = a {other} b;"])

    def test_Negation_IsDropped(self):
        self.assertEqual(changed("if ( !a ) {}", "comparison"), ["if ( a ) {}"])

    def test_ReturnTypeAndTemplate_AreNoComparisons(self):
        self.assertEqual(changed("template< class T > auto f( T&& t ) -> int;", "comparison"), [])

    def test_Operator_ThatIsDefined_Stays(self):
        self.assertEqual(changed("bool operator==( A a, B b );", "comparison"), [])


class ConstantTest(unittest.TestCase):
    def test_Number_IsOneMore(self):
        self.assertEqual(changed("int x = 16U;", "constant"), ["int x = 17U;"])
        self.assertEqual(changed("int x = 0;", "constant"), ["int x = 1;"])

    def test_One_BecomesNothing(self):
        self.assertEqual(changed("int x = 1;", "constant"), ["int x = 0;"])

    def test_HexadecimalNumber_KeepsItsWidth(self):
        self.assertEqual(changed("int x = 0x00ff;", "constant"), ["int x = 0x0100;"])

    def test_Truth_IsFlipped(self):
        self.assertEqual(changed("bool x = true;", "constant"), ["bool x = false;"])

    def test_DigitInAName_Stays(self):
        self.assertEqual(changed("int x = ip6;", "constant"), [])

    def test_Accessor_BecomesTheMostSimilarOne(self):
        source = "f( BCM_E_NONE(), BCM_E_FULL(), bcmUdfLayerA() );"
        self.assertEqual(
            changed(source, "constant"),
            ["f( BCM_E_FULL(), BCM_E_FULL(), bcmUdfLayerA() );", "f( BCM_E_NONE(), BCM_E_NONE(), bcmUdfLayerA() );"],
        )


class BitTest(unittest.TestCase):
    def test_Operator_OfBits_IsExchanged(self):
        self.assertEqual(changed("int x = a & b;", "bit"), ["int x = a | b;"])
        self.assertEqual(changed("int x = a << b;", "bit"), ["int x = a >> b;"])
        self.assertEqual(changed("void f() { x |= y; }", "bit"), ["void f() { x &= y; }"])

    def test_Complement_IsDropped(self):
        self.assertEqual(changed("int x = a - ( ~b );", "bit"), ["int x = a - ( b );"])

    def test_Reference_IsNoBitOperator(self):
        self.assertEqual(changed("void f( const A& a ) { g( &a ); }", "bit"), [])

    def test_Output_ToAStream_Stays(self):
        self.assertEqual(changed("void f() { stream << a; }", "bit"), [])

    def test_Number_HasOneBitFlipped(self):
        self.assertEqual(changed("int x = 0xff;", "bit"), ["int x = 0xef;"])


class BlankTest(unittest.TestCase):
    def test_Text_GainsAndLosesBlanks(self):
        self.assertEqual(
            changed('f( "a b" );', "blank"), ['f( "ab" );', 'f( " a b" );', 'f( "a b " );']
        )

    def test_Include_Stays(self):
        self.assertEqual(changed('#include "a b"\n', "blank"), [])

    def test_Assertion_LosesBlanksThatItsTextHas(self):
        self.assertEqual(
            changed("void f() { AGENT_ASSERT( a == b ); }", "blank"),
            ["void f() { AGENT_ASSERT( a== b ); }", "void f() { AGENT_ASSERT( a ==b ); }"],
        )

    def test_OtherCall_HasNoTextOfItsOwn(self):
        self.assertEqual(changed("void f() { g( a == b ); }", "blank"), [])


class DropTest(unittest.TestCase):
    def test_Call_IsDropped(self):
        self.assertEqual(changed(body("a->go( b, c );"), "drop"), [body(";")])

    def test_Call_OverTwoLines_LeavesTheLinesBehindItWhereTheyWere(self):
        (source,) = changed(body("go( a,\n    b );"), "drop")
        self.assertEqual(source.count("\n"), body("go( a,\n    b );").count("\n"))

    def test_DeclarationAndReturn_Stay(self):
        self.assertEqual(changed(body("int a = go(); return go();"), "drop"), [])


class SwapTest(unittest.TestCase):
    def test_TwoCalls_AreSwapped(self):
        self.assertEqual(changed(body("a();\n    b();"), "swap"), [body("b();\n    a();")])

    def test_CallsWithABlockBetween_Stay(self):
        self.assertEqual(changed(body("a(); if ( c ) { d(); } b();"), "swap"), [])

    def test_CallOfTheSdk_IsSwappedWithItsNeighbour(self):
        source = body("a(); const int rc = SDK_TRACED_CALL( b() );")
        self.assertEqual(changed(source, "swap"), [body("const int rc = SDK_TRACED_CALL( b() ); a();")])

    def test_LocalValue_ThatAsksNobody_Stays(self):
        self.assertEqual(changed(body("a(); const int b = 2;"), "swap"), [])

    def test_Constant_Stays(self):
        source = body('a(); static constexpr Site site = SDK_CALL_SITE( "b" );')
        self.assertEqual(changed(source, "swap"), [])

    def test_ValueAndItsUse_Stay(self):
        self.assertEqual(changed(body("int rc = SDK_CHECKED_CALL( b() ); c( rc );"), "swap"), [])

    def test_TwoFields_OfOneStructure_Stay(self):
        self.assertEqual(changed(body("x.aIs( 1 ); x.bIs( 2 );"), "swap"), [])
        self.assertEqual(changed(body("x.a |= 1; x.b = 2;"), "swap"), [])

    def test_OneField_SetTwice_IsSwapped(self):
        self.assertEqual(changed(body("x.aIs( 1 ); x.aIs( 2 );"), "swap"), [body("x.aIs( 2 ); x.aIs( 1 );")])

    def test_Rows_OfATableInBraces_AreSwapped(self):
        source = "const Row rows[] = {\n    { 1, a },\n    { 2, b },\n};\n"
        self.assertEqual(
            changed(source, "swap"), ["const Row rows[] = {\n    { 2, b },\n    { 1, a },\n};\n"]
        )


class TableTest(unittest.TestCase):
    rows = "ACTION( drop, bcmDrop )\nACTION( copy, bcmCopy )\n"

    def test_Rows_AreSwapped(self):
        swapped = "ACTION( copy, bcmCopy )\nACTION( drop, bcmDrop )\n"
        self.assertEqual(changed(self.rows, "swap", "PeloraTcam/A.def"), [swapped])

    def test_RowsWithinARow_AreSwapped(self):
        rows = 'MAP( types, "a",\n    PAIR( x, sdkX )\n    PAIR( y, sdkY )\n)\n'
        swapped = 'MAP( types, "a",\n    PAIR( y, sdkY )\n    PAIR( x, sdkX )\n)\n'
        self.assertEqual(changed(rows, "swap", "PeloraTcam/A.def"), [swapped])

    def test_Row_IsDropped(self):
        self.assertEqual(
            changed(self.rows, "drop", "PeloraTcam/A.def"), ["\nACTION( copy, bcmCopy )\n"]
        )

    def test_Row_TakesTheValueOfItsNeighbour(self):
        self.assertEqual(
            changed(self.rows, "constant", "PeloraTcam/A.def"),
            ["ACTION( drop, bcmCopy )\nACTION( copy, bcmCopy )\n"],
        )

    def test_ListOfTheSdk_KeepsItsRowsAndFreeValues(self):
        rows = "SDK_ENUMERATOR( t, a, 3 )\nSDK_ENUMERATOR( t, b, 4 )\n"
        self.assertEqual(mutants_of("sdk/A.def", rows), [])

    def test_ReturnCode_OfTheSdk_Changes(self):
        source = 'SDK_RETURN_CODE( BCM_E_FULL, -6, "Table full" )\n'
        self.assertEqual(
            changed(source, "constant", "sdk/A.def"),
            ['SDK_RETURN_CODE( BCM_E_FULL, -7, "Table full" )\n'],
        )


class ReportTest(unittest.TestCase):
    def test_Mutant_TellsLineAndBothTexts(self):
        (mutant,) = [m for m in mutants_of("PeloraTcam/A.cpp", body("go( a,\n       b );")) if m.kind == "drop"]
        self.assertEqual((mutant.file, mutant.line), ("PeloraTcam/A.cpp", 2))
        self.assertEqual((mutant.before, mutant.after), ("go( a, b );", ";"))


if __name__ == "__main__":
    unittest.main()
