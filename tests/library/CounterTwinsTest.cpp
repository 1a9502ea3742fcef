// Where the two counter helpers differ on purpose: each test asserts both sides of one row of
// docs/twins.md.

#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"
#include "agent/base/TypeRegistry.h"
#include "agent/tcam/InitFuncs.h"
#include "tests/library/HsdkCounterScene.h"

namespace LibraryTest {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::returns;
using TestSupport::TraceRecorder;

/// Both helpers, of the same pipe and unit. The SDK says yes to everything and numbers statistics
/// from 31.
class CounterTwinsTest : public HsdkCounterScene
{
  protected:
    using Eviction = PeloraTcam::PeloraTcamSdk6CounterEvictionHelper;
    using Sdk6Helper = PeloraTcam::PeloraTcamSdk6CounterHelper;

    static constexpr const char* sdk6Source = "PeloraTcam/PeloraTcamSdk6CounterHelper.cpp";
    static constexpr const char* sdk6Facility = "PeloraTcamCounterManager";

    CounterTwinsTest()
    {
        PeloraTcam::registeredInitFuncIs( PeloraTcam::baseSdk6InitFuncName,
                                          Agent::Ptr< PeloraTcam::BaseSdk6InitFunc >(
                                              new PeloraTcam::BaseSdk6InitFunc( eviction ) ) );
        sdk.on.bcm_field_stat_create = [ this ]( int, bcm_field_group_t group, int,
                                                 bcm_field_stat_t*, int* statId ) {
            sdkGroup = group;
            *statId = 31;
            return 0;
        };
        sdk.on.bcm_field_entry_stat_attach = returns( 0 );
        sdk.on.bcm_field_stat_set = returns( 0 );
        sdk.on.bcm_field_stat_get = [ this ]( int, int, bcm_field_stat_t type, uint64_t* value ) {
            const bool isBytes = type == sdk.bcmFieldStatBytes();
            *value = isBytes ? 60 : 1;
            return 0;
        };
    }

    ~CounterTwinsTest() override
    {
        PeloraTcam::registeredInitFuncIs( PeloraTcam::baseSdk6InitFuncName, nullptr );
    }

    CounterInfo allocateSdk6( const CounterSet& set )
    {
        return sdk6->allocateCounter( stageIfp(), logicalGroup, entry, set, priority );
    }

    /// The texts that an operation writes to the trace of a helper.
    template< class Operation >
    static std::vector< std::string > linesOf( const char* of, const Operation& operation )
    {
        const TraceRecorder traces( of, allTraceLevels );
        operation();
        return traces.texts();
    }

    bcm_field_group_t sdkGroup = 0;
    Agent::Ptr< Eviction > eviction{ new Eviction( 64 ) };
    Agent::Ptr< Sdk6Helper > sdk6 =
        Sdk6Helper::PeloraTcamSdk6CounterHelperIs( pipeId, unit, PeloraCentral::ChipInfo() );
    Agent::Ptr< Helper > hsdk = helper;
};

TEST_F( CounterTwinsTest, Allocate_GroupKey_HasThePipesBitsOrNot )
{
    PeloraTcam::getGroupIdMap().hardwareGroupIdIs( 0x0A000005, 1 );
    PeloraTcam::getGroupIdMap().hardwareGroupIdIs( 0x08000005, 2 );
    allocateSdk6( setOf( { 1 } ) );
    EXPECT_EQ( sdkGroup, 1 );
    allocate( setOf( { 1 } ) );
    EXPECT_EQ( flexctrs.calls.back(), "attachFlexctr 5 ifp 2 1 171 {bytes} 2" );
    PeloraTcam::getGroupIdMap().hardwareGroupIdDel( 0x0A000005 );
}

TEST_F( CounterTwinsTest, Allocate_Work_IsTheSdksOrTheServices )
{
    allocateSdk6( setOf( { 1 } ) );
    EXPECT_THAT( names(), ElementsAre( "bcm_field_stat_create", "preApiCall",
                                       "bcm_field_entry_stat_attach" ) );
    EXPECT_THAT( flexctrs.calls, IsEmpty() );
    sdk.clear();
    allocate( setOf( { 1 } ) );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
    EXPECT_EQ( flexctrs.calls.size(), 2U );
}

TEST_F( CounterTwinsTest, Allocate_RecordedStatistic_IsTheSdksIdOrTheEntry )
{
    EXPECT_EQ( allocateSdk6( setOf( { 1 } ) ).statId, 31U );
    EXPECT_EQ( allocate( setOf( { 1 } ) ).statId, entry );
}

TEST_F( CounterTwinsTest, Allocate_NoRoom_IsARefusedCreationOrAMissingObject )
{
    flexctrs.object = chips.BCM_FLEXCTR_INVALID_OBJECT();
    sdk.on.bcm_field_stat_create = returns( -6 );
    EXPECT_THAT(
        linesOf( sdk6Facility,
                 [ this ] { EXPECT_EQ( allocateSdk6( setOf( { 1 } ) ), CounterInfo() ); } ),
        ::testing::Not( Contains( ::testing::HasSubstr( "unallocated" ) ) ) );
    EXPECT_THAT(
        linesOf( facility, [ this ] { EXPECT_EQ( allocate( setOf( { 1 } ) ), CounterInfo() ); } ),
        Contains( "allocateCounterFlexctrObject unallocated for prio 1 not allocating "
                  "counters " ) );
}

TEST_F( CounterTwinsTest, Allocate_RefusedAttachment_DiesOrGivesTheDefault )
{
    sdk.on.bcm_field_entry_stat_attach = returns( -14 );
    flexctrs.state = PeloraTcam::FlexctrAttachState::refused;
    expectFatalCall( { sdk6Source, "allocateCounter",
                       "bcm_field_entry_stat_attach( unit(), entryId, sdkStatId )" },
                     -14, "Out of hardware resources",
                     [ this ] { allocateSdk6( setOf( { 1 } ) ); } );
    EXPECT_EQ( allocate( setOf( { 1 } ) ), CounterInfo() );
}

TEST_F( CounterTwinsTest, Allocate_GroupTrace_IsAtLevel8OrNone )
{
    const auto isGroupTrace = ::testing::HasSubstr( "Creating stat for group" );
    EXPECT_THAT( linesOf( sdk6Facility, [ this ] { allocateSdk6( setOf( { 1 } ) ); } ),
                 Contains( isGroupTrace ) );
    EXPECT_THAT( linesOf( facility, [ this ] { allocate( setOf( { 1 } ) ); } ),
                 ::testing::Not( Contains( isGroupTrace ) ) );
}

TEST_F( CounterTwinsTest, Allocate_TypeZero_DiesOrIsTheServicesBusiness )
{
    expectAssertion( { sdk6Source, "translateStatType", "" },
                     "false && \"invalid counter type requested\"",
                     [ this ] { allocateSdk6( setOf( { 0 } ) ); } );
    EXPECT_EQ( allocate( setOf( { 0 } ) ).counterSet, setOf( { 0 } ) );
}

TEST_F( CounterTwinsTest, GetStatHits_Pair_HasACounterEachOrOne )
{
    flexctrs.hits[ CounterType::packets ] = { 2, 120 };
    EXPECT_EQ( sdk6->getStatHits( 31, CounterType::bytes, stageIfp() ), 60U );
    EXPECT_THAT( sdk.calls(), ElementsAre( "bcm_field_stat_get( 5, 31, bcmFieldStatBytes, & )" ) );
    EXPECT_EQ( hsdk->getStatHits( entry, CounterType::bytes, stageIfp() ), 120U );
    EXPECT_THAT( flexctrs.calls, ElementsAre( "getFlexctr 5 ifp 2 171 packets" ) );
}

TEST_F( CounterTwinsTest, GetStatHits_TypeThatIsNeither_DiesOrReadsPackets )
{
    const auto type = static_cast< CounterType >( 9 );
    expectAssertion( { sdk6Source, "getStatHits", "" }, "0 && \"Invalid stat type\"",
                     [ & ] { sdk6->getStatHits( 31, type, stageIfp() ); } );
    flexctrs.hits[ type ] = { 3, 4 };
    EXPECT_EQ( hsdk->getStatHits( entry, type, stageIfp() ), 3U );
}

TEST_F( CounterTwinsTest, GetStatHits_Trace_NamesStatisticOrEntry )
{
    EXPECT_THAT( linesOf( sdk6Facility,
                          [ this ] { sdk6->getStatHits( 31, CounterType::bytes, stageIfp() ); } ),
                 ElementsAre( "getStatHits StatId: 31 counterType: bytes" ) );
    EXPECT_THAT(
        linesOf( facility,
                 [ this ] { hsdk->getStatHits( entry, CounterType::bytes, stageIfp() ); } ),
        ElementsAre( "getStatHits entryId: 171 counterType: bytes" ) );
}

TEST_F( CounterTwinsTest, GetHits_NoEvictionHelper_DiesOrDoesNotMatter )
{
    PeloraTcam::registeredInitFuncIs( PeloraTcam::baseSdk6InitFuncName, nullptr );
    expectAssertion( { sdk6Source, "evictionHelper", "" }, "initFunc && \"invalid BaseInitFunc\"",
                     [ this ] { sdk6->getPacketHits( recordOf( { 2 } ) ); } );
    EXPECT_EQ( hsdk->getPacketHits( recordOf( { 2 } ) ), 0U );
}

TEST_F( CounterTwinsTest, GetHwIdx_NoneToBeHad_IsTheInvalidIndexOrZero )
{
    const PeloraTcam::FlexctrAllocPerEntry allocation;
    flexctrs.allocation = &allocation;
    EXPECT_EQ( sdk6->getCounterHwIdx( 31, CounterType::bytes, stageIfp() ),
               sdk.BCM_FIELD_STAT_INVALID_INDEX() );
    EXPECT_EQ( hsdk->getCounterHwIdx( entry, CounterType::bytes, stageIfp() ), 0 );
}

TEST_F( CounterTwinsTest, GetHwIdx_Pipe_IsNotAskedForOrConverted )
{
    eviction->poolIndicesAvailableIs( true );
    sdk.on.korvel_bcm_esw_field_stat_pool_index_get = returns( 0 );
    const PeloraTcam::FlexctrAllocPerEntry allocation;
    flexctrs.allocation = &allocation;
    sdk6->getCounterHwIdx( 31, CounterType::bytes, stageIfp() );
    EXPECT_THAT( flexctrs.calls, IsEmpty() );
    hsdk->getCounterHwIdx( entry, CounterType::bytes, stageIfp() );
    EXPECT_THAT( flexctrs.calls,
                 ElementsAre( "getPipe 2 ifp", "getFlexctrAllocPerEntry 5 171 42" ) );
}

TEST_F( CounterTwinsTest, GetHwIdx_Trace_NamesStatisticOrEntry )
{
    const PeloraTcam::FlexctrAllocPerEntry allocation;
    flexctrs.allocation = &allocation;
    EXPECT_THAT(
        linesOf( sdk6Facility,
                 [ this ] { sdk6->getCounterHwIdx( 31, CounterType::bytes, stageIfp() ); } ),
        ElementsAre( "getCounterHwIdx statId  31 Type : bytes" ) );
    EXPECT_THAT(
        linesOf( facility,
                 [ this ] { hsdk->getCounterHwIdx( entry, CounterType::bytes, stageIfp() ); } ),
        ElementsAre( "getCounterHwIdx entryId  171 Type : bytes" ) );
}

TEST_F( CounterTwinsTest, Clear_ASet_GoesTypeByTypeOrAtOnce )
{
    CounterInfo info = recordOf( { 1, 2 } );
    sdk6->clearHitsForEntry( info );
    EXPECT_EQ( sdk.countOf( "bcm_field_stat_set" ), 2U );
    hsdk->clearHitsForEntry( info );
    EXPECT_THAT( flexctrs.calls, ElementsAre( "clearFlexctr 5 ifp 2 171 1" ) );
}

TEST_F( CounterTwinsTest, Clear_Trace_HasTheEntryOrNot )
{
    EXPECT_THAT( linesOf( sdk6Facility, [ this ] { sdk6->clearHitsForEntry( recordOf( {} ) ); } ),
                 ElementsAre( "clearHitsForEntry CounterId: 0x1f" ) );
    EXPECT_THAT( linesOf( facility, [ this ] { hsdk->clearHitsForEntry( recordOf( {} ) ); } ),
                 ElementsAre( "clearHitsForEntry CounterId: 0x1f Clearing EntryId: 0xab" ) );
}

TEST_F( CounterTwinsTest, Verify_AStatus_IsReadOrOnlyTraced )
{
    const CounterStatus status = { { CounterType::bytes, 1 }, { CounterType::packets, 2 } };
    sdk6->verifyCounters( 31, status );
    EXPECT_EQ( sdk.countOf( "bcm_field_stat_get" ), 2U );
    hsdk->verifyCounters( entry, status );
    EXPECT_THAT( flexctrs.calls, IsEmpty() );
}

TEST_F( CounterTwinsTest, IsInstalled_AStatistic_IsAskedForOrForbidden )
{
    sdk.on.korvel_bcm_field_stat_installed_in_hw = []( int, int ) { return true; };
    EXPECT_TRUE( sdk6->isStatIdInstalledInHardware( 31 ) );
    expectAssertion( site( "isStatIdInstalledInHardware" ), "0 && \"Unreachable code\"",
                     [ this ] { hsdk->isStatIdInstalledInHardware( entry ); } );
}

TEST_F( CounterTwinsTest, MaybeClear_AStatistic_IsTracedOrNot )
{
    EXPECT_THAT( linesOf( sdk6Facility, [ this ] { sdk6->maybeClearHitsAfterEntryInstall( 31 ); } ),
                 ElementsAre( "maybeClearHitsAfterEntryInstall StatId: 31" ) );
    EXPECT_THAT( linesOf( facility, [ this ] { hsdk->maybeClearHitsAfterEntryInstall( 31 ); } ),
                 IsEmpty() );
}

TEST_F( CounterTwinsTest, Attribute_EvictionHelper_IsServedOrUnknown )
{
    using Agent::AttributeOperation;
    Agent::Ptr< Eviction > result;
    EXPECT_EQ(
        Agent::attributeOperation( *sdk6, "evictionHelper", AttributeOperation::read, &result ),
        0 );
    EXPECT_EQ( result, eviction );
    EXPECT_EQ(
        Agent::attributeOperation( *hsdk, "evictionHelper", AttributeOperation::read, &result ),
        2 );
}

TEST_F( CounterTwinsTest, Trace_Facility_IsCounterManagerOrTheClass )
{
    sdk6->configureCounter();
    hsdk->configureCounter();
    EXPECT_THAT( linesOf( sdk6Facility, [ this ] { sdk6->configureCounter(); } ),
                 ElementsAre( "configureCounter" ) );
    EXPECT_THAT( linesOf( "PeloraTcamHsdkCounterHelper", [ this ] { hsdk->configureCounter(); } ),
                 ElementsAre( "configureCounter" ) );
    EXPECT_THAT( linesOf( "PeloraTcamSdk6CounterHelper", [ this ] { sdk6->configureCounter(); } ),
                 IsEmpty() );
}

} // namespace
} // namespace LibraryTest
