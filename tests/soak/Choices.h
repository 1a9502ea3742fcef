#pragma once

/// Where a run's decisions come from: a random sequence, or the bytes of a fuzzer.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Soak {

class Choices
{
  public:
    virtual ~Choices() = default;

    /// A number from 0 to `count` - 1; `count` is at least 1.
    [[nodiscard]] virtual unsigned below( unsigned count ) = 0;

    /// Whether the rarer of two things happens, once in so many times. The number 0 is never it, so
    /// that bytes of 0 stand for a plain run.
    [[nodiscard]] bool oneIn( unsigned count ) { return below( count ) == count - 1; }

    template< class Value, std::size_t count >
    [[nodiscard]] Value oneOf( const std::array< Value, count >& values )
    {
        return values[ below( count ) ];
    }

    /// The position of one of the items of a list that is not empty.
    template< class Item >
    [[nodiscard]] std::size_t positionIn( const std::vector< Item >& items )
    {
        return below( static_cast< unsigned >( items.size() ) );
    }
};

/// A random sequence, the same for each seed (splitmix64).
class RandomChoices : public Choices
{
  public:
    explicit RandomChoices( std::uint64_t seed )
        : state_( seed )
    {}

    [[nodiscard]] unsigned below( unsigned count ) override
    {
        state_ += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = ( state_ ^ state_ >> 30 ) * 0xBF58476D1CE4E5B9U;
        mixed = ( mixed ^ mixed >> 27 ) * 0x94D049BB133111EBU;
        return static_cast< unsigned >( ( mixed ^ mixed >> 31 ) >> 32 ) % count;
    }

  private:
    std::uint64_t state_;
};

} // namespace Soak
