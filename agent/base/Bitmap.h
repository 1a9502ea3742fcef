#pragma once

/// A set of bits of a fixed size, shared by `Ptr`.
///
/// Bit numbers run from 0 to `size() - 1`; a number outside is an assertion failure. Ranges
/// include both ends. Not guarded against threads.
///
///     Ptr< Bitmap > chunks( new Bitmap( 16 ) );
///     chunks->bitIs( 3, true );
///     chunks->firstSetBit( 0, 15 );   // 3

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/base/ReferenceCount.h"

#include <optional>
#include <vector>

namespace Agent {

class AGENT_EXPORT Bitmap : public SharedValue< Bitmap >
{
  public:
    using Ptr = Agent::Ptr< Bitmap >;
    using PtrConst = Agent::Ptr< const Bitmap >;

    /// `size` bits, all clear.
    explicit Bitmap( U32 size );

    [[nodiscard]] U32 size() const noexcept { return size_; }

    [[nodiscard]] bool isBitSet( U32 bit ) const;
    void bitIs( U32 bit, bool value );
    /// How many bits are set.
    [[nodiscard]] U32 numBitsInSetState() const noexcept;

    /// True when no bit is set, or when there are none.
    [[nodiscard]] bool empty() const noexcept { return numBitsInSetState() == 0; }

    /// The lowest set bit from `first` to `last`, if there is one.
    [[nodiscard]] std::optional< U32 > firstSetBit( U32 first, U32 last ) const;
    /// The lowest clear bit from `first` to `last`, if there is one.
    [[nodiscard]] std::optional< U32 > firstClearBit( U32 first, U32 last ) const;

    friend AGENT_EXPORT bool operator==( const Bitmap& left, const Bitmap& right ) noexcept;

  private:
    [[nodiscard]] std::optional< U32 > firstBit( bool value, U32 first, U32 last ) const;

    U32 size_;
    std::vector< U64 > words_;
};

/// Whether both bitmaps have the same size and the same bits set. Neither is null.
inline bool areBitmapEqual( const Bitmap::PtrConst& left, const Bitmap::PtrConst& right )
{
    return *left == *right;
}

} // namespace Agent
