// Each drawing of docs/drawings has its source beside it, and says what its source says.

#include "tests/docs/Pages.h"
#include "tests/layering/SourceTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace DocsTest {
namespace {

std::vector< std::string > drawings()
{
    std::vector< std::string > files;
    const Layering::SourceTree tree( PELORA_SOURCE_DIR );
    for ( const std::string& file : tree.files() ) {
        if ( file.starts_with( "docs/drawings/" ) ) {
            files.push_back( file );
        }
    }
    return files;
}

std::string replaced( std::string text, const std::string& what, const std::string& with )
{
    return std::regex_replace( text, std::regex( what ), with );
}

/// The lines of all labels in a .dot file, sorted.
std::vector< std::string > labelsOfSource( const std::string& source )
{
    static const std::regex label( "label=\"([^\"]*)\"" );
    std::vector< std::string > labels;
    for ( std::sregex_iterator match( source.begin(), source.end(), label ), end; match != end;
          ++match ) {
        for ( const std::string& line : linesOf( replaced( ( *match )[ 1 ], "\\\\n", "\n" ) ) ) {
            labels.push_back( line );
        }
    }
    std::ranges::sort( labels );
    return labels;
}

/// The texts of an SVG, sorted.
std::vector< std::string > labelsOfDrawing( const std::string& drawing )
{
    static const std::regex text( "<text [^>]*>([^<]*)</text>" );
    std::vector< std::string > labels;
    for ( std::sregex_iterator match( drawing.begin(), drawing.end(), text ), end; match != end;
          ++match ) {
        labels.push_back( replaced( replaced( ( *match )[ 1 ], "&#45;", "-" ), "&#39;", "'" ) );
    }
    std::ranges::sort( labels );
    return labels;
}

TEST( DrawingsTest, Drawings_OfTheDocuments_ArePairsOfSourceAndSvg )
{
    const std::vector< std::string > files = drawings();
    EXPECT_FALSE( files.empty() );
    for ( const std::string& file : files ) {
        const std::string stem = file.substr( 0, file.rfind( '.' ) );
        EXPECT_THAT( files, testing::IsSupersetOf( { stem + ".dot", stem + ".svg" } ) );
    }
}

TEST( DrawingsTest, Drawings_OfTheDocuments_HaveTheLabelsOfTheirSources )
{
    std::size_t compared = 0;
    for ( const std::string& file : drawings() ) {
        if ( file.ends_with( ".dot" ) ) {
            const std::string drawing = file.substr( 0, file.rfind( '.' ) ) + ".svg";
            const auto labels = labelsOfSource( contentOf( file ) );
            EXPECT_FALSE( labels.empty() ) << file;
            EXPECT_EQ( labelsOfDrawing( contentOf( drawing ) ), labels ) << "run scripts/drawings";
            ++compared;
        }
    }
    EXPECT_GT( compared, 0U );
}

} // namespace
} // namespace DocsTest
