import unittest

from blocks import Layout, Places

HEAD = '# 1 "/src/A.cpp"\n'


class BlocksTest(unittest.TestCase):
    def blocks(self, text):
        layout = Layout(text)
        ordered = sorted(layout.blocks, key=lambda block: block.start)
        return [text[block.start : block.end].strip() for block in ordered]

    def test_Body_OfAFunction_IsABlock(self):
        self.assertEqual(self.blocks("int f( int a ) { return a; }"), ["return a;"])
        self.assertEqual(self.blocks("auto f() -> A< B > { g(); }"), ["g();"])
        self.assertEqual(self.blocks("template< class T = int > void f() const noexcept { g(); }"), ["g();"])
        self.assertEqual(self.blocks("bool operator==( A a, A b ) { return x; }"), ["return x;"])

    def test_Functions_OfNamespacesAndClasses_AreFound(self):
        text = "namespace N { class A final : public B { public: A() { f(); } int g() { return 1; } }; }"
        self.assertEqual(self.blocks(text), ["f();", "return 1;"])

    def test_Attributes_OfAClass_AreNoParameters(self):
        text = 'struct __attribute__(( visibility( "default" ) )) A { void f() { g(); } };'
        self.assertEqual(self.blocks(text), ["g();"])

    def test_Members_MadeWithBraces_AreNoBlocks(self):
        self.assertEqual(self.blocks("A::A( int x ) : a_{ x }, b_( x ) { f(); }"), ["f();"])

    def test_Statements_WithBraces_HaveBlocks_AndSwitchHasNone(self):
        text = "void f() { if ( a ) { g(); } else { h(); } switch ( b ) { case 1: { i(); } } }"
        self.assertEqual(self.blocks(text)[1:], ["g();", "h();", "i();"])

    def test_Lambdas_AreBlocks_AndInitialisersAreNot(self):
        text = "void f() { A a{ 1, { 2 } }; g( [ & ] { h(); }, []() -> N::T { return 1; }, B{ 3 } ); }"
        self.assertEqual(self.blocks(text)[1:], ["h();", "return 1;"])

    def test_Lambda_InTheValueOfAnObject_IsABlock(self):
        self.assertEqual(self.blocks("const auto a = [] { return 1; };"), ["return 1;"])

    def test_Array_OfValues_IsNoBlock(self):
        self.assertEqual(self.blocks("constexpr int a[] = { 1, 2 }; enum class E { x, y };"), [])

    def test_Functions_ThatTheCompilerMayRun_AreTold(self):
        layout = Layout("constexpr int f() { return 1; } int g() { if ( a ) { return 2; } }")
        constant = {layout.text[b.start : b.end].strip(): b.constant for b in layout.blocks}
        self.assertTrue(constant["return 1;"])
        self.assertFalse(constant["return 2;"])

    def test_Block_AroundAPlace_IsTheInnermost(self):
        text = "void f() { if ( a ) { g(); } h(); }"
        layout = Layout(text)
        inner = layout.block_around(text.index("g"), text.index("g") + 1)
        self.assertEqual(text[inner.start : inner.end], " g(); ")
        outer = layout.block_around(text.index("g"), text.index("h") + 1)
        self.assertEqual(outer.start, text.index("if") - 1)
        self.assertIsNone(layout.block_around(0, 1))

    def test_Key_OfABlock_IsItsPlace_AndWhichThereOfThatPlace(self):
        layout = Layout(HEAD + "void f() { g( [] { h(); } ); }\nvoid i() {}\n")
        keys = sorted(layout.key_of(block) for block in layout.blocks)
        self.assertEqual(keys, [("/src/A.cpp", 1, 1), ("/src/A.cpp", 1, 2), ("/src/A.cpp", 2, 1)])


class DeclarationsTest(unittest.TestCase):
    def declared(self, text):
        return [(d.kind, d.name) for d in Layout(text).declarations]

    def test_Constants_AndObjects_AreTold(self):
        text = "constexpr int a[] = { 1, 2 }; const T b( x, y ); int c = 3; static_assert( a[ 0 ] == 1 );"
        found = [("constant", "a"), ("object", "b"), ("object", "c"), ("assertion", "")]
        self.assertEqual(self.declared(text), found)

    def test_Members_AreDeclarationsOfTheirOwn(self):
        found = [("object", "x"), ("function", ""), ("other", "")]
        self.assertEqual(self.declared("struct A { int x = 1; int f() { return x; } };"), found)

    def test_TypesAndAliases_AreOther(self):
        self.assertEqual(self.declared("using A = B; enum E { x }; class C;"), [("other", "")] * 3)


class PlacesTest(unittest.TestCase):
    def test_Places_FollowTheMarkers(self):
        text = HEAD + 'a\nb\n# 7 "/src/B.def" 1\nx\n'
        places = Places(text)
        self.assertEqual(places.of(text.index("b\n")), ("/src/A.cpp", 2))
        self.assertEqual(places.of(text.index("x")), ("/src/B.def", 7))


if __name__ == "__main__":
    unittest.main()
