#include "tools/IpPrefixReader.h"

#include "sim/InputText.h"

#include <arpa/inet.h>
#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

namespace Tool {

namespace {

using PeloraTcam::IpAddress;

std::optional< IpAddress > addressOf( const std::string& text )
{
    in_addr v4{};
    if ( inet_pton( AF_INET, text.c_str(), &v4 ) == 1 ) {
        return IpAddress::v4( ntohl( v4.s_addr ) );
    }
    IpAddress::Bytes v6{};
    if ( inet_pton( AF_INET6, text.c_str(), v6.data() ) == 1 ) {
        return IpAddress::v6( v6 );
    }
    return std::nullopt;
}

/// A length from 0 to `greatest`; nothing for another text.
std::optional< Agent::U32 > lengthOf( std::string_view text, Agent::U32 greatest )
{
    Agent::U32 length = 0;
    const char* last = text.data() + text.size();
    const auto [ end, error ] = std::from_chars( text.data(), last, length );
    const bool isLength =
        error == std::errc() && end == last && length <= greatest && !Sim::hasLeadingZero( text );
    return isLength ? std::optional( length ) : std::nullopt;
}

/// The address with zeros behind so many bits.
IpAddress networkOf( const IpAddress& address, Agent::U32 length )
{
    if ( !address.isV6() ) {
        return IpAddress::v4( address.value() & PeloraTcam::ip4PrefixMask( length ) );
    }
    bcm_ip6_t mask{};
    PeloraTcam::ip6PrefixMask( length, mask );
    IpAddress::Bytes bytes = address.bytes();
    for ( std::size_t index = 0; index < bytes.size(); ++index ) {
        bytes[ index ] = static_cast< Agent::U8 >( bytes[ index ] & mask[ index ] );
    }
    return IpAddress::v6( bytes );
}

/// As it is usually written: "2001:db8::".
std::string textOf( const IpAddress& address )
{
    std::array< char, INET6_ADDRSTRLEN > text{};
    const Agent::U32 v4 = htonl( address.value() );
    const void* bytes = address.isV6() ? static_cast< const void* >( address.bytes().data() ) : &v4;
    return inet_ntop( address.isV6() ? AF_INET6 : AF_INET, bytes, text.data(), text.size() );
}

} // namespace

Reference::IpPrefix readIpPrefix( const Sim::YamlNode& node )
{
    std::string text;
    node.read( text );
    const std::size_t slash = text.find( '/' );
    const std::optional< IpAddress > address = addressOf( text.substr( 0, slash ) );
    if ( !address ) {
        node.fail( "expected a prefix such as '192.0.2.0/24' or '2001:db8::/32', found '" + text +
                   "'" );
    }
    const Agent::U32 allBits = address->isV6() ? 128 : 32;
    if ( slash == std::string::npos ) {
        return { *address, allBits };
    }
    const std::optional< Agent::U32 > length =
        lengthOf( std::string_view( text ).substr( slash + 1 ), allBits );
    if ( !length ) {
        node.fail( "expected a prefix length from 0 to " + std::to_string( allBits ) + ", found '" +
                   text.substr( slash + 1 ) + "'" );
    }
    const IpAddress network = networkOf( *address, *length );
    if ( network != *address ) {
        node.fail( "expected a prefix without host bits, '" + textOf( network ) + "/" +
                   std::to_string( *length ) + "', found '" + text + "'" );
    }
    return { *address, *length };
}

} // namespace Tool
