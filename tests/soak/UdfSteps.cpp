#include "tests/soak/UdfSteps.h"

#include "agent/tcam/EthType.h"

namespace Soak {

using PeloraTcam::QualIdList;
using PeloraTcam::UdfAppType;
using PeloraTcam::UdfDesc;
using PeloraTcam::UdfId;
using PeloraTcam::UdfIdList;

namespace {

constexpr Agent::U16 ip4 = Kvnet::EthType::ethTypeIp_;
constexpr Agent::U16 ip6 = Kvnet::EthType::ethTypeIp6_;
constexpr Agent::U16 arp = 0x0806;
constexpr Agent::U16 unknown = 0x88B5;

constexpr std::array< const char*, 3 > moduleRefusable = {
    "bcm_udf_create", "bcm_udf_pkt_format_create", "bcm_udf_pkt_format_add" };
constexpr std::array< const char*, 1 > flexRefusable = { "bcm_udf_chunk_create" };
constexpr std::array< const char*, 1 > hsdkRefusable = { "bcm_udf_multi_chunk_create" };

constexpr std::size_t mostUsers = 24;

std::span< const char* const > refusableOn( const AgentOnChip& agent )
{
    if ( agent.hasUdfModule() ) {
        return moduleRefusable;
    }
    return agent.isHsdk() ? std::span< const char* const >( hsdkRefusable ) : flexRefusable;
}

} // namespace

// ---- What is asked for -----------------------------------------------------------------------

/// What the UDF module's path takes: any base but the packet's start, and within a GRE tunnel only
/// IP in IP.
UdfDesc UdfSteps::anyModuleDesc()
{
    constexpr std::array< Agent::U16, 5 > ethTypes = { ip4, ip6, arp, unknown, 0 };
    constexpr std::array< Agent::U8, 4 > protocols = { 0, 6, 17, 47 };
    UdfDesc desc;
    desc.baseIs( static_cast< PeloraTcam::UdfOffsetBase >( 1 + choices.below( 8 ) ) );
    desc.ethTypeIs( choices.oneOf( ethTypes ) );
    const bool isIp = desc.ethType() == ip4 || desc.ethType() == ip6;
    if ( isIp && choices.oneIn( 4 ) ) {
        desc.innerEtherTypeIs( choices.below( 2 ) == 0 ? ip4 : ip6 );
    }
    desc.ipProtoIs( choices.oneOf( protocols ) );
    desc.offsetIs( static_cast< Agent::U8 >( choices.below( 4 ) * 2 ) );
    desc.lengthIs( static_cast< Agent::U8 >( choices.below( 6 ) ) );
    desc.priorityIs( static_cast< Agent::U8 >( choices.below( 3 ) ) );
    maybeForLagHash( desc );
    return desc;
}

/// The library takes a full hash for a fatal failure, so the agent counts.
void UdfSteps::maybeForLagHash( UdfDesc& desc )
{
    const bool mayBe = desc.length() != 0 && hashed() < agent.profile.udfModule.hashConfigurations;
    if ( mayBe && choices.oneIn( 6 ) ) {
        desc.lagHashingIs( true );
        desc.lagHashingMaskIs(
            { { 0, static_cast< Agent::U8 >( choices.below( 256 ) ) }, { 1, 1 } } );
    }
}

std::size_t UdfSteps::hashed() const
{
    return static_cast< std::size_t >(
        std::ranges::count_if( quals_, []( const auto& row ) { return row.first.lagHashing(); } ) );
}

/// What the flexible parser's paths take: no IP for MAC ACLs, and the LAG hash of no UDF.
UdfDesc UdfSteps::anyFlexDesc()
{
    constexpr std::array< Agent::U16, 4 > ethTypes = { ip6, arp, unknown, ip4 };
    constexpr std::array< UdfAppType, 4 > apps = { UdfAppType::ipv4Acl, UdfAppType::ipv6Acl,
                                                   UdfAppType::macAcl,
                                                   UdfAppType::ipv4TrafficPolicy };
    UdfDesc desc;
    desc.appTypeIs( choices.oneOf( apps ) );
    const unsigned legal = desc.appType() == UdfAppType::macAcl ? 3 : 4;
    desc.ethTypeIs( ethTypes[ choices.below( legal ) ] );
    desc.offsetIs( static_cast< Agent::U8 >( choices.below( 8 ) ) );
    desc.lengthIs( static_cast< Agent::U8 >( choices.below( 4 ) ) );
    if ( choices.oneIn( 16 ) ) {
        desc.lengthIs( static_cast< Agent::U8 >( choices.below( 256 ) ) );
    }
    desc.lagHashingIs( choices.oneIn( 64 ) );
    return desc;
}

// ---- Operations ------------------------------------------------------------------------------

void UdfSteps::program()
{
    const UdfDesc desc = agent.hasUdfModule() ? anyModuleDesc() : anyFlexDesc();
    const auto equal = quals_.find( desc );
    QualIdList quals;
    const Outcome outcome =
        trouble.run( { .refusable = refusableOn( agent ), .throwing = 1 }, [ & ] {
            quals = agent.udfs.program( desc );
            return quals.qualIds() != 0;
        } );
    if ( equal != quals_.end() ) {
        require( outcome == Outcome::done && quals == equal->second, "equal UDFs share one" );
    }
    if ( outcome == Outcome::done ) {
        require( quals.qualIds() == 1, "a UDF has one id" );
        quals_[ desc ] = quals;
        users_.push_back( desc );
    }
}

void UdfSteps::remove( const UdfDesc& desc )
{
    trouble.finish( { .throwing = 1, .droppable = "bcm_udf_destroy" },
                    [ & ] { return agent.udfs.remove( desc ); } );
    if ( trouble.dropped() ) {
        stranded_.push_back( static_cast< bcm_udf_id_t >( *quals_.at( desc ).begin() ) );
    }
    if ( agent.udfs.users( desc ) == 0 ) {
        quals_.erase( desc );
    }
}

void UdfSteps::look()
{
    const UdfDesc& desc = users_[ choices.positionIn( users_ ) ];
    PeloraTcam::UdfChunkPosList chunks;
    const Outcome outcome = trouble.run( { .throwing = 1 }, [ & ] {
        chunks = agent.udfs.chunkPositions( desc );
        return true;
    } );
    require( outcome == Outcome::thrown || chunks.udfChunkPositions() != 0, "a UDF has chunks" );
}

void UdfSteps::cleanUp()
{
    for ( const bcm_udf_id_t id : stranded_ ) {
        require( agent.chips.bcm_udf_destroy( AgentOnChip::unit, id ) == 0, "it was left behind" );
    }
    stranded_.clear();
}

void UdfSteps::step()
{
    const unsigned what = choices.below( 8 );
    const bool mayHaveMore = users_.size() < mostUsers;
    if ( users_.empty() || ( mayHaveMore && what < 4 ) ) {
        program();
    } else if ( what == 7 ) {
        look();
    } else {
        remove( taken( users_, choices.positionIn( users_ ) ) );
    }
    if ( choices.oneIn( 32 ) ) {
        cleanUp();
    }
}

void UdfSteps::audit()
{
    UdfIdList foreign;
    for ( const bcm_udf_id_t id : stranded_ ) {
        foreign.udfIdIs( UdfId( id ) );
    }
    const Reference::UdfManager::Audit audit = agent.udfs.audit();
    require( audit.compared + audit.notJudged == quals_.size(), "all are compared" );
    require( audit.foreign == foreign, "what is foreign is what was left behind" );
}

void UdfSteps::releaseAll()
{
    while ( !users_.empty() ) {
        remove( taken( users_, users_.size() - 1 ) );
    }
    cleanUp();
}

} // namespace Soak
