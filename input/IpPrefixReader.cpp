#include "input/IpPrefixReader.h"

#include "input/InputText.h"

#include <arpa/inet.h>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

namespace Input {

namespace {

using Bytes = std::array< std::uint8_t, 16 >;

/// The address, with all of its bits; nothing for another text.
std::optional< IpPrefix > addressOf( const std::string& text )
{
    Bytes bytes{};
    if ( inet_pton( AF_INET, text.c_str(), bytes.data() ) == 1 ) {
        return IpPrefix{ false, bytes, 32 };
    }
    if ( inet_pton( AF_INET6, text.c_str(), bytes.data() ) == 1 ) {
        return IpPrefix{ true, bytes, 128 };
    }
    return std::nullopt;
}

/// A length from 0 to `greatest`; nothing for another text.
std::optional< std::uint32_t > lengthOf( std::string_view text, std::uint32_t greatest )
{
    std::uint32_t length = 0;
    const char* last = text.data() + text.size();
    const auto [ end, error ] = std::from_chars( text.data(), last, length );
    const bool isLength =
        error == std::errc() && end == last && length <= greatest && !hasLeadingZero( text );
    return isLength ? std::optional( length ) : std::nullopt;
}

/// The bytes with zeros behind so many bits.
Bytes networkOf( Bytes bytes, std::uint32_t length )
{
    for ( std::uint32_t bit = length; bit < 8 * bytes.size(); ++bit ) {
        const unsigned mask = 0x80U >> ( bit % 8 );
        bytes[ bit / 8 ] = static_cast< std::uint8_t >( bytes[ bit / 8 ] & ~mask );
    }
    return bytes;
}

/// As it is usually written: "2001:db8::".
std::string textOf( const Bytes& bytes, bool isV6 )
{
    std::array< char, INET6_ADDRSTRLEN > text{};
    return inet_ntop( isV6 ? AF_INET6 : AF_INET, bytes.data(), text.data(), text.size() );
}

} // namespace

IpPrefix readIpPrefix( const YamlNode& node )
{
    std::string text;
    node.read( text );
    const std::size_t slash = text.find( '/' );
    const std::optional< IpPrefix > address = addressOf( text.substr( 0, slash ) );
    if ( !address ) {
        node.fail( "expected a prefix such as '192.0.2.0/24' or '2001:db8::/32', found '" + text +
                   "'" );
    }
    if ( slash == std::string::npos ) {
        return *address;
    }
    const std::optional< std::uint32_t > length =
        lengthOf( std::string_view( text ).substr( slash + 1 ), address->length );
    if ( !length ) {
        node.fail( "expected a prefix length from 0 to " + std::to_string( address->length ) +
                   ", found '" + text.substr( slash + 1 ) + "'" );
    }
    const Bytes network = networkOf( address->bytes, *length );
    if ( network != address->bytes ) {
        node.fail( "expected a prefix without host bits, '" + textOf( network, address->isV6 ) +
                   "/" + std::to_string( *length ) + "', found '" + text + "'" );
    }
    return { address->isV6, network, *length };
}

} // namespace Input
