#include "reference/CounterManager.h"

#include "reference/EntryManager.h"
#include "tests/reference/TcamScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Reference {
namespace {

using PeloraTcam::CounterType;
using PeloraTcam::QualifierType;
using ::testing::ElementsAre;

/// A chip of either kind with room for the counters of two entries.
Sim::ChipProfile profileFor( const std::string& name )
{
    Sim::ChipProfile profile = Sim::builtInProfile( name );
    profile.statistics.capacity = 2;
    profile.flexCounters.counters = 4; // Index 0 is none, and one is left to the scene.
    return profile;
}

class CounterManagerTest : public ::testing::TestWithParam< const char* >
{
  protected:
    CounterManagerTest()
    {
        for ( Agent::U32& entry : entries ) {
            EntryDesc desc;
            desc.group = group;
            entry = entryManager.create( desc ).value_or( 0 );
            EXPECT_TRUE( entryManager.install( entry ) );
        }
        before = scene.snapshot();
    }

    [[nodiscard]] static CounterRequest requestFor( Agent::U32 entry )
    {
        return { PeloraTcam::stageIfp(), TcamScene::logicalGroup, entry, packetsAndBytes(), 0 };
    }

    void expectChipAsBefore()
    {
        EXPECT_THAT( Sim::difference( before, scene.snapshot() ), ElementsAre() );
    }

    /// The call that the audit reads an entry's counters back with, and what it gives.
    [[nodiscard]] const char* readBackCall() const
    {
        return scene.variant == SdkVariant::sdk6 ? "bcm_field_entry_stat_get"
                                                 : "bcm_field_entry_flexctr_get";
    }

    [[nodiscard]] const char* readBackOutput() const
    {
        return scene.variant == SdkVariant::sdk6 ? "statId" : "counterIndex";
    }

    [[nodiscard]] const char* attachCall() const
    {
        return scene.variant == SdkVariant::sdk6 ? "bcm_field_entry_stat_attach"
                                                 : "bcm_field_entry_flexctr_attach";
    }

    TcamScene scene{ profileFor( GetParam() ) };
    EntryManager entryManager{ TcamScene::unit };
    bcm_field_group_t group = scene.madeGroup( { QualifierType::srcIp } );
    Agent::U32 entries[ 4 ] = {};
    CounterManager manager{ scene.counterHelper(), scene.variant };
    Sim::ChipSnapshot before;
};

INSTANTIATE_TEST_SUITE_P( Variants,
                          CounterManagerTest,
                          ::testing::Values( "sdk6-udf", "hsdk" ),
                          []( const auto& test ) {
                              return std::string( test.index == 0 ? "sdk6" : "hsdk" );
                          } );

TEST_P( CounterManagerTest, AllocateCountReadFree_OneEntry_GivesItsHitsAndLeavesNothing )
{
    EXPECT_TRUE( manager.allocate( requestFor( entries[ 0 ] ) ) );
    EXPECT_EQ( manager.size(), 1U );
    ASSERT_NE( manager.find( entries[ 0 ] ), nullptr );
    EXPECT_EQ( manager.find( entries[ 0 ] )->entryId, entries[ 0 ] );
    EXPECT_EQ( manager.find( entries[ 0 ] )->counterSet, packetsAndBytes() );
    scene.count( entries[ 0 ], 3 );
    EXPECT_EQ( manager.hits( entries[ 0 ] ), ( Hits{ 3, 300 } ) );
    scene.count( entries[ 0 ], 2 );
    EXPECT_EQ( manager.hits( entries[ 0 ] ), ( Hits{ 5, 500 } ) );
    EXPECT_EQ( manager.audit(), 1U );
    EXPECT_TRUE( manager.clear( entries[ 0 ] ) );
    EXPECT_EQ( manager.hits( entries[ 0 ] ), ( Hits{ 0, 0 } ) );
    EXPECT_TRUE( manager.free( entries[ 0 ] ) );
    EXPECT_EQ( manager.size(), 0U );
    expectChipAsBefore();
}

TEST_P( CounterManagerTest, Hits_TwoEntries_AreApart )
{
    EXPECT_TRUE( manager.allocate( requestFor( entries[ 0 ] ) ) );
    EXPECT_TRUE( manager.allocate( requestFor( entries[ 1 ] ) ) );
    scene.count( entries[ 0 ], 1 );
    scene.count( entries[ 1 ], 7 );
    EXPECT_EQ( manager.hits( entries[ 0 ] ), ( Hits{ 1, 100 } ) );
    EXPECT_EQ( manager.hits( entries[ 1 ] ), ( Hits{ 7, 700 } ) );
    EXPECT_EQ( manager.audit(), 2U );
}

TEST_P( CounterManagerTest, Allocate_OneTypeOnly_CountsThatAlone )
{
    CounterRequest packetsOnly = requestFor( entries[ 0 ] );
    packetsOnly.counterSet = { { CounterType::packets, true } };
    EXPECT_TRUE( manager.allocate( packetsOnly ) );
    scene.count( entries[ 0 ], 3 );
    EXPECT_EQ( manager.hits( entries[ 0 ] ), ( Hits{ 3, 0 } ) );
}

TEST_P( CounterManagerTest, Allocate_OnePastTheChip_IsRefusedAndRoomComesBack )
{
    std::size_t allocated = 0;
    while ( allocated < 4 && manager.allocate( requestFor( entries[ allocated ] ) ) ) {
        ++allocated;
    }
    EXPECT_EQ( allocated, scene.variant == SdkVariant::sdk6 ? 2U : 3U );
    EXPECT_EQ( manager.size(), allocated );
    const Sim::ChipSnapshot full = scene.snapshot();
    EXPECT_FALSE( manager.allocate( requestFor( entries[ 3 ] ) ) );
    EXPECT_EQ( scene.snapshot(), full );
    EXPECT_EQ( manager.find( entries[ 3 ] ), nullptr );
    EXPECT_TRUE( manager.free( entries[ 0 ] ) );
    EXPECT_TRUE( manager.allocate( requestFor( entries[ 3 ] ) ) );
}

TEST_P( CounterManagerTest, AllocateAgain_AfterCounting_StartsAtZero )
{
    EXPECT_TRUE( manager.allocate( requestFor( entries[ 0 ] ) ) );
    scene.count( entries[ 0 ], 9 );
    EXPECT_TRUE( manager.free( entries[ 0 ] ) );
    EXPECT_TRUE( manager.allocate( requestFor( entries[ 1 ] ) ) );
    EXPECT_EQ( manager.hits( entries[ 1 ] ), ( Hits{ 0, 0 } ) );
}

TEST_P( CounterManagerTest, AnyOperation_EntryWithoutCounters_IsRefused )
{
    EXPECT_FALSE( manager.free( entries[ 0 ] ) );
    EXPECT_FALSE( manager.clear( entries[ 0 ] ) );
    EXPECT_EQ( manager.hits( entries[ 0 ] ), std::nullopt );
    EXPECT_EQ( manager.find( 4711 ), nullptr );
    expectChipAsBefore();
}

TEST_P( CounterManagerTest, Allocate_EntryWithCounters_Dies )
{
    EXPECT_TRUE( manager.allocate( requestFor( entries[ 0 ] ) ) );
    EXPECT_DEATH( static_cast< void >( manager.allocate( requestFor( entries[ 0 ] ) ) ),
                  "the entry has counters" );
}

TEST_P( CounterManagerTest, Allocate_NoTypes_IsRefused )
{
    CounterRequest none = requestFor( entries[ 0 ] );
    none.counterSet.clear();
    EXPECT_FALSE( manager.allocate( none ) );
    expectChipAsBefore();
}

TEST_P( CounterManagerTest, Free_SdkThrows_LeavesTheRecordOutOfAudits )
{
    EXPECT_TRUE( manager.allocate( requestFor( entries[ 0 ] ) ) );
    scene.nextCallIs( scene.variant == SdkVariant::sdk6 ? "bcm_field_entry_stat_detach"
                                                        : "bcm_field_entry_flexctr_detach",
                      Sim::ThrowFromCall{} );
    EXPECT_THROW( manager.free( entries[ 0 ] ), std::runtime_error );
    EXPECT_NE( manager.find( entries[ 0 ] ), nullptr );
    EXPECT_EQ( manager.audit(), 0U );
    EXPECT_TRUE( manager.free( entries[ 0 ] ) ) << "it can be repeated";
    expectChipAsBefore();
}

TEST_P( CounterManagerTest, Audit_ReadBackWrong_Dies )
{
    EXPECT_TRUE( manager.allocate( requestFor( entries[ 0 ] ) ) );
    scene.nextCallIs( readBackCall(), Sim::CorruptOutput{ readBackOutput(), 77 } );
    EXPECT_DEATH( manager.audit(), "reference/CounterManager.cpp.*Assertion .* failed" );
}

TEST_P( CounterManagerTest, Audit_AttachWasDropped_Dies )
{
    scene.nextCallIs( attachCall(), Sim::DropCall{} );
    EXPECT_TRUE( manager.allocate( requestFor( entries[ 0 ] ) ) );
    EXPECT_DEATH( manager.audit(), "API ERROR:Entry not found" );
}

} // namespace
} // namespace Reference
