#pragma once

/// An IPv4 or IPv6 address, and masks of prefixes.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "sdk/SdkTypes.h"

#include <array>
#include <ostream>

namespace PeloraTcam {

/// An IPv4 or IPv6 address; see the top of this header.
class AGENT_EXPORT IpAddress
{
  public:
    /// In network order; IPv4 uses the first four.
    using Bytes = std::array< Agent::U8, 16 >;

    /// The IPv4 address of that value, in host byte order.
    static IpAddress v4( Agent::U32 value );
    /// The IPv6 address of those bytes, in network order.
    static IpAddress v6( const Bytes& bytes );

    /// Whether it is an IPv6 address.
    [[nodiscard]] bool isV6() const { return v6_; }

    /// An IPv4 address in host byte order; 0 for an IPv6 address.
    [[nodiscard]] Agent::U32 value() const { return value_; }

    /// The bytes of an IPv6 address in network order; zeros for an IPv4 address.
    [[nodiscard]] const Bytes& bytes() const { return bytes_; }

    friend bool operator==( const IpAddress&, const IpAddress& ) = default;
    friend auto operator<=>( const IpAddress&, const IpAddress& ) = default;

  private:
    bool v6_ = false;
    Agent::U32 value_ = 0;
    Bytes bytes_{};
};

/// Prints "192.0.2.1", or the eight groups of an IPv6 address, "2001:db8:0:0:0:0:0:1".
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, const IpAddress& address );

/// The mask of an IPv4 prefix, in host byte order: `len` leading one bits, 0 to 32; a greater
/// length gives all ones.
[[nodiscard]] AGENT_EXPORT Agent::U32 ip4PrefixMask( Agent::U32 len );

/// Writes the mask of an IPv6 prefix, in network order: `len` leading one bits, 0 to 128 (an
/// assertion failure otherwise).
AGENT_EXPORT void ip6PrefixMask( Agent::U32 len, bcm_ip6_t& mask );

} // namespace PeloraTcam
