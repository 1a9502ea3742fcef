// The life of an HSDK counter helper: its slots, its memory, its record in the type registry, its
// attributes, and its three ways to be made.

#include "PeloraTcam/PeloraTcamHsdkCounterHelper.h"
#include "agent/base/TypeRegistry.h"
#include "tests/library/HelperLife.h"
#include "tests/library/NodeFlags.h"
#include "tests/library/VirtualSlots.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace LibraryTest {
namespace {

using Agent::AttributeOperation;
using PeloraCentral::ChipInfo;
using ::testing::ElementsAre;
using Helper = PeloraTcam::PeloraTcamHsdkCounterHelper;

constexpr const char* className = "PeloraTcam::PeloraTcamHsdkCounterHelper";

Agent::Ptr< Helper > newHelper( const ChipInfo& chipInfo = ChipInfo() )
{
    return Helper::PeloraTcamHsdkCounterHelperIs( 7, 9, chipInfo );
}

TEST( HsdkCounterLifeTest, BuiltTable_HasTheOperationsInTheirOrder )
{
    EXPECT_THAT( virtualSlots( *newHelper() ),
                 ElementsAre( "PeloraTcamHsdkCounterHelper::~PeloraTcamHsdkCounterHelper",
                              "PeloraTcamHsdkCounterHelper::~PeloraTcamHsdkCounterHelper",
                              "Node::lastUserGone", "Node::publisher",
                              "PeloraTcamHsdkCounterHelper::typeData",
                              "PeloraTcamHsdkCounterHelper::allocateCounter",
                              "PeloraTcamHsdkCounterHelper::freeCounter",
                              "PeloraTcamHsdkCounterHelper::getStatHits",
                              "PeloraTcamHsdkCounterHelper::getPacketHits",
                              "PeloraTcamHsdkCounterHelper::getByteHits",
                              "PeloraTcamHsdkCounterHelper::getCounterHwIdx",
                              "PeloraTcamHsdkCounterHelper::clearHitsForEntry",
                              "PeloraTcamHsdkCounterHelper::isStatIdInstalledInHardware",
                              "PeloraTcamHsdkCounterHelper::maybeClearHitsAfterEntryInstall",
                              "PeloraTcamHsdkCounterHelper::handleFlashDownload",
                              "PeloraTcamHsdkCounterHelper::configureCounter",
                              "PeloraTcamHsdkCounterHelper::verifyCounters",
                              "PeloraTcamHsdkCounterHelper::handleInitialized" ) );
}

TEST( HsdkCounterLifeTest, Destroy_InPlace_MarksTheNodeAsBeingDestroyed )
{
    EXPECT_EQ( flagsAfterDestruction< Helper >( Agent::U8{ 7 }, Agent::U32{ 9 }, ChipInfo() ),
               0x20000000U );
}

TEST( HsdkCounterLifeTest, CreatorAndFactory_NewAndLastPtr_CountsGoUpAndBack )
{
    expectCounted< Helper >( [] { return newHelper(); } );
    expectCounted< Helper >(
        [] { return PeloraTcam::peloraTcamHsdkCounterHelperFactory( 7, 9, ChipInfo() ); } );
}

TEST( HsdkCounterLifeTest, Registry_Construct_MakesItFromItsArguments )
{
    const Agent::TypeRecord* type = Agent::registeredType( className );
    ASSERT_NE( type, nullptr );
    const Agent::U8 pipe = 1;
    const Agent::U32 unit = 2;
    const ChipInfo chipInfo;
    const void* const arguments[] = { &pipe, &unit, &chipInfo };
    expectCounted< Helper >( [ & ] { return Agent::construct( *type, arguments ); } );
    const Agent::Ptr< Agent::Node > node = Agent::construct( *type, arguments );
    const auto& helper = dynamic_cast< const Helper& >( *node );
    EXPECT_EQ( helper.pipeId(), 1U );
    EXPECT_EQ( helper.unit(), 2U );
    EXPECT_EQ( helper.chipInfo(), chipInfo );
}

TEST( HsdkCounterLifeTest, TypeData_AnyObject_IsTheOneRecordOfTheModule )
{
    const Agent::Ptr< Helper > helper = newHelper();
    const Agent::ModuleRecord& module = helper->typeData();
    EXPECT_EQ( &module, &newHelper()->typeData() );
    EXPECT_EQ( std::ranges::count( Agent::registeredModules(), &module ), 1 );
    EXPECT_EQ( module.source, "PeloraTcam/PeloraTcamHsdkCounterHelper" );
    ASSERT_EQ( module.types.size(), 1U );
    const Agent::TypeRecord& type = module.types[ 0 ];
    EXPECT_EQ( type.name, className );
    EXPECT_THAT( type.constructorArguments, ElementsAre( "U8", "U32", "PeloraCentral::ChipInfo" ) );
    std::vector< std::string_view > attributes;
    for ( const Agent::FieldDescriptor& attribute : type.attributes ) {
        attributes.push_back( attribute.name );
    }
    EXPECT_THAT( attributes, ElementsAre( "chipInfo", "pipeId", "unit" ) );
}

TEST( HsdkCounterLifeTest, Attributes_OfTheBase_AreReadableOnly )
{
    const ChipInfo chipInfo;
    const Agent::Ptr< Helper > helper = newHelper( chipInfo );
    expectReadable( "pipeId", Agent::U8{ 7 }, *helper );
    expectReadable( "unit", Agent::U32{ 9 }, *helper );
    ChipInfo read;
    EXPECT_EQ( Agent::attributeOperation( *helper, "chipInfo", AttributeOperation::read, &read ),
               0 );
    EXPECT_EQ( read, chipInfo );
    Agent::U32 other = 0;
    EXPECT_EQ( Agent::attributeOperation( *helper, "fapId", AttributeOperation::read, &other ), 2 );
}

TEST( HsdkCounterLifeTest, AttributeOperation_OfTheClassItself_LeavesAllToTheBase )
{
    const Agent::Ptr< Helper > helper = newHelper();
    Agent::U32 result = 0;
    for ( const char* attribute : { "chipInfo", "pipeId", "unit", "evictionHelper" } ) {
        EXPECT_EQ(
            Helper::attributeOperation( *helper, { attribute }, AttributeOperation::read, &result ),
            2 );
    }
    EXPECT_EQ(
        Agent::attributeOperation( *helper, "evictionHelper", AttributeOperation::read, &result ),
        2 );
    EXPECT_EQ( result, 0U );
}

} // namespace
} // namespace LibraryTest
