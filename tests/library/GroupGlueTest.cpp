#include "PeloraTcam/PeloraTcamSdk6Helper.h"

#include "sim/UnavailableSdk.h"
#include "tests/library/ChildRun.h"
#include "tests/support/EnvironmentNumbering.h"
#include "tests/support/RecordingSdk.h"
#include "tests/support/TraceRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>
#include <type_traits>

namespace LibraryTest {
namespace {

using Agent::Bitmap;
using Agent::Ptr;
using Agent::U32;
using Agent::U8;
using PeloraCentral::ChipInfo;
using PeloraCentral::ChipProfile;
using PeloraCentral::ClassifierKind;
using PeloraCentral::CosQueueMap;
using PeloraCentral::TcamFeatureAttributes;
using PeloraTcam::StageType;
using PeloraTcam::TcamKeySize;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// What callers are compiled against.
static_assert(
    std::is_same_v< decltype( PeloraTcam::getBcmTcamKeySize ),
                    bcm_field_group_mode_t( TcamKeySize::TcamKeySizeValue, StageType, bool ) > );
static_assert( std::is_same_v< decltype( PeloraTcam::generateSdk6GroupIdFormat ),
                               U32( PeloraTcam::LogicalGroupId, U8 ) > );
static_assert(
    std::is_same_v< decltype( PeloraTcam::getPbmp ), _shr_pbmp( Ptr< const Bitmap > ) > );
static_assert(
    std::is_same_v< decltype( PeloraTcam::pbmpToStr ), std::string( const _shr_pbmp& ) > );
static_assert( std::is_same_v< decltype( PeloraTcam::skipGroupDataWithNullAset ),
                               bool( PeloraTcam::TcamGroupId ) > );
static_assert( std::is_same_v< decltype( PeloraTcam::getBcmActionParamCosMapNew ),
                               U32( U32, const ChipInfo& ) > );

constexpr const char* invalidKeySize = "Assertion `0 && \"Invalid vexa tcam key size\"' failed.";
constexpr const char* notIngress = "Assertion `stage == stageIfp()' failed.";
constexpr const char* notLookup = "Assertion `stage == stageVfp()' failed.";

class GroupGlueTest : public ::testing::Test
{
  protected:
    GroupGlueTest() { Shim::sdk_ = &sdk_; }

    Sim::UnavailableSdk chip_{ TestSupport::environmentNumbering() };
    TestSupport::RecordingSdk sdk_{ chip_ };
};

using GroupGlueDeathTest = GroupGlueTest;

// ---- Key sizes -------------------------------------------------------------------------------

bcm_field_group_mode_t modeOf( U32 keySize, U32 stage, bool narrowWide )
{
    return PeloraTcam::getBcmTcamKeySize( static_cast< TcamKeySize::TcamKeySizeValue >( keySize ),
                                          static_cast< StageType >( stage ), narrowWide );
}

TEST_F( GroupGlueTest, GetBcmTcamKeySize_SizesThatFitAnyStage_GiveTheirMode )
{
    for ( const U32 stage : { 0U, 1U, 2U, 3U, 255U } ) {
        for ( const bool narrowWide : { false, true } ) {
            EXPECT_EQ( modeOf( 0, stage, narrowWide ), sdk_.bcmFieldGroupModeAuto() );
            EXPECT_EQ( modeOf( 320, stage, narrowWide ), sdk_.bcmFieldGroupModeDouble() );
        }
    }
}

TEST_F( GroupGlueTest, GetBcmTcamKeySize_160_IsNarrowOnlyAtTheIngressStageWithSupport )
{
    for ( const U32 stage : { 0U, 1U, 3U, 255U } ) {
        EXPECT_EQ( modeOf( 160, stage, true ), sdk_.bcmFieldGroupModeSingle() ) << stage;
        EXPECT_EQ( modeOf( 160, stage, false ), sdk_.bcmFieldGroupModeSingle() ) << stage;
    }
    EXPECT_EQ( modeOf( 160, 2, false ), sdk_.bcmFieldGroupModeSingle() );
    EXPECT_EQ( modeOf( 160, 2, true ), sdk_.bcmFieldGroupModeSingleASetNarrow() );
}

TEST_F( GroupGlueTest, GetBcmTcamKeySize_480AtIngressAnd640AtLookup_GiveTheirMode )
{
    for ( const bool narrowWide : { false, true } ) {
        EXPECT_EQ( modeOf( 480, 2, narrowWide ), sdk_.bcmFieldGroupModeTriple() );
        EXPECT_EQ( modeOf( 640, 1, narrowWide ), sdk_.bcmFieldGroupModeQuad() );
    }
}

TEST_F( GroupGlueTest, GetBcmTcamKeySize_MapNotBuilt_StillGivesTheMode )
{
    EXPECT_TRUE( PeloraTcam::groupModeMap.empty() );
    EXPECT_EQ( modeOf( 320, 2, false ), sdk_.bcmFieldGroupModeDouble() );
}

/// The assertion that must fail; null if a mode must be given.
const char* expectedAssertion( U32 keySize, U32 stage )
{
    switch ( keySize ) {
    case 0:
    case 160:
    case 320:
        return nullptr;
    case 480:
        return stage == 2 ? nullptr : notIngress;
    case 640:
        return stage == 1 ? nullptr : notLookup;
    default:
        return invalidKeySize;
    }
}

TEST_F( GroupGlueDeathTest, GetBcmTcamKeySize_EverySizeStageAndFlag_GivesAModeOrFails )
{
    for ( U32 keySize = 0; keySize <= 700; ++keySize ) {
        for ( U32 variant = 0; variant < 8; ++variant ) {
            const U32 stage = variant / 2;
            const char* assertion = expectedAssertion( keySize, stage );
            const ChildRun run =
                runInChild( [ & ] { modeOf( keySize, stage, variant % 2 != 0 ); } );
            ASSERT_EQ( run.returned, assertion == nullptr ) << keySize << " stage " << stage;
            ASSERT_EQ( run.aborted, assertion != nullptr ) << keySize << " stage " << stage;
            ASSERT_THAT( run.errors, HasSubstr( assertion == nullptr ? "" : assertion ) );
        }
    }
}

TEST_F( GroupGlueTest, GetBcmTcamKeySize_Level4On_TracesArgumentsAndMode )
{
    TestSupport::TraceRecorder traces( "PeloraTcamSdk6Helper", 1U << 4 );
    const U32 mode = modeOf( 160, 2, true );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( "getBcmTcamKeySize keySize 160 stage ifp narrowWideTcamWidthSupport "
                              "1",
                              "getBcmTcamKeySize returns: " + std::to_string( mode ) ) );
    EXPECT_EQ( traces.lines()[ 0 ].level, 4U );
    EXPECT_EQ( traces.lines()[ 1 ].level, 4U );
}

TEST_F( GroupGlueTest, GetBcmTcamKeySize_Level4Off_TracesNothing )
{
    TestSupport::TraceRecorder traces( "PeloraTcamSdk6Helper", ~( 1U << 4 ) );
    modeOf( 0, 1, false );
    EXPECT_TRUE( traces.lines().empty() );
}

TEST_F( GroupGlueDeathTest, GetBcmTcamKeySize_InvalidSize_TracesTheArgumentsOnly )
{
    const ChildRun run = runInChild( [] {
        Agent::traceLevelsIs( "PeloraTcamSdk6Helper", 1U << 4 );
        modeOf( 100, 1, false );
    } );
    EXPECT_TRUE( run.aborted );
    EXPECT_THAT( run.errors,
                 HasSubstr( "getBcmTcamKeySize keySize 100 stage vfp narrowWideTcamWidthSupport "
                            "0\n" ) );
    EXPECT_THAT( run.errors, ::testing::Not( HasSubstr( "returns" ) ) );
}

// ---- Group ids -------------------------------------------------------------------------------

TEST( GenerateSdk6GroupIdFormat, Format_KnownGroups_GiveTheSdkId )
{
    EXPECT_EQ( PeloraTcam::generateSdk6GroupIdFormat( 0x01000005, 3 ), 0x0B000005U );
    EXPECT_EQ( PeloraTcam::generateSdk6GroupIdFormat( 0x1FF, 9 ), 0x010000FFU );
    EXPECT_EQ( PeloraTcam::generateSdk6GroupIdFormat( 0, 0 ), 0U );
    EXPECT_EQ( PeloraTcam::generateSdk6GroupIdFormat( 0xFFFFFFFF, 255 ), 0x0F0000FFU );
    EXPECT_EQ( PeloraTcam::generateSdk6GroupIdFormat( 0xFEFFFF00, 0xF8 ), 0U );
}

/// Bit by bit: which bit of which argument stands there, if any.
bool expectedBit( unsigned bit, U32 groupId, U32 subId )
{
    if ( bit <= 7 ) {
        return ( groupId & ( 1U << bit ) ) != 0;
    }
    if ( bit >= 24 && bit <= 26 ) {
        return ( subId & ( 1U << ( bit - 24 ) ) ) != 0;
    }
    return bit == 27 && ( groupId & 0x01000000 ) != 0;
}

TEST( GenerateSdk6GroupIdFormat, Format_RandomArguments_HasEveryBitInItsPlace )
{
    std::mt19937 random( 20240229 );
    for ( int round = 0; round < 20000; ++round ) {
        const auto groupId = static_cast< U32 >( random() );
        const auto subId = static_cast< U8 >( random() );
        const U32 id = PeloraTcam::generateSdk6GroupIdFormat( groupId, subId );
        for ( unsigned bit = 0; bit < 32; ++bit ) {
            ASSERT_EQ( ( id >> bit & 1U ) != 0, expectedBit( bit, groupId, subId ) )
                << std::hex << groupId << " " << U32{ subId } << " bit " << std::dec << bit;
        }
    }
}

// ---- Port bitmaps ----------------------------------------------------------------------------

TEST_F( GroupGlueTest, GetPbmp_Null_IsTheClearedBitmap )
{
    const _shr_pbmp pbmp = PeloraTcam::getPbmp( nullptr );
    EXPECT_EQ( pbmp.pbits, _shr_pbmp().pbits );
    EXPECT_EQ( sdk_.allCalls().size(), 1U );
    EXPECT_EQ( sdk_.countOf( "BCM_PBMP_CLEAR" ), 1U );
}

TEST_F( GroupGlueTest, GetPbmp_NoBits_IsTheClearedBitmap )
{
    EXPECT_EQ( PeloraTcam::getPbmp( Ptr< const Bitmap >( new Bitmap( 0 ) ) ).pbits,
               _shr_pbmp().pbits );
    EXPECT_EQ( PeloraTcam::getPbmp( Ptr< const Bitmap >( new Bitmap( 512 ) ) ).pbits,
               _shr_pbmp().pbits );
    EXPECT_EQ( sdk_.countOf( "BCM_PBMP_CLEAR" ), 2U );
    EXPECT_EQ( sdk_.allCalls().size(), 2U );
}

TEST_F( GroupGlueTest, GetPbmp_SomePorts_AddsThemInRisingOrder )
{
    const Ptr< Bitmap > ports( new Bitmap( 512 ) );
    for ( const U32 port : { 511U, 0U, 64U, 63U, 32U, 31U, 200U } ) {
        ports->bitIs( port, true );
    }
    std::vector< int > added;
    sdk_.on.BCM_PBMP_PORT_ADD = [ & ]( _shr_pbmp* pbmp, int port ) {
        added.push_back( port );
        chip_.BCM_PBMP_PORT_ADD( pbmp, port );
    };

    const _shr_pbmp pbmp = PeloraTcam::getPbmp( ports );

    EXPECT_THAT( added, ElementsAre( 0, 31, 32, 63, 64, 200, 511 ) );
    EXPECT_EQ( sdk_.allCalls().size(), 8U );
    EXPECT_EQ( pbmp.pbits[ 0 ], 0x80000001U );
    EXPECT_EQ( pbmp.pbits[ 1 ], 0x80000001U );
    EXPECT_EQ( pbmp.pbits[ 2 ], 0x00000001U );
    EXPECT_EQ( pbmp.pbits[ 6 ], 0x00000100U ); // 200 = 6 * 32 + 8
    EXPECT_EQ( pbmp.pbits[ 15 ], 0x80000000U );
}

TEST_F( GroupGlueTest, GetPbmp_EveryPortOfASmallBitmap_AddsAll )
{
    const Ptr< Bitmap > ports( new Bitmap( 3 ) );
    for ( const U32 port : { 0U, 1U, 2U } ) {
        ports->bitIs( port, true );
    }
    EXPECT_EQ( PeloraTcam::getPbmp( ports ).pbits[ 0 ], 7U );
}

TEST_F( GroupGlueTest, PbmpToStr_AnyLength_IsTheSdksText )
{
    const _shr_pbmp pbmp;
    for ( const std::size_t length : { 1U, 15U, 16U, 17U, 32U, 5000U } ) {
        const std::string text( length - 1, 'a' );
        sdk_.on.SHR_PBMP_FMT_LEN = [ & ]( const _shr_pbmp* asked ) {
            EXPECT_EQ( asked, &pbmp );
            return static_cast< uint32_t >( length );
        };
        sdk_.on.SHR_PBMP_FMT = [ & ]( const _shr_pbmp* asked, char* buffer ) {
            EXPECT_EQ( asked, &pbmp );
            std::copy_n( text.c_str(), length, buffer );
            return static_cast< const char* >( buffer );
        };
        EXPECT_EQ( PeloraTcam::pbmpToStr( pbmp ), text );
    }
}

// A longer buffer begins further down the stack. Sanitizers put something of their own between.
#ifndef PELORA_SANITIZED
TEST_F( GroupGlueTest, PbmpToStr_Buffer_GrowsBySixteenBytes )
{
    const _shr_pbmp pbmp;
    std::uintptr_t buffer = 0;
    sdk_.on.SHR_PBMP_FMT = [ & ]( const _shr_pbmp*, char* text ) {
        buffer = reinterpret_cast< std::uintptr_t >( text );
        *text = 0;
        return static_cast< const char* >( text );
    };
    std::vector< std::uintptr_t > buffers;
    for ( const uint32_t length : { 16U, 1U, 17U, 32U, 33U } ) {
        sdk_.on.SHR_PBMP_FMT_LEN = [ length ]( const _shr_pbmp* ) { return length; };
        EXPECT_EQ( PeloraTcam::pbmpToStr( pbmp ), "" );
        buffers.push_back( buffer );
    }
    const std::uintptr_t first = buffers[ 0 ];
    EXPECT_THAT( buffers, ElementsAre( first, first, first - 16, first - 16, first - 32 ) );
}
#endif

TEST_F( GroupGlueTest, PbmpToStr_BitmapOfTwoPorts_IsInHexadecimal )
{
    const Ptr< Bitmap > ports( new Bitmap( 64 ) );
    ports->bitIs( 4, true );
    ports->bitIs( 33, true );
    EXPECT_EQ( PeloraTcam::pbmpToStr( PeloraTcam::getPbmp( ports ) ),
               "0x" + std::string( 112, '0' ) + "0000000200000010" );
}

// ---- Groups with an empty action set ---------------------------------------------------------

TEST( SkipGroupDataWithNullAset, Ask_EveryGroupId_IsTrueForTheListedOnesOnly )
{
    const std::set< U32 > skipped = {
        1,   9,   10,  12,  13,  14,  38,  39,  41,  42,  43,  44,  47,  50,  59,  60,
        61,  62,  63,  71,  72,  73,  74,  75,  76,  77,  78,  79,  80,  81,  82,  83,
        86,  91,  92,  93,  94,  95,  96,  106, 147, 150, 151, 153, 154, 155, 156, 158,
        159, 166, 173, 187, 188, 189, 190, 191, 192, 193, 202, 203, 205, 208, 250 };
    ASSERT_EQ( skipped.size(), 63U );
    for ( U32 groupId = 0; groupId < 1024; ++groupId ) {
        EXPECT_EQ( PeloraTcam::skipGroupDataWithNullAset( groupId ), skipped.contains( groupId ) )
            << groupId;
    }
    EXPECT_FALSE( PeloraTcam::skipGroupDataWithNullAset( 0xFFFFFFFF ) );
    EXPECT_FALSE( PeloraTcam::skipGroupDataWithNullAset( 0x01000001 ) );
}

// ---- CoS maps --------------------------------------------------------------------------------

ChipInfo chipWithClassifier( U8 trafficClass, U32 id, std::optional< TcamFeatureAttributes > bits )
{
    const Ptr< CosQueueMap > queues( new CosQueueMap );
    queues->classifierIdIs( ClassifierKind::fieldAction, trafficClass, id );
    queues->classifierIdIs( ClassifierKind::unicastQueue, trafficClass, 0xBAD );
    ChipInfo chipInfo( queues );
    chipInfo.activeChipProfileIs( Ptr< const ChipProfile >( new ChipProfile( bits ) ) );
    return chipInfo;
}

TEST( GetBcmActionParamCosMapNew, Ask_ProfileWithoutAttributes_IsTheClassifierIdIn16Bits )
{
    const ChipInfo chipInfo = chipWithClassifier( 5, 0xABCD1234, std::nullopt );
    EXPECT_EQ( PeloraTcam::getBcmActionParamCosMapNew( 5, chipInfo ), 0x1234U );
    const ChipInfo allBits = chipWithClassifier( 5, 0xABCDFFFF, std::nullopt );
    EXPECT_EQ( PeloraTcam::getBcmActionParamCosMapNew( 5, allBits ), 0xFFFFU );
}

TEST( GetBcmActionParamCosMapNew, Ask_ProfileWithAttributes_AddsTheirBits )
{
    const ChipInfo chipInfo =
        chipWithClassifier( 5, 0x1234, TcamFeatureAttributes{ .cosMapBits = 0x80010001 } );
    EXPECT_EQ( PeloraTcam::getBcmActionParamCosMapNew( 5, chipInfo ), 0x80011235U );
}

TEST( GetBcmActionParamCosMapNew, Ask_WideTrafficClass_UsesTheLowByte )
{
    const ChipInfo chipInfo = chipWithClassifier( 0xFE, 0x77, std::nullopt );
    EXPECT_EQ( PeloraTcam::getBcmActionParamCosMapNew( 0xABCDEFFE, chipInfo ), 0x77U );
}

TEST( GetBcmActionParamCosMapNew, Ask_TrafficClassWithoutClassifier_IsWhatTheProfileAdds )
{
    const ChipInfo chipInfo =
        chipWithClassifier( 5, 0x1234, TcamFeatureAttributes{ .cosMapBits = 0x40 } );
    EXPECT_EQ( PeloraTcam::getBcmActionParamCosMapNew( 6, chipInfo ), 0x40U );
}

TEST( GetBcmActionParamCosMapNewDeathTest, Ask_NoActiveProfile_Fails )
{
    EXPECT_DEATH( static_cast< void >( PeloraTcam::getBcmActionParamCosMapNew( 5, ChipInfo() ) ),
                  "Assertion `activeChipProfile' failed" );
}

} // namespace
} // namespace LibraryTest
