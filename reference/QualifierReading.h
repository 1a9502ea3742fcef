#pragma once

/// Reads the qualifiers of a TCAM entry back from the chip and compares them with what was asked
/// for.
///
/// Every function makes one checked call, with the agent's activity lock held; an entry that does
/// not have the qualifier, and a mismatch, end the process, unless the entry has changed meanwhile
/// (`StillSeen`).

#include "agent/tcam/IpAddress.h"
#include "reference/Overlap.h"
#include "sdk/SdkTypes.h"

namespace Reference {

/// A number of which only the bits in the mask count.
template< class Number >
struct Masked
{
    Number value = 0;
    Number mask = 0;

    friend bool operator==( const Masked&, const Masked& ) = default;
};

/// An address and how many of its leading bits count.
struct IpPrefix
{
    PeloraTcam::IpAddress address;
    Agent::U32 length = 0;

    friend bool operator==( const IpPrefix&, const IpPrefix& ) = default;
};

/// An IPv6 prefix as the SDK takes it: its address and its mask.
struct Ip6Value
{
    explicit Ip6Value( const IpPrefix& prefix );

    bcm_ip6_t data;
    bcm_ip6_t mask;
};

/// The same of an IPv4 prefix.
[[nodiscard]] Masked< bcm_ip_t > ip4Value( const IpPrefix& prefix );

void verifyEtherType( int unit,
                      bcm_field_entry_t entry,
                      Masked< Agent::U16 > expected,
                      const StillSeen& stillSeen = {} );
void verifyProtocol( int unit,
                     bcm_field_entry_t entry,
                     Masked< Agent::U8 > expected,
                     const StillSeen& stillSeen = {} );
void verifySourcePort( int unit,
                       bcm_field_entry_t entry,
                       Masked< Agent::U16 > expected,
                       const StillSeen& stillSeen = {} );
void verifyDestinationPort( int unit,
                            bcm_field_entry_t entry,
                            Masked< Agent::U16 > expected,
                            const StillSeen& stillSeen = {} );
void verifySource( int unit,
                   bcm_field_entry_t entry,
                   const IpPrefix& expected,
                   const StillSeen& stillSeen = {} );
void verifyDestination( int unit,
                        bcm_field_entry_t entry,
                        const IpPrefix& expected,
                        const StillSeen& stillSeen = {} );

} // namespace Reference
