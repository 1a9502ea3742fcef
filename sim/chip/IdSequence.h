#pragma once

/// Hands out the ids of SDK objects: 1, 2, 3 and so on, and after the greatest one 1 again,
/// leaving out the ids that are live. So 0 and -1 are never ids, an id is never handed out twice
/// while live, and an id that was given back is not seen again for as long as possible.

#include <cstdint>

namespace Sim {

/// Hands out ids; see the top of this header.
class IdSequence
{
  public:
    /// The greatest id of objects whose ids are signed.
    static constexpr uint32_t greatestId = 0x7FFFFFFF;

    /// `greatest` is the last id before it begins again at 1.
    explicit IdSequence( uint32_t greatest = greatestId )
        : greatest_( greatest )
    {}

    /// The next id for which isLive( id ) is false. There must be one.
    template< class IsLive >
    uint32_t next( const IsLive& isLive )
    {
        while ( true ) {
            const uint32_t id = next_;
            next_ = id == greatest_ ? 1 : id + 1;
            if ( !isLive( id ) ) {
                return id;
            }
        }
    }

  private:
    uint32_t greatest_;
    uint32_t next_ = 1;
};

} // namespace Sim
