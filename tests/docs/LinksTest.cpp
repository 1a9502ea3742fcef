// What the pages of the tree point to is there.

#include "tests/docs/Pages.h"
#include "tests/layering/SourceTree.h"
#include "tests/layering/StableHeaders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>

namespace DocsTest {
namespace {

const Layering::SourceTree& theTree()
{
    static const Layering::SourceTree tree( PELORA_SOURCE_DIR );
    return tree;
}

std::vector< std::string > pages()
{
    std::vector< std::string > files;
    std::ranges::copy_if( theTree().files(), std::back_inserter( files ),
                          []( const auto& file ) { return file.ends_with( ".md" ); } );
    return files;
}

bool isOutside( const std::string& link )
{
    return link.find( "://" ) != std::string::npos || link.starts_with( "mailto:" );
}

/// The path from the root of what a page names relative to itself.
std::string fromRoot( const std::string& page, const std::string& target )
{
    return ( std::filesystem::path( page ).parent_path() / target )
        .lexically_normal()
        .generic_string();
}

bool hasHeading( const std::string& page, const std::string& anchor )
{
    const auto headings = headingsOf( contentOf( page ) );
    return std::ranges::any_of(
        headings, [ & ]( const auto& heading ) { return anchorOf( heading ) == anchor; } );
}

/// Checks one link of a page.
void expectLeadsSomewhere( const std::string& page, const std::string& link )
{
    const std::size_t sign = std::min( link.find( '#' ), link.size() );
    const std::string file = sign == 0 ? page : fromRoot( page, link.substr( 0, sign ) );
    const bool isFolder = std::filesystem::is_directory( PELORA_SOURCE_DIR "/" + file );
    ASSERT_TRUE( theTree().contains( file ) || isFolder ) << page << " links to " << link;
    if ( sign < link.size() && file.ends_with( ".md" ) ) {
        EXPECT_TRUE( hasHeading( file, link.substr( sign + 1 ) ) ) << page << " links to " << link;
    }
}

TEST( LinksTest, Links_OfEveryPage_LeadSomewhere )
{
    std::size_t links = 0;
    for ( const std::string& page : pages() ) {
        for ( const std::string& link : linksOf( contentOf( page ) ) ) {
            if ( !isOutside( link ) ) {
                expectLeadsSomewhere( page, link );
                ++links;
            }
        }
    }
    EXPECT_GT( links, 20U );
}

TEST( LinksTest, Documents_OfTheIndex_AreAllThereAre )
{
    const auto links = linksOf( contentOf( "docs/README.md" ) );
    std::size_t found = 0;
    for ( const std::string& page : pages() ) {
        if ( page.starts_with( "docs/" ) && page != "docs/README.md" ) {
            EXPECT_EQ( std::ranges::count( links, page.substr( 5 ) ), 1 ) << page;
            ++found;
        }
    }
    EXPECT_GT( found, 10U );
}

const Layering::StableHeaders& theStableHeaders()
{
    static const Layering::StableHeaders headers( theTree().files() );
    return headers;
}

/// Whether the text looks like the path of a source from the root.
bool isSourcePath( const std::string& text )
{
    static const std::regex path(
        "(agent|PeloraTcam|sdk|input|sim|reference|tools|tests|bench|scripts|docs|examples)/"
        "[A-Za-z0-9_./-]+\\.(h|cpp|def|txt|md|yaml|svg|dot)" );
    return std::regex_match( text, path );
}

TEST( LinksTest, SourcePaths_InEveryPage_LeadToFiles )
{
    std::size_t paths = 0;
    for ( const std::string& page : pages() ) {
        for ( const std::string& text : codeOf( contentOf( page ) ) ) {
            if ( isSourcePath( text ) ) {
                const bool isIncluded = !theStableHeaders().fileOf( text ).empty();
                EXPECT_TRUE( theTree().contains( text ) || isIncluded )
                    << page << " names " << text;
                ++paths;
            }
        }
    }
    EXPECT_GT( paths, 50U );
}

} // namespace
} // namespace DocsTest
