// The life of a compression helper: its slots, its memory, its record in the type registry, its
// attributes, and its three ways to be made.

#include "PeloraTcam/PeloraTcamSdk6CompressionHelper.h"
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
using PeloraTcam::FapId;
using ::testing::ElementsAre;
using Helper = PeloraTcam::PeloraTcamSdk6CompressionHelper;

constexpr const char* className = "PeloraTcam::PeloraTcamSdk6CompressionHelper";

Agent::Ptr< Helper > newHelper()
{
    return Helper::PeloraTcamSdk6CompressionHelperIs( 7, FapId( 9 ) );
}

TEST( CompressionLifeTest, BuiltTable_HasTheOperationsInTheirOrder )
{
    EXPECT_THAT( virtualSlots( *newHelper() ),
                 ElementsAre( "PeloraTcamSdk6CompressionHelper::~PeloraTcamSdk6CompressionHelper",
                              "PeloraTcamSdk6CompressionHelper::~PeloraTcamSdk6CompressionHelper",
                              "Node::lastUserGone", "Node::publisher",
                              "PeloraTcamSdk6CompressionHelper::typeData",
                              "PeloraTcamSdk6CompressionHelper::getFieldCompressionEntry",
                              "PeloraTcamSdk6CompressionHelper::releaseFieldCompressionEntry",
                              "PeloraTcamSdk6CompressionHelper::handleInitialized" ) );
}

TEST( CompressionLifeTest, Destroy_InPlace_MarksTheNodeAsBeingDestroyed )
{
    EXPECT_EQ( flagsAfterDestruction< Helper >( Agent::U8{ 7 }, FapId( 9 ) ), 0x20000000U );
}

TEST( CompressionLifeTest, Creator_NewAndLastPtr_CountsGoUpAndBack )
{
    expectCounted< Helper >( [] { return newHelper(); } );
}

TEST( CompressionLifeTest, Factory_NewAndLastPtr_CountsGoUpAndBack )
{
    expectCounted< Helper >(
        [] { return PeloraTcam::peloraTcamSdk6CompressionHelperFactory( 7, FapId( 9 ) ); } );
}

TEST( CompressionLifeTest, Registry_Construct_MakesItFromItsArguments )
{
    const Agent::TypeRecord* type = Agent::registeredType( className );
    ASSERT_NE( type, nullptr );
    const Agent::U8 pipe = 1;
    const FapId fapId( 2 );
    const void* const arguments[] = { &pipe, &fapId };
    expectCounted< Helper >( [ & ] { return Agent::construct( *type, arguments ); } );
    const Agent::Ptr< Agent::Node > node = Agent::construct( *type, arguments );
    const auto& helper = dynamic_cast< const Helper& >( *node );
    EXPECT_EQ( helper.pipeId(), 1U );
    EXPECT_EQ( helper.fapId(), FapId( 2 ) );
}

TEST( CompressionLifeTest, TypeData_AnyObject_IsTheOneRecordOfTheModule )
{
    const Agent::Ptr< Helper > helper = newHelper();
    const Agent::ModuleRecord& module = helper->typeData();
    EXPECT_EQ( &module, &newHelper()->typeData() );
    EXPECT_EQ( std::ranges::count( Agent::registeredModules(), &module ), 1 );
    EXPECT_EQ( module.source, "PeloraTcam/PeloraTcamSdk6CompressionHelper" );
    ASSERT_EQ( module.types.size(), 1U );
    const Agent::TypeRecord& type = module.types[ 0 ];
    EXPECT_EQ( type.name, className );
    EXPECT_THAT( type.constructorArguments, ElementsAre( "U8", "FapId" ) );
    ASSERT_EQ( type.attributes.size(), 2U );
    EXPECT_EQ( type.attributes[ 0 ].name, "fapId" );
    EXPECT_EQ( type.attributes[ 1 ].name, "pipeId" );
}

TEST( CompressionLifeTest, Attributes_PipeIdAndFapId_AreReadableOnly )
{
    const Agent::Ptr< Helper > helper = newHelper();
    Agent::U8 pipeId = 0;
    FapId fapId;
    const auto serve = [ & ]( const char* name, AttributeOperation operation, void* result ) {
        return Agent::attributeOperation( *helper, name, operation, result );
    };
    EXPECT_EQ( serve( "pipeId", AttributeOperation::create, &pipeId ), 1 );
    EXPECT_EQ( serve( "fapId", AttributeOperation::remove, &fapId ), 1 );
    EXPECT_EQ( serve( "unit", AttributeOperation::read, &pipeId ), 2 );
    EXPECT_EQ( pipeId, 0U );
    EXPECT_EQ( serve( "pipeId", AttributeOperation::read, &pipeId ), 0 );
    EXPECT_EQ( serve( "fapId", AttributeOperation::read, &fapId ), 0 );
    EXPECT_EQ( pipeId, 7U );
    EXPECT_EQ( fapId, FapId( 9 ) );
}

} // namespace
} // namespace LibraryTest
