// What becomes of each operation of a helper, and of each exported function, while the agent has
// set no access object: a failed assertion that says so, or what can be done without an SDK.

#include "PeloraTcam/PeloraTcamHsdkCounterHelper.h"
#include "PeloraTcam/PeloraTcamHsdkPolicerHelper.h"
#include "PeloraTcam/PeloraTcamHsdkUdfEntryHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CompressionHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"
#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "PeloraTcam/PeloraTcamSdk6PolicerHelper.h"
#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"
#include "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.h"
#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "PeloraTcam/UdfCommon.h"
#include "agent/base/Locks.h"
#include "agent/tcam/FlexctrServices.h"
#include "agent/tcam/IdManager.h"
#include "agent/tcam/InitFuncs.h"
#include "tests/library/ChildRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace PeloraTcam {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Something to be done, by name.
struct Use
{
    std::string name;
    std::function< void() > run;
};

#define USE( ... )                                                                                 \
    Use                                                                                            \
    {                                                                                              \
#__VA_ARGS__, [ & ] { static_cast< void >( __VA_ARGS__ ); }                                \
    }

class NoAccessObjectTest : public ::testing::Test
{
  protected:
    NoAccessObjectTest() { quals.qualIdIs( 1 ); }

    static void expectSaysSo( const std::vector< Use >& uses )
    {
        for ( const Use& use : uses ) {
            const LibraryTest::ChildRun run = LibraryTest::runInChild( use.run );
            EXPECT_TRUE( run.aborted ) << use.name;
            EXPECT_THAT( run.errors,
                         HasSubstr( "Assertion `Shim::sdk_ && \"SDK access object is not set\"'" ) )
                << use.name;
        }
    }

    static void expectWorks( const std::vector< Use >& uses )
    {
        for ( const Use& use : uses ) {
            const LibraryTest::ChildRun run = LibraryTest::runInChild( use.run );
            EXPECT_TRUE( run.returned ) << use.name;
            EXPECT_THAT( run.errors, IsEmpty() ) << use.name;
        }
    }

    /// The operations that program and look at user-defined fields.
    static std::vector< Use > usesOf( const Agent::Ptr< UdfHelperBase >& helper,
                                      const UdfDesc& desc,
                                      const QualIdList& quals )
    {
        return { USE( helper->getUdfChunkPosList( 5, quals ) ),
                 USE( helper->programUdfInHw( desc ) ),
                 USE( helper->removeUdfFromHw( desc, quals ) ),
                 USE( helper->verifyProgrammedUdf( desc, quals ) ),
                 USE( helper->getAllProgrammedUdfIds( 5 ) ) };
    }

    static std::vector< Use > usesOf( const Agent::Ptr< PeloraTcamPolicerHelper >& helper )
    {
        static const Agent::Ptr< const PolicerData > data( new PolicerData( Policer(), 1 ) );
        return { USE( helper->getPolicer( Policer(), stageIfp() ) ),
                 USE( helper->releasePolicer( 1, stageIfp() ) ),
                 USE( helper->verifyTcamSanity( data ) ) };
    }

    static UdfDesc fieldOfTcp()
    {
        UdfDesc desc;
        desc.baseIs( UdfBaseL3Header_ );
        desc.ethTypeIs( 0x0800 );
        desc.ipProtoIs( 6 );
        desc.lengthIs( 2 );
        return desc;
    }

    Agent::LockAnchor activity{ Agent::activityLock() };
    const UdfDesc desc = fieldOfTcp();
    QualIdList quals;
};

// ---- Helpers ---------------------------------------------------------------------------------

TEST_F( NoAccessObjectTest, RangeCheckers_EachOperation_SaysSo )
{
    const Agent::Ptr< PeloraTcamRangeCheckerHelper > helper(
        new PeloraTcamSdk6RangeCheckerHelper( 0, FapId( 5 ), {} ) );
    const RangeCheckerDesc range{ 1, 2, RangeType::l4DstPort };
    const Agent::Ptr< const RangeCheckerData > data( new RangeCheckerData( range, 1 ) );
    expectSaysSo( { USE( helper->getRangeChecker( range ) ),
                    USE( helper->releaseRangeChecker( 1 ) ),
                    USE( helper->verifyTcamSanity( data ) ) } );
    expectWorks( { USE( helper->handleInitialized() ) } );
}

TEST_F( NoAccessObjectTest, Policers_EachOperation_SaysSo )
{
    const Agent::Ptr< PeloraTcamPolicerHelper > sdk6(
        new PeloraTcamSdk6PolicerHelper( 0, FapId( 5 ) ) );
    const Agent::Ptr< PeloraTcamPolicerHelper > hsdk(
        new PeloraTcamHsdkPolicerHelper( 0, FapId( 5 ) ) );
    getGeneralIdManager().poolIs( FeatureIdType::policer, stageIfp(), 1, 2 );
    expectSaysSo( usesOf( sdk6 ) );
    // Its release gives the id back to a pool, so that one must have been taken.
    const auto taken = getGeneralIdManager().allocateId( FeatureIdType::policer, stageIfp() );
    EXPECT_EQ( taken, 1U );
    expectSaysSo( usesOf( hsdk ) );
    expectWorks( { USE( sdk6->handleInitialized() ), USE( hsdk->handleInitialized() ) } );
}

TEST_F( NoAccessObjectTest, Compression_EachOperation_SaysSo )
{
    const Agent::Ptr< PeloraTcamCompressionHelperBase > helper(
        peloraTcamSdk6CompressionHelperFactory( 0, FapId( 5 ) ) );
    const CompressionData data{ CompressionKey( 1 ) };
    for ( int number = 1; number <= 6; ++number ) {
        const auto table = static_cast< PeloraCompressionTableType >( number );
        expectSaysSo( { USE( helper->getFieldCompressionEntry( data, 1, table ) ),
                        USE( helper->releaseFieldCompressionEntry( 1, table ) ) } );
    }
    expectWorks( { USE( helper->handleInitialized() ) } );
}

TEST_F( NoAccessObjectTest, Sdk6Counters_EachOperation_SaysSoOrTraces )
{
    const Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > eviction(
        new PeloraTcamSdk6CounterEvictionHelper( 8 ) );
    registeredInitFuncIs( baseSdk6InitFuncName,
                          Agent::Ptr< BaseSdk6InitFunc >( new BaseSdk6InitFunc( eviction ) ) );
    const auto helper = peloraTcamSdk6CounterHelperFactory( 0, 5, PeloraCentral::ChipInfo() );
    helper->initializedIs( true );
    CounterInfo info;
    info.counterSet = { { CounterType::bytes, true }, { CounterType::packets, true } };
    const CounterStatus status{ { CounterType::bytes, 0 } };
    expectSaysSo( { USE( helper->allocateCounter( stageIfp(), 1, 1, info.counterSet, 1 ) ),
                    USE( helper->allocateCounter( stageIfp(), 1, 1, {}, 1 ) ),
                    USE( helper->freeCounter( stageIfp(), 1, 1, info, 1 ) ),
                    USE( helper->getStatHits( 1, CounterType::bytes, stageIfp() ) ),
                    USE( helper->getStatHits( 1, CounterType::packets, stageIfp() ) ),
                    USE( helper->getPacketHits( info ) ), USE( helper->getByteHits( info ) ),
                    USE( helper->getCounterHwIdx( 1, CounterType::bytes, stageIfp() ) ),
                    USE( helper->clearHitsForEntry( info ) ),
                    USE( helper->isStatIdInstalledInHardware( 1 ) ),
                    USE( helper->verifyCounters( 1, status ) ),
                    USE( translateStatType( CounterType::bytes ) ),
                    USE( eviction->fieldStatGetBytes( 5, 1, {}, nullptr ) ) } );
    expectWorks( { USE( helper->maybeClearHitsAfterEntryInstall( 1 ) ),
                   USE( helper->configureCounter() ), USE( helper->handleInitialized() ) } );
    registeredInitFuncIs( baseSdk6InitFuncName, nullptr );
}

/// A counter object manager that needs no SDK.
class Objects final : public PeloraTcamCounterObjectManager
{
  public:
    FlexctrObjectId getCounterObject( U32, StageType, U8, TcamGroupPriority ) override { return 7; }
};

TEST_F( NoAccessObjectTest, HsdkCounters_EachOperation_SaysSoOrWorks )
{
    Objects objects;
    counterObjectManagerIs( &objects );
    const auto helper = peloraTcamHsdkCounterHelperFactory( 0, 5, PeloraCentral::ChipInfo() );
    helper->initializedIs( true );
    expectSaysSo( { USE( helper->allocateCounter( stageIfp(), 1, 1, {}, 1 ) ) } );
    expectWorks( { USE( helper->getPacketHits( {} ) ), USE( helper->getByteHits( {} ) ),
                   USE( helper->maybeClearHitsAfterEntryInstall( 1 ) ),
                   USE( helper->configureCounter() ), USE( helper->verifyCounters( 1, {} ) ),
                   USE( helper->handleInitialized() ) } );
    counterObjectManagerIs( nullptr );
}

TEST_F( NoAccessObjectTest, UdfHelpers_EachOperation_SaysSo )
{
    const Agent::Ptr< UdfHelperBase > module = udfModuleHelperFactory( 5, 0, true );
    const Agent::Ptr< UdfHelperBase > flex = udfFlexParserHelperFactory( 5, 0, false );
    const Agent::Ptr< UdfHelperBase > hsdk = udfFlexParserHsdkHelperFactory( 5, 0, false );
    for ( const Agent::Ptr< UdfHelperBase >& helper : { module, flex, hsdk } ) {
        expectSaysSo( usesOf( helper, desc, quals ) );
        expectWorks( { USE( helper->handleInitialized() ) } );
    }
    expectSaysSo( { USE( module->verifyLagHashingUdf( desc, quals ) ),
                    USE( module->getAllProgrammedLagHashingUdfIds( 5 ) ) } );
}

// ---- Functions -------------------------------------------------------------------------------

TEST_F( NoAccessObjectTest, MapBuilders_Each_SaySo )
{
#define TRANSLATION_BOTH_WAYS( map, reverse, builder, ... ) USE( builder() ),
#define TRANSLATION_ONE_WAY( map, builder, ... ) USE( builder() ),
#define TRANSLATION( agentEnumerator, accessor )
    expectSaysSo( {
#include "PeloraTcam/TranslationMaps.def"
        USE( initializeBcmQualifierMap() ),
        USE( initializeBcmActionMap() ),
    } );
}

TEST_F( NoAccessObjectTest, GroupsAndSets_Each_SaySo )
{
    bcm_field_qset_t qset{};
    const Agent::Ptr< const Agent::Bitmap > ports( new Agent::Bitmap( 8 ) );
    expectSaysSo( { USE( getBcmQualifierSet( QualifierSet() ) ), USE( getBcmQualifierSet( &qset ) ),
                    USE( getBcmActionSet( ActionSet() ) ), USE( getPbmp( ports ) ),
                    USE( pbmpToStr( {} ) ),
                    USE( getBcmTcamKeySize( TcamKeySize::single, stageIfp(), true ) ) } );
    expectWorks( { USE( isActionColored( ActionType{} ) ), USE( skipGroupDataWithNullAset( 1 ) ),
                   USE( generateSdk6GroupIdFormat( 1, 1 ) ) } );
}

TEST_F( NoAccessObjectTest, PreselectorsAndFieldData_Each_SaySo )
{
    bcm_field_src_class_t data{};
    bcm_field_src_class_t mask{};
    const auto drop = static_cast< U32 >( QualifierType::drop );
    unsigned char bytes[ 2 ] = {};
    unsigned short length = 0;
    expectSaysSo( { USE( setPeloraTcamPreselectQualifier( 5, 1, drop, 6, 0xFF, &data, &mask ) ),
                    USE( setPreselectQualifier( 5, 1, 1, 6, 0xFF, &data, &mask ) ),
                    USE( setUdfDataAndMask( 5, 1, 1, bytes, bytes, 2 ) ),
                    USE( getUdfDataAndMask( 5, 1, 1, 2, bytes, bytes, &length ) ),
                    USE( getUdfLayer( UdfBaseL3Header_ ) ) } );
    expectWorks( { USE( getUdfStart( UdfBaseL3Header_, 0x0800, 0 ) ), USE( getBcmUdfId( 1 ) ),
                   USE( getBcmUdfPktFmtId( 1 ) ) } );
}

TEST_F( NoAccessObjectTest, UdfModuleFunctions_Each_SaySo )
{
    const PktFmtIdToUdfId::Ptr map( new PktFmtIdToUdfId );
    expectSaysSo(
        { USE( createUdfQualifierUdfModule( 5, desc, map ) ),
          USE( destroyUdfQualifierUdfModule( 5, desc, quals, map ) ),
          USE( udfQualProgrammedInHwUdfModule( 5, desc, quals, map ) ),
          USE( getAllProgrammedUdfIdsUdfModule( 5 ) ), USE( getUdfChunkPosModule( 5, quals ) ),
          USE( createUdfLagHashingModule( 5, 1, desc ) ), USE( destroyUdfLagHashingModule( 5, 1 ) ),
          USE( getAllProgrammedLagHashingUdfIdsUdfModule( 5 ) ),
          USE( udfLagHashingProgrammedInModule( 5, quals, desc ) ) } );
}

TEST_F( NoAccessObjectTest, FlexParserFunctions_Each_SaySo )
{
    const bcm_udf_abstract_pkt_format_t format{};
    expectSaysSo( { USE( udfAbstractPktFmt() ), USE( getUdfReservedBitmap( 5, format ) ),
                    USE( getUdfChunkPosFlexParser( 5, quals ) ),
                    USE( createUdfQualifierFlexParser( 5, desc, format ) ),
                    USE( destroyUdfQualifierFlexParser( 5, quals, format ) ),
                    USE( udfQualProgrammedInHwFlex( 5, desc, quals ) ),
                    USE( getAllProgrammedUdfIdsUdfFlexParser( 5 ) ), USE( udfAbstractPktFmtHsdk() ),
                    USE( getUdfChunkPosFlexParserHsdk( 5, quals ) ),
                    USE( createUdfQualifierFlexParserHsdk( 5, desc, format ) ),
                    USE( destroyUdfQualifierFlexParserHsdk( 5, quals, format ) ),
                    USE( udfQualProgrammedInHwFlexHsdk( 5, desc, quals ) ),
                    USE( getAllProgrammedUdfIdsUdfFlexParserHsdk( 5 ) ) } );
}

} // namespace
} // namespace PeloraTcam
