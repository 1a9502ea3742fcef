#include "agent/base/Bitmap.h"

#include "agent/base/Assert.h"

#include <bit>

namespace Agent {

namespace {

constexpr U32 bitsPerWord = 64;

} // namespace

Bitmap::Bitmap( U32 size )
    : size_( size )
    , words_( ( size + bitsPerWord - 1 ) / bitsPerWord )
{}

bool Bitmap::isBitSet( U32 bit ) const
{
    AGENT_ASSERT( bit < size_ );
    return ( words_[ bit / bitsPerWord ] >> ( bit % bitsPerWord ) & 1U ) != 0;
}

void Bitmap::bitIs( U32 bit, bool value )
{
    AGENT_ASSERT( bit < size_ );
    const U64 mask = U64{ 1 } << ( bit % bitsPerWord );
    U64& word = words_[ bit / bitsPerWord ];
    word = value ? ( word | mask ) : ( word & ~mask );
}

U32 Bitmap::numBitsInSetState() const noexcept
{
    U32 count = 0;
    for ( const U64 word : words_ ) {
        count += static_cast< U32 >( std::popcount( word ) );
    }
    return count;
}

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
        const U64 word = words_[ bit / bitsPerWord ];
        const U64 candidates = ( value ? word : ~word ) >> ( bit % bitsPerWord );
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
    return left.size_ == right.size_ && left.words_ == right.words_;
}

} // namespace Agent
