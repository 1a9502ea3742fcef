// docs/packets.md, against the reader of descriptions.

#include "sim/packets/PacketDescription.h"
#include "tests/docs/Pages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace DocsTest {
namespace {

std::string descriptionsSection()
{
    return sectionOf( contentOf( "docs/packets.md" ), "## Descriptions" );
}

TEST( PacketsPageTest, Examples_OfDescriptions_ArePackets )
{
    unsigned examples = 0;
    for ( const std::string& line : linesOf( descriptionsSection() ) ) {
        if ( line.starts_with( "    " ) ) {
            EXPECT_NO_THROW( static_cast< void >( Sim::packetFromDescription( line ) ) ) << line;
            ++examples;
        }
    }
    EXPECT_GT( examples, 5U );
}

/// The words in lower case of the first columns: "vlan N prio P" has `vlan` and `prio`.
std::set< std::string > wordsOfTheTables()
{
    static const std::regex word( "\\b[a-z][a-z0-9]*\\b" );
    std::set< std::string > words;
    for ( const auto& row : tableRowsOf( descriptionsSection() ) ) {
        for ( const std::string& code : codeOf( row.front() ) ) {
            words.insert( std::sregex_token_iterator( code.begin(), code.end(), word ), {} );
        }
    }
    return words;
}

TEST( PacketsPageTest, Words_OfDescriptions_AreThoseOfTheReader )
{
    EXPECT_THAT( Sim::descriptionWords(), ::testing::ElementsAreArray( wordsOfTheTables() ) );
}

} // namespace
} // namespace DocsTest
