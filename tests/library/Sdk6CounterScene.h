#pragma once

/// What the tests of the SDK-6 counter helper share: a helper of pipe 2 on a chip with room for two
/// statistics with counters of 8 bits, whose group 7 is the logical group 0x01000005; an installed
/// entry in it; and the agent's eviction helper, registered.

#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"
#include "agent/tcam/CounterEvictionSdk.h"
#include "agent/tcam/GroupIdMap.h"
#include "agent/tcam/InitFuncs.h"
#include "tests/library/HelperScene.h"

#include <initializer_list>
#include <string>
#include <utility>

namespace LibraryTest {

using PeloraTcam::CounterInfo;
using PeloraTcam::CounterSet;
using PeloraTcam::CounterStatus;
using PeloraTcam::CounterType;
using PeloraTcam::stageIfp;
using PeloraTcam::StageType;

/// A set of the types of these numbers.
inline CounterSet setOf( std::initializer_list< int > types )
{
    CounterSet set;
    for ( const int type : types ) {
        set.emplace( static_cast< CounterType >( type ), true );
    }
    return set;
}

class Sdk6CounterScene : public HelperScene
{
  protected:
    using Helper = PeloraTcam::PeloraTcamSdk6CounterHelper;
    using Eviction = PeloraTcam::PeloraTcamSdk6CounterEvictionHelper;

    static constexpr const char* source = "PeloraTcam/PeloraTcamSdk6CounterHelper.cpp";
    static constexpr const char* facility = "PeloraTcamCounterManager";
    static constexpr Agent::U8 pipeId = 2;
    static constexpr Agent::U32 logicalGroup = 0x01000005;
    static constexpr bcm_field_group_t sdkGroup = 7;
    static constexpr Agent::U32 priority = 1;

    static constexpr const char* createText =
        "bcm_field_stat_create( unit(), hardwareGroupId, statCount, statTypesList, &sdkStatId )";
    static constexpr const char* attachText =
        "bcm_field_entry_stat_attach( unit(), entryId, sdkStatId )";
    static constexpr const char* detachText =
        "bcm_field_entry_stat_detach( unit(), entryId, statId )";
    static constexpr const char* destroyText = "bcm_field_stat_destroy( unit(), statId )";
    static constexpr const char* setText =
        "bcm_field_stat_set( unit(), statId, translateStatType( counterIter.key() ), 0 )";
    static constexpr const char* getBytesText =
        "evictionHelper()->fieldStatGetBytes( unit(), statId, translateStatType( "
        "counterIter.key() ), &stats )";
    static constexpr const char* getPacketsText =
        "evictionHelper()->fieldStatGetPackets( unit(), statId, translateStatType( "
        "counterIter.key() ), &stats )";

    Sdk6CounterScene()
    {
        Shim::sdk_ = &evictionSdk;
        evictionHelperIs( eviction );
        PeloraTcam::getGroupIdMap().hardwareGroupIdIs( 0x0A000005, sdkGroup );
        bcm_field_group_config_t group;
        group.group = sdkGroup;
        group.mode = chips.bcmFieldGroupModeAuto();
        EXPECT_EQ( chips.bcm_field_group_config_create( unit, &group ), 0 );
        entry = newEntry();
    }

    ~Sdk6CounterScene() override
    {
        PeloraTcam::registeredInitFuncIs( PeloraTcam::baseSdk6InitFuncName, nullptr );
        PeloraTcam::getGroupIdMap().hardwareGroupIdDel( 0x0A000005 );
    }

    /// An installed entry of the group.
    Agent::U32 newEntry()
    {
        bcm_field_entry_t id = 0;
        EXPECT_EQ( chips.bcm_field_entry_create( unit, sdkGroup, &id ), 0 );
        EXPECT_EQ( chips.bcm_field_entry_install( unit, id ), 0 );
        return static_cast< Agent::U32 >( id );
    }

    CounterInfo allocate( const CounterSet& set )
    {
        return helper->allocateCounter( stageIfp(), logicalGroup, entry, set, priority );
    }

    bool release( const CounterInfo& info )
    {
        return helper->freeCounter( stageIfp(), logicalGroup, entry, info, priority );
    }

    void count( uint64_t packets, uint64_t bytes, Sim::TrafficColor color )
    {
        EXPECT_TRUE( chips.chip( unit )->count( static_cast< bcm_field_entry_t >( entry ),
                                                { packets, bytes, color } ) );
    }

    void count( uint64_t packets, uint64_t bytes )
    {
        count( packets, bytes, Sim::TrafficColor::green );
    }

    /// The agent has that eviction helper from now on; null for none.
    static void evictionHelperIs( Agent::Ptr< Eviction > helper )
    {
        PeloraTcam::registeredInitFuncIs(
            PeloraTcam::baseSdk6InitFuncName,
            Agent::Ptr< PeloraTcam::BaseSdk6InitFunc >(
                new PeloraTcam::BaseSdk6InitFunc( std::move( helper ) ) ) );
    }

    /// The agent has no initialiser object from now on.
    static void forgetInitFunc()
    {
        PeloraTcam::registeredInitFuncIs( PeloraTcam::baseSdk6InitFuncName, nullptr );
    }

    static SdkCallSite site( const char* function, const char* text = "" )
    {
        return { source, function, text };
    }

    Agent::Ptr< Eviction > eviction{ new Eviction( 8 ) };
    PeloraTcam::CounterEvictionSdk evictionSdk{ sdk, eviction };
    Agent::Ptr< Helper > helper =
        Helper::PeloraTcamSdk6CounterHelperIs( pipeId, unit, PeloraCentral::ChipInfo() );
    Agent::U32 entry = 0;
};

} // namespace LibraryTest
