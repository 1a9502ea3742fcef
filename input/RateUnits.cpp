#include "input/RateUnits.h"

#include "input/InputText.h"
#include "input/NameHints.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <numeric>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace Input {

namespace {

/// A unit and how many bits it is.
using Unit = std::pair< std::string_view, std::uint64_t >;

constexpr Unit rateUnits[] = {
    { "bps", 1 },
    { "kbps", 1'000 },
    { "Mbps", 1'000'000 },
    { "Gbps", 1'000'000'000 },
    { "Tbps", 1'000'000'000'000 },
};

constexpr Unit burstUnits[] = {
    { "bit", 1 }, { "kbit", 1'000 }, { "Mbit", 1'000'000 }, { "Gbit", 1'000'000'000 },
    { "B", 8 },   { "KB", 8'000 },   { "MB", 8'000'000 },   { "GB", 8'000'000'000 },
};

constexpr std::uint64_t bitsInAKilobit = 1000;
constexpr std::uint64_t greatest = std::numeric_limits< std::uint32_t >::max();

/// What is read: "rate", with an example.
struct Kind
{
    std::string_view what;
    std::string_view kilobits;
    std::span< const Unit > units;
};

constexpr Kind rate{ "a rate such as '10Mbps'", "kilobits a second", rateUnits };
constexpr Kind burst{ "a burst such as '64KB'", "kilobits", burstUnits };

char lowerCase( char letter )
{
    return static_cast< char >( std::tolower( static_cast< unsigned char >( letter ) ) );
}

std::string quoted( std::string_view text )
{
    return "'" + std::string( text ) + "'";
}

/// The bits in a unit; fails for one that there is not.
std::uint64_t bitsIn( std::string_view unit, const Kind& kind, const YamlNode& node )
{
    std::vector< std::string > names;
    for ( const auto& [ name, bits ] : kind.units ) {
        if ( name == unit ) {
            return bits;
        }
        // Only the case is wrong: nothing else can be meant.
        if ( std::ranges::equal( name, unit, {}, lowerCase, lowerCase ) ) {
            node.fail( "unknown unit " + quoted( unit ) + ", did you mean " + quoted( name ) +
                       "?" );
        }
        names.emplace_back( name );
    }
    node.fail( "unknown unit " + quoted( unit ) + nameHint( unit, names ) );
}

/// A decimal number: `digits` over ten to the power of `decimals`.
struct Decimal
{
    std::uint64_t digits = 0;
    std::uint64_t divisor = 1;
};

/// Nothing for a text that is no number, or one with more than twelve digits.
std::optional< Decimal > decimalOf( std::string_view text )
{
    constexpr int mostDigits = 12;
    Decimal number;
    int digits = 0;
    bool behindPoint = false;
    for ( const char letter : text ) {
        if ( letter == '.' && digits > 0 && !behindPoint ) {
            behindPoint = true;
        } else if ( letter >= '0' && letter <= '9' ) {
            number.digits = number.digits * 10 + static_cast< unsigned >( letter - '0' );
            number.divisor *= behindPoint ? 10 : 1;
            ++digits;
        } else {
            return std::nullopt;
        }
    }
    const bool isNumber = digits > 0 && digits <= mostDigits && text.back() != '.';
    return isNumber ? std::optional( number ) : std::nullopt;
}

std::uint32_t read( const YamlNode& node, const Kind& kind )
{
    std::string text;
    node.read( text );
    const std::size_t unitStart = std::min( text.find_first_not_of( "0123456789." ), text.size() );
    const std::optional< Decimal > number =
        decimalOf( std::string_view( text ).substr( 0, unitStart ) );
    if ( !number ) {
        node.fail( "expected " + std::string( kind.what ) + ", found " + quoted( text ) );
    }
    if ( hasLeadingZero( text ) ) {
        node.fail( "expected a number without a leading zero, found " + quoted( text ) );
    }
    const std::string_view unit = std::string_view( text ).substr( unitStart );
    const std::uint64_t unitBits = unit.empty() ? bitsInAKilobit : bitsIn( unit, kind, node );
    // In kilobits it is digits * unitBits / perKilobit. What the two last have in common is taken
    // out of them, so that the product stays small wherever the quotient is whole.
    const std::uint64_t perKilobit = number->divisor * bitsInAKilobit;
    const std::uint64_t common = std::gcd( unitBits, perKilobit );
    const std::uint64_t factor = unitBits / common;
    const std::uint64_t divisor = perKilobit / common;
    if ( number->digits % divisor != 0 ) {
        node.fail( "expected a whole number of " + std::string( kind.kilobits ) + ", found " +
                   quoted( text ) );
    }
    const std::uint64_t multiples = number->digits / divisor;
    if ( multiples > greatest / factor ) {
        node.fail( "expected at most " + std::to_string( greatest ) + " " +
                   std::string( kind.kilobits ) + ", found " + quoted( text ) );
    }
    return static_cast< std::uint32_t >( multiples * factor );
}

/// In the greatest of the first units, which are of bits.
std::string textOf( std::uint32_t kilobits, std::span< const Unit > units )
{
    const std::uint64_t bits = kilobits * bitsInAKilobit;
    std::size_t chosen = 1;
    while ( kilobits != 0 && chosen + 1 < units.size() && bits % units[ chosen + 1 ].second == 0 ) {
        ++chosen;
    }
    return std::to_string( bits / units[ chosen ].second ) + std::string( units[ chosen ].first );
}

} // namespace

std::uint32_t readRate( const YamlNode& node )
{
    return read( node, rate );
}

std::uint32_t readBurst( const YamlNode& node )
{
    return read( node, burst );
}

std::string rateText( std::uint32_t kilobitsASecond )
{
    return textOf( kilobitsASecond, rateUnits );
}

std::string burstText( std::uint32_t kilobits )
{
    return textOf( kilobits, std::span( burstUnits ).first( 4 ) );
}

} // namespace Input
