// The packets of captures, cut at every byte.

#include "tests/sim/packets/SamePrefix.h"
#include "tests/tools/traffic/Captures.h"
#include "tools/traffic/Capture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace TrafficTest {
namespace {

TEST( CapturedBeginningsTest, ReadHeaders_OfEachBeginning_AgreeWithTheWhole )
{
    if ( capturesFolder().empty() ) {
        GTEST_SKIP() << "PELORA_TEST_DATA is not set: there are no captures";
    }
    constexpr std::size_t mostBytes = 256; // No header of these captures stands further behind.
    unsigned packets = 0;
    for ( const std::filesystem::path& file : ethernetCaptures() ) {
        Tool::Capture capture( file );
        for ( Sim::Packet packet; capture.next( packet ); ++packets ) {
            const auto bytes =
                std::span( packet.bytes ).first( std::min( packet.bytes.size(), mostBytes ) );
            ASSERT_EQ( SimPacketTest::faultOfPrefixes( bytes ), "" )
                << file << ", packet " << capture.packets();
        }
    }
    EXPECT_GT( packets, 1500U );
}

} // namespace
} // namespace TrafficTest
