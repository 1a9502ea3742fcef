#include "tools/IpPrefixReader.h"

#include <arpa/inet.h>
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
    const bool isLength = error == std::errc() && end == last && length <= greatest;
    return isLength ? std::optional( length ) : std::nullopt;
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
    return { *address, *length };
}

} // namespace Tool
