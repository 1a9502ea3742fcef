#include "reference/UdfManager.h"

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "agent/base/Locks.h"
#include "agent/base/Log.h"
#include "sim/FaultInjectingSdk.h"
#include "tests/support/AssertionText.h"
#include "tests/support/EnvironmentNumbering.h"
#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Reference {
namespace {

using PeloraTcam::QualIdList;
using PeloraTcam::UdfDesc;
using PeloraTcam::UdfId;
using PeloraTcam::UdfIdList;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int unit = 2;

UdfDesc descOf( Agent::U8 offset )
{
    UdfDesc desc;
    desc.baseIs( PeloraTcam::UdfBaseL3Header_ );
    desc.ethTypeIs( 0x0800 );
    desc.ipProtoIs( 6 );
    desc.offsetIs( offset );
    desc.lengthIs( 2 );
    return desc;
}

UdfDesc hashedDescOf( Agent::U8 offset )
{
    UdfDesc desc = descOf( offset );
    desc.lagHashingIs( true );
    desc.lagHashingMaskIs( { { 0, 0xFF } } );
    return desc;
}

/// A chip with room for 4 UDFs, 2 packet formats of 2 UDFs each and 1 hash configuration.
class UdfManagerTest : public ::testing::Test
{
  protected:
    UdfManagerTest()
    {
        chips.chipIs( unit, Sim::builtInProfile( "sdk6-tiny" ) );
        Shim::sdk_ = &sdk;
        previousSink_ = Agent::logSinkIs( []( const Agent::LogDescriptor& ) {} );
    }

    ~UdfManagerTest() override
    {
        Agent::logSinkIs( previousSink_ );
        Shim::sdk_ = nullptr;
    }

    static Agent::Ptr< PeloraTcam::UdfHelperBase > newHelper( bool lagHashingSupported = true )
    {
        return PeloraTcam::udfModuleHelperFactory( unit, 1, lagHashingSupported );
    }

    [[nodiscard]] std::string chipText() const { return chips.chip( unit )->snapshot().text(); }

    Sim::SimulatedSdk chips{ TestSupport::environmentNumbering() };
    Sim::FaultInjectingSdk faulty{ chips };
    TestSupport::RecordingSdk sdk{ faulty };
    Agent::LockAnchor activity{ Agent::activityLock() };
    UdfManager manager{ newHelper() };

  private:
    Agent::LogSink previousSink_;
};

TEST_F( UdfManagerTest, Program_EqualDescriptor_SharesAndTheChipHearsNothing )
{
    const QualIdList quals = manager.program( descOf( 2 ) );
    EXPECT_THAT( quals, ElementsAre( 1 ) );
    sdk.clear();
    EXPECT_EQ( manager.program( descOf( 2 ) ), quals );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
    EXPECT_EQ( manager.size(), 1U );
    EXPECT_EQ( manager.users( descOf( 2 ) ), 2U );
    EXPECT_EQ( manager.users( descOf( 4 ) ), 0U );
}

TEST_F( UdfManagerTest, ChunkPositions_OursAndOthers_AreToldOrNone )
{
    UdfDesc wide = descOf( 2 );
    wide.lengthIs( 4 );
    static_cast< void >( manager.program( wide ) );
    static_cast< void >( manager.program( descOf( 8 ) ) );
    EXPECT_THAT( manager.chunkPositions( wide ), ElementsAre( 0, 1 ) );
    EXPECT_THAT( manager.chunkPositions( descOf( 8 ) ), ElementsAre( 2 ) );
    EXPECT_EQ( manager.chunkPositions( descOf( 10 ) ), PeloraTcam::UdfChunkPosList() );
}

TEST_F( UdfManagerTest, Program_OtherDescriptor_IsAUdfOfItsOwn )
{
    EXPECT_THAT( manager.program( descOf( 2 ) ), ElementsAre( 1 ) );
    EXPECT_THAT( manager.program( descOf( 4 ) ), ElementsAre( 2 ) );
    EXPECT_EQ( manager.size(), 2U );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_create" ), 1U );
}

TEST_F( UdfManagerTest, Program_NoRoom_GivesNothingAndKeepsNoRecord )
{
    static_cast< void >( manager.program( descOf( 2 ) ) );
    static_cast< void >( manager.program( descOf( 4 ) ) );
    const std::string before = chipText();
    EXPECT_EQ( manager.program( descOf( 6 ) ), QualIdList() );
    EXPECT_EQ( manager.size(), 2U );
    EXPECT_EQ( chipText(), before );
    EXPECT_TRUE( manager.remove( descOf( 2 ) ) );
    EXPECT_EQ( manager.program( descOf( 6 ) ).qualIds(), 1U ) << "there is room again";
}

TEST_F( UdfManagerTest, Program_HashOfAChipThatCannot_IsRefusedWithoutACall )
{
    UdfManager other( newHelper( false ) );
    EXPECT_EQ( other.program( hashedDescOf( 2 ) ), QualIdList() );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
    EXPECT_EQ( other.program( descOf( 2 ) ).qualIds(), 1U );
}

TEST_F( UdfManagerTest, Remove_LastUser_TakesItOutOfTheChip )
{
    static_cast< void >( manager.program( descOf( 2 ) ) );
    static_cast< void >( manager.program( descOf( 2 ) ) );
    const std::string before = chipText();
    EXPECT_TRUE( manager.remove( descOf( 2 ) ) );
    EXPECT_EQ( chipText(), before );
    EXPECT_EQ( manager.users( descOf( 2 ) ), 1U );
    EXPECT_TRUE( manager.remove( descOf( 2 ) ) );
    EXPECT_EQ( chipText(), "" );
    EXPECT_EQ( manager.size(), 0U );
    EXPECT_FALSE( manager.remove( descOf( 2 ) ) );
}

TEST_F( UdfManagerTest, Remove_SdkThrows_KeepsTheRecord )
{
    static_cast< void >( manager.program( descOf( 2 ) ) );
    faulty.add( { { .function = "bcm_udf_pkt_format_get_all" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( manager.remove( descOf( 2 ) ), std::runtime_error );
    EXPECT_EQ( manager.users( descOf( 2 ) ), 1U );
    EXPECT_TRUE( manager.remove( descOf( 2 ) ) );
    EXPECT_EQ( chipText(), "" );
}

TEST_F( UdfManagerTest, Audit_AsProgrammed_ComparesAllThatCanBeCompared )
{
    static_cast< void >( manager.program( hashedDescOf( 2 ) ) );
    UdfDesc behind = descOf( 0 );
    behind.baseIs( PeloraTcam::UdfBaseL4OuterPayload_ );
    static_cast< void >( manager.program( behind ) );
    sdk.clear();
    const UdfManager::Audit audit = manager.audit();
    EXPECT_EQ( audit.compared, 1U );
    EXPECT_EQ( audit.notJudged, 1U );
    EXPECT_EQ( audit.foreign, UdfIdList() );
    EXPECT_EQ( sdk.countOf( "bcm_udf_hash_config_get" ), 1U );
    EXPECT_EQ( sdk.countOf( "bcm_udf_get" ), 1U );
}

TEST_F( UdfManagerTest, Audit_ChipDiffers_Dies )
{
    static_cast< void >( manager.program( descOf( 2 ) ) );
    faulty.addFromNow( { { .function = "bcm_udf_get" }, Sim::CorruptOutput{ "start", 24 } } );
    EXPECT_DEATH( static_cast< void >( manager.audit() ),
                  TestSupport::assertionLine( "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.cpp",
                                              ".*udfQualProgrammedInHwUdfModule.*",
                                              "udf.start() == ( offset * 8 )" ) );
}

TEST_F( UdfManagerTest, Foreign_OfAnEarlierLife_AreReported )
{
    static_cast< void >( manager.program( descOf( 2 ) ) );
    UdfManager next( newHelper() );
    EXPECT_THAT( next.foreign(), ElementsAre( UdfId( 1 ) ) );
    EXPECT_THAT( next.program( descOf( 2 ) ), ElementsAre( 2 ) ) << "not shared";
    EXPECT_THAT( next.list(), ElementsAre( UdfId( 2 ) ) );
    EXPECT_THAT( next.foreign(), ElementsAre( UdfId( 1 ) ) );
    EXPECT_THAT( next.audit().foreign, ElementsAre( UdfId( 1 ) ) );
    EXPECT_THAT( manager.foreign(), ElementsAre( UdfId( 2 ) ) );
}

TEST_F( UdfManagerTest, Construct_WithoutHelper_Dies )
{
    EXPECT_DEATH( UdfManager( nullptr ), "Assertion `helper_' failed" );
}

// ---- Through the flexible parser -------------------------------------------------------------

UdfDesc descOfLength( Agent::U8 length )
{
    UdfDesc desc = descOf( 2 );
    desc.baseIs( PeloraTcam::UdfBaseL4OuterPayload_ ); // the flexible parser is told no base
    desc.lengthIs( length );
    return desc;
}

/// Which of the lengths 1 to 4 an audit compares with the chip.
std::vector< int > comparedLengths( UdfManager& manager )
{
    std::vector< int > lengths;
    for ( const Agent::U8 length : std::initializer_list< Agent::U8 >{ 1, 2, 3, 4 } ) {
        const UdfDesc desc = descOfLength( length );
        EXPECT_EQ( manager.program( desc ).qualIds(), 1U );
        const UdfManager::Audit audit = manager.audit();
        EXPECT_EQ( audit.compared + audit.notJudged, 1U );
        if ( audit.compared == 1 ) {
            lengths.push_back( length );
        }
        EXPECT_TRUE( manager.remove( desc ) );
    }
    return lengths;
}

TEST_F( UdfManagerTest, Audit_FlexParser_WithholdsFieldsThatTheHelperCannotJudge )
{
    chips.chipIs( 7, Sim::builtInProfile( "sdk6-flex" ) );
    UdfManager sdk6( PeloraTcam::udfFlexParserHelperFactory( 7, 0, false ), UdfPath::flexParser );
    EXPECT_THAT( comparedLengths( sdk6 ), ElementsAre( 1, 2 ) );
    chips.chipIs( 8, Sim::builtInProfile( "hsdk" ) );
    UdfManager hsdk( PeloraTcam::udfFlexParserHsdkHelperFactory( 8, 0, false ),
                     UdfPath::flexParserHsdk );
    EXPECT_THAT( comparedLengths( hsdk ), ElementsAre( 2 ) );
}

} // namespace
} // namespace Reference
