#include "PeloraTcam/PeloraTcamSdk6CompressionHelper.h"

#include "agent/base/Assert.h"
#include "agent/base/Trace.h"
#include "sdk/SdkCall.h"

#include <algorithm>
#include <array>

namespace PeloraTcam {

namespace {

using Helper = PeloraTcamSdk6CompressionHelper;

constexpr Agent::FieldDescriptor attributes[] = { { "fapId" }, { "pipeId" } };

const Agent::TypeRecord types[] = {
    Agent::createdType< &Helper::PeloraTcamSdk6CompressionHelperIs >(
        "PeloraTcam::PeloraTcamSdk6CompressionHelper", attributes ) };

const Agent::RegisteredModule module( "PeloraTcam/PeloraTcamSdk6CompressionHelper", types );

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

const Agent::TraceHandle& _defaultTraceHandle()
{
    static const Agent::TraceHandle handle( "PeloraTcamSdk6CompressionHelper" );
    return handle;
}

// One function a table: it creates the entry in the table's group and qualifies it. The call
// texts are the calls as written.

bcm_field_entry_t etherTypeEntry( int unit, const CompressionData& compressionData )
{
    bcm_field_entry_t entry = 0;
    SDK_CHECKED_CALL_AS( "bcm_field_entry_create( unit, compressionGroupEtherType(), &entry )",
                         bcm_field_entry_create, unit, compressionGroupEtherType(), &entry );
    SDK_CHECKED_CALL_AS( "bcm_field_qualify_EtherType( unit, entry, ( U16 "
                         ")compressionData.key().getU32Key(), 0xFFFF )",
                         bcm_field_qualify_EtherType, unit, entry,
                         static_cast< U16 >( compressionData.key().getU32Key() ), 0xFFFF );
    return entry;
}

bcm_field_entry_t ipProtoEntry( int unit, const CompressionData& compressionData )
{
    bcm_field_entry_t entry = 0;
    SDK_CHECKED_CALL_AS( "bcm_field_entry_create( unit, compressionGroupIpProto(), &entry )",
                         bcm_field_entry_create, unit, compressionGroupIpProto(), &entry );
    SDK_CHECKED_CALL_AS( "bcm_field_qualify_IpProtocol( unit, entry, ( U8 "
                         ")compressionData.key().getU32Key(), 0xFF )",
                         bcm_field_qualify_IpProtocol, unit, entry,
                         static_cast< U8 >( compressionData.key().getU32Key() ), 0xFF );
    return entry;
}

bcm_field_entry_t l4SrcPortEntry( int unit, const CompressionData& compressionData )
{
    bcm_field_entry_t entry = 0;
    SDK_CHECKED_CALL_AS( "bcm_field_entry_create( unit, compressionGroupL4SrcPort(), &entry )",
                         bcm_field_entry_create, unit, compressionGroupL4SrcPort(), &entry );
    SDK_CHECKED_CALL_AS( "bcm_field_qualify_L4SrcPort( unit, entry, ( U16 "
                         ")compressionData.key().getU32Key(), 0xFFFF )",
                         bcm_field_qualify_L4SrcPort, unit, entry,
                         static_cast< U16 >( compressionData.key().getU32Key() ), 0xFFFF );
    return entry;
}

bcm_field_entry_t l4DstPortEntry( int unit, const CompressionData& compressionData )
{
    bcm_field_entry_t entry = 0;
    SDK_CHECKED_CALL_AS( "bcm_field_entry_create( unit, compressionGroupL4DstPort(), &entry )",
                         bcm_field_entry_create, unit, compressionGroupL4DstPort(), &entry );
    SDK_CHECKED_CALL_AS( "bcm_field_qualify_L4DstPort( unit, entry, ( U16 "
                         ")compressionData.key().getU32Key(), 0xFFFF )",
                         bcm_field_qualify_L4DstPort, unit, entry,
                         static_cast< U16 >( compressionData.key().getU32Key() ), 0xFFFF );
    return entry;
}

/// The address and the mask of an IPv6 prefix, as the SDK wants them.
struct Ip6Prefix
{
    explicit Ip6Prefix( const CompressionKey& key )
    {
        std::ranges::copy( key.getIpAddress().bytes(), address );
        ip6PrefixMask( key.prefixLength(), mask );
    }

    bcm_ip6_t address;
    bcm_ip6_t mask;
};

bcm_field_entry_t srcIpEntry( int unit, const CompressionData& compressionData )
{
    bcm_field_entry_t entry = 0;
    SDK_CHECKED_CALL_AS( "bcm_field_entry_create( unit, compressionGroupSrcIp(), &entry )",
                         bcm_field_entry_create, unit, compressionGroupSrcIp(), &entry );
    if ( compressionData.key().getIpAddress().isV6() ) {
        const Ip6Prefix prefix( compressionData.key() );
        SDK_CHECKED_CALL_AS( "bcm_field_qualify_SrcIp6( unit, entry, ip6Addr, ip6Mask )",
                             bcm_field_qualify_SrcIp6, unit, entry, prefix.address, prefix.mask );
    } else {
        const U32 fullMask = ip4PrefixMask( compressionData.key().prefixLength() );
        SDK_CHECKED_CALL_AS( "bcm_field_qualify_SrcIp( unit, entry, "
                             "compressionData.key().getIpAddress().value(), fullMask )",
                             bcm_field_qualify_SrcIp, unit, entry,
                             compressionData.key().getIpAddress().value(), fullMask );
    }
    return entry;
}

bcm_field_entry_t dstIpEntry( int unit, const CompressionData& compressionData )
{
    bcm_field_entry_t entry = 0;
    SDK_CHECKED_CALL_AS( "bcm_field_entry_create( unit, compressionGroupDstIp(), &entry )",
                         bcm_field_entry_create, unit, compressionGroupDstIp(), &entry );
    if ( compressionData.key().getIpAddress().isV6() ) {
        const Ip6Prefix prefix( compressionData.key() );
        SDK_CHECKED_CALL_AS( "bcm_field_qualify_DstIp6( unit, entry, ip6Addr, ip6Mask )",
                             bcm_field_qualify_DstIp6, unit, entry, prefix.address, prefix.mask );
    } else {
        const U32 fullMask = ip4PrefixMask( compressionData.key().prefixLength() );
        SDK_CHECKED_CALL_AS( "bcm_field_qualify_DstIp( unit, entry, "
                             "compressionData.key().getIpAddress().value(), fullMask )",
                             bcm_field_qualify_DstIp, unit, entry,
                             compressionData.key().getIpAddress().value(), fullMask );
    }
    return entry;
}

/// The entry of a table, created and qualified. The data is a copy: the caller's may change while
/// the locks are released.
bcm_field_entry_t qualifiedEntry( int unit,
                                  const CompressionData compressionData,
                                  PeloraCompressionTableType tableType )
{
    switch ( tableType ) {
    case PeloraCompressionTableType::etherType:
        return etherTypeEntry( unit, compressionData );
    case PeloraCompressionTableType::ipProto:
        return ipProtoEntry( unit, compressionData );
    case PeloraCompressionTableType::l4SrcPort:
        return l4SrcPortEntry( unit, compressionData );
    case PeloraCompressionTableType::l4DstPort:
        return l4DstPortEntry( unit, compressionData );
    case PeloraCompressionTableType::srcIp:
        return srcIpEntry( unit, compressionData );
    case PeloraCompressionTableType::dstIp:
        return dstIpEntry( unit, compressionData );
    case PeloraCompressionTableType::invalid:
        break;
    }
    AGENT_FAIL( "false && \"Invalid Compression Table specified.\"" );
}

} // namespace

Agent::AllocationTracker PeloraTcamSdk6CompressionHelper::memAllocationTracker_(
    "PeloraTcam::PeloraTcamSdk6CompressionHelper" );

PeloraTcamSdk6CompressionHelper::PeloraTcamSdk6CompressionHelper( U8 pipeId, FapId fapId )
    : RegisteredClass( pipeId, fapId )
{}

PeloraTcamSdk6CompressionHelper::~PeloraTcamSdk6CompressionHelper() = default;

Agent::Ptr< Helper >
PeloraTcamSdk6CompressionHelper::PeloraTcamSdk6CompressionHelperIs( U8 pipeId, FapId fapId )
{
    return make( pipeId, fapId );
}

Agent::Ptr< Helper > peloraTcamSdk6CompressionHelperFactory( U8 pipeId, FapId fapId )
{
    return Helper::PeloraTcamSdk6CompressionHelperIs( pipeId, fapId );
}

const Agent::ModuleRecord& PeloraTcamSdk6CompressionHelper::typeData() const
{
    return module;
}

U64 PeloraTcamSdk6CompressionHelper::getFieldCompressionEntry(
    const CompressionData& compressionData, U64 classId, PeloraCompressionTableType tableType )
{
    Agent::trace( _defaultTraceHandle(), 9, "getFieldCompressionEntry" );
    Agent::trace( _defaultTraceHandle(), 7, "getFieldCompressionEntry", " compressionData ",
                  compressionData, " classId ", classId, " tableType ", tableType );

    bcm_field_class_info_t classInfo;
    classInfo.action = Shim::sdk().bcmFieldActionClassSet();
    classInfo.class_id = static_cast< U32 >( classId );

    const int unit = sdkUnit( fapId() );
    const bcm_field_entry_t entry = qualifiedEntry( unit, compressionData, tableType );
    SDK_CHECKED_CALL_AS( "bcm_field_action_class_add( unit, entry, &class_info )",
                         bcm_field_action_class_add, unit, entry, &classInfo );
    SDK_CHECKED_CALL_AS( "bcm_field_entry_install( unit, entry )", bcm_field_entry_install, unit,
                         entry );
    return static_cast< U64 >( std::int64_t{ entry } );
}

// KEPT: required: the entry is taken out of the hardware and not destroyed, and the table serves
// only the trace.
void PeloraTcamSdk6CompressionHelper::releaseFieldCompressionEntry(
    U64 id, PeloraCompressionTableType tableType )
{
    Agent::trace( _defaultTraceHandle(), 9, "releaseFieldCompressionEntry" );
    Agent::trace( _defaultTraceHandle(), 7, "releaseFieldCompressionEntry", " id ", id,
                  " tableType ", tableType );
    SDK_CHECKED_CALL_AS( "bcm_field_entry_remove( fapId().value(), id )", bcm_field_entry_remove,
                         sdkUnit( fapId() ), static_cast< bcm_field_entry_t >( id ) );
}

void PeloraTcamSdk6CompressionHelper::handleInitialized()
{
    Agent::trace( _defaultTraceHandle(), 9, "handleInitialized" );
}

} // namespace PeloraTcam
