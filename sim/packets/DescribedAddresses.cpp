// Addresses as people write them.

#include "sim/packets/DescribedPacket.h"

#include <arpa/inet.h>
#include <string>

namespace Sim {

std::optional< PacketAddress > packetAddressOf( std::string_view text )
{
    const std::string address( text );
    if ( address.find( '\0' ) != std::string::npos ) {
        return std::nullopt;
    }
    PacketAddress result;
    result.is6 = address.find( ':' ) != std::string::npos;
    const int family = result.is6 ? AF_INET6 : AF_INET;
    const bool isAddress = ::inet_pton( family, address.c_str(), result.all.data() ) == 1;
    return isAddress ? std::optional( result ) : std::nullopt;
}

std::optional< PacketMac > packetMacOf( std::string_view text )
{
    constexpr std::string_view digits = "0123456789abcdef";
    PacketMac mac{};
    if ( text.size() != 17 ) {
        return std::nullopt;
    }
    for ( std::size_t i = 0; i < mac.size(); ++i ) {
        const auto digit = [ & ]( std::size_t at ) {
            const char letter = text[ 3 * i + at ];
            return digits.find( letter >= 'A' && letter <= 'F' ? static_cast< char >( letter + 32 )
                                                               : letter );
        };
        const bool isSeparated = i == 0 || text[ 3 * i - 1 ] == ':';
        if ( !isSeparated || digit( 0 ) > 15 || digit( 1 ) > 15 ) {
            return std::nullopt;
        }
        mac[ i ] = static_cast< std::uint8_t >( digit( 0 ) << 4 | digit( 1 ) );
    }
    return mac;
}

} // namespace Sim
