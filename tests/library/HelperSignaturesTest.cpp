// The types of the operations of the counter, policer, range checker and compression helpers, and
// of the values that they take and give. The exported names hold the arguments; results, widths
// and bases stand in none of them.

#include "PeloraTcam/PeloraTcamHsdkCounterHelper.h"
#include "PeloraTcam/PeloraTcamHsdkPolicerHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CompressionHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"
#include "PeloraTcam/PeloraTcamSdk6PolicerHelper.h"
#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

namespace LibraryTest {
namespace {

using namespace PeloraTcam; // NOLINT: everything here is of there.

template< class Wanted, class Given >
constexpr bool is( Given )
{
    return std::is_same_v< Wanted, Given >;
}

template< class Wanted, class Given >
constexpr bool same = std::is_same_v< Wanted, Given >;

template< class Helper >
void expectCounterOperations()
{
    using Info = const CounterInfo&;
    using Allocate = CounterInfo ( Helper::* )( StageType, LogicalGroupId, const TcamEntryId&,
                                                const CounterSet&, TcamGroupPriority );
    using Free = bool ( Helper::* )( StageType, LogicalGroupId, const TcamEntryId&, Info,
                                     TcamGroupPriority );
    using StatHits = uint64_t ( Helper::* )( unsigned, CounterType, StageType );
    using HwIdx = int32_t ( Helper::* )( unsigned, CounterType, StageType );
    using Verify = void ( Helper::* )( unsigned, const CounterStatus& );
    EXPECT_TRUE( is< Allocate >( &Helper::allocateCounter ) );
    EXPECT_TRUE( is< Free >( &Helper::freeCounter ) );
    EXPECT_TRUE( is< StatHits >( &Helper::getStatHits ) );
    EXPECT_TRUE( is< uint64_t ( Helper::* )( Info ) >( &Helper::getPacketHits ) );
    EXPECT_TRUE( is< uint64_t ( Helper::* )( Info ) >( &Helper::getByteHits ) );
    EXPECT_TRUE( is< HwIdx >( &Helper::getCounterHwIdx ) );
    EXPECT_TRUE( is< void ( Helper::* )( Info ) >( &Helper::clearHitsForEntry ) );
    EXPECT_TRUE( is< bool ( Helper::* )( unsigned ) >( &Helper::isStatIdInstalledInHardware ) );
    EXPECT_TRUE( is< void ( Helper::* )( unsigned ) >( &Helper::maybeClearHitsAfterEntryInstall ) );
    EXPECT_TRUE( is< void ( Helper::* )() >( &Helper::handleFlashDownload ) );
    EXPECT_TRUE( is< void ( Helper::* )() >( &Helper::configureCounter ) );
    EXPECT_TRUE( is< Verify >( &Helper::verifyCounters ) );
    EXPECT_TRUE( is< void ( Helper::* )() >( &Helper::handleInitialized ) );
    EXPECT_TRUE( ( std::is_base_of_v< PeloraTcamCounterHelper, Helper > ));
}

TEST( HelperSignaturesTest, CounterHelpers_Types_AreAsRequired )
{
    expectCounterOperations< PeloraTcamSdk6CounterHelper >();
    expectCounterOperations< PeloraTcamHsdkCounterHelper >();
    EXPECT_TRUE( is< bcm_field_stat_t ( * )( const CounterType& ) >( &translateStatType ) );
    using Eviction =
        Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > ( PeloraTcamSdk6CounterHelper::* )()
            const;
    EXPECT_TRUE( is< Eviction >( &PeloraTcamSdk6CounterHelper::evictionHelper ) );
}

TEST( HelperSignaturesTest, CounterValues_Types_AreAsRequired )
{
    EXPECT_TRUE( ( same< uint8_t, std::underlying_type_t< CounterType > > ));
    EXPECT_TRUE( ( same< CounterType, CounterSet::key_type > ));
    EXPECT_TRUE( ( same< bool, CounterSet::mapped_type > ));
    EXPECT_TRUE( ( same< uint32_t, decltype( CounterInfo::statId ) > ));
    EXPECT_TRUE( ( same< CounterSet, decltype( CounterInfo::counterSet ) > ));
    EXPECT_TRUE( ( same< StageType, decltype( CounterInfo::stage ) > ));
}

TEST( HelperSignaturesTest, PolicerHelpers_Types_AreAsRequired )
{
    using Sdk6 = PeloraTcamSdk6PolicerHelper;
    using Hsdk = PeloraTcamHsdkPolicerHelper;
    using Verify = void ( Sdk6::* )( const Agent::Ptr< const PolicerData >& );
    EXPECT_TRUE(
        ( is< PolicerId ( Sdk6::* )( const Policer&, StageType ) >( &Sdk6::getPolicer ) ) );
    EXPECT_TRUE( ( is< void ( Sdk6::* )( PolicerId, StageType ) >( &Sdk6::releasePolicer ) ) );
    EXPECT_TRUE(
        ( is< PolicerId ( Hsdk::* )( const Policer&, StageType ) >( &Hsdk::getPolicer ) ) );
    EXPECT_TRUE( ( is< void ( Hsdk::* )( PolicerId, StageType ) >( &Hsdk::releasePolicer ) ) );
    EXPECT_TRUE( is< Verify >( &Sdk6::verifyTcamSanity ) );
    EXPECT_TRUE( is< Verify >( &Hsdk::verifyTcamSanity ) ) << "inherited";
    EXPECT_TRUE( is< void ( Sdk6::* )() >( &Hsdk::handleInitialized ) ) << "inherited";
    EXPECT_TRUE( ( is< bcm_policer_config_t ( Sdk6::* )( const Policer& ) const >(
        &Hsdk::getBcmPolicerConfig ) ) )
        << "inherited";
    EXPECT_TRUE( ( std::is_base_of_v< PeloraTcamPolicerHelper, Sdk6 > ));
}

TEST( HelperSignaturesTest, PolicerValues_Types_AreAsRequired )
{
    EXPECT_TRUE( ( same< uint32_t, PolicerId > ));
    EXPECT_TRUE( ( same< uint8_t, std::underlying_type_t< PolicerMode > > ));
    EXPECT_TRUE( ( same< uint32_t, decltype( Policer::committedRate ) > ));
    EXPECT_TRUE( ( same< uint32_t, decltype( Policer::peakRate ) > ));
    EXPECT_TRUE( ( same< uint32_t, decltype( Policer::committedBurst ) > ));
    EXPECT_TRUE( ( same< uint32_t, decltype( Policer::peakBurst ) > ));
    EXPECT_TRUE( ( same< bool, decltype( Policer::colorAware ) > ));
}

TEST( HelperSignaturesTest, RangeCheckerHelper_Types_AreAsRequired )
{
    using Helper = PeloraTcamSdk6RangeCheckerHelper;
    using Get = RangeCheckerId ( Helper::* )( const RangeCheckerDesc& );
    using Verify = void ( Helper::* )( const Agent::Ptr< const RangeCheckerData >& ) const;
    EXPECT_TRUE( is< Get >( &Helper::getRangeChecker ) );
    EXPECT_TRUE( is< void ( Helper::* )( RangeCheckerId ) >( &Helper::releaseRangeChecker ) );
    EXPECT_TRUE( is< Verify >( &Helper::verifyTcamSanity ) );
    EXPECT_TRUE( is< void ( Helper::* )() >( &Helper::handleInitialized ) );
    EXPECT_TRUE( ( std::is_base_of_v< PeloraTcamRangeCheckerHelper, Helper > ));
    EXPECT_TRUE( ( same< uint32_t, RangeCheckerId > ));
    EXPECT_TRUE( ( same< uint32_t, decltype( RangeCheckerDesc::low ) > ));
    EXPECT_TRUE( ( same< uint32_t, decltype( RangeCheckerDesc::high ) > ));
    EXPECT_TRUE( ( same< uint8_t, std::underlying_type_t< RangeType > > ));
}

TEST( HelperSignaturesTest, CompressionHelper_Types_AreAsRequired )
{
    using Helper = PeloraTcamSdk6CompressionHelper;
    using Table = PeloraCompressionTableType;
    using Get = uint64_t ( Helper::* )( const CompressionData&, uint64_t, Table );
    EXPECT_TRUE( is< Get >( &Helper::getFieldCompressionEntry ) );
    EXPECT_TRUE(
        ( is< void ( Helper::* )( uint64_t, Table ) >( &Helper::releaseFieldCompressionEntry ) ) );
    EXPECT_TRUE( is< void ( Helper::* )() >( &Helper::handleInitialized ) );
    EXPECT_TRUE( ( std::is_base_of_v< PeloraTcamCompressionHelperBase, Helper > ));
    EXPECT_TRUE( ( same< uint8_t, std::underlying_type_t< Table > > ));
}

} // namespace
} // namespace LibraryTest
