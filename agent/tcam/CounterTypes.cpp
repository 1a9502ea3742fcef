#include "agent/tcam/CounterTypes.h"

#include <array>
#include <string_view>

namespace PeloraTcam {

namespace {

constexpr std::array< std::string_view, 9 > names = {
    "invalid",    "bytes",        "packets",     "redBytes",      "redPackets",
    "greenBytes", "greenPackets", "yellowBytes", "yellowPackets",
};

} // namespace

std::ostream& operator<<( std::ostream& stream, CounterType type )
{
    const auto number = static_cast< unsigned >( type );
    if ( number < names.size() ) {
        return stream << names[ number ];
    }
    return stream << "CounterType(" << number << ")";
}

std::ostream& operator<<( std::ostream& stream, const CounterSet& set )
{
    const char* separator = "{";
    for ( const auto& [ type, wanted ] : set ) {
        stream << separator << type;
        separator = ", ";
    }
    return stream << ( set.empty() ? "{}" : "}" );
}

std::ostream& operator<<( std::ostream& stream, const CounterStatus& status )
{
    const char* separator = "{";
    for ( const auto& [ type, value ] : status ) {
        stream << separator << type << ": " << value;
        separator = ", ";
    }
    return stream << ( status.empty() ? "{}" : "}" );
}

} // namespace PeloraTcam
