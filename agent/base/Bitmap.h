#pragma once

/// A set of bits of a fixed size, shared by `Ptr`.
///
/// Bit numbers run from 0 to `size() - 1`; a number outside is an assertion failure. Ranges
/// include both ends. Not guarded against threads.
///
///     Ptr< Bitmap > chunks( new Bitmap( 16 ) );
///     chunks->bitIs( 3, true );
///     chunks->firstSetBit( 0, 15 );   // 3

#include "agent/base/Assert.h"
#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/base/ReferenceCount.h"

#include <bit>
#include <optional>
#include <vector>

namespace Agent {

/// Bits in rows; see the top of this header.
class AGENT_EXPORT Bitmap : public SharedValue< Bitmap >
{
  public:
    /// A reference that keeps the bitmap alive.
    using Ptr = Agent::Ptr< Bitmap >;
    /// The same, to read only.
    using PtrConst = Agent::Ptr< const Bitmap >;

    /// `size` bits, all clear.
    explicit Bitmap( U32 size )
        : size_( size )
        , further_( wordsBehindTheFirst( size ) )
    {}

    /// How many bits there are.
    [[nodiscard]] U32 size() const noexcept { return size_; }

    /// Whether the bit is 1. It must be less than `size()` (an assertion failure otherwise).
    [[nodiscard]] bool isBitSet( U32 bit ) const
    {
        AGENT_ASSERT( bit < size_ );
        return ( word( bit / bitsPerWord ) >> ( bit % bitsPerWord ) & 1U ) != 0;
    }

    /// Makes the bit 1 or 0. It must be less than `size()` (an assertion failure otherwise).
    void bitIs( U32 bit, bool value )
    {
        AGENT_ASSERT( bit < size_ );
        const U64 mask = U64{ 1 } << ( bit % bitsPerWord );
        U64& changed = bit < bitsPerWord ? first_ : further_[ bit / bitsPerWord - 1 ];
        changed = value ? ( changed | mask ) : ( changed & ~mask );
    }

    /// How many bits are set.
    [[nodiscard]] U32 numBitsInSetState() const noexcept
    {
        U32 count = static_cast< U32 >( std::popcount( first_ ) );
        for ( const U64 word : further_ ) {
            count += static_cast< U32 >( std::popcount( word ) );
        }
        return count;
    }

    /// True when no bit is set, or when there are none.
    [[nodiscard]] bool empty() const noexcept { return numBitsInSetState() == 0; }

    /// The lowest set bit from `first` to `last`, if there is one. `last` must be less than
    /// `size()` (an assertion failure otherwise).
    [[nodiscard]] std::optional< U32 > firstSetBit( U32 first, U32 last ) const;
    /// The lowest clear bit from `first` to `last`, if there is one; likewise.
    [[nodiscard]] std::optional< U32 > firstClearBit( U32 first, U32 last ) const;

    friend AGENT_EXPORT bool operator==( const Bitmap& left, const Bitmap& right ) noexcept;

  private:
    static constexpr U32 bitsPerWord = 64;

    [[nodiscard]] static constexpr U32 wordsBehindTheFirst( U32 size )
    {
        return size <= bitsPerWord ? 0 : ( size - 1 ) / bitsPerWord;
    }

    [[nodiscard]] U64 word( U32 index ) const
    {
        return index == 0 ? first_ : further_[ index - 1 ];
    }

    [[nodiscard]] std::optional< U32 > firstBit( bool value, U32 first, U32 last ) const;

    U32 size_;
    U64 first_ = 0; // Most bitmaps have no more; so they need no memory of their own.
    std::vector< U64 > further_;
};

/// Whether both bitmaps have the same size and the same bits set. Neither is null.
inline bool areBitmapEqual( const Bitmap::PtrConst& left, const Bitmap::PtrConst& right )
{
    return *left == *right;
}

} // namespace Agent
