#include "agent/base/RingPacker.h"

namespace Agent::Detail {

void putText( std::byte* place, std::string_view text ) noexcept
{
    place[ 0 ] = static_cast< std::byte >( RingKind::text );
    place[ 1 ] = static_cast< std::byte >( text.size() );
    if ( !text.empty() ) {
        std::memcpy( place + 2, text.data(), text.size() );
    }
}

} // namespace Agent::Detail
