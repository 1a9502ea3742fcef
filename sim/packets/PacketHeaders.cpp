#include "sim/packets/PacketHeaders.h"

#include "sim/packets/HeaderReader.h"

namespace Sim {

PacketHeaders readHeaders( std::span< const std::uint8_t > packet )
{
    PacketHeaders headers;
    HeaderReader( packet, headers ).read();
    return headers;
}

void HeaderReader::read()
{
    readEthernet( headers_.outer, 0 );
    readTunnel();
}

} // namespace Sim
