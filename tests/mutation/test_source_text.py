import unittest

from source_text import statements_of, tokens_of


def forms(source):
    return [statement.form for statement in statements_of(tokens_of(source))]


class TokensTest(unittest.TestCase):
    def test_Comment_OfEitherKind_IsLeftOut(self):
        tokens = tokens_of("a /* b == c */ + d; // e\n")
        self.assertEqual([token.text for token in tokens], ["a", "+", "d", ";"])

    def test_Directive_OverTwoLines_IsLeftOut(self):
        tokens = tokens_of("#define TWICE( x ) \\\n    ( x ) * 2\nint a;\n")
        self.assertEqual([token.text for token in tokens], ["int", "a", ";"])

    def test_Text_WithAnEscapedQuote_IsOneToken(self):
        tokens = tokens_of('f( "a \\" b" );')
        self.assertEqual([token.text for token in tokens], ["f", "(", '"a \\" b"', ")", ";"])

    def test_AngleBrackets_OfATemplate_AreMarked(self):
        tokens = tokens_of("static_cast< int >( a )")
        self.assertEqual([token.text for token in tokens if token.template], ["<", ">"])

    def test_AngleBrackets_OfNestedTemplates_AreMarked(self):
        tokens = tokens_of("std::vector< std::array< int, 3 > > rows;")
        self.assertEqual([token.text for token in tokens if token.template], ["<", "<", ">", ">"])

    def test_TemplateDefault_ThatIsALambda_KeepsTheBracketOpen(self):
        tokens = tokens_of("template< class S = decltype( [] {} ), class T >\nvoid f();")
        self.assertEqual([token.text for token in tokens if token.template], ["<", ">"])

    def test_AngleBrackets_OfComparisons_AreNotMarked(self):
        tokens = tokens_of("if ( a < b && c > d ) {}")
        self.assertFalse(any(token.template for token in tokens))


class StatementsTest(unittest.TestCase):
    def test_Body_OfAFunction_HoldsItsStatements(self):
        source = "void f() { a.go( 1 ); int b = 2; b = 3; return; }"
        self.assertEqual(forms(source), ["call", "declaration", "assignment", "jump"])

    def test_Class_WithDeclarationsOnly_HoldsNoStatements(self):
        self.assertEqual(forms("class A { A( int ); void f(); int n = 0; };"), [])

    def test_Method_ThatIsConst_IsABody(self):
        self.assertEqual(forms("class A { void f() const { g(); } };"), ["call"])

    def test_Block_OfAnIf_HoldsItsStatements(self):
        self.assertEqual(forms("void f() { if ( a ) { g(); } else { h(); } i(); }"), ["call"] * 3)

    def test_Case_BeforeAStatement_IsNotPartOfIt(self):
        source = "void f() { switch ( a ) { case A::b: g(); break; default: h(); } }"
        self.assertEqual(forms(source), ["call", "jump", "call"])

    def test_Lambda_InACall_IsPartOfIt(self):
        tokens = tokens_of("void f() { call( [ & ] { g(); } ); }")
        statements = statements_of(tokens)
        texts = [tokens[s.first].text for s in statements]
        self.assertEqual(texts, ["g", "call"])

    def test_Declaration_WithArguments_IsNoCall(self):
        self.assertEqual(forms("void f() { Lock lock( mutex ); }"), ["declaration"])
        self.assertEqual(forms("void f() { const Text& text = other(); }"), ["declaration"])
        self.assertEqual(forms("void f() { std::vector< int > all( 3 ); }"), ["declaration"])

    def test_Call_ThroughObjectsAndTemplates_IsACall(self):
        self.assertEqual(forms("void f() { Shim::sdk_->init( &x ); }"), ["call"])
        self.assertEqual(forms("void f() { Agent::both< S >( 1 ); }"), ["call"])

    def test_Initialiser_InBraces_IsNoBody(self):
        self.assertEqual(forms("const Row rows[] = { { 1, 2 }, { 3, 4 } };"), [])


if __name__ == "__main__":
    unittest.main()
