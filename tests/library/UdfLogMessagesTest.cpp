// The log messages of the built library, as a tool reads them from the file without running it, and
// the handles on them that loading makes.

#include "agent/base/Log.h"
#include "tests/library/ElfFile.h"
#include "tests/library/LoadedLibrary.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace LibraryTest {
namespace {

/// The four texts of the descriptor, as they stand in the section, and its level.
struct Message
{
    std::string message;
    std::string explanation;
    std::string recommendedAction;
    uint32_t level = 0;

    friend bool operator==( const Message&, const Message& ) = default;
};

std::map< std::string, Message > messagesOf( const ElfFile& file )
{
    const std::string section = ".korvel_logmsg";
    const std::size_t size = file.sectionSize( section ).value_or( 0 );
    EXPECT_EQ( size, 2 * sizeof( Agent::LogDescriptor ) );
    std::map< std::string, Message > messages;
    for ( std::size_t at = 0; at < size; at += sizeof( Agent::LogDescriptor ) ) {
        const auto text = [ & ]( std::size_t offset ) {
            return file.textBehindPointerIn( section, at + offset ).value_or( "null" );
        };
        messages[ text( 0 ) ] = { text( 8 ), text( 16 ), text( 24 ),
                                  file.numberIn( section, at + 32 ) };
    }
    return messages;
}

TEST( UdfLogMessagesTest, LogSection_OfTheFile_HoldsTheTwoMessages )
{
    const std::map< std::string, Message > expected = {
        { "PELORA_TCAM_UDF_HW_RESOURCE_NORMAL",
          { "All UDFs are programmed in hardware",
            "The switch was able to program all the UDFs in the hardware.", "", 3 } },
        { "PELORA_TCAM_UDF_HW_RESOURCE_FULL",
          { "Hardware resources insufficient to program UDF",
            "The switch is unable to program UDF due to insufficient hardware resources. ",
            "Reconfigure other ACLs or features that use UDF to free up UDF hardware resources.",
            3 } },
    };
    EXPECT_EQ( messagesOf( ElfFile( PELORA_HELPERS_LIBRARY ) ), expected );
}

TEST( UdfLogMessagesTest, Handles_OfTheLoadedLibrary_ComeAndGoWithIt )
{
    EXPECT_EQ( Agent::logHandleCount( "PELORA_TCAM_UDF_HW_RESOURCE_FULL" ), 0U );
    LoadedLibrary library( PELORA_HELPERS_LIBRARY );
    const Agent::U32 full = Agent::logHandleCount( "PELORA_TCAM_UDF_HW_RESOURCE_FULL" );
    EXPECT_EQ( full, 4U ) << "one of each file with UDFs";
    EXPECT_EQ( Agent::logHandleCount( "PELORA_TCAM_UDF_HW_RESOURCE_NORMAL" ), full );
    library.unload();
    EXPECT_EQ( Agent::logHandleCount( "PELORA_TCAM_UDF_HW_RESOURCE_FULL" ), 0U );
    EXPECT_EQ( Agent::logHandleCount( "PELORA_TCAM_UDF_HW_RESOURCE_NORMAL" ), 0U );
}

} // namespace
} // namespace LibraryTest
