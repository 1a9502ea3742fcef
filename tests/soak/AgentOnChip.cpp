#include "tests/soak/AgentOnChip.h"

#include "PeloraTcam/PeloraTcamHsdkCounterHelper.h"
#include "PeloraTcam/PeloraTcamHsdkPolicerHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CompressionHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"
#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "PeloraTcam/PeloraTcamSdk6PolicerHelper.h"
#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"
#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "agent/base/AllocationTracker.h"
#include "agent/tcam/IdManager.h"
#include "reference/TranslationStart.h"
#include "tests/soak/Require.h"

#include <iostream>

namespace Soak {

namespace {

using PeloraTcam::FapId;
using PeloraTcam::FeatureIdType;
using PeloraTcam::QualifierType;
using Reference::SdkVariant;

// The groups of rule sets are second instances, of bit 24, and these are not.
constexpr std::array< PeloraTcam::LogicalGroupId, 2 > logicalIds = { 1, 2 };

/// What the entries of the soak run ask for; class fields only where there are tables for them.
PeloraTcam::QualifierSet entryQualifiers( bool withClasses )
{
    PeloraTcam::QualifierSet all = { QualifierType::srcIp,      QualifierType::dstIp,
                                     QualifierType::ipProtocol, QualifierType::l4SrcPort,
                                     QualifierType::l4DstPort,  QualifierType::rangeCheck };
    if ( withClasses ) {
        all.insert( QualifierType::srcClassField );
    }
    return all;
}

Reference::UdfPath udfPath( Sim::ChipKind chip )
{
    return chip == Sim::ChipKind::sdk6UdfModule    ? Reference::UdfPath::udfModule
           : chip == Sim::ChipKind::sdk6FlexParser ? Reference::UdfPath::flexParser
                                                   : Reference::UdfPath::flexParserHsdk;
}

} // namespace

// ---- Starting --------------------------------------------------------------------------------

AgentOnChip::AgentOnChip( const Sim::ChipProfile& chipProfile, Tally& tally )
    : profile( chipProfile )
    , variant( isHsdk() ? SdkVariant::hsdk : SdkVariant::sdk6 )
    , services_( variant, counterWidth() )
    , evictionSdk_( faulty, services_.eviction() )
    , atStart_( chips.chipIs( unit, profile ).snapshot() )
    , rangeCheckers( Agent::Ptr< PeloraTcam::PeloraTcamRangeCheckerHelper >(
          new PeloraTcam::PeloraTcamSdk6RangeCheckerHelper( pipe, FapId( unit ), { "model" } ) ) )
    , policers( policerHelper(), profile.policers.capacity - sparePolicers )
    , compression( makeCompression() )
    , counters( counterHelper(), variant )
    , entries( unit )
    , groups( unit, true )
    , preselectors( unit )
    , udfs( udfHelper(), udfPath( profile.chip ) )
    , ruleSets( { rangeCheckers, groups, entries, counters, policers, compression.get() },
                { variant, pipe } )
{
    earlierLogSink_ =
        Agent::logSinkIs( [ &tally ]( const Agent::LogDescriptor& ) { ++tally.logMessages; } );
    Shim::sdk_ = &evictionSdk_;
    Reference::buildTranslationMaps();
    PeloraTcam::getGeneralIdManager().poolIs( FeatureIdType::policer, PeloraTcam::stageIfp(), 1,
                                              profile.policers.capacity );
    if ( isHsdk() ) {
        const bool made =
            services_.counterObjectIs( counterPlace(), profile.flexCounters.counters - 1 );
        require( made, "the chip has a counter object" );
    }
    makeGroups();
}

unsigned AgentOnChip::counterWidth() const
{
    return isHsdk() ? profile.flexCounters.counterWidth : profile.statistics.counterWidth;
}

Reference::CounterObjectPlace AgentOnChip::counterPlace() const
{
    return { unit, PeloraTcam::stageIfp(), pipe, 0 };
}

void AgentOnChip::makeGroups()
{
    for ( std::size_t place = 0; place < entryGroups.size(); ++place ) {
        Reference::GroupDesc desc;
        desc.qualifiers = entryQualifiers( compression != nullptr );
        desc.actions = { PeloraTcam::ActionType::drop };
        desc.logicalId = logicalIds[ place ];
        desc.subId = isHsdk() ? Agent::U8{ 0 } : pipe;
        const auto group = groups.create( desc );
        require( group.has_value(), "the chip has the groups" );
        entryGroups[ place ] = { *group, logicalIds[ place ] };
    }
}

Agent::Ptr< PeloraTcam::PeloraTcamCounterHelper > AgentOnChip::counterHelper() const
{
    const PeloraCentral::ChipInfo chipInfo;
    if ( isHsdk() ) {
        return PeloraTcam::peloraTcamHsdkCounterHelperFactory( pipe, unit, chipInfo );
    }
    return PeloraTcam::peloraTcamSdk6CounterHelperFactory( pipe, unit, chipInfo );
}

Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper > AgentOnChip::policerHelper() const
{
    using Helper = PeloraTcam::PeloraTcamPolicerHelper;
    if ( isHsdk() ) {
        return Agent::Ptr< Helper >(
            new PeloraTcam::PeloraTcamHsdkPolicerHelper( pipe, FapId( unit ) ) );
    }
    return Agent::Ptr< Helper >(
        new PeloraTcam::PeloraTcamSdk6PolicerHelper( pipe, FapId( unit ) ) );
}

std::unique_ptr< Reference::CompressionManager > AgentOnChip::makeCompression() const
{
    const Agent::U32 entriesOfATable = profile.field.compressionEntries;
    if ( entriesOfATable == 0 ) {
        return nullptr;
    }
    return std::make_unique< Reference::CompressionManager >(
        PeloraTcam::peloraTcamSdk6CompressionHelperFactory( pipe, FapId( unit ) ),
        Reference::sameLimits( { entriesOfATable, 1, entriesOfATable } ) );
}

Agent::Ptr< PeloraTcam::UdfHelperBase > AgentOnChip::udfHelper()
{
    constexpr bool withoutLagHashing = false;
    if ( hasUdfModule() ) {
        udfModuleHelper_ = PeloraTcam::udfModuleHelperFactory( unit, pipe, true );
        return udfModuleHelper_;
    }
    if ( isHsdk() ) {
        return PeloraTcam::udfFlexParserHsdkHelperFactory( unit, pipe, withoutLagHashing );
    }
    return PeloraTcam::udfFlexParserHelperFactory( unit, pipe, withoutLagHashing );
}

// ---- Ending ----------------------------------------------------------------------------------

void AgentOnChip::shutDown()
{
    require( rangeCheckers.size() == 0 && policers.size() == 0 && counters.size() == 0 &&
                 entries.size() == 0 && preselectors.size() == 0 && udfs.size() == 0 &&
                 ruleSets.size() == 0,
             "the managers hold nothing" );
    require( !compression || compression->size() == 0, "the compression tables hold nothing" );
    for ( const Group& group : entryGroups ) {
        require( groups.destroy( group.id ), "the group is there" );
    }
    require( groups.size() == 0, "there are no other groups" );
    if ( isHsdk() ) {
        services_.counterObjectDel( counterPlace() );
    } else {
        require( services_.eviction()->accumulated() == 0, "no statistic is remembered" );
    }
    if ( udfModuleHelper_ ) {
        require( udfModuleHelper_->pktFmtIdToUdfId()->pktFmtIds() == 0,
                 "no packet format is remembered" );
    }
    const Agent::U32 ids = PeloraTcam::getGeneralIdManager().allocatedIds( FeatureIdType::policer,
                                                                           PeloraTcam::stageIfp() );
    require( ids == 0, "no policer's id is taken" );
    requireSame( atStart_, chip().snapshot(), "the chip is as at the start" );
}

AgentOnChip::~AgentOnChip()
{
    PeloraTcam::getGeneralIdManager().clear();
    Shim::sdk_ = nullptr;
    Agent::logSinkIs( earlierLogSink_ );
}

void requireSame( const Sim::ChipSnapshot& before,
                  const Sim::ChipSnapshot& now,
                  const std::string& what )
{
    if ( now == before ) {
        return;
    }
    for ( const std::string& line : Sim::difference( before, now ) ) {
        std::cerr << line << '\n';
    }
    require( false, what );
}

void requireNoHelpers()
{
    for ( const Agent::AllocationReport& report : Agent::allocationReports() ) {
        require( report.count == 0 && report.bytes == 0, report.className );
    }
}

} // namespace Soak
