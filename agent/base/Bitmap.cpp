#include "agent/base/Bitmap.h"

namespace Agent {

std::optional< U32 > Bitmap::firstSetBit( U32 first, U32 last ) const
{
    return firstBit( true, first, last );
}

std::optional< U32 > Bitmap::firstClearBit( U32 first, U32 last ) const
{
    return firstBit( false, first, last );
}

std::optional< U32 > Bitmap::firstBit( bool value, U32 first, U32 last ) const
{
    AGENT_ASSERT( last < size_ );
    U32 bit = first;
    while ( bit <= last ) {
        const U64 bits = word( bit / bitsPerWord );
        const U64 candidates = ( value ? bits : ~bits ) >> ( bit % bitsPerWord );
        if ( candidates != 0 ) {
            bit += static_cast< U32 >( std::countr_zero( candidates ) );
            return bit <= last ? std::optional( bit ) : std::nullopt;
        }
        bit = ( bit / bitsPerWord + 1 ) * bitsPerWord;
    }
    return std::nullopt;
}

bool operator==( const Bitmap& left, const Bitmap& right ) noexcept
{
    return left.size_ == right.size_ && left.first_ == right.first_ &&
           left.further_ == right.further_;
}

} // namespace Agent
