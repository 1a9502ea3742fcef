#include "agent/tcam/CounterTypes.h"

namespace PeloraTcam {

std::ostream& operator<<( std::ostream& stream, CounterType type )
{
    return printEnumerator( stream, type );
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
