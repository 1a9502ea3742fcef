#pragma once

/// The address prefixes of a table, asked whether one overlaps another. A plain value.
///
///     PrefixSet prefixes;
///     prefixes.insert( { IpAddress::v4( 0x0A000000 ), 8 } );
///     prefixes.overlapsAnother( { IpAddress::v4( 0x0A010000 ), 16 } ); // true

#include "agent/tcam/IpAddress.h"

#include <compare>
#include <cstddef>
#include <map>

namespace Reference {

class PrefixSet
{
  public:
    /// A prefix; the bits behind its length do not count.
    struct Prefix
    {
        Prefix( const PeloraTcam::IpAddress& address, Agent::U32 length );

        bool isV6;
        Agent::U64 high; ///< the first 64 bits, an IPv4 address in the upper half
        Agent::U64 low;
        Agent::U32 length;

        friend auto operator<=>( const Prefix&, const Prefix& ) = default;
    };

    /// Adds a prefix; one that is there counts once more.
    void insert( const Prefix& prefix ) { ++counts_[ prefix ]; }

    /// Takes a prefix away, which must be there.
    void erase( const Prefix& prefix );

    /// Whether there is another prefix that contains this one or lies in it.
    [[nodiscard]] bool overlapsAnother( const Prefix& prefix ) const;

  private:
    /// A prefix stands before those that lie in it, and nothing else stands between them.
    using Counts = std::map< Prefix, std::size_t >;

    /// `next` is the first one that does not stand before the prefix.
    [[nodiscard]] bool isContained( const Prefix& prefix, Counts::const_iterator next ) const;

    Counts counts_;
};

} // namespace Reference
