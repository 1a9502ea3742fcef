// The reader of headers: whatever the bytes are, each offset is one of them, and the beginning of a
// packet is read as it is in the whole packet.

#include "tests/fuzz/FuzzTarget.h"
#include "tests/sim/packets/SamePrefix.h"

#include <algorithm>
#include <span>

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
    const std::string fault =
        SimPacketTest::faultOfPrefixes( std::span( data, std::min< std::size_t >( size, 512 ) ) );
    Fuzz::require( fault.empty(), "what is read of a packet's beginning: " + fault );
    return 0;
}
