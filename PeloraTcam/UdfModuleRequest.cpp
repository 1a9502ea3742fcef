#include "PeloraTcam/UdfModuleRequest.h"

#include "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.h"
#include "agent/base/Assert.h"
#include "agent/tcam/EthType.h"
#include "sdk/SdkAccess.h"

namespace PeloraTcam {

namespace {

constexpr int bitsPerByte = 8;

} // namespace

U32 normalizedOffset( const UdfDesc& udfDesc )
{
    return udfDesc.offset() + getUdfStart( udfDesc.base(), udfDesc.ethType(), udfDesc.ipProto() );
}

void describeUdf( const UdfDesc& udfDesc, bcm_udf_t& udf )
{
    udf.startIs( static_cast< int >( normalizedOffset( udfDesc ) ) * bitsPerByte );
    udf.widthIs( udfDesc.length() * bitsPerByte );
    udf.layerIs( getUdfLayer( udfDesc.base() ) );
}

void describeTunnel( const UdfDesc& udfDesc, bcm_udf_pkt_format_info_t& pktFmt )
{
    switch ( udfDesc.innerEtherType() ) {
    case 0:
        pktFmt.tunnelIs( Shim::sdk().bcmUdfPktFormatTunnelNone() );
        return;
    case Kvnet::EthType::ethTypeIp_:
        pktFmt.inner_ipIs( Shim::sdk().bcmUdfPktFormatIp4() );
        break;
    case Kvnet::EthType::ethTypeIp6_:
        pktFmt.inner_ipIs( Shim::sdk().bcmUdfPktFormatIp6() );
        break;
    default:
        AGENT_FAIL( "No support for GRE innerEtherType other than v4/v6" );
    }
    pktFmt.tunnelIs( Shim::sdk().bcmUdfPktFormatTunnelGre() );
}

void describeHeaders( const UdfDesc& udfDesc, bcm_udf_pkt_format_info_t& pktFmt )
{
    pktFmt.ethertypeIs( udfDesc.ethType() );
    pktFmt.ethertype_maskIs( 0xFFFF );
    if ( udfDesc.ethType() == Kvnet::EthType::ethTypeIp_ ) {
        pktFmt.outer_ipIs( Shim::sdk().bcmUdfPktFormatIp4() );
    } else if ( udfDesc.ethType() == Kvnet::EthType::ethTypeIp6_ ) {
        pktFmt.outer_ipIs( Shim::sdk().bcmUdfPktFormatIp6() );
    } else {
        pktFmt.l2Is( Shim::sdk().bcmUdfPktFormatL2EthII() );
    }
    pktFmt.vlan_tagIs( Shim::sdk().bcmUdfPktFormatVlanTagAny() );
    if ( udfDesc.ipProto() != 0 ) {
        pktFmt.ip_protocolIs( udfDesc.ipProto() );
        pktFmt.ip_protocol_maskIs( 0xFF );
    }
    if ( udfDesc.priority() != 0 ) {
        pktFmt.prioIs( udfDesc.priority() );
    }
}

void describeHints( const UdfDesc& udfDesc, bcm_udf_alloc_hints_t& hints, bcm_field_qset_t& qset )
{
    if ( udfDesc.lagHashing() ) {
        const U32 udfHash = Shim::sdk().BCM_UDF_CREATE_O_UDFHASH();
        hints.flagsIs( udfHash );
        Shim::sdk().BCM_FIELD_QSET_ADD( &qset, static_cast< bcm_field_qualify_t >( udfHash ) );
        hints.qsetIs( qset );
    }
}

void describeHash( const UdfDesc& udfDesc, bcm_udf_id_t udfId, bcm_udf_hash_config_t& config )
{
    config.udf_idIs( udfId );
    config.mask_lengthIs( udfDesc.length() );
    for ( unsigned i = 0; i < Shim::sdk().BCM_UDF_MAX_HASH_MASK_LENGTH(); ++i ) {
        config.hash_maskIs( i, udfDesc.lagHashingMaskByte( static_cast< U8 >( i ) ) );
    }
}

U32 packedHashMask( const bcm_udf_hash_config_t& config )
{
    return U32{ config.hash_mask( 0 ) } << 24 | U32{ config.hash_mask( 1 ) } << 16 |
           U32{ config.hash_mask( 2 ) } << 8 | config.hash_mask( 3 );
}

} // namespace PeloraTcam
