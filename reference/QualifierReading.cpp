#include "reference/QualifierReading.h"

#include "agent/base/Assert.h"
#include "sdk/SdkCall.h"

#include <algorithm>

namespace Reference {

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

bool isSame( const Ip6Value& expected, const bcm_ip6_t& data, const bcm_ip6_t& mask )
{
    return std::ranges::equal( expected.data, data ) && std::ranges::equal( expected.mask, mask );
}

} // namespace

Ip6Value::Ip6Value( const IpPrefix& prefix )
{
    std::ranges::copy( prefix.address.bytes(), data );
    PeloraTcam::ip6PrefixMask( prefix.length, mask );
}

Masked< bcm_ip_t > ip4Value( const IpPrefix& prefix )
{
    return { prefix.address.value(), PeloraTcam::ip4PrefixMask( prefix.length ) };
}

void verifyEtherType( int unit,
                      bcm_field_entry_t entry,
                      Masked< Agent::U16 > expected,
                      const StillSeen& stillSeen )
{
    Masked< Agent::U16 > inHardware;
    if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_qualify_EtherType_get, unit, entry,
                          &inHardware.value, &inHardware.mask ) ) {
        return;
    }
    AGENT_ASSERT( inHardware == expected );
}

void verifyProtocol( int unit,
                     bcm_field_entry_t entry,
                     Masked< Agent::U8 > expected,
                     const StillSeen& stillSeen )
{
    Masked< Agent::U8 > inHardware;
    if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_qualify_IpProtocol_get, unit, entry,
                          &inHardware.value, &inHardware.mask ) ) {
        return;
    }
    AGENT_ASSERT( inHardware == expected );
}

void verifySourcePort( int unit,
                       bcm_field_entry_t entry,
                       Masked< Agent::U16 > expected,
                       const StillSeen& stillSeen )
{
    Masked< Agent::U16 > inHardware;
    if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_qualify_L4SrcPort_get, unit, entry,
                          &inHardware.value, &inHardware.mask ) ) {
        return;
    }
    AGENT_ASSERT( inHardware == expected );
}

void verifyDestinationPort( int unit,
                            bcm_field_entry_t entry,
                            Masked< Agent::U16 > expected,
                            const StillSeen& stillSeen )
{
    Masked< Agent::U16 > inHardware;
    if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_qualify_L4DstPort_get, unit, entry,
                          &inHardware.value, &inHardware.mask ) ) {
        return;
    }
    AGENT_ASSERT( inHardware == expected );
}

void verifySource( int unit,
                   bcm_field_entry_t entry,
                   const IpPrefix& expected,
                   const StillSeen& stillSeen )
{
    if ( expected.address.isV6() ) {
        bcm_ip6_t data;
        bcm_ip6_t mask;
        if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_qualify_SrcIp6_get, unit, entry, data, mask ) ) {
            return;
        }
        AGENT_ASSERT( isSame( Ip6Value( expected ), data, mask ) );
        return;
    }
    Masked< bcm_ip_t > inHardware;
    if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_qualify_SrcIp_get, unit, entry, &inHardware.value,
                          &inHardware.mask ) ) {
        return;
    }
    AGENT_ASSERT( inHardware == ip4Value( expected ) );
}

void verifyDestination( int unit,
                        bcm_field_entry_t entry,
                        const IpPrefix& expected,
                        const StillSeen& stillSeen )
{
    if ( expected.address.isV6() ) {
        bcm_ip6_t data;
        bcm_ip6_t mask;
        if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_qualify_DstIp6_get, unit, entry, data, mask ) ) {
            return;
        }
        AGENT_ASSERT( isSame( Ip6Value( expected ), data, mask ) );
        return;
    }
    Masked< bcm_ip_t > inHardware;
    if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_qualify_DstIp_get, unit, entry, &inHardware.value,
                          &inHardware.mask ) ) {
        return;
    }
    AGENT_ASSERT( inHardware == ip4Value( expected ) );
}

} // namespace Reference
