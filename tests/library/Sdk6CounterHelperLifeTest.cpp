// The life of an SDK-6 counter helper: its slots, its memory, its record in the type registry, its
// attributes, and its three ways to be made.

#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"
#include "agent/base/TypeRegistry.h"
#include "agent/tcam/InitFuncs.h"
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
using Eviction = PeloraTcam::PeloraTcamSdk6CounterEvictionHelper;
using Helper = PeloraTcam::PeloraTcamSdk6CounterHelper;

constexpr const char* className = "PeloraTcam::PeloraTcamSdk6CounterHelper";

Agent::Ptr< Helper > newHelper( const ChipInfo& chipInfo = ChipInfo() )
{
    return Helper::PeloraTcamSdk6CounterHelperIs( 7, 9, chipInfo );
}

TEST( Sdk6CounterLifeTest, BuiltTable_HasTheOperationsInTheirOrder )
{
    EXPECT_THAT( virtualSlots( *newHelper() ),
                 ElementsAre( "PeloraTcamSdk6CounterHelper::~PeloraTcamSdk6CounterHelper",
                              "PeloraTcamSdk6CounterHelper::~PeloraTcamSdk6CounterHelper",
                              "Node::lastUserGone", "Node::publisher",
                              "PeloraTcamSdk6CounterHelper::typeData",
                              "PeloraTcamSdk6CounterHelper::allocateCounter",
                              "PeloraTcamSdk6CounterHelper::freeCounter",
                              "PeloraTcamSdk6CounterHelper::getStatHits",
                              "PeloraTcamSdk6CounterHelper::getPacketHits",
                              "PeloraTcamSdk6CounterHelper::getByteHits",
                              "PeloraTcamSdk6CounterHelper::getCounterHwIdx",
                              "PeloraTcamSdk6CounterHelper::clearHitsForEntry",
                              "PeloraTcamSdk6CounterHelper::isStatIdInstalledInHardware",
                              "PeloraTcamSdk6CounterHelper::maybeClearHitsAfterEntryInstall",
                              "PeloraTcamSdk6CounterHelper::handleFlashDownload",
                              "PeloraTcamSdk6CounterHelper::configureCounter",
                              "PeloraTcamSdk6CounterHelper::verifyCounters",
                              "PeloraTcamSdk6CounterHelper::handleInitialized" ) );
}

TEST( Sdk6CounterLifeTest, Destroy_InPlace_MarksTheNodeAsBeingDestroyed )
{
    EXPECT_EQ( flagsAfterDestruction< Helper >( Agent::U8{ 7 }, Agent::U32{ 9 }, ChipInfo() ),
               0x20000000U );
}

TEST( Sdk6CounterLifeTest, CreatorAndFactory_NewAndLastPtr_CountsGoUpAndBack )
{
    expectCounted< Helper >( [] { return newHelper(); } );
    expectCounted< Helper >(
        [] { return PeloraTcam::peloraTcamSdk6CounterHelperFactory( 7, 9, ChipInfo() ); } );
}

TEST( Sdk6CounterLifeTest, Registry_Construct_MakesItFromItsArguments )
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

TEST( Sdk6CounterLifeTest, TypeData_AnyObject_IsTheOneRecordOfTheModule )
{
    const Agent::Ptr< Helper > helper = newHelper();
    const Agent::ModuleRecord& module = helper->typeData();
    EXPECT_EQ( &module, &newHelper()->typeData() );
    EXPECT_EQ( std::ranges::count( Agent::registeredModules(), &module ), 1 );
    EXPECT_EQ( module.source, "PeloraTcam/PeloraTcamSdk6CounterHelper" );
    ASSERT_EQ( module.types.size(), 1U );
    const Agent::TypeRecord& type = module.types[ 0 ];
    EXPECT_EQ( type.name, className );
    EXPECT_THAT( type.constructorArguments, ElementsAre( "U8", "U32", "PeloraCentral::ChipInfo" ) );
    std::vector< std::string_view > attributes;
    for ( const Agent::FieldDescriptor& attribute : type.attributes ) {
        attributes.push_back( attribute.name );
    }
    EXPECT_THAT( attributes, ElementsAre( "chipInfo", "evictionHelper", "pipeId", "unit" ) );
}

TEST( Sdk6CounterLifeTest, Attributes_OfTheBase_AreReadableOnly )
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

TEST( Sdk6CounterLifeTest, Attribute_EvictionHelper_IsReadableOnly )
{
    const Agent::Ptr< Eviction > eviction( new Eviction( 8 ) );
    PeloraTcam::registeredInitFuncIs( PeloraTcam::baseSdk6InitFuncName,
                                      Agent::Ptr< PeloraTcam::BaseSdk6InitFunc >(
                                          new PeloraTcam::BaseSdk6InitFunc( eviction ) ) );
    const Agent::Ptr< Helper > helper = newHelper();
    expectReadable( "evictionHelper", eviction, *helper );
    EXPECT_EQ( helper->evictionHelper(), eviction );
    PeloraTcam::registeredInitFuncIs( PeloraTcam::baseSdk6InitFuncName, nullptr );
}

TEST( Sdk6CounterLifeTest, AttributeOperation_OfTheClassItself_ServesTheEvictionHelperOnly )
{
    const Agent::Ptr< Helper > helper = newHelper();
    Agent::Ptr< Eviction > result;
    for ( const char* attribute : { "chipInfo", "pipeId", "unit", "", "EvictionHelper" } ) {
        EXPECT_EQ(
            Helper::attributeOperation( *helper, { attribute }, AttributeOperation::read, &result ),
            2 );
    }
    EXPECT_EQ( Helper::attributeOperation( *helper, { "evictionHelper" },
                                           AttributeOperation::create, &result ),
               1 );
    EXPECT_EQ( result, nullptr );
}

} // namespace
} // namespace LibraryTest
