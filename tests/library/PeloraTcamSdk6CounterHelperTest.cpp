// How the SDK-6 counter helper creates, frees and clears statistics. Reading them, and what it
// writes, are tested in the files named after this one.

#include "tests/library/Sdk6CounterScene.h"

#include <vector>

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::returns;

using Sdk6CounterTest = Sdk6CounterScene;

// ---- translateStatType -----------------------------------------------------------------------

struct StatTypeRow
{
    int agent;
    const char* sdk;
};

class StatTypeTest : public Sdk6CounterScene, public ::testing::WithParamInterface< StatTypeRow >
{};

TEST_P( StatTypeTest, Translate_EachType_IsItsSdkType )
{
    EXPECT_EQ( PeloraTcam::translateStatType( static_cast< CounterType >( GetParam().agent ) ),
               valueOf< bcm_field_stat_t >( GetParam().sdk ) );
}

INSTANTIATE_TEST_SUITE_P( Table,
                          StatTypeTest,
                          ::testing::Values( StatTypeRow{ 1, "bcmFieldStatBytes" },
                                             StatTypeRow{ 2, "bcmFieldStatPackets" },
                                             StatTypeRow{ 3, "bcmFieldStatRedBytes" },
                                             StatTypeRow{ 4, "bcmFieldStatRedPackets" },
                                             StatTypeRow{ 5, "bcmFieldStatGreenBytes" },
                                             StatTypeRow{ 6, "bcmFieldStatGreenPackets" },
                                             StatTypeRow{ 7, "bcmFieldStatYellowBytes" },
                                             StatTypeRow{ 8, "bcmFieldStatYellowPackets" },
                                             StatTypeRow{ 9, "bcmFieldStatDefault" },
                                             StatTypeRow{ 10, "bcmFieldStatDefault" },
                                             StatTypeRow{ 255, "bcmFieldStatDefault" } ) );

TEST_F( Sdk6CounterTest, Translate_TypeZero_Dies )
{
    expectAssertion(
        site( "translateStatType" ), "false && \"invalid counter type requested\"",
        [] { static_cast< void >( PeloraTcam::translateStatType( CounterType::invalid ) ); } );
}

// ---- allocateCounter -------------------------------------------------------------------------

TEST_F( Sdk6CounterTest, Allocate_TypesOneAndTwo_MakeOneStatisticOfBothInOrder )
{
    std::vector< bcm_field_stat_t > types;
    sdk.on.bcm_field_stat_create = [ & ]( int chip, bcm_field_group_t group, int count,
                                          bcm_field_stat_t* stats, int* id ) {
        types.assign( stats, stats + count );
        return faulty.bcm_field_stat_create( chip, group, count, stats, id );
    };
    allocate( setOf( { 2, 1 } ) );
    EXPECT_THAT( types, ElementsAre( sdk.bcmFieldStatBytes(), sdk.bcmFieldStatPackets() ) );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "bcm_field_stat_create( 5, 7, 2, &, & )", "preApiCall()",
                              "bcm_field_entry_stat_attach( 5, 1, 1 )" ) );
}

TEST_F( Sdk6CounterTest, Allocate_Succeeded_FillsTheRecord )
{
    allocate( setOf( { 1 } ) );
    entry = newEntry();
    const CounterInfo info = allocate( setOf( { 1, 2 } ) );
    EXPECT_EQ( info.counterId, 2U );
    EXPECT_EQ( info.stage, StageType::ifp );
    EXPECT_EQ( info.counterSet, setOf( { 1, 2 } ) );
    EXPECT_EQ( info.logicalGroupId, logicalGroup );
    EXPECT_EQ( info.statId, 2U );
    EXPECT_EQ( info.entryId, entry );
}

TEST_F( Sdk6CounterTest, Allocate_TypeMappedToFalse_IsCountedAndRecordedAsItIs )
{
    const CounterSet set = { { CounterType::bytes, false }, { CounterType::packets, true } };
    EXPECT_EQ( allocate( set ).counterSet, set );
    EXPECT_EQ( sdk.calls().front(), "bcm_field_stat_create( 5, 7, 2, &, & )" );
}

struct KeyRow
{
    Agent::U8 pipe;
    Agent::U32 logicalGroup;
    Agent::U32 key;
};

class Sdk6GroupKeyTest : public Sdk6CounterScene, public ::testing::WithParamInterface< KeyRow >
{};

TEST_P( Sdk6GroupKeyTest, Allocate_EachGroupAndPipe_AsksForItsKey )
{
    PeloraTcam::getGroupIdMap().hardwareGroupIdDel( 0x0A000005 );
    PeloraTcam::getGroupIdMap().hardwareGroupIdIs( GetParam().key, 4711 );
    bcm_field_group_t asked = 0;
    sdk.on.bcm_field_stat_create = [ & ]( int, bcm_field_group_t group, int, bcm_field_stat_t*,
                                          int* ) {
        asked = group;
        return -1;
    };
    Helper::PeloraTcamSdk6CounterHelperIs( GetParam().pipe, unit, PeloraCentral::ChipInfo() )
        ->allocateCounter( stageIfp(), GetParam().logicalGroup, entry, setOf( { 1 } ), priority );
    PeloraTcam::getGroupIdMap().hardwareGroupIdDel( GetParam().key );
    EXPECT_EQ( asked, 4711 );
}

INSTANTIATE_TEST_SUITE_P( Table,
                          Sdk6GroupKeyTest,
                          ::testing::Values( KeyRow{ 2, 0x01000005, 0x0A000005 },
                                             KeyRow{ 0, 0x00000005, 0x00000005 },
                                             KeyRow{ 7, 0x000000FF, 0x070000FF },
                                             KeyRow{ 8, 0x000001FF, 0x000000FF },
                                             KeyRow{ 9, 0x01000100, 0x09000000 },
                                             KeyRow{ 0xFF, 0xFEFFFF00, 0x07000000 },
                                             KeyRow{ 0xF8, 0xFFFFFFFF, 0x080000FF } ) );

TEST_F( Sdk6CounterTest, Allocate_CreateFails_GivesTheDefaultAndAttachesNothing )
{
    for ( const SdkFailure& failure : allSdkFailures() ) {
        SCOPED_TRACE( failure.name );
        sdk.on.bcm_field_stat_create = returns( failure.rc );
        EXPECT_EQ( allocate( setOf( { 1, 2 } ) ), CounterInfo() );
    }
    EXPECT_EQ( sdk.countOf( "bcm_field_entry_stat_attach" ), 0U );
    sdk.on.bcm_field_stat_create = {};
    EXPECT_EQ( allocate( setOf( { 1, 2 } ) ).counterId, 1U ) << "no counter id was taken";
}

TEST_F( Sdk6CounterTest, Allocate_PositiveReturnCode_IsNotSuccess )
{
    sdk.on.bcm_field_stat_create = returns( 1 );
    EXPECT_EQ( allocate( setOf( { 1 } ) ), CounterInfo() );
    EXPECT_THAT( names(), ElementsAre( "bcm_field_stat_create" ) );
}

TEST_F( Sdk6CounterTest, Allocate_ChipExhausted_GivesTheDefaultUntilOneIsFreed )
{
    const CounterInfo first = allocate( setOf( { 1 } ) );
    const Agent::U32 firstEntry = entry;
    entry = newEntry();
    EXPECT_NE( allocate( setOf( { 1 } ) ), CounterInfo() );
    entry = newEntry();
    EXPECT_EQ( allocate( setOf( { 1 } ) ), CounterInfo() );
    helper->freeCounter( stageIfp(), logicalGroup, firstEntry, first, priority );
    EXPECT_NE( allocate( setOf( { 1 } ) ), CounterInfo() );
}

TEST_F( Sdk6CounterTest, Allocate_EmptySet_AsksForNoTypes )
{
    EXPECT_EQ( allocate( {} ), CounterInfo() ) << "the chip refuses";
    EXPECT_THAT( sdk.calls(), ElementsAre( "bcm_field_stat_create( 5, 7, 0, &, & )" ) );
}

TEST_F( Sdk6CounterTest, Allocate_EveryTypeNumber_IsTranslated )
{
    CounterSet all;
    for ( int type = 1; type < 256; ++type ) {
        all.emplace( static_cast< CounterType >( type ), true );
    }
    int types = 0;
    bool restAreDefault = true;
    sdk.on.bcm_field_stat_create = [ & ]( int, bcm_field_group_t, int count,
                                          bcm_field_stat_t* stats, int* ) {
        types = count;
        for ( int i = 8; i < count; ++i ) {
            restAreDefault = restAreDefault && stats[ i ] == sdk.bcmFieldStatDefault();
        }
        return -4;
    };
    allocate( all );
    EXPECT_EQ( types, 255 );
    EXPECT_TRUE( restAreDefault );
}

TEST_F( Sdk6CounterTest, Allocate_TypeZero_DiesBeforeAnySdkCall )
{
    sdk.on.bcm_field_stat_create = []( auto... ) {
        say( "bcm_field_stat_create" );
        return 0;
    };
    expectAssertion( site( "translateStatType" ), "false && \"invalid counter type requested\"",
                     [ this ] {
                         allocate( setOf( { 0, 1 } ) );
                     } );
}

TEST_F( Sdk6CounterTest, Allocate_EntryHasAStatistic_Dies )
{
    allocate( setOf( { 1 } ) );
    expectFatalCall( site( "allocateCounter", attachText ), -8, "Entry exists",
                     [ this ] { allocate( setOf( { 1 } ) ); } );
}

TEST_F( Sdk6CounterTest, Allocate_AttachFails_Dies )
{
    expectEveryFailureFatal(
        site( "allocateCounter", attachText ),
        [ this ]( int rc ) { sdk.on.bcm_field_entry_stat_attach = returns( rc ); },
        [ this ] { allocate( setOf( { 1 } ) ); } );
}

TEST_F( Sdk6CounterTest, Allocate_CreateWasDropped_DiesAtTheAttachment )
{
    faulty.add( { { .function = "bcm_field_stat_create" }, Sim::DropCall{} } );
    expectFatalCall( site( "allocateCounter", attachText ), -7, "Entry not found",
                     [ this ] { allocate( setOf( { 1 } ) ); } );
}

TEST_F( Sdk6CounterTest, Allocate_RequestChangesDuringACall_UsesWhatItWasGiven )
{
    CounterSet set = setOf( { 1, 2 } );
    Agent::U32 requested = entry;
    sdk.on.bcm_field_stat_create = [ & ]( int chip, bcm_field_group_t group, int count,
                                          bcm_field_stat_t* stats, int* id ) {
        set.clear();
        requested = 4711;
        return faulty.bcm_field_stat_create( chip, group, count, stats, id );
    };
    const CounterInfo info =
        helper->allocateCounter( stageIfp(), logicalGroup, requested, set, priority );
    EXPECT_EQ( info.counterSet, setOf( { 1, 2 } ) );
    EXPECT_EQ( info.entryId, entry );
    EXPECT_EQ( sdk.calls().back(), "bcm_field_entry_stat_attach( 5, 1, 1 )" );
}

TEST_F( Sdk6CounterTest, Allocate_NoEvictionHelper_DoesNotMatter )
{
    forgetInitFunc();
    EXPECT_NE( allocate( setOf( { 1 } ) ), CounterInfo() );
}

TEST_F( Sdk6CounterTest, Allocate_SdkThrows_ExceptionPassesWithTheLockHeld )
{
    faulty.add( { { .function = "bcm_field_stat_create" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( allocate( setOf( { 1 } ) ), std::runtime_error );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
}

// ---- freeCounter -----------------------------------------------------------------------------

TEST_F( Sdk6CounterTest, Free_Allocated_DetachesThenDestroys )
{
    const CounterInfo info = allocate( setOf( { 1 } ) );
    sdk.clear();
    EXPECT_TRUE( release( info ) );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "preApiCall()", "bcm_field_entry_stat_detach( 5, 1, 1 )",
                              "preApiCall()", "bcm_field_stat_destroy( 5, 1 )" ) );
    EXPECT_EQ( chips.chip( unit )->statistics()->used(), 0U );
}

TEST_F( Sdk6CounterTest, Free_UnknownStatisticOrTwice_Dies )
{
    CounterInfo info = allocate( setOf( { 1 } ) );
    CounterInfo wrong = info;
    wrong.statId = 4711;
    const SdkCallSite detach = site( "freeCounter", detachText );
    expectFatalCall( detach, -7, "Entry not found", [ & ] { release( wrong ); } );
    expectFatalCall( detach, -7, "Entry not found", [ & ] { release( CounterInfo() ); } );
    release( info );
    expectFatalCall( detach, -7, "Entry not found", [ & ] { release( info ); } );
}

TEST_F( Sdk6CounterTest, Free_EntryAndStatistic_AreTheArgumentsNotTheRecords )
{
    sdk.on.bcm_field_entry_stat_detach = returns( 0 );
    sdk.on.bcm_field_stat_destroy = returns( 0 );
    CounterInfo info;
    info.statId = 8;
    info.entryId = 9;
    helper->freeCounter( stageIfp(), logicalGroup, 10, info, priority );
    EXPECT_THAT( sdk.calls(), ElementsAre( "bcm_field_entry_stat_detach( 5, 10, 8 )",
                                           "bcm_field_stat_destroy( 5, 8 )" ) );
}

TEST_F( Sdk6CounterTest, Free_EachFailure_Dies )
{
    const CounterInfo info = allocate( setOf( { 1 } ) );
    expectEveryFailureFatal(
        site( "freeCounter", detachText ),
        [ this ]( int rc ) { sdk.on.bcm_field_entry_stat_detach = returns( rc ); },
        [ & ] { release( info ); } );
    sdk.on.bcm_field_entry_stat_detach = {};
    expectEveryFailureFatal(
        site( "freeCounter", destroyText ),
        [ this ]( int rc ) { sdk.on.bcm_field_stat_destroy = returns( rc ); },
        [ & ] { release( info ); } );
}

TEST_F( Sdk6CounterTest, Free_DetachWasDropped_DiesAtTheDestruction )
{
    const CounterInfo info = allocate( setOf( { 1 } ) );
    faulty.add( { { .function = "bcm_field_entry_stat_detach" }, Sim::DropCall{} } );
    expectFatalCall( site( "freeCounter", destroyText ), -10,
                     "Operation still running or object in use", [ & ] { release( info ); } );
}

TEST_F( Sdk6CounterTest, Free_DestructionWasDropped_IsNotNoticed )
{
    const CounterInfo info = allocate( setOf( { 1 } ) );
    faulty.add( { { .function = "bcm_field_stat_destroy" }, Sim::DropCall{} } );
    EXPECT_TRUE( release( info ) );
    EXPECT_EQ( chips.chip( unit )->statistics()->used(), 1U ) << "nothing reads it back";
}

// ---- clearHitsForEntry -----------------------------------------------------------------------

TEST_F( Sdk6CounterTest, Clear_EachTypeOfTheSet_SetsItToZeroAndForgetsItsSum )
{
    const CounterInfo info = allocate( setOf( { 1, 2 } ) );
    count( 200, 100 );
    EXPECT_EQ( helper->getPacketHits( info ), 200U );
    count( 200, 100 );
    EXPECT_EQ( helper->getPacketHits( info ), 400U );
    EXPECT_EQ( helper->getByteHits( info ), 200U );
    sdk.clear();
    helper->clearHitsForEntry( info );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "preApiCall()", "bcm_field_stat_set( 5, 1, bcmFieldStatBytes, 0 )",
                              "preApiCall()",
                              "bcm_field_stat_set( 5, 1, bcmFieldStatPackets, 0 )" ) );
    EXPECT_EQ( helper->getPacketHits( info ), 0U );
    count( 3, 4 );
    EXPECT_EQ( helper->getPacketHits( info ), 3U );
    EXPECT_EQ( helper->getByteHits( info ), 4U );
}

TEST_F( Sdk6CounterTest, Clear_SetWithoutPackets_LeavesThemAlone )
{
    CounterInfo info = allocate( setOf( { 1, 2 } ) );
    count( 200, 100 );
    EXPECT_EQ( helper->getPacketHits( info ), 200U );
    CounterInfo bytesOnly = info;
    bytesOnly.counterSet = setOf( { 1 } );
    helper->clearHitsForEntry( bytesOnly );
    EXPECT_EQ( helper->getPacketHits( info ), 200U );
    EXPECT_EQ( helper->getByteHits( info ), 0U );
}

TEST_F( Sdk6CounterTest, Clear_EmptySet_MakesNoCall )
{
    helper->clearHitsForEntry( {} );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
}

TEST_F( Sdk6CounterTest, Clear_TypeThatIsNeither_DiesWhenItIsReached )
{
    for ( const int type : { 0, 9, 255 } ) {
        CounterInfo info;
        info.counterSet = setOf( { type } );
        expectAssertion( site( "clearHitsForEntry" ), "statPacketClear == !statByteClear",
                         [ & ] { helper->clearHitsForEntry( info ); } );
    }
    CounterInfo info = allocate( setOf( { 1 } ) );
    info.counterSet = setOf( { 1, 9 } );
    sdk.on.bcm_field_stat_set = []( auto... ) {
        say( "bcm_field_stat_set" );
        return 0;
    };
    expectDies( [ & ] { helper->clearHitsForEntry( info ); },
                "bcm_field_stat_set\n[^\n]*`statPacketClear == !statByteClear' failed\\.\n" );
}

TEST_F( Sdk6CounterTest, Clear_EachFailure_Dies )
{
    const CounterInfo info = allocate( setOf( { 2 } ) );
    expectEveryFailureFatal(
        site( "clearHitsForEntry", setText ),
        [ this ]( int rc ) { sdk.on.bcm_field_stat_set = returns( rc ); },
        [ & ] { helper->clearHitsForEntry( info ); } );
}

TEST_F( Sdk6CounterTest, Clear_SetWasDropped_IsNotNoticed )
{
    const CounterInfo info = allocate( setOf( { 2 } ) );
    count( 200, 0 );
    faulty.add( { { .function = "bcm_field_stat_set" }, Sim::DropCall{} } );
    helper->clearHitsForEntry( info );
    EXPECT_EQ( helper->getPacketHits( info ), 200U ) << "nothing reads the counter back";
}

TEST_F( Sdk6CounterTest, Clear_SetChangesDuringACall_ClearsWhatItWasGiven )
{
    CounterInfo info = allocate( setOf( { 1, 2 } ) );
    sdk.on.bcm_field_stat_set = [ & ]( auto... ) {
        info.counterSet.clear();
        info.statId = 4711;
        return 0;
    };
    sdk.clear();
    helper->clearHitsForEntry( info );
    EXPECT_THAT( sdk.calls(), ElementsAre( "bcm_field_stat_set( 5, 1, bcmFieldStatBytes, 0 )",
                                           "bcm_field_stat_set( 5, 1, bcmFieldStatPackets, 0 )" ) );
}

TEST_F( Sdk6CounterTest, Clear_OtherEvictionHelperDuringTheCall_ClearsTheSumThere )
{
    const CounterInfo info = allocate( setOf( { 2 } ) );
    count( 200, 0 );
    const Agent::Ptr< Eviction > other( new Eviction( 8 ) );
    Agent::U64 sum = 0;
    ASSERT_EQ( other->fieldStatGetPackets( unit, info.statId, sdk.bcmFieldStatPackets(), &sum ),
               0 );
    sdk.on.bcm_field_stat_set = [ & ]( int chip, int statId, bcm_field_stat_t type, uint64_t v ) {
        evictionHelperIs( other );
        return faulty.bcm_field_stat_set( chip, statId, type, v );
    };
    helper->clearHitsForEntry( info );
    EXPECT_EQ( helper->getPacketHits( info ), 0U );
}

// ---- The rest --------------------------------------------------------------------------------

TEST_F( Sdk6CounterTest, IsInstalled_Statistic_IsWhatTheSdkSays )
{
    const CounterInfo info = allocate( setOf( { 1 } ) );
    EXPECT_TRUE( helper->isStatIdInstalledInHardware( info.statId ) );
    ASSERT_EQ( chips.bcm_field_entry_remove( unit, static_cast< int >( entry ) ), 0 );
    sdk.clear();
    EXPECT_FALSE( helper->isStatIdInstalledInHardware( info.statId ) );
    EXPECT_FALSE( helper->isStatIdInstalledInHardware( 4711 ) );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "korvel_bcm_field_stat_installed_in_hw( 5, 1 )",
                              "korvel_bcm_field_stat_installed_in_hw( 5, 4711 )" ) );
}

TEST_F( Sdk6CounterTest, IsInstalled_Question_IsAPlainCallWithTheLockHeld )
{
    bool isLocked = false;
    sdk.on.korvel_bcm_field_stat_installed_in_hw = [ & ]( int, int ) {
        isLocked = Agent::activityLock().heldByThisThread();
        return true;
    };
    EXPECT_THAT( apiLines( source, [ this ] { helper->isStatIdInstalledInHardware( 1 ); } ),
                 IsEmpty() );
    EXPECT_TRUE( isLocked );
}

TEST_F( Sdk6CounterTest, MaybeClearAndConfigure_Any_HaveNoEffect )
{
    const CounterInfo info = allocate( setOf( { 2 } ) );
    count( 5, 0 );
    sdk.clear();
    helper->maybeClearHitsAfterEntryInstall( info.statId );
    helper->configureCounter();
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
    EXPECT_EQ( helper->getPacketHits( info ), 5U );
}

TEST_F( Sdk6CounterTest, HandleFlashDownload_Any_Dies )
{
    expectAssertion( site( "handleFlashDownload" ),
                     "false && \"Call to unimplemented interface handleFlashDownload\"",
                     [ this ] { helper->handleFlashDownload(); } );
}

TEST_F( Sdk6CounterTest, HandleInitialized_FlagClear_DiesAfterItsTrace )
{
    expectAssertion( site( "handleInitialized" ), "initialized()",
                     [ this ] { helper->handleInitialized(); } );
    helper->initializedIs( true );
    helper->handleInitialized();
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
}

} // namespace
} // namespace LibraryTest
