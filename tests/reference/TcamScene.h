#pragma once

/// What the tests of the managers of entries share: a chip with the agent's services and the
/// library's helpers of its kind.

#include "PeloraTcam/PeloraTcamHsdkCounterHelper.h"
#include "PeloraTcam/PeloraTcamHsdkPolicerHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CompressionHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"
#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "PeloraTcam/PeloraTcamSdk6PolicerHelper.h"
#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"
#include "agent/base/Locks.h"
#include "agent/tcam/CounterEvictionSdk.h"
#include "agent/tcam/IdManager.h"
#include "reference/CounterServices.h"
#include "reference/GroupManager.h"
#include "reference/TranslationStart.h"
#include "sim/FaultInjectingSdk.h"
#include "sim/SimulatedSdk.h"
#include "tests/support/EnvironmentNumbering.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace Reference {

/// The chip of unit 2 and pipe 1, under the numbering that the test command asks for; the activity
/// lock is held, the maps are built, and the agent's services are in use.
class TcamScene
{
  public:
    static constexpr Agent::U32 unit = 2;
    static constexpr Agent::U8 pipe = 1;
    static constexpr PeloraTcam::LogicalGroupId logicalGroup = 5;

    explicit TcamScene( const std::string& profile )
        : TcamScene( Sim::builtInProfile( profile ) )
    {}

    explicit TcamScene( const Sim::ChipProfile& profile )
        : variant( profile.chip == Sim::ChipKind::hsdk ? SdkVariant::hsdk : SdkVariant::sdk6 )
        , services( variant,
                    variant == SdkVariant::hsdk ? profile.flexCounters.counterWidth
                                                : profile.statistics.counterWidth )
    {
        chips.chipIs( unit, profile );
        Shim::sdk_ = &evictionSdk;
        buildTranslationMaps();
        PeloraTcam::getGeneralIdManager().poolIs( PeloraTcam::FeatureIdType::policer,
                                                  PeloraTcam::stageIfp(), 1,
                                                  profile.policers.capacity );
        if ( variant == SdkVariant::hsdk ) {
            EXPECT_TRUE( services.counterObjectIs( { unit, PeloraTcam::stageIfp(), pipe, 0 },
                                                   profile.flexCounters.counters - 1 ) );
        }
    }

    TcamScene( const TcamScene& ) = delete;
    TcamScene& operator=( const TcamScene& ) = delete;

    ~TcamScene()
    {
        PeloraTcam::getGeneralIdManager().clear();
        Shim::sdk_ = nullptr;
    }

    [[nodiscard]] Sim::SimulatedChip& chip() { return *chips.chip( unit ); }

    [[nodiscard]] Sim::ChipSnapshot snapshot() { return chip().snapshot(); }

    [[nodiscard]] std::string text() { return snapshot().text(); }

    /// Lets the next call of a function go wrong.
    void nextCallIs( const std::string& function, const Sim::FaultEffect& effect )
    {
        faulty.addFromNow( { { function, 1, false }, effect } );
    }

    /// An entry sees packets of 100 bytes.
    void count( Agent::U32 entry, uint64_t packets )
    {
        EXPECT_TRUE( chip().count( static_cast< bcm_field_entry_t >( entry ),
                                   { packets, packets * 100, Sim::TrafficColor::green } ) );
    }

    /// The group of the logical id, made where counter helpers look for it.
    bcm_field_group_t madeGroup( const PeloraTcam::QualifierSet& qualifiers )
    {
        GroupDesc desc;
        desc.qualifiers = qualifiers;
        desc.actions = { PeloraTcam::ActionType::drop };
        desc.logicalId = logicalGroup;
        desc.subId = variant == SdkVariant::hsdk ? Agent::U8{ 0 } : pipe;
        const auto group = groups.create( desc );
        EXPECT_TRUE( group );
        return group.value_or( 0 );
    }

    [[nodiscard]] Agent::Ptr< PeloraTcam::PeloraTcamCounterHelper > counterHelper() const
    {
        const PeloraCentral::ChipInfo chipInfo;
        if ( variant == SdkVariant::hsdk ) {
            return PeloraTcam::peloraTcamHsdkCounterHelperFactory( pipe, unit, chipInfo );
        }
        return PeloraTcam::peloraTcamSdk6CounterHelperFactory( pipe, unit, chipInfo );
    }

    [[nodiscard]] Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper > policerHelper() const
    {
        using Helper = PeloraTcam::PeloraTcamPolicerHelper;
        if ( variant == SdkVariant::hsdk ) {
            return Agent::Ptr< Helper >(
                new PeloraTcam::PeloraTcamHsdkPolicerHelper( pipe, PeloraTcam::FapId( unit ) ) );
        }
        return Agent::Ptr< Helper >(
            new PeloraTcam::PeloraTcamSdk6PolicerHelper( pipe, PeloraTcam::FapId( unit ) ) );
    }

    [[nodiscard]] Agent::Ptr< PeloraTcam::PeloraTcamCompressionHelperBase >
    compressionHelper() const
    {
        return PeloraTcam::peloraTcamSdk6CompressionHelperFactory( pipe,
                                                                   PeloraTcam::FapId( unit ) );
    }

    [[nodiscard]] Agent::Ptr< PeloraTcam::PeloraTcamRangeCheckerHelper > rangeCheckerHelper() const
    {
        return Agent::Ptr< PeloraTcam::PeloraTcamRangeCheckerHelper >(
            new PeloraTcam::PeloraTcamSdk6RangeCheckerHelper( pipe, PeloraTcam::FapId( unit ),
                                                              { "model" } ) );
    }

    const SdkVariant variant;
    Sim::SimulatedSdk chips{ TestSupport::environmentNumbering() };
    Sim::FaultInjectingSdk faulty{ chips };
    Agent::LockAnchor activity{ Agent::activityLock() };
    CounterServices services;
    PeloraTcam::CounterEvictionSdk evictionSdk{ faulty, services.eviction() };
    GroupManager groups{ unit, true };
};

} // namespace Reference
