#pragma once

/// What the counter helpers of both SDK variants have in common.

#include "agent/base/BaseTypes.h"
#include "agent/tcam/CounterTypes.h"
#include "agent/tcam/TcamGroup.h"

#include <array>
#include <cstddef>

namespace PeloraTcam {

/// The part of a hardware group key that both variants build alike: bits 0 to 7 are the low 8 bits
/// of the logical group id, bit 27 is its bit 24, all others are 0.
constexpr Agent::U32 commonHardwareGroupKey( LogicalGroupId logicalGroupId )
{
    constexpr Agent::U32 groupBits = 0xFF;
    constexpr Agent::U32 instanceBit = 1U << 24;
    constexpr unsigned instanceShift = 27 - 24;
    return ( logicalGroupId & groupBits ) | ( logicalGroupId & instanceBit ) << instanceShift;
}

/// Every counter type once.
constexpr std::size_t mostCounterTypes = 256;

/// The counter types of a set or a status, ascending: a copy that costs no allocation. The agent's
/// locks are released while a counter is read or cleared, and the set may change meanwhile.
class CounterTypeList
{
  public:
    template< class TypeMap >
    explicit CounterTypeList( const TypeMap& typeMap )
    {
        for ( const auto& [ type, value ] : typeMap ) {
            types_[ count_++ ] = type;
        }
    }

    [[nodiscard]] const CounterType* begin() const { return types_.data(); }

    [[nodiscard]] const CounterType* end() const { return types_.data() + count_; }

  private:
    std::array< CounterType, mostCounterTypes > types_; // As many as were counted are written.
    std::size_t count_ = 0;
};

} // namespace PeloraTcam
