#pragma once

/// The checksum of IP, ICMP, TCP and UDP (RFC 1071).

#include <cstddef>
#include <cstdint>
#include <span>

namespace Sim {

/// Adds up bytes as numbers of 16 bits in one's complement. Only the last piece of a sum may have
/// an odd number of bytes.
///
///     InternetChecksum sum;
///     sum.add( header );
///     const std::uint16_t checksum = sum.value();
class InternetChecksum
{
  public:
    /// Adds bytes; an odd last one counts as if a zero stood behind it.
    void add( std::span< const std::uint8_t > bytes )
    {
        std::size_t at = 0;
        for ( ; at + 1 < bytes.size(); at += 2 ) {
            sum_ += static_cast< unsigned >( bytes[ at ] << 8 | bytes[ at + 1 ] );
        }
        if ( at < bytes.size() ) {
            sum_ += static_cast< unsigned >( bytes[ at ] << 8 );
        }
    }

    /// Adds a number.
    void add( std::uint32_t number ) { sum_ += ( number >> 16 ) + ( number & 0xFFFF ); }

    /// What the checksum has to be; 0 for a header whose own checksum was added and is right.
    [[nodiscard]] std::uint16_t value() const
    {
        std::uint64_t folded = sum_;
        while ( folded >> 16 != 0 ) {
            folded = ( folded & 0xFFFF ) + ( folded >> 16 );
        }
        return static_cast< std::uint16_t >( ~folded );
    }

  private:
    std::uint64_t sum_ = 0;
};

} // namespace Sim
