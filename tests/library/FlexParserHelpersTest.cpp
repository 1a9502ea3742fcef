// The two helper classes of the flexible parser: what they forward, what they trace, their life and
// their registration.

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "agent/base/SlabAllocator.h"
#include "tests/library/FlexParserScene.h"
#include "tests/library/VirtualSlots.h"

#include <algorithm>

namespace LibraryTest {
namespace {

using Agent::AttributeOperation;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Sdk6Class
{
    using Parser = Sdk6Parser;
    using Helper = PeloraTcam::UdfFlexParserHelper;
    static constexpr const char* name = "UdfFlexParserHelper";
    static constexpr const char* module = "PeloraTcam/PeloraTcamUdfSdk6Helper";
    static constexpr const char* facility = "PeloraTcamUdfSdk6Helper";
    static constexpr auto make = PeloraTcam::udfFlexParserHelperFactory;
    static constexpr auto create = PeloraTcam::UdfFlexParserHelper::UdfFlexParserHelperIs;
};

struct HsdkClass
{
    using Parser = HsdkParser;
    using Helper = PeloraTcam::UdfFlexParserHsdkHelper;
    static constexpr const char* name = "UdfFlexParserHsdkHelper";
    static constexpr const char* module = "PeloraTcam/PeloraTcamUdfHsdkHelper";
    static constexpr const char* facility = "PeloraTcamUdfHsdkHelper";
    static constexpr auto make = PeloraTcam::udfFlexParserHsdkHelperFactory;
    static constexpr auto create = PeloraTcam::UdfFlexParserHsdkHelper::UdfFlexParserHsdkHelperIs;
};

constexpr const char* descText =
    "{appType: ipv4Acl, ethType: 0x800, base: UdfBaseL3Header_, ipProto: 6, innerEtherType: 0x0, "
    "offset: 2, length: 2, lagHashingMask: 0x0, priority: 0}";
constexpr const char* descRing = "ipv4Acl 2048 UdfBaseL3Header_ 6 0 2 2 0 0";

template< class Class >
class FlexParserHelpersTest : public FlexParserScene< typename Class::Parser >
{
  protected:
    /// The one line that an operation writes to the helper's facility, at level 4, is that text,
    /// and the ring-buffer trace starts with that other one.
    template< class Operation >
    void
    expectTraced( const std::string& text, const std::string& ringText, const Operation& operation )
    {
        const TestSupport::TraceRecorder traces( Class::facility, allTraceLevels );
        const std::vector< std::string > ring = ringTextsOf( operation );
        ASSERT_EQ( traces.lines().size(), 1U );
        EXPECT_EQ( traces.lines()[ 0 ].text, text );
        EXPECT_EQ( traces.lines()[ 0 ].level, 4U );
        EXPECT_EQ( traces.lines()[ 0 ].file, std::string( Class::module ) + ".cpp" );
        ASSERT_FALSE( ring.empty() );
        EXPECT_EQ( ring[ 0 ], ringText );
    }

    static int serve( Agent::Node& node, const char* name, AttributeOperation op, void* result )
    {
        return Agent::attributeOperation( node, name, op, result );
    }

    static std::size_t liveInSlab()
    {
        return Agent::slabUse( typeid( typename Class::Helper ).name() ).live;
    }

    Agent::Ptr< typename Class::Helper > helper = Class::make( this->unit, 3, true );
};

using Classes = ::testing::Types< Sdk6Class, HsdkClass >;
TYPED_TEST_SUITE( FlexParserHelpersTest, Classes );

// ---- Forwarding ------------------------------------------------------------------------------

TYPED_TEST( FlexParserHelpersTest, Life_OfAUdf_GoesThroughAllOperations )
{
    const UdfDesc desc = udfDescOf( 2, 2 );
    const QualIdList quals = this->helper->programUdfInHw( desc );
    EXPECT_EQ( quals, qualsOf( { 1 } ) );
    this->helper->verifyProgrammedUdf( desc, quals );
    EXPECT_THAT( this->helper->getUdfChunkPosList( this->unit, quals ), ElementsAre( 0 ) );
    EXPECT_EQ( this->helper->getAllProgrammedUdfIds( this->unit ), udfsOf( { 1 } ) );
    this->helper->removeUdfFromHw( desc, quals );
    EXPECT_EQ( this->chipText(), "" );
}

TYPED_TEST( FlexParserHelpersTest, Program_NoRoom_GivesAnEmptyList )
{
    this->freeChunksAre( 0 );
    EXPECT_EQ( this->helper->programUdfInHw( udfDescOf() ), QualIdList() );
}

TYPED_TEST( FlexParserHelpersTest, Unit_OfTheDescriptorOperations_IsTheModuleId )
{
    const auto other = TypeParam::make( 0xFFFF, 3, false );
    this->freeChunksAre( 0 );
    other->programUdfInHw( udfDescOf() );
    other->removeUdfFromHw( udfDescOf(), QualIdList() );
    for ( const TestSupport::RecordedCall& call : this->sdk.records() ) {
        if ( call.isFunction ) {
            EXPECT_EQ( call.arguments.at( 0 ), "65535" );
        }
    }
    this->sdk.clear();
    this->readChunksAre( { 1 } );
    other->verifyProgrammedUdf( udfDescOf( 2, 2 ), qualsOf( { 1 } ) );
    EXPECT_EQ( this->sdk.calls().at( 0 ).substr( 0, 40 ).find( "( 65535, 1" ) != std::string::npos,
               true );
}

TYPED_TEST( FlexParserHelpersTest, Unit_OfListingAndPositions_IsTheGivenOne )
{
    this->readChunksAre( { 1 } );
    this->sdk.on.bcm_udf_abstract_pkt_format_object_list_get = TestSupport::returns( 0 );
    this->helper->getAllProgrammedUdfIds( 9 );
    static_cast< void >( this->helper->getUdfChunkPosList( 9, qualsOf( { 1 } ) ) );
    std::size_t functions = 0;
    for ( const TestSupport::RecordedCall& call : this->sdk.records() ) {
        if ( call.isFunction ) {
            EXPECT_EQ( call.arguments.at( 0 ), "9" ) << call.name;
            ++functions;
        }
    }
    EXPECT_GE( functions, 2U );
}

TYPED_TEST( FlexParserHelpersTest, Remove_DescriptorOfAnotherFormat_ChecksAgainstThatFormat )
{
    const QualIdList quals = this->helper->programUdfInHw( udfDescOf( 2, 2 ) );
    UdfDesc changed = udfDescOf( 2, 2 );
    changed.appTypeIs( UdfAppType::ipv6Acl );
    EXPECT_TRUE( runInChild( [ & ] { this->helper->removeUdfFromHw( changed, quals ); } ).aborted );
}

TYPED_TEST( FlexParserHelpersTest, LagHashing_BothOperations_Die )
{
    const std::string source = std::string( TypeParam::module ) + ".cpp";
    const std::string prefix = std::string( "PeloraTcam::" ) + TypeParam::name + "::";
    const std::string assertion = "Flex Parser does not support Lag Hashing UDF";
    const std::string verify = prefix + "verifyLagHashingUdf";
    this->expectAssertion( { source.c_str(), verify.c_str(), "" }, assertion, [ this ] {
        this->helper->verifyLagHashingUdf( udfDescOf(), QualIdList() );
    } );
    const std::string list = prefix + "getAllProgrammedLagHashingUdfIds";
    this->expectAssertion( { source.c_str(), list.c_str(), "" }, assertion, [ this ] {
        static_cast< void >( this->helper->getAllProgrammedLagHashingUdfIds( 5 ) );
    } );
}

// ---- Traces ----------------------------------------------------------------------------------

TYPED_TEST( FlexParserHelpersTest, Operations_OnEntry_TraceTheirArguments )
{
    const UdfDesc desc = udfDescOf( 2, 2 );
    const std::string text = descText;
    const std::string ring = descRing;
    QualIdList quals;
    this->expectTraced( "programUdfInHw mod:5 udfDesc: " + text,
                        "programUdfInHw mod:5 udfDesc: " + ring,
                        [ & ] { quals = this->helper->programUdfInHw( desc ); } );
    this->expectTraced( "verifyProgrammedUdf mod:5 udfDesc: " + text + " quals: {1}",
                        "verifyProgrammedUdf mod:5 udfDesc: " + ring + " quals: 1",
                        [ & ] { this->helper->verifyProgrammedUdf( desc, quals ); } );
    this->expectTraced(
        "getUdfChunkPosList mod: 5 quals: {1}", "getUdfChunkPosList mod: 5 quals: 1",
        [ & ] { static_cast< void >( this->helper->getUdfChunkPosList( this->unit, quals ) ); } );
    this->expectTraced( "removeUdfFromHw mod:5 udfDesc: " + text + " quals: {1}",
                        "removeUdfFromHw mod:5 udfDesc: " + ring + " quals: 1",
                        [ & ] { this->helper->removeUdfFromHw( desc, quals ); } );
    this->sdk.on.bcm_udf_abstract_pkt_format_object_list_get = TestSupport::returns( 0 );
    this->expectTraced( "getAllProgrammedUdfIds mod:5", "getAllProgrammedUdfIds mod:5", [ & ] {
        static_cast< void >( this->helper->getAllProgrammedUdfIds( 9 ) );
    } );
    this->expectTraced( "handleInitialized", "handleInitialized",
                        [ & ] { this->helper->handleInitialized(); } );
}

TYPED_TEST( FlexParserHelpersTest, Construction_AtItsEnd_CallsHandleInitialized )
{
    const TestSupport::TraceRecorder traces( TypeParam::facility, 1U << 4 );
    const auto other = TypeParam::create( 1, 2, false );
    EXPECT_THAT( traces.texts(), ElementsAre( "handleInitialized" ) );
    EXPECT_THAT( this->sdk.allCalls(), IsEmpty() );
    EXPECT_EQ( other->moduleId(), 1 );
    EXPECT_EQ( other->pipeId(), 2 );
    EXPECT_FALSE( other->lagHashingSupported() );
}

// ---- Life and registration -------------------------------------------------------------------

TYPED_TEST( FlexParserHelpersTest, Slots_OfTheBuiltTable_AreInTheirOrder )
{
    const std::string of = std::string( TypeParam::name ) + "::";
    // The compiler may let the classes of one module share the function.
    const auto typeData = ::testing::AnyOf( of + "typeData", "UdfModuleHelper::typeData" );
    EXPECT_THAT( virtualSlots( *this->helper ),
                 ElementsAre( of + "~" + TypeParam::name, of + "~" + TypeParam::name,
                              "Node::lastUserGone", "Node::publisher", typeData,
                              of + "getUdfChunkPosList", of + "programUdfInHw",
                              of + "removeUdfFromHw", of + "verifyProgrammedUdf",
                              of + "verifyLagHashingUdf", of + "getAllProgrammedUdfIds",
                              of + "getAllProgrammedLagHashingUdfIds", of + "handleInitialized" ) );
}

TYPED_TEST( FlexParserHelpersTest, Construct_NewAndLastPtr_CountsGoUpAndBack )
{
    using Helper = typename TypeParam::Helper;
    const std::size_t count = Helper::memAllocationTracker_.count();
    const std::size_t live = this->liveInSlab();
    {
        const Agent::Ptr< Agent::Node > other = TypeParam::create( 1, 2, true );
        EXPECT_EQ( Helper::memAllocationTracker_.count(), count + 1 );
        EXPECT_EQ( this->liveInSlab(), live + 1 );
    }
    EXPECT_EQ( Helper::memAllocationTracker_.count(), count );
    EXPECT_EQ( this->liveInSlab(), live );
}

TYPED_TEST( FlexParserHelpersTest, TypeData_AnyObject_IsTheRecordOfTheModule )
{
    const Agent::ModuleRecord& module = this->helper->typeData();
    EXPECT_EQ( std::ranges::count( Agent::registeredModules(), &module ), 1 );
    EXPECT_EQ( module.source, TypeParam::module );
    const Agent::TypeRecord& type = Agent::typeRecord( *this->helper );
    EXPECT_EQ( type.name, std::string( "PeloraTcam::" ) + TypeParam::name );
    EXPECT_EQ( *type.type, typeid( typename TypeParam::Helper ) );
    EXPECT_THAT( type.constructorArguments, ElementsAre( "U16", "U8", "bool" ) );
    std::vector< std::string_view > attributes;
    for ( const Agent::FieldDescriptor& attribute : type.attributes ) {
        attributes.push_back( attribute.name );
    }
    EXPECT_THAT( attributes, ElementsAre( "lagHashingSupported", "moduleId", "pipeId" ) );
}

TYPED_TEST( FlexParserHelpersTest, Registry_Construct_MakesOneWithItsArguments )
{
    const Agent::U16 moduleId = 700;
    const Agent::U8 pipeId = 8;
    const bool lagHashingSupported = true;
    const void* const arguments[] = { &moduleId, &pipeId, &lagHashingSupported };
    const std::string className = std::string( "PeloraTcam::" ) + TypeParam::name;
    const Agent::Ptr< Agent::Node > node =
        Agent::construct( *Agent::registeredType( className ), arguments );
    ASSERT_TRUE( node );
    EXPECT_NE( dynamic_cast< typename TypeParam::Helper* >( node.get() ), nullptr );
    Agent::U16 readModuleId = 0;
    Agent::U8 readPipeId = 0;
    bool readSupported = false;
    EXPECT_EQ( this->serve( *node, "moduleId", AttributeOperation::read, &readModuleId ), 0 );
    EXPECT_EQ( this->serve( *node, "pipeId", AttributeOperation::read, &readPipeId ), 0 );
    EXPECT_EQ(
        this->serve( *node, "lagHashingSupported", AttributeOperation::read, &readSupported ), 0 );
    EXPECT_EQ( readModuleId, 700 );
    EXPECT_EQ( readPipeId, 8 );
    EXPECT_TRUE( readSupported );
    PeloraTcam::PktFmtIdToUdfId::Ptr map;
    EXPECT_EQ( this->serve( *node, "pktFmtIdToUdfId", AttributeOperation::read, &map ), 2 )
        << "that of the UDF module";
}

} // namespace
} // namespace LibraryTest
