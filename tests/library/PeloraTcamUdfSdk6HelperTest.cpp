// The UDF module helper: what it forwards, what it traces, its map, its life and its registration.

#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"

#include "agent/base/SlabAllocator.h"
#include "tests/library/UdfScene.h"
#include "tests/library/VirtualSlots.h"
#include "tests/support/LockRecorder.h"

#include <algorithm>

namespace LibraryTest {
namespace {

using Agent::AttributeOperation;
using PeloraTcam::UdfModuleHelper;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* helperFacility = "PeloraTcamUdfSdk6Helper";
constexpr const char* helperSource = "PeloraTcam/PeloraTcamUdfSdk6Helper.cpp";
constexpr const char* className = "PeloraTcam::UdfModuleHelper";

class UdfModuleHelperTest : public UdfScene
{
  protected:
    /// The one line that an operation writes to the helper's facility, at level 4, is that text,
    /// and the ring-buffer trace starts with that other one.
    template< class Operation >
    void
    expectTraced( const std::string& text, const std::string& ringText, const Operation& operation )
    {
        const TestSupport::TraceRecorder traces( helperFacility, allTraceLevels );
        const std::vector< std::string > ring = ringTextsOf( operation );
        ASSERT_EQ( traces.lines().size(), 1U );
        EXPECT_EQ( traces.lines()[ 0 ].text, text );
        EXPECT_EQ( traces.lines()[ 0 ].level, 4U );
        EXPECT_EQ( traces.lines()[ 0 ].file, helperSource );
        ASSERT_FALSE( ring.empty() );
        EXPECT_EQ( ring[ 0 ], ringText );
    }

    static int serve( Agent::Node& node, const char* name, AttributeOperation op, void* result )
    {
        return Agent::attributeOperation( node, name, op, result );
    }

    Agent::Ptr< UdfModuleHelper > helper = PeloraTcam::udfModuleHelperFactory( unit, 3, true );
};

// ---- Forwarding ------------------------------------------------------------------------------

TEST_F( UdfModuleHelperTest, Program_TwoOffsets_ShareOneFormat )
{
    EXPECT_EQ( helper->programUdfInHw( udfDescOf( 2, 2 ) ), qualsOf( { 1 } ) );
    EXPECT_EQ( helper->programUdfInHw( udfDescOf( 8, 2 ) ), qualsOf( { 2 } ) );
    EXPECT_EQ( helper->pktFmtIdToUdfId()->pktFmtIds(), 1U );
    EXPECT_EQ( helper->pktFmtIdToUdfId()->pktFmtIdToUdfId( PktFmtId( 1 ) ), udfsOf( { 1, 2 } ) );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_create" ), 1U );
}

TEST_F( UdfModuleHelperTest, Program_NoRoom_GivesAnEmptyListAndLogsOnce )
{
    EXPECT_EQ( helper->programUdfInHw( udfDescOf( 2, 14 ) ), QualIdList() );
    EXPECT_THAT( logged, ElementsAre( "PELORA_TCAM_UDF_HW_RESOURCE_FULL" ) );
}

TEST_F( UdfModuleHelperTest, Life_OfAHashingUdf_GoesThroughAllOperations )
{
    const QualIdList quals = helper->programUdfInHw( lagDescOf() );
    helper->verifyProgrammedUdf( lagDescOf(), quals );
    helper->verifyLagHashingUdf( lagDescOf(), quals );
    EXPECT_THAT( helper->getUdfChunkPosList( unit, quals ), ElementsAre( 0 ) );
    EXPECT_EQ( helper->getAllProgrammedUdfIds( unit ), udfsOf( { 1 } ) );
    EXPECT_EQ( helper->getAllProgrammedLagHashingUdfIds( unit ), udfsOf( { 1 } ) );
    helper->removeUdfFromHw( lagDescOf(), quals );
    EXPECT_EQ( chipText(), "" );
    EXPECT_EQ( helper->pktFmtIdToUdfId()->pktFmtIds(), 0U );
}

TEST_F( UdfModuleHelperTest, Verify_OfAnotherUdfThanMade_Dies )
{
    const QualIdList quals = helper->programUdfInHw( lagDescOf() );
    UdfDesc longer = lagDescOf();
    longer.lengthIs( 4 );
    expectAssertion( { udfSource, "PeloraTcam::udfQualProgrammedInHwUdfModule", "" },
                     "udf.width() == ( length * 8 )",
                     [ & ] { helper->verifyProgrammedUdf( longer, quals ); } );
    expectAssertion( { udfSource, "PeloraTcam::udfLagHashingProgrammedInModule", "" },
                     "udfDesc.length() == hash_config.mask_length()",
                     [ & ] { helper->verifyLagHashingUdf( longer, quals ); } );
}

TEST_F( UdfModuleHelperTest, Unit_OfProgramming_IsTheModuleId )
{
    const auto other = UdfModuleHelper::UdfModuleHelperIs( 0xFFFF, 3, false );
    other->programUdfInHw( udfDescOf() );
    EXPECT_EQ( sdk.calls().at( 0 ).substr( 0, 22 ), "bcm_udf_create( 65535," );
}

TEST_F( UdfModuleHelperTest, Unit_OfListing_IsTheGivenOne )
{
    chips.chipIs( 9, Sim::builtInProfile( "sdk6-udf" ) );
    sdk.clear();
    EXPECT_EQ( helper->getAllProgrammedUdfIds( 9 ), UdfIdList() );
    EXPECT_EQ( helper->getAllProgrammedLagHashingUdfIds( 9 ), UdfIdList() );
    EXPECT_THAT( sdk.calls(), ElementsAre( "bcm_udf_get_all( 9, 128, &, & )",
                                           "bcm_udf_hash_config_get_all( 9, 0, null, & )",
                                           "bcm_udf_hash_config_get_all( 9, 0, null, & )" ) );
}

TEST_F( UdfModuleHelperTest, Unit_OfChunks_IsTheGivenOne )
{
    chips.chipIs( 9, Sim::builtInProfile( "sdk6-udf" ) );
    const QualIdList quals = createUdfQualifierUdfModule( 9, udfDescOf( 2, 4 ), formats );
    sdk.clear();
    expectTraced(
        "getUdfChunkPosList mod: 9 quals: {1}", "getUdfChunkPosList mod: 9 quals: 1",
        [ & ] { EXPECT_THAT( helper->getUdfChunkPosList( 9, quals ), ElementsAre( 0, 1 ) ); } );
    ASSERT_EQ( sdk.calls().size(), 1U );
    EXPECT_THAT( sdk.calls()[ 0 ], ::testing::StartsWith( "bcm_udf_get( 9, 1, " ) );
}

TEST_F( UdfModuleHelperTest, Map_DuringACall_HasAnotherReference )
{
    const PktFmtIdToUdfId::Ptr map = helper->pktFmtIdToUdfId();
    ASSERT_EQ( map->references(), 2U );
    sdk.on.bcm_udf_create = [ & ]( auto, auto*, auto*, auto* ) {
        EXPECT_EQ( map->references(), 3U );
        helper->pktFmtIdToUdfIdDel();
        return -4;
    };
    helper->programUdfInHw( udfDescOf() );
    EXPECT_EQ( map->references(), 1U );
}

TEST_F( UdfModuleHelperTest, Remove_OfAnEarlierLife_Dies )
{
    const QualIdList quals = helper->programUdfInHw( udfDescOf() );
    const auto next = PeloraTcam::udfModuleHelperFactory( unit, 3, true );
    expectAssertion( { udfSource, "PeloraTcam::destroyUdfQualifierUdfModule", "" },
                     "udfs.udfIdHas( id )",
                     [ & ] { next->removeUdfFromHw( udfDescOf(), quals ); } );
}

TEST_F( UdfModuleHelperTest, Locks_AroundACall_AreReleasedAndRetaken )
{
    const TestSupport::LockRecorder locks;
    sdk.on.bcm_udf_get_all = [ & ]( auto... ) {
        EXPECT_FALSE( Agent::activityLock().heldByThisThread() );
        return 0;
    };
    helper->getAllProgrammedUdfIds( unit );
    EXPECT_EQ( locks.events().size(), 2U );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
}

// ---- Traces ----------------------------------------------------------------------------------

constexpr const char* descText =
    "{appType: ipv4Acl, ethType: 0x800, base: UdfBaseL3Header_, ipProto: 6, innerEtherType: 0x0, "
    "offset: 2, length: 2, lagHashingMask: 0xff0f0000, priority: 0}";
constexpr const char* descRing = "ipv4Acl 2048 UdfBaseL3Header_ 6 0 2 2 4279173120 0";

TEST_F( UdfModuleHelperTest, Operations_OnEntry_TraceTheirArguments )
{
    const UdfDesc desc = lagDescOf();
    const std::string text = descText;
    const std::string ring = descRing;
    QualIdList quals;
    expectTraced( "programUdfInHw mod:5 udfDesc: " + text, "programUdfInHw mod:5 udfDesc: " + ring,
                  [ & ] { quals = helper->programUdfInHw( desc ); } );
    expectTraced( "verifyProgrammedUdf mod:5 udfDesc: " + text + " quals: {1}",
                  "verifyProgrammedUdf mod:5 udfDesc: " + ring + " quals: 1",
                  [ & ] { helper->verifyProgrammedUdf( desc, quals ); } );
    expectTraced( "verifyLagHashingUdf mod:5 udfDesc: " + text + " QualIdList: {1}",
                  "verifyLagHashingUdf mod:5 udfDesc: " + ring + " QualIdList: 1",
                  [ & ] { helper->verifyLagHashingUdf( desc, quals ); } );
    expectTraced( "getUdfChunkPosList mod: 5 quals: {1}", "getUdfChunkPosList mod: 5 quals: 1",
                  [ & ] { static_cast< void >( helper->getUdfChunkPosList( unit, quals ) ); } );
    expectTraced( "removeUdfFromHw mod:5 udfDesc: " + text + " quals: {1}",
                  "removeUdfFromHw mod:5 udfDesc: " + ring + " quals: 1",
                  [ & ] { helper->removeUdfFromHw( desc, quals ); } );
    expectTraced( "handleInitialized", "handleInitialized",
                  [ & ] { helper->handleInitialized(); } );
}

TEST_F( UdfModuleHelperTest, Lists_OnEntry_TraceNothingOfTheHelpers )
{
    const TestSupport::TraceRecorder traces( helperFacility, allTraceLevels );
    const std::vector< std::string > ring = ringTextsOf( [ this ] {
        helper->getAllProgrammedUdfIds( unit );
        helper->getAllProgrammedLagHashingUdfIds( unit );
    } );
    EXPECT_THAT( traces.texts(), IsEmpty() );
    EXPECT_THAT( ring, ElementsAre( " retrieve 0 UDFs from HW", " retrieve 0 UDFs from HW" ) );
}

TEST_F( UdfModuleHelperTest, Construction_AtItsEnd_CallsHandleInitialized )
{
    const TestSupport::TraceRecorder traces( helperFacility, 1U << 4 );
    const auto other = PeloraTcam::udfModuleHelperFactory( 1, 2, false );
    EXPECT_THAT( traces.texts(), ElementsAre( "handleInitialized" ) );
    ASSERT_TRUE( other->pktFmtIdToUdfId() );
    EXPECT_EQ( other->pktFmtIdToUdfId()->pktFmtIds(), 0U );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
}

// ---- The map ---------------------------------------------------------------------------------

TEST_F( UdfModuleHelperTest, MapIs_Again_GivesTheSame )
{
    const PktFmtIdToUdfId::Ptr map = helper->pktFmtIdToUdfIdIs();
    EXPECT_EQ( helper->pktFmtIdToUdfIdIs(), map );
    EXPECT_EQ( map->references(), 2U );
    helper->handleInitialized();
    EXPECT_EQ( helper->pktFmtIdToUdfId(), map );
}

TEST_F( UdfModuleHelperTest, MapDel_ThenIs_GivesANewEmptyOne )
{
    helper->programUdfInHw( udfDescOf( 2, 2 ) );
    const PktFmtIdToUdfId::Ptr old = helper->pktFmtIdToUdfIdDel();
    EXPECT_EQ( old->pktFmtIds(), 1U );
    EXPECT_EQ( old->references(), 1U );
    EXPECT_FALSE( helper->pktFmtIdToUdfId() );
    EXPECT_FALSE( helper->pktFmtIdToUdfIdDel() );
    EXPECT_NE( helper->pktFmtIdToUdfIdIs(), old );
    EXPECT_EQ( helper->pktFmtIdToUdfId()->pktFmtIds(), 0U );
    helper->programUdfInHw( udfDescOf( 8, 2 ) );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_create" ), 2U ) << "not shared any more";
}

TEST_F( UdfModuleHelperTest, Map_KeptByAnother_OutlivesTheHelper )
{
    const PktFmtIdToUdfId::Ptr map = helper->pktFmtIdToUdfId();
    helper = nullptr;
    EXPECT_EQ( map->references(), 1U );
}

// ---- Life and registration -------------------------------------------------------------------

TEST_F( UdfModuleHelperTest, Slots_OfTheBuiltTable_AreInTheirOrder )
{
    EXPECT_THAT(
        virtualSlots( *helper ),
        ElementsAre( "UdfModuleHelper::~UdfModuleHelper", "UdfModuleHelper::~UdfModuleHelper",
                     "Node::lastUserGone", "Node::publisher", "UdfModuleHelper::typeData",
                     "UdfModuleHelper::getUdfChunkPosList", "UdfModuleHelper::programUdfInHw",
                     "UdfModuleHelper::removeUdfFromHw", "UdfModuleHelper::verifyProgrammedUdf",
                     "UdfModuleHelper::verifyLagHashingUdf",
                     "UdfModuleHelper::getAllProgrammedUdfIds",
                     "UdfModuleHelper::getAllProgrammedLagHashingUdfIds",
                     "UdfModuleHelper::handleInitialized" ) );
}

TEST_F( UdfModuleHelperTest, Construct_NewAndLastPtr_CountsGoUpAndBack )
{
    const std::size_t count = UdfModuleHelper::memAllocationTracker_.count();
    const std::size_t live = Agent::slabUse( typeid( UdfModuleHelper ).name() ).live;
    {
        const Agent::Ptr< Agent::Node > other = UdfModuleHelper::UdfModuleHelperIs( 1, 2, true );
        EXPECT_EQ( UdfModuleHelper::memAllocationTracker_.count(), count + 1 );
        EXPECT_EQ( Agent::slabUse( typeid( UdfModuleHelper ).name() ).live, live + 1 );
    }
    EXPECT_EQ( UdfModuleHelper::memAllocationTracker_.count(), count );
    EXPECT_EQ( Agent::slabUse( typeid( UdfModuleHelper ).name() ).live, live );
}

// The trace's sink stands for anything that throws out of `handleInitialized()`.
TEST_F( UdfModuleHelperTest, Construct_HandleInitializedThrows_LeavesNothingAllocated )
{
    const std::size_t count = UdfModuleHelper::memAllocationTracker_.count();
    const std::size_t live = Agent::slabUse( typeid( UdfModuleHelper ).name() ).live;
    const TestSupport::TraceRecorder levels( helperFacility, 1U << 4 );
    const Agent::TraceSink before = Agent::traceSinkIs(
        []( const Agent::TraceLine& ) { throw std::runtime_error( "no more paper" ); } );
    EXPECT_THROW( static_cast< void >( PeloraTcam::udfModuleHelperFactory( 1, 2, true ) ),
                  std::runtime_error );
    Agent::traceSinkIs( before );
    EXPECT_EQ( UdfModuleHelper::memAllocationTracker_.count(), count );
    EXPECT_EQ( Agent::slabUse( typeid( UdfModuleHelper ).name() ).live, live );
}

TEST_F( UdfModuleHelperTest, TypeData_AnyObject_IsTheRecordOfTheModule )
{
    const Agent::ModuleRecord& module = helper->typeData();
    EXPECT_EQ( std::ranges::count( Agent::registeredModules(), &module ), 1 );
    EXPECT_EQ( module.source, "PeloraTcam/PeloraTcamUdfSdk6Helper" );
    const Agent::TypeRecord& type = Agent::typeRecord( *helper );
    EXPECT_EQ( type.name, className );
    EXPECT_EQ( *type.type, typeid( UdfModuleHelper ) );
    EXPECT_THAT( type.constructorArguments, ElementsAre( "U16", "U8", "bool" ) );
    std::vector< std::string_view > attributes;
    for ( const Agent::FieldDescriptor& attribute : type.attributes ) {
        attributes.push_back( attribute.name );
    }
    EXPECT_THAT( attributes,
                 ElementsAre( "lagHashingSupported", "moduleId", "pipeId", "pktFmtIdToUdfId" ) );
}

TEST_F( UdfModuleHelperTest, Registry_Construct_MakesOneWithItsArguments )
{
    const Agent::U16 moduleId = 700;
    const Agent::U8 pipeId = 8;
    const bool lagHashingSupported = true;
    const void* const arguments[] = { &moduleId, &pipeId, &lagHashingSupported };
    const Agent::Ptr< Agent::Node > node =
        Agent::construct( *Agent::registeredType( className ), arguments );
    ASSERT_TRUE( node );
    EXPECT_NE( dynamic_cast< UdfModuleHelper* >( node.get() ), nullptr );
    Agent::U16 readModuleId = 0;
    Agent::U8 readPipeId = 0;
    bool readSupported = false;
    EXPECT_EQ( serve( *node, "moduleId", AttributeOperation::read, &readModuleId ), 0 );
    EXPECT_EQ( serve( *node, "pipeId", AttributeOperation::read, &readPipeId ), 0 );
    EXPECT_EQ( serve( *node, "lagHashingSupported", AttributeOperation::read, &readSupported ), 0 );
    EXPECT_EQ( readModuleId, 700 );
    EXPECT_EQ( readPipeId, 8 );
    EXPECT_TRUE( readSupported );
    for ( const char* name : { "moduleId", "pipeId", "lagHashingSupported" } ) {
        EXPECT_EQ( serve( *node, name, AttributeOperation::create, &readSupported ), 1 );
        EXPECT_EQ( serve( *node, name, AttributeOperation::remove, &readSupported ), 1 );
    }
}

TEST_F( UdfModuleHelperTest, MapAttribute_ReadCreateAndRemove_DoAsTheFunctions )
{
    const char* const name = "pktFmtIdToUdfId";
    const PktFmtIdToUdfId::Ptr map = helper->pktFmtIdToUdfId();
    PktFmtIdToUdfId::Ptr result;
    EXPECT_EQ( serve( *helper, name, AttributeOperation::read, &result ), 0 );
    EXPECT_EQ( result, map );
    EXPECT_EQ( serve( *helper, name, AttributeOperation::create, &result ), 0 );
    EXPECT_EQ( result, map );
    EXPECT_EQ( serve( *helper, name, AttributeOperation::remove, &result ), 0 );
    EXPECT_EQ( result, map );
    EXPECT_EQ( serve( *helper, name, AttributeOperation::read, &result ), 0 );
    EXPECT_FALSE( result );
    EXPECT_EQ( serve( *helper, name, AttributeOperation::create, &result ), 0 );
    EXPECT_EQ( result, helper->pktFmtIdToUdfId() );
    EXPECT_TRUE( result );
    EXPECT_EQ( serve( *helper, name, static_cast< AttributeOperation >( 3 ), &result ), 1 );
    EXPECT_EQ( serve( *helper, "colour", AttributeOperation::read, &result ), 2 );
}

} // namespace
} // namespace LibraryTest
