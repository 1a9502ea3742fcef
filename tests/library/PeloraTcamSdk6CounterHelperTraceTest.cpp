// What the SDK-6 counter helper writes: trace lines by facility, level and text, to the letter.

#include "tests/library/Sdk6CounterScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using TestSupport::returns;
using TestSupport::TraceRecorder;

class Sdk6CounterTraceTest : public Sdk6CounterScene
{
  protected:
    Sdk6CounterTraceTest()
    {
        sdk.on.bcm_field_stat_create = []( int, bcm_field_group_t, int, bcm_field_stat_t*,
                                           int* statId ) {
            *statId = 31;
            return 0;
        };
        sdk.on.bcm_field_entry_stat_attach = returns( 0 );
        sdk.on.bcm_field_entry_stat_detach = returns( 0 );
        sdk.on.bcm_field_stat_destroy = returns( 0 );
        sdk.on.bcm_field_stat_get = returns( 0 );
        sdk.on.bcm_field_stat_set = returns( 0 );
        info.counterId = 0x1F;
        info.statId = 31;
        info.counterSet = setOf( { 1, 2 } );
        entry = 0xAB;
    }

    template< class Operation >
    void expectHelperLine( Agent::U32 level, const std::string& text, const Operation& operation )
    {
        expectLine( site( "" ), facility, level, text, operation );
    }

    CounterInfo info;
};

TEST_F( Sdk6CounterTraceTest, Allocate_Levels9And8_TraceRequestAndGroup )
{
    const auto operation = [ this ] { allocate( setOf( { 1 } ) ); };
    expectHelperLine( 9, "allocateCounter GroupId: 0x1000005 EntryId: 0xab", operation );
    expectHelperLine( 8, " Creating stat for group: 7", operation );
}

TEST_F( Sdk6CounterTraceTest, Free_Level9_TracesIdsInHexadecimal )
{
    expectHelperLine( 9, "freeCounter GroupId: 0x1000005 EntryId: 0xab CounterId: 0x1f",
                      [ this ] { release( info ); } );
}

TEST_F( Sdk6CounterTraceTest, GetStatHits_Level9_TracesStatisticAndType )
{
    expectHelperLine( 9, "getStatHits StatId: 31 counterType: redPackets", [ this ] {
        helper->getStatHits( 31, CounterType::redPackets, stageIfp() );
    } );
}

TEST_F( Sdk6CounterTraceTest, GetHits_Level9_TraceTheCounter )
{
    expectHelperLine( 9, "getPacketHits CounterId 0x1f",
                      [ this ] { helper->getPacketHits( info ); } );
    expectHelperLine( 9, "getByteHits CounterId 0x1f", [ this ] { helper->getByteHits( info ); } );
}

TEST_F( Sdk6CounterTraceTest, GetHwIdx_Levels9And6_TraceRequestAndAnswer )
{
    eviction->poolIndicesAvailableIs( true );
    sdk.on.korvel_bcm_esw_field_stat_pool_index_get = []( int, int, bcm_field_stat_t, int* poolId,
                                                          int* poolType, int* i0, int* i1, int* i2,
                                                          int* pipe ) {
        *poolId = 3;
        *poolType = 4;
        *i0 = 10;
        *i1 = 11;
        *i2 = -1;
        *pipe = 2;
        return 0;
    };
    const auto operation = [ this ] {
        helper->getCounterHwIdx( 31, CounterType::yellowBytes, stageIfp() );
    };
    expectHelperLine( 9, "getCounterHwIdx statId  31 Type : yellowBytes", operation );
    expectHelperLine( 6,
                      "statId : 31 bcmField: " + std::to_string( sdk.bcmFieldStatYellowBytes() ) +
                          " poolId: 3 bcmpipe: 2 unit: 5 Indices: 10, 11, -1 CounterType: "
                          "yellowBytes",
                      operation );
}

TEST_F( Sdk6CounterTraceTest, Clear_Level9_TracesTheCounter )
{
    expectHelperLine( 9, "clearHitsForEntry CounterId: 0x1f",
                      [ this ] { helper->clearHitsForEntry( info ); } );
}

TEST_F( Sdk6CounterTraceTest, Verify_Level9_TracesStatisticAndStatus )
{
    expectHelperLine( 9, "verifyCounters stats: 31 counter status: {bytes: 64, packets: 1}",
                      [ this ] {
                          helper->verifyCounters(
                              31, { { CounterType::bytes, 64 }, { CounterType::packets, 1 } } );
                      } );
}

TEST_F( Sdk6CounterTraceTest, Rest_Level9_TraceTheirNames )
{
    expectHelperLine( 9, "isStatIdInstalledInHardware StatId: 31",
                      [ this ] { helper->isStatIdInstalledInHardware( 31 ); } );
    expectHelperLine( 9, "maybeClearHitsAfterEntryInstall StatId: 31",
                      [ this ] { helper->maybeClearHitsAfterEntryInstall( 31 ); } );
    expectHelperLine( 9, "configureCounter", [ this ] { helper->configureCounter(); } );
}

TEST_F( Sdk6CounterTraceTest, HandleInitialized_Level8_TracesItsName )
{
    helper->initializedIs( true );
    expectHelperLine( 8, "handleInitialized", [ this ] { helper->handleInitialized(); } );
}

TEST_F( Sdk6CounterTraceTest, Operations_ApiLevel4_TraceTheirCalls )
{
    eviction->poolIndicesAvailableIs( true );
    sdk.on.korvel_bcm_esw_field_stat_pool_index_get = returns( 0 );
    const auto traced = []( const char* text ) { return std::string( text ) + " (rc:0)"; };
    EXPECT_THAT(
        apiLines( source,
                  [ this ] {
                      allocate( setOf( { 1 } ) );
                      helper->getStatHits( 31, CounterType::bytes, stageIfp() );
                      helper->getStatHits( 31, CounterType::packets, stageIfp() );
                      helper->getByteHits( info );
                      helper->getPacketHits( info );
                      helper->getCounterHwIdx( 31, CounterType::bytes, stageIfp() );
                      info.counterSet = setOf( { 1 } );
                      helper->clearHitsForEntry( info );
                      helper->verifyCounters( 31, { { CounterType::bytes, 0 } } );
                      helper->verifyCounters( 31, { { CounterType::packets, 0 } } );
                      release( info );
                  } ),
        ElementsAre( traced( createText ), traced( attachText ),
                     "evictionHelper()->fieldStatGetBytes( unit(), sid, translateStatType( "
                     "counterType ), &stats ) (rc:0)",
                     "evictionHelper()->fieldStatGetPackets( unit(), sid, translateStatType( "
                     "counterType ), &stats ) (rc:0)",
                     traced( getBytesText ), traced( getPacketsText ),
                     "korvel_bcm_esw_field_stat_pool_index_get( unit(), statId, ( "
                     "bcm_field_stat_t )bcmField, &poolId, &poolType, &indices[ 0 ], &indices[ 1 "
                     "], &indices[ 2 ], &bcmpipe ) (rc:0)",
                     traced( setText ), traced( getBytesText ), traced( getPacketsText ),
                     traced( detachText ), traced( destroyText ) ) );
}

TEST_F( Sdk6CounterTraceTest, TracedCalls_Fail_ApiLineHasTheCode )
{
    sdk.on.bcm_field_stat_create = returns( -6 );
    sdk.on.bcm_field_stat_get = returns( -7 );
    EXPECT_THAT( apiLines( source,
                           [ this ] {
                               allocate( setOf( { 1 } ) );
                               helper->getByteHits( info );
                           } ),
                 ElementsAre( std::string( createText ) + " (rc:-6)",
                              std::string( getBytesText ) + " (rc:-7)" ) );
}

TEST_F( Sdk6CounterTraceTest, Allocate_Everything_IsWrittenInTheOrderOfTheSteps )
{
    const TraceRecorder traces( "*", allTraceLevels );
    allocate( setOf( { 1 } ) );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( HasSubstr( "allocateCounter GroupId" ), " Creating stat for group: 7",
                              HasSubstr( createText ), HasSubstr( attachText ) ) );
}

} // namespace
} // namespace LibraryTest
