#include "PeloraTcam/UdfCommon.h"

#include "agent/tcam/EthType.h"
#include "sdk/SdkAccess.h"

namespace PeloraTcam {

namespace {

constexpr U32 ip4HeaderBytes = 20;
constexpr U32 ip6HeaderBytes = 40;
constexpr U32 tcpHeaderBytes = 20;
constexpr U32 udpHeaderBytes = 8;
constexpr unsigned ipProtoTcp = 6;
constexpr unsigned ipProtoUdp = 17;

} // namespace

// KEPT: required: an unknown EtherType or protocol adds nothing.
U32 getUdfStart( UdfOffsetBase base, unsigned int ethType, unsigned char ipProto )
{
    if ( base == UdfBaseL3OuterPayload_ ) {
        return ethType == Kvnet::EthType::ethTypeIp_    ? ip4HeaderBytes
               : ethType == Kvnet::EthType::ethTypeIp6_ ? ip6HeaderBytes
                                                        : 0;
    }
    if ( base == UdfBaseL4OuterPayload_ ) {
        return ipProto == ipProtoTcp ? tcpHeaderBytes : ipProto == ipProtoUdp ? udpHeaderBytes : 0;
    }
    return 0;
}

bool operator==( const bcm_udf_pkt_format_info_s& left, const bcm_udf_pkt_format_info_s& right )
{
    return left.ethertype() == right.ethertype() &&
           left.ethertype_mask() == right.ethertype_mask() && left.l2() == right.l2() &&
           left.vlan_tag() == right.vlan_tag() && left.outer_ip() == right.outer_ip() &&
           left.tunnel() == right.tunnel() && left.ip_protocol() == right.ip_protocol() &&
           left.ip_protocol_mask() == right.ip_protocol_mask() &&
           left.inner_ip() == right.inner_ip();
}

int setUdfDataAndMask( int unit,
                       int entry,
                       int udfId,
                       unsigned char* data,
                       unsigned char* mask,
                       unsigned short length )
{
    return Shim::sdk().bcm_field_qualify_udf( unit, entry, udfId, length, data, mask );
}

int getUdfDataAndMask( int unit,
                       int entry,
                       int udfId,
                       unsigned short maxLength,
                       unsigned char* data,
                       unsigned char* mask,
                       unsigned short* actualLength )
{
    int length = 0;
    const int rc =
        Shim::sdk().bcm_field_qualify_udf_get( unit, entry, udfId, maxLength, data, mask, &length );
    *actualLength = static_cast< unsigned short >( length );
    return rc;
}

bcm_udf_id_t getBcmUdfId( UdfId udfId )
{
    return udfId.value();
}

bcm_udf_id_t getBcmUdfId( int udfId )
{
    return udfId;
}

bcm_udf_pkt_format_id_t getBcmUdfPktFmtId( PktFmtId pktFmtId )
{
    return pktFmtId.value();
}

bcm_udf_pkt_format_id_t getBcmUdfPktFmtId( int pktFmtId )
{
    return pktFmtId;
}

} // namespace PeloraTcam
