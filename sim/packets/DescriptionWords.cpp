#include "sim/packets/DescriptionWords.h"

#include "input/InputError.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace Sim {

namespace {

bool isBlank( char letter )
{
    return letter == ' ' || letter == '\t' || letter == '\n' || letter == '\r';
}

/// How many letters of UTF-8 the bytes are.
int lettersIn( std::string_view text )
{
    return static_cast< int >( std::ranges::count_if( text, []( char byte ) {
        return ( static_cast< unsigned char >( byte ) & 0xC0U ) != 0x80U;
    } ) );
}

std::optional< unsigned > hexadecimalDigit( char letter )
{
    unsigned digit = 0;
    const auto result = std::from_chars( &letter, &letter + 1, digit, 16 );
    return result.ec == std::errc() ? std::optional( digit ) : std::nullopt;
}

/// The number that a text is; nothing if it is none. `010` is none: some readers take it for 8.
std::optional< std::uint64_t > numberOf( std::string_view text )
{
    const bool isHexadecimal = text.starts_with( "0x" ) || text.starts_with( "0X" );
    const bool hasLeadingZero = !isHexadecimal && text.size() > 1 && text.front() == '0';
    const std::string_view digits = text.substr( isHexadecimal ? 2 : 0 );
    std::uint64_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars( digits.data(), end, number, isHexadecimal ? 16 : 10 );
    const bool isNumber = result.ec == std::errc() && result.ptr == end && !hasLeadingZero;
    return isNumber ? std::optional( number ) : std::nullopt;
}

} // namespace

std::string quoted( std::string_view text )
{
    return "'" + std::string( text ) + "'";
}

DescriptionWord partOf( const DescriptionWord& word, std::size_t from, std::size_t size )
{
    return { word.text.substr( from, size ),
             word.column + lettersIn( word.text.substr( 0, from ) ) };
}

DescriptionWords::DescriptionWords( std::string_view text, DescriptionPlace place )
    : place_( std::move( place ) )
{
    int column = place_.column;
    std::size_t at = 0;
    while ( at < text.size() ) {
        const auto begin = text.begin() + static_cast< std::ptrdiff_t >( at );
        const bool isGap = isBlank( *begin );
        const auto end = std::find_if( begin, text.end(),
                                       [ isGap ]( char c ) { return isBlank( c ) != isGap; } );
        const std::string_view piece = text.substr( at, static_cast< std::size_t >( end - begin ) );
        if ( !isGap ) {
            words_.push_back( { piece, column } );
        }
        column += lettersIn( piece );
        at += piece.size();
    }
    words_.push_back( { text.substr( text.size() ), column } );
}

void DescriptionWords::fail( const DescriptionWord& word, const std::string& message ) const
{
    throw Input::InputError( place_.file, place_.line, word.column, message );
}

const DescriptionWord& DescriptionWords::take( std::string_view expected )
{
    if ( atEnd() ) {
        fail( peek(), "the description ends, expected " + std::string( expected ) );
    }
    return words_[ next_++ ];
}

bool DescriptionWords::takeIf( std::string_view word )
{
    const bool isThat = !atEnd() && peek().text == word;
    next_ += isThat ? 1 : 0;
    return isThat;
}

void DescriptionWords::takeExactly( std::string_view word )
{
    const DescriptionWord& found = take( quoted( word ) );
    if ( found.text != word ) {
        fail( found, "expected " + quoted( word ) + ", found " + quoted( found.text ) );
    }
}

std::uint64_t DescriptionWords::numberIn( const DescriptionWord& word, NumberRange range ) const
{
    const std::optional< std::uint64_t > number = numberOf( word.text );
    if ( !number || *number < range.least || *number > range.greatest ) {
        fail( word, "expected a number from " + std::to_string( range.least ) + " to " +
                        std::to_string( range.greatest ) + ", found " + quoted( word.text ) );
    }
    return *number;
}

std::uint64_t DescriptionWords::takeNumber( NumberRange range )
{
    return numberIn( take( "a number" ), range );
}

PacketAddress DescriptionWords::takeAddress()
{
    const DescriptionWord& word = take( "an IP address" );
    const std::optional< PacketAddress > address = packetAddressOf( word.text );
    if ( !address ) {
        fail( word, "expected an IP address, found " + quoted( word.text ) );
    }
    return *address;
}

PacketAddress DescriptionWords::takeAddressAndPort( std::uint16_t& port )
{
    constexpr std::string_view expected =
        "an address and a port, like '10.0.0.1:80' or '[2001:db8::1]:80'";
    const DescriptionWord& word = take( expected );
    const bool isBracketed = word.text.starts_with( '[' );
    const std::size_t separator = word.text.rfind( isBracketed ? "]:" : ":" );
    const bool hasMoreColons = !isBracketed && std::ranges::count( word.text, ':' ) > 1;
    if ( separator == std::string_view::npos || hasMoreColons ) {
        fail( word, "expected " + std::string( expected ) + ", found " + quoted( word.text ) );
    }
    const std::size_t begin = isBracketed ? 1 : 0;
    const DescriptionWord host = partOf( word, begin, separator - begin );
    const std::optional< PacketAddress > address = packetAddressOf( host.text );
    if ( !address || address->is6 != isBracketed ) {
        fail( host, std::string( "expected an IPv" ) + ( isBracketed ? "6" : "4" ) +
                        " address, found " + quoted( host.text ) );
    }
    const DescriptionWord number = partOf( word, separator + ( isBracketed ? 2 : 1 ) );
    port = static_cast< std::uint16_t >( numberIn( number, { 0, 0xFFFF } ) );
    return *address;
}

PacketMac DescriptionWords::takeMac()
{
    const DescriptionWord& word = take( "a MAC address" );
    const std::optional< PacketMac > mac = packetMacOf( word.text );
    if ( !mac ) {
        fail( word,
              "expected a MAC address like '02:00:00:00:00:01', found " + quoted( word.text ) );
    }
    return *mac;
}

std::vector< std::uint8_t > DescriptionWords::takeBytes()
{
    std::vector< std::uint8_t > bytes;
    appendBytes( bytes, take( "bytes in hexadecimal" ) );
    return bytes;
}

std::vector< std::uint8_t > DescriptionWords::takeAllBytes()
{
    std::vector< std::uint8_t > bytes;
    do {
        appendBytes( bytes, take( "bytes in hexadecimal" ) );
    } while ( !atEnd() );
    return bytes;
}

void DescriptionWords::appendBytes( std::vector< std::uint8_t >& bytes,
                                    const DescriptionWord& word ) const
{
    for ( std::size_t at = 0; at < word.text.size(); at += 2 ) {
        const std::optional< unsigned > high = hexadecimalDigit( word.text[ at ] );
        if ( !high ) {
            fail( partOf( word, at ), "expected a hexadecimal digit" );
        }
        const bool isLast = at + 1 == word.text.size();
        const std::optional< unsigned > low =
            isLast ? std::nullopt : hexadecimalDigit( word.text[ at + 1 ] );
        if ( !low ) {
            fail( partOf( word, at + 1 ), "expected a second hexadecimal digit of the byte" );
        }
        bytes.push_back( static_cast< std::uint8_t >( *high << 4 | *low ) );
    }
}

bool DescriptionWords::areAllHexadecimal() const
{
    return !atEnd() && std::ranges::all_of( words_, []( const DescriptionWord& word ) {
        return std::ranges::all_of(
            word.text, []( char letter ) { return hexadecimalDigit( letter ).has_value(); } );
    } );
}

} // namespace Sim
