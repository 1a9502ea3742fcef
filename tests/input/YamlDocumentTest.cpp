#include "input/YamlDocument.h"

#include "tests/support/ErrorText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <random>

namespace Input {

namespace {

using ::testing::ElementsAre;

enum class Colour
{
    red,
    green,
};

constexpr std::pair< std::string_view, Colour > colours[] = {
    { "red", Colour::red },
    { "green", Colour::green },
};

/// Reads the whole text as one value.
template< class Value, class... How >
Value readAs( const std::string& text, const How&... how )
{
    Value value{};
    YamlDocument::fromText( "f", text ).root().read( value, how... );
    return value;
}

template< class Value, class... How >
std::string errorReadingAs( const std::string& text, const How&... how )
{
    return TestSupport::errorText< InputError >( [ & ] { readAs< Value >( text, how... ); } );
}

std::string errorReading( const std::string& text,
                          const std::function< void( YamlMembers& ) >& reader )
{
    return TestSupport::errorText< InputError >(
        [ & ] { YamlDocument::fromText( "f", text ).root().readMembers( reader ); } );
}

std::string parseError( const std::string& text )
{
    return TestSupport::errorText< InputError >(
        [ & ] { static_cast< void >( YamlDocument::fromText( "f", text ) ); } );
}

TEST( YamlNodeTest, ReadText_PlainOrQuoted_IsTheText )
{
    EXPECT_EQ( readAs< std::string >( "some text" ), "some text" );
    EXPECT_EQ( readAs< std::string >( "'some: text'" ), "some: text" );
    EXPECT_EQ( readAs< std::string >( "17" ), "17" );
    EXPECT_EQ( readAs< std::string >( "''" ), "" );
}

TEST( YamlNodeTest, ReadText_SomethingElse_IsRefused )
{
    EXPECT_EQ( errorReadingAs< std::string >( "null" ), "f:1:1: expected a text, found nothing" );
    EXPECT_EQ( errorReadingAs< std::string >( "- a" ), "f:1:1: expected a text, found a list" );
    EXPECT_EQ( errorReadingAs< std::string >( "a: b" ), "f:1:1: expected a text, found a mapping" );
}

TEST( YamlNodeTest, ReadTruth_TrueAndFalse_AreUnderstood )
{
    EXPECT_TRUE( readAs< bool >( "true" ) );
    EXPECT_FALSE( readAs< bool >( "false" ) );
}

TEST( YamlNodeTest, ReadTruth_AnythingElse_IsRefused )
{
    EXPECT_EQ( errorReadingAs< bool >( "yes" ), "f:1:1: expected 'true' or 'false', found 'yes'" );
    EXPECT_EQ( errorReadingAs< bool >( "'true'" ),
               "f:1:1: expected 'true' or 'false', found the text 'true'" );
}

TEST( YamlNodeTest, ReadNumber_DecimalAndHexadecimal_IsTheNumber )
{
    EXPECT_EQ( readAs< uint32_t >( "4294967295" ), 4294967295U );
    EXPECT_EQ( readAs< uint32_t >( "0x1f" ), 31U );
    EXPECT_EQ( readAs< uint32_t >( "0xFFFFFFFF" ), 0xFFFFFFFFU );
    EXPECT_EQ( readAs< int >( "-7" ), -7 );
    EXPECT_EQ( readAs< uint64_t >( "18446744073709551615" ), UINT64_MAX );
    EXPECT_EQ( readAs< int64_t >( "-9223372036854775808" ), INT64_MIN );
}

TEST( YamlNodeTest, ReadNumber_NoNumber_IsRefused )
{
    for ( const std::string text : { "0x", "0x-1", "1.5", "1e3", "+1", "1 2", "x", "0b1" } ) {
        EXPECT_EQ( errorReadingAs< int >( text, -5, 5 ),
                   "f:1:1: expected a whole number from -5 to 5, found '" + text + "'" );
    }
}

TEST( YamlNodeTest, ReadNumber_ZeroBeforeIt_IsRefused )
{
    for ( const std::string text : { "010", "00", "-010", "08" } ) {
        EXPECT_EQ( errorReadingAs< int >( text ),
                   "f:1:1: expected a number without a leading zero, found '" + text + "'" );
    }
    EXPECT_EQ( readAs< int >( "0" ), 0 );
    EXPECT_EQ( readAs< int >( "0x010" ), 16 );
    EXPECT_EQ( readAs< std::string >( "010" ), "010" );
}

TEST( YamlNodeTest, ReadNumber_OutOfTheRangeOfItsType_IsRefused )
{
    EXPECT_EQ( errorReadingAs< uint8_t >( "256" ),
               "f:1:1: expected a whole number from 0 to 255, found '256'" );
    EXPECT_EQ( errorReadingAs< int8_t >( "0x80" ),
               "f:1:1: expected a whole number from -128 to 127, found '0x80'" );
}

TEST( YamlNodeTest, ReadNumber_LimitsGiven_HoldThem )
{
    EXPECT_EQ( readAs< int >( "2", 2, 4 ), 2 );
    EXPECT_EQ( readAs< int >( "4", 2, 4 ), 4 );
    EXPECT_EQ( errorReadingAs< int >( "1", 2, 4 ),
               "f:1:1: expected a whole number from 2 to 4, found '1'" );
    EXPECT_EQ( errorReadingAs< int >( "5", 2, 4 ),
               "f:1:1: expected a whole number from 2 to 4, found '5'" );
}

TEST( YamlNodeTest, ReadName_OfATable_IsItsValue )
{
    EXPECT_EQ( readAs< Colour >( "green", colours ), Colour::green );
    EXPECT_EQ( readAs< Colour >( "\"red\"", colours ), Colour::red );
}

TEST( YamlNodeTest, ReadName_NotOfTheTable_IsRefusedWithHint )
{
    EXPECT_EQ( errorReadingAs< Colour >( "gren", colours ),
               "f:1:1: unknown value 'gren', did you mean 'green'?" );
    EXPECT_EQ( errorReadingAs< Colour >( "blue", colours ),
               "f:1:1: unknown value 'blue', expected 'red' or 'green'" );
    EXPECT_EQ( errorReadingAs< Colour >( "[]", colours ),
               "f:1:1: expected 'red' or 'green', found a list" );
}

TEST( YamlNodeTest, ReadOptional_AnyValue_IsSet )
{
    EXPECT_EQ( readAs< std::optional< int > >( "3", 0, 4 ), 3 );
    EXPECT_EQ( readAs< std::optional< Colour > >( "red", colours ), Colour::red );
    EXPECT_EQ( readAs< std::optional< std::string > >( "x" ), "x" );
}

TEST( YamlNodeTest, ReadItems_List_GivesEachWithItsPosition )
{
    const YamlDocument document = YamlDocument::fromText( "f", "- a\n- [ b ]\n-   c\n" );
    std::vector< std::string > seen;
    document.root().readItems( [ & ]( const YamlNode& item ) {
        seen.push_back( std::to_string( item.line() ) + ":" + std::to_string( item.column() ) );
    } );
    EXPECT_THAT( seen, ElementsAre( "1:3", "2:3", "3:5" ) );
}

TEST( YamlNodeTest, ReadItems_NoList_IsRefused )
{
    EXPECT_EQ( TestSupport::errorText< InputError >( [] {
                   YamlDocument::fromText( "f", "a" ).root().readItems( []( const YamlNode& ) {} );
               } ),
               "f:1:1: expected a list, found 'a'" );
}

TEST( YamlNodeTest, ReadPairs_Mapping_GivesEachKeyAndValueInTheirOrder )
{
    const YamlDocument document = YamlDocument::fromText( "f", "{ b: 1, a/2: 3 }" );
    std::vector< std::string > pairs;
    document.root().readPairs( [ & ]( const YamlNode& key, const YamlNode& value ) {
        std::string name;
        int number = 0;
        key.read( name );
        value.read( number );
        pairs.push_back( name + " " + std::to_string( number ) + " " +
                         std::to_string( key.column() ) );
    } );
    EXPECT_THAT( pairs, ElementsAre( "b 1 3", "a/2 3 9" ) );
}

TEST( YamlNodeTest, ReadPairs_NoMapping_IsRefused )
{
    const YamlDocument document = YamlDocument::fromText( "f", "[ a ]" );
    EXPECT_THROW( document.root().readPairs( []( const YamlNode&, const YamlNode& ) {} ),
                  InputError );
}

TEST( YamlNodeTest, File_OfANode_IsThatOfTheDocument )
{
    EXPECT_EQ( YamlDocument::fromText( "fruit.yaml", "a" ).root().file(), "fruit.yaml" );
}

TEST( YamlNodeTest, Kind_EachKind_IsTold )
{
    const auto kindOf = []( const std::string& text ) {
        return YamlDocument::fromText( "f", text ).root().kind();
    };
    EXPECT_EQ( kindOf( "" ), YamlNode::Kind::nothing );
    EXPECT_EQ( kindOf( "~" ), YamlNode::Kind::nothing );
    EXPECT_EQ( kindOf( "a" ), YamlNode::Kind::plainScalar );
    EXPECT_EQ( kindOf( "'a'" ), YamlNode::Kind::quotedScalar );
    EXPECT_EQ( kindOf( "[]" ), YamlNode::Kind::list );
    EXPECT_EQ( kindOf( "{}" ), YamlNode::Kind::mapping );
}

TEST( YamlMembersTest, Members_AllKinds_AreRead )
{
    std::string name;
    int seeds = 0;
    Colour colour = Colour::red;
    std::vector< std::string > parts;
    const YamlDocument document = YamlDocument::fromText(
        "f", "name: pear\nseeds: 7\ncolour: green\nparts: [ skin, core ]\n" );
    document.root().readMembers( [ & ]( YamlMembers& members ) {
        members.required( "name", name );
        members.required( "seeds", seeds, 0, 10 );
        members.required( "colour", colour, colours );
        members.optional( "parts", [ & ]( const YamlNode& list ) {
            list.readItems( [ & ]( const YamlNode& part ) { part.read( parts.emplace_back() ); } );
        } );
    } );
    EXPECT_EQ( name, "pear" );
    EXPECT_EQ( seeds, 7 );
    EXPECT_EQ( colour, Colour::green );
    EXPECT_THAT( parts, ElementsAre( "skin", "core" ) );
}

TEST( YamlMembersTest, Optional_Absent_LeavesTheDestination )
{
    int present = 0;
    int absent = 5;
    std::optional< int > nothing;
    bool isPresent = false;
    bool isAbsent = true;
    YamlDocument::fromText( "f", "a: 1" ).root().readMembers( [ & ]( YamlMembers& members ) {
        isPresent = members.optional( "a", present );
        isAbsent = members.optional( "b", absent );
        members.optional( "c", nothing );
    } );
    EXPECT_TRUE( isPresent );
    EXPECT_EQ( present, 1 );
    EXPECT_FALSE( isAbsent );
    EXPECT_EQ( absent, 5 );
    EXPECT_EQ( nothing, std::nullopt );
}

TEST( YamlMembersTest, Required_Missing_IsRefusedAtTheMapping )
{
    int value = 0;
    EXPECT_EQ( errorReading( "\n  a: 1\n",
                             [ & ]( YamlMembers& members ) {
                                 members.required( "a", value );
                                 members.required( "b", value );
                                 members.required( "c", value );
                             } ),
               "f:2:3: missing key 'b'" );
}

TEST( YamlMembersTest, UnknownKey_BesidesAMissingOne_IsReportedFirst )
{
    int value = 0;
    EXPECT_EQ( errorReading( "first: 1\nsecnd: 2\n",
                             [ & ]( YamlMembers& members ) {
                                 members.required( "second", value );
                                 members.required( "first", value );
                             } ),
               "f:2:1: unknown key 'secnd', did you mean 'second'?" );
}

TEST( YamlMembersTest, Mapping_ForErrorsOfTheReader_HasThePosition )
{
    EXPECT_EQ(
        errorReading( "\na: 1\n", []( YamlMembers& members ) { members.mapping().fail( "no" ); } ),
        "f:2:1: no" );
}

TEST( YamlMembersTest, ReadMembers_NoMapping_IsRefused )
{
    EXPECT_EQ( errorReading( "[ 1 ]", []( YamlMembers& ) {} ),
               "f:1:1: expected a mapping, found a list" );
    EXPECT_EQ( errorReading( "# nothing\n", []( YamlMembers& ) {} ),
               "f:1:1: expected a mapping, found nothing" );
}

TEST( YamlMembersTest, ValueLeftOut_IsNothingAtItsKey )
{
    int value = 0;
    EXPECT_EQ( errorReading( "a:\nb: 1\n",
                             [ & ]( YamlMembers& members ) {
                                 members.required( "b", value );
                                 members.required( "a", value, 1, 2 );
                             } ),
               "f:1:1: expected a whole number from 1 to 2, found nothing" );
}

TEST( YamlDocumentTest, FromText_DuplicateKey_IsRefusedAnywhere )
{
    EXPECT_EQ( parseError( "a:\n  - { b: 1, c: 2, 'b': 3 }\n" ),
               "f:2:19: duplicate key 'b', first given in line 2" );
}

TEST( YamlDocumentTest, FromText_KeyThatIsNoText_IsRefused )
{
    EXPECT_EQ( parseError( "{ [ a ]: 1 }" ), "f:1:3: expected a key, found a list" );
    EXPECT_EQ( parseError( "~: 1" ), "f:1:1: expected a key, found nothing" );
}

TEST( YamlDocumentTest, FromText_AnchorOrAlias_IsRefused )
{
    EXPECT_EQ( parseError( "a: &x 1\n" ), "f:1:4: anchors are not accepted here" );
    EXPECT_EQ( parseError( "a: &x [ 1 ]\n" ), "f:1:4: anchors are not accepted here" );
    EXPECT_EQ( parseError( "a: *x\n" ).substr( 0, 6 ), "f:1:4:" );
}

TEST( YamlDocumentTest, FromText_SecondDocument_IsRefused )
{
    EXPECT_EQ( parseError( "a: 1\n---\nb: 2\n" ).substr( 0, 4 ), "f:2:" );
    EXPECT_EQ( parseError( "---\na: 1\n" ), "no error" );
}

TEST( YamlDocumentTest, FromText_NoYaml_IsRefusedWithPosition )
{
    EXPECT_EQ( parseError( "a: 1\nb: c: d\n" ), "f:2:5: not YAML: illegal map value" );
    EXPECT_EQ( parseError( "a:\n  - b: 1\n c: 2\n" ),
               "f:3:2: not YAML: indentation matches no earlier line" );
}

TEST( YamlDocumentTest, FromText_BracketOrQuoteLeftOpen_IsReportedWhereItOpens )
{
    EXPECT_EQ( parseError( "a: [ 1\n" ), "f:1:4: not YAML: nothing closes this [" );
    EXPECT_EQ( parseError( "a: 1\nb: { c: 1\nd: { e: 1 }\n" ),
               "f:2:4: not YAML: nothing closes this {" );
    EXPECT_EQ( parseError( "a: 1\nb: 'c\nd: 2\n" ), "f:2:4: not YAML: nothing closes this '" );
    EXPECT_EQ( parseError( "a: 1\nb: \"c\nd: 2\n" ), "f:2:4: not YAML: nothing closes this \"" );
    EXPECT_EQ( parseError( "a: 'c\n\nd: 2\n" ), "f:1:4: not YAML: nothing closes this '" );
    EXPECT_EQ( parseError( "a: \"b\nc: \"d\"\n" ), "f:1:4: not YAML: nothing closes this \"" );
}

TEST( YamlDocumentTest, FromText_TabIndents_IsRefusedWithThatReason )
{
    EXPECT_EQ( parseError( "a:\n\t- 1\n" ),
               "f:2:2: not YAML: a tab, where only blanks may indent" );
    EXPECT_EQ( parseError( "a: 1\nb: c: d\t\n" ), "f:2:5: not YAML: illegal map value" );
}

TEST( YamlDocumentTest, FromText_ControlCharacters_AreRefusedWithPosition )
{
    const auto withByte = []( char byte ) { return std::string( "a: 1\nb: x" ) + byte + "y\n"; };
    EXPECT_EQ( parseError( withByte( '\x00' ) ), "f:2:5: not YAML: the control character 0x00" );
    EXPECT_EQ( parseError( withByte( '\x04' ) ), "f:2:5: not YAML: the control character 0x04" );
    EXPECT_EQ( parseError( withByte( '\x1F' ) ), "f:2:5: not YAML: the control character 0x1f" );
    EXPECT_EQ( parseError( withByte( '\x7F' ) ), "f:2:5: not YAML: the control character 0x7f" );
    EXPECT_EQ( parseError( "\x01" ), "f:1:1: not YAML: the control character 0x01" );
    EXPECT_EQ( parseError( "\u00e9\u20ac\x02" ), "f:1:3: not YAML: the control character 0x02" );
    EXPECT_EQ( parseError( "a:\tx # \u00e9\t\r\nb: 2\r\n" ), "no error" );
}

TEST( YamlDocumentTest, FromText_ControlsBeyondAscii_AreRefusedWithPosition )
{
    EXPECT_EQ( parseError( "a: x\u009by\n" ), "f:1:5: not YAML: the control character 0x9b" );
    EXPECT_EQ( parseError( "a: 1\rb: 2\n" ),
               "f:1:5: not YAML: a carriage return without a line feed" );
}

TEST( YamlDocumentTest, FromText_ControlsWithABackslash_AreRefusedAtTheirText )
{
    EXPECT_EQ( parseError( "a: 1\nb: \"x\\e[31m\"\n" ),
               "f:2:4: the control character 0x1b in a text" );
    EXPECT_EQ( parseError( "a: \"x\\u009b\"\n" ), "f:1:4: the control character 0x9b in a text" );
    EXPECT_EQ( parseError( "a: x\ty\n" ), "f:1:4: the control character 0x09 in a text" );
    EXPECT_EQ( parseError( "\"a\\x7f\": 1\n" ), "f:1:1: the control character 0x7f in a text" );
    EXPECT_EQ( parseError( "a: \"x\\ny\"\n" ), "f:1:4: expected a text of one line" );
    EXPECT_EQ( parseError( "a: |\n  x\n" ), "f:1:4: expected a text of one line" );
    EXPECT_EQ( parseError( "a: x\n  y\n" ), "no error" );
}

TEST( YamlDocumentTest, FromText_NotUtf8_IsRefusedWithPosition )
{
    EXPECT_EQ( parseError( "a: 1\nb: \u00e9\xFF\n" ), "f:2:5: not YAML: not UTF-8: the byte 0xff" );
    EXPECT_EQ( parseError( "a: \xE9" ), "f:1:4: not YAML: not UTF-8: the byte 0xe9" );
    EXPECT_EQ( parseError( "\xEF\xBB\xBF"
                           "a: 1\n" ),
               "no error" );
}

TEST( YamlDocumentTest, FromText_ErrorAtTheEndOfTheText_StandsRightBehindIt )
{
    EXPECT_THAT( parseError( "a: !<x" ), testing::StartsWith( "f:1:7: not YAML: " ) );
    EXPECT_THAT( parseError( "a: 1\nb: !<x" ), testing::StartsWith( "f:2:7: not YAML: " ) );
}

TEST( YamlDocumentTest, FromText_QuoteThatEndsInABackslash_IsReportedWhereItOpens )
{
    EXPECT_EQ( parseError( "\"(##\\" ), "f:1:1: not YAML: nothing closes this \"" );
    EXPECT_EQ( parseError( "a: 1\nb: \"x\\" ), "f:2:4: not YAML: nothing closes this \"" );
}

TEST( YamlDocumentTest, FromText_ErrorBehindLettersOfSeveralBytes_CountsLetters )
{
    EXPECT_EQ( parseError( "a: 1\n\u00e9\u20ac: c: d\n" ), "f:2:6: not YAML: illegal map value" );
    EXPECT_EQ( parseError( "\u00e9: &x 1\n" ), "f:1:4: anchors are not accepted here" );
}

TEST( YamlDocumentTest, FromText_ErrorBehindAByteOrderMark_DoesNotCountIt )
{
    EXPECT_EQ( parseError( "\uFEFFb: c: d\n" ), "f:1:5: not YAML: illegal map value" );
    EXPECT_EQ( parseError( "\uFEFFb: \x01" ), "f:1:4: not YAML: the control character 0x01" );
}

/// How many letters the line of a text has, counted from 1; none that the text does not have.
std::optional< int > lettersOfLine( const std::string& text, int line )
{
    std::size_t start = 0;
    for ( int before = 1; before < line; ++before ) {
        start = text.find( '\n', start ) + 1;
        if ( start == 0 ) {
            return std::nullopt;
        }
    }
    int letters = 0;
    for ( std::size_t i = start; i < text.size() && text[ i ] != '\n'; ++i ) {
        letters += ( text[ i ] & 0xC0 ) != 0x80 ? 1 : 0;
    }
    return letters;
}

/// Signs that mean something in YAML, and any bytes.
std::string anyText( std::mt19937& random )
{
    constexpr std::string_view signs = "\"'(#\\\n\r\t -:,[]{}&*!|>%@?~ab1\xC3\xA9";
    std::string text( 1 + random() % 12, ' ' );
    for ( char& byte : text ) {
        byte =
            random() % 16 == 0 ? static_cast< char >( random() ) : signs[ random() % signs.size() ];
    }
    return text;
}

TEST( YamlDocumentTest, FromText_AnyBytes_AreReadOrRefusedWithAPlaceInTheText )
{
    std::mt19937 random( 1 );
    int refused = 0;
    for ( int i = 0; i < 40000; ++i ) {
        const std::string text = anyText( random );
        try {
            static_cast< void >( YamlDocument::fromText( "f", text ) );
        } catch ( const InputError& error ) {
            ++refused;
            const std::optional< int > letters = lettersOfLine( text, error.line() );
            ASSERT_TRUE( letters ) << error.what() << " in " << testing::PrintToString( text );
            ASSERT_GE( error.column(), 1 ) << testing::PrintToString( text );
            ASSERT_LE( error.column(), *letters + 1 )
                << error.what() << " in " << testing::PrintToString( text );
        }
    }
    EXPECT_GT( refused, 10000 );
    EXPECT_LT( refused, 39000 );
}

TEST( YamlDocumentTest, FromText_VeryDeepNesting_IsRefused )
{
    EXPECT_THAT( parseError( std::string( 100000, '[' ) ), testing::StartsWith( "f:1:" ) );
}

TEST( YamlDocumentTest, FromFile_ReadableFile_IsRead )
{
    const std::string path = testing::TempDir() + "YamlDocumentTest.yaml";
    std::ofstream( path ) << "some text\n";
    std::string text;
    YamlDocument::fromFile( path ).root().read( text );
    EXPECT_EQ( text, "some text" );
    std::filesystem::remove( path );
}

TEST( YamlDocumentTest, FromFile_EmptyFile_IsNothing )
{
    const std::string path = testing::TempDir() + "YamlDocumentTestEmpty.yaml";
    std::ofstream( path ).flush();
    EXPECT_EQ( YamlDocument::fromFile( path ).root().kind(), YamlNode::Kind::nothing );
    std::filesystem::remove( path );
}

TEST( YamlDocumentTest, FromFile_UnreadableFile_IsRefused )
{
    const auto error = []( const std::string& path ) {
        return TestSupport::errorText< InputError >(
            [ & ] { static_cast< void >( YamlDocument::fromFile( path ) ); } );
    };
    EXPECT_EQ( error( "/nowhere/x.yaml" ),
               "/nowhere/x.yaml:1:1: cannot be read: No such file or directory" );
    EXPECT_EQ( error( "/" ), "/:1:1: cannot be read: is a directory" );
}

TEST( InputErrorTest, Parts_AreKept )
{
    try {
        YamlDocument::fromText( "f", "\n x" ).root().fail( "wrong" );
        FAIL();
    } catch ( const InputError& error ) {
        EXPECT_EQ( error.file(), "f" );
        EXPECT_EQ( error.line(), 2 );
        EXPECT_EQ( error.column(), 2 );
        EXPECT_EQ( error.message(), "wrong" );
        EXPECT_STREQ( error.what(), "f:2:2: wrong" );
    }
}

} // namespace

} // namespace Input
