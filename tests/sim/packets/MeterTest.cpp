#include "sim/packets/Meter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <tuple>

namespace Sim {
namespace {

using enum TrafficColor;

constexpr uint64_t millisecond = 1'000'000;
constexpr uint64_t second = 1'000'000'000;

/// A meter, its buckets, and packets that it is given.
struct Scene
{
    MeterConfig config;
    MeterState state;

    TrafficColor packet( uint64_t nanoseconds, uint32_t bytes, TrafficColor incoming = green )
    {
        return meter( config, state, nanoseconds, bytes, incoming );
    }
};

/// 8 kbit/s are a byte a millisecond; 8 kbit are 1000 bytes.
Scene committed()
{
    return { { .mode = MeterMode::committed, .committedRate = 8, .committedBurst = 8 }, {} };
}

/// The same, and an excess burst of 2000 bytes.
Scene singleRate( bool colorAware = false )
{
    return { { .mode = MeterMode::singleRate,
               .colorAware = colorAware,
               .committedRate = 8,
               .committedBurst = 8,
               .secondBurst = 16 },
             {} };
}

/// A byte a millisecond up to 1000, at most two up to 2000.
Scene twoRates( bool colorAware = false )
{
    return { { .mode = MeterMode::twoRates,
               .colorAware = colorAware,
               .committedRate = 8,
               .committedBurst = 8,
               .peakRate = 16,
               .secondBurst = 16 },
             {} };
}

TEST( MeterTest, Committed_WithinTheBurst_IsGreenUntilItIsUsedUp )
{
    Scene scene = committed();
    EXPECT_EQ( scene.packet( 0, 600 ), green );
    EXPECT_EQ( scene.packet( 0, 401 ), red );
    EXPECT_EQ( scene.packet( 0, 400 ), green );
    EXPECT_EQ( scene.packet( 0, 1 ), red );
    EXPECT_EQ( scene.packet( 0, 0 ), green );
}

TEST( MeterTest, Committed_FirstPacketAtAnyTime_FindsAFullBucket )
{
    Scene scene = committed();
    EXPECT_EQ( scene.packet( 123 * second, 1001 ), red );
    EXPECT_EQ( scene.packet( 123 * second, 1000 ), green );
}

TEST( MeterTest, Committed_BucketEmptied_FillsAtTheRateToTheNanosecond )
{
    Scene scene = committed();
    EXPECT_EQ( scene.packet( 0, 1000 ), green );
    EXPECT_EQ( scene.packet( 100 * millisecond - 1, 100 ), red );
    EXPECT_EQ( scene.packet( 100 * millisecond, 100 ), green );
    EXPECT_EQ( scene.packet( 1100 * millisecond - 1, 1000 ), red );
    EXPECT_EQ( scene.packet( 1100 * millisecond, 1000 ), green );
}

TEST( MeterTest, Committed_LongPause_FillsNoMoreThanTheBurst )
{
    Scene scene = committed();
    EXPECT_EQ( scene.packet( 0, 1000 ), green );
    EXPECT_EQ( scene.packet( 1'000'000 * second, 1001 ), red );
    EXPECT_EQ( scene.packet( 1'000'000 * second, 1000 ), green );
}

TEST( MeterTest, Committed_EarlierTime_CountsAsTheLatestSeen )
{
    Scene scene = committed();
    EXPECT_EQ( scene.packet( 2 * second, 1000 ), green );
    EXPECT_EQ( scene.packet( second, 1 ), red );
    EXPECT_EQ( scene.packet( 2 * second + millisecond, 2 ), red );
    EXPECT_EQ( scene.packet( 2 * second + millisecond, 1 ), green );
}

TEST( MeterTest, Committed_ColorAware_OnlyGreenCanBeGreen )
{
    Scene scene = committed();
    EXPECT_EQ( scene.packet( 0, 100, red ), green );
    scene.config.colorAware = true;
    EXPECT_EQ( scene.packet( 0, 100, red ), red );
    EXPECT_EQ( scene.packet( 0, 100, yellow ), red );
    EXPECT_EQ( scene.packet( 0, 900, green ), green );
}

TEST( MeterTest, Committed_RateOfZero_NeverFillsAgain )
{
    Scene scene = committed();
    scene.config.committedRate = 0;
    EXPECT_EQ( scene.packet( 0, 1000 ), green );
    EXPECT_EQ( scene.packet( std::numeric_limits< uint64_t >::max(), 1 ), red );
}

TEST( MeterTest, SingleRate_ColorBlind_IsGreenThenYellowThenRed )
{
    Scene scene = singleRate();
    EXPECT_EQ( scene.packet( 0, 800 ), green );
    EXPECT_EQ( scene.packet( 0, 1500, red ), yellow ); // 200 in the one bucket, 2000 in the other
    EXPECT_EQ( scene.packet( 0, 501 ), red );
    EXPECT_EQ( scene.packet( 0, 500 ), yellow );
    EXPECT_EQ( scene.packet( 0, 200 ), green ); // which the larger ones left there
    EXPECT_EQ( scene.packet( 0, 1 ), red );
}

TEST( MeterTest, SingleRate_BothEmptied_FillsTheCommittedBucketFirst )
{
    Scene scene = singleRate();
    EXPECT_EQ( scene.packet( 0, 1000 ), green );
    EXPECT_EQ( scene.packet( 0, 2000 ), yellow );
    // 1300 bytes come: 1000 to the committed bucket, what is over to the excess bucket.
    const uint64_t later = 1300 * millisecond;
    EXPECT_EQ( scene.packet( later, 1001 ), red );
    EXPECT_EQ( scene.packet( later, 1000 ), green );
    EXPECT_EQ( scene.packet( later, 301 ), red );
    EXPECT_EQ( scene.packet( later, 300 ), yellow );
}

TEST( MeterTest, SingleRate_ColorAware_NeverGetsBetter )
{
    Scene scene = singleRate( true );
    EXPECT_EQ( scene.packet( 0, 100, red ), red );
    EXPECT_EQ( scene.packet( 0, 1500, yellow ), yellow );
    EXPECT_EQ( scene.packet( 0, 501, yellow ), red );
    EXPECT_EQ( scene.packet( 0, 1000, green ), green ); // nothing of it is taken yet
    EXPECT_EQ( scene.packet( 0, 500, green ), yellow );
    EXPECT_EQ( scene.packet( 0, 1, green ), red );
}

TEST( MeterTest, TwoRates_ColorBlind_TakesFromBothWhatIsGreen )
{
    Scene scene = twoRates();
    EXPECT_EQ( scene.packet( 0, 2001 ), red );
    EXPECT_EQ( scene.packet( 0, 1000, red ), green );
    EXPECT_EQ( scene.packet( 0, 1001 ), red );
    EXPECT_EQ( scene.packet( 0, 1000 ), yellow );
    EXPECT_EQ( scene.packet( 0, 1 ), red );
    // 100 ms: 100 bytes of the committed rate, 200 of the peak rate.
    EXPECT_EQ( scene.packet( 100 * millisecond, 201 ), red );
    EXPECT_EQ( scene.packet( 100 * millisecond, 101 ), yellow );
    EXPECT_EQ( scene.packet( 100 * millisecond, 99 ), green );
    EXPECT_EQ( scene.packet( 100 * millisecond, 1 ), red ); // the peak bucket is empty
}

TEST( MeterTest, TwoRates_ColorAware_NeverGetsBetter )
{
    Scene scene = twoRates( true );
    EXPECT_EQ( scene.packet( 0, 100, red ), red );
    EXPECT_EQ( scene.packet( 0, 1200, yellow ), yellow ); // of the peak bucket alone
    EXPECT_EQ( scene.packet( 0, 801, yellow ), red );
    EXPECT_EQ( scene.packet( 0, 800, green ), green );
    EXPECT_EQ( scene.packet( 0, 1, green ), red );
}

TEST( MeterTest, Meter_GreatestOfEverything_DoesNotOverflow )
{
    constexpr uint32_t most = std::numeric_limits< uint32_t >::max();
    constexpr uint64_t end = std::numeric_limits< uint64_t >::max();
    for ( const MeterMode mode :
          { MeterMode::committed, MeterMode::singleRate, MeterMode::twoRates } ) {
        // The burst is 125 times the largest packet: 125 * ( 2^32 - 1 ) bytes.
        Scene scene{ { mode, false, most, most, most, most }, {} };
        for ( int i = 0; i < 125; ++i ) {
            ASSERT_EQ( scene.packet( 0, most ), green ) << i;
        }
        EXPECT_EQ( scene.packet( 0, 1 ), mode == MeterMode::singleRate ? yellow : red );
        EXPECT_EQ( scene.packet( end, most ), green );
    }
}

TEST( MeterTest, Meter_TenMillionPacketsAtExactlyTheRate_AllConform )
{
    // 7 kbit/s and packets of 1000 bits: one every 142857142 6/7 ns. Each comes in the first
    // nanosecond in which it conforms; now and then one that comes a nanosecond earlier does not.
    Scene scene{ { .mode = MeterMode::committed, .committedRate = 7, .committedBurst = 2 }, {} };
    ASSERT_EQ( scene.packet( 0, 250 ), green );
    constexpr uint64_t packets = 10'000'000;
    for ( uint64_t i = 1; i <= packets; ++i ) {
        const uint64_t due = ( i * second + 6 ) / 7;
        if ( i % 1024 == 0 ) {
            ASSERT_EQ( scene.packet( due - 1, 125 ), red ) << i;
        }
        ASSERT_EQ( scene.packet( due, 125 ), green ) << i;
    }
}

TEST( MeterTest, MeterConfigOf_PolicersOfTheChip_HasTheirModesAndColors )
{
    for ( const char* name : { "default", "shuffled:1" } ) {
        const SdkNumbering numbering = SdkNumbering::fromText( name );
        bcm_policer_config_t policer;
        policer.flags = 0x84;
        policer.mode = numbering.bcmPolicerModeTrTcm;
        policer.ckbits_sec = 1;
        policer.ckbits_burst = 2;
        policer.pkbits_sec = 3;
        policer.pkbits_burst = 4;
        MeterConfig expected{ MeterMode::twoRates, false, 1, 2, 3, 4 };
        EXPECT_EQ( meterConfigOf( policer, numbering ), expected );

        policer.flags = 0x44;
        policer.mode = numbering.bcmPolicerModeSrTcm;
        expected.mode = MeterMode::singleRate;
        expected.colorAware = true;
        EXPECT_EQ( meterConfigOf( policer, numbering ), expected );

        policer.mode = numbering.bcmPolicerModeCommitted;
        expected.mode = MeterMode::committed;
        EXPECT_EQ( meterConfigOf( policer, numbering ), expected );
    }
}

// ---- Against the text of the RFCs, in fractions -----------------------------------------------

__extension__ typedef __int128 Wide;

/// A number of bytes, as a fraction: of so many thousand millionths.
struct Fraction
{
    Wide thousandMillionths = 0;

    static Fraction bytes( uint64_t whole ) { return { Wide{ whole } * 1'000'000'000 }; }

    /// What comes in so many nanoseconds, each the thousand millionth of a second.
    static Fraction broughtBy( uint64_t bytesASecond, uint64_t nanoseconds )
    {
        return { Wide{ bytesASecond } * nanoseconds };
    }

    friend Fraction operator+( Fraction a, Fraction b )
    {
        return { a.thousandMillionths + b.thousandMillionths };
    }

    friend Fraction operator-( Fraction a, Fraction b )
    {
        return { a.thousandMillionths - b.thousandMillionths };
    }

    friend auto operator<=>( const Fraction&, const Fraction& ) = default;
};

/// The markers as the RFCs put them: Tc, Te and Tp are the token counts.
class Marker
{
  public:
    explicit Marker( const MeterConfig& config )
        : config_( config )
        , CBS_( Fraction::bytes( uint64_t{ config.committedBurst } * 125 ) )
        , EBS_( Fraction::bytes( uint64_t{ config.secondBurst } * 125 ) )
        , PBS_( EBS_ )
        , Tc_( CBS_ )
        , Te_( EBS_ )
        , Tp_( PBS_ )
    {}

    TrafficColor mark( uint64_t t, uint32_t bytes, TrafficColor incoming )
    {
        const uint64_t elapsed = t > t_ ? t - t_ : 0;
        t_ = std::max( t, t_ );
        const Fraction B = Fraction::bytes( bytes );
        const bool blind = !config_.colorAware;
        switch ( config_.mode ) {
        case MeterMode::committed:
            bring( elapsed );
            return oneRateTwoColors( B, blind || incoming == green );
        case MeterMode::singleRate:
            bring( elapsed );
            return rfc2697( B, blind || incoming == green, blind || incoming != red );
        case MeterMode::twoRates:
            bring( elapsed );
            return rfc2698( B, !blind && incoming == red, !blind && incoming == yellow );
        }
        return red;
    }

  private:
    void bring( uint64_t elapsed )
    {
        const Fraction brought =
            Fraction::broughtBy( uint64_t{ config_.committedRate } * 125, elapsed );
        Tc_ = Tc_ + brought;
        if ( Tc_ > CBS_ ) {
            // "if Tc is less than CBS, Tc is incremented by one, else if Te is less than EBS ..."
            Te_ = std::min( EBS_, Te_ + ( Tc_ - CBS_ ) );
            Tc_ = CBS_;
        }
        Tp_ = std::min( PBS_,
                        Tp_ + Fraction::broughtBy( uint64_t{ config_.peakRate } * 125, elapsed ) );
    }

    TrafficColor oneRateTwoColors( Fraction B, bool mayBeGreen )
    {
        if ( mayBeGreen && Tc_ - B >= Fraction{} ) {
            Tc_ = Tc_ - B;
            return green;
        }
        return red;
    }

    TrafficColor rfc2697( Fraction B, bool mayBeGreen, bool mayBeYellow )
    {
        if ( mayBeGreen && Tc_ - B >= Fraction{} ) {
            Tc_ = Tc_ - B;
            return green;
        }
        if ( mayBeYellow && Te_ - B >= Fraction{} ) {
            Te_ = Te_ - B;
            return yellow;
        }
        return red;
    }

    TrafficColor rfc2698( Fraction B, bool isRed, bool isYellow )
    {
        if ( isRed || Tp_ - B < Fraction{} ) {
            return red;
        }
        if ( isYellow || Tc_ - B < Fraction{} ) {
            Tp_ = Tp_ - B;
            return yellow;
        }
        Tp_ = Tp_ - B;
        Tc_ = Tc_ - B;
        return green;
    }

    MeterConfig config_;
    Fraction CBS_;
    Fraction EBS_;
    Fraction PBS_;
    Fraction Tc_;
    Fraction Te_;
    Fraction Tp_;
    uint64_t t_ = 0;
};

class MeterModelTest : public ::testing::Test
{
  protected:
    uint64_t below( uint64_t end ) { return random_() % end; }

    /// Of any magnitude up to so many bits, 0 now and then.
    uint64_t number( unsigned bits )
    {
        const uint64_t length = below( bits + 1 );
        return length == 0 ? 0 : random_() >> ( 64 - length );
    }

    uint32_t rateOrBurst( unsigned bits ) { return static_cast< uint32_t >( number( bits ) ); }

    MeterConfig randomConfig()
    {
        // Small ones half of the time, so that packets do not fit and pauses do not fill.
        const unsigned bits = below( 2 ) == 0 ? 8 : 32;
        return { static_cast< MeterMode >( below( 3 ) ),
                 below( 2 ) == 0,
                 rateOrBurst( bits ),
                 rateOrBurst( bits ),
                 rateOrBurst( bits ),
                 rateOrBurst( bits ) };
    }

    /// The time of the next packet: mostly about as long after the last one as its bytes take.
    uint64_t next( uint64_t now, const MeterConfig& config, uint32_t bytes )
    {
        const uint64_t kind = below( 32 );
        if ( kind == 0 && below( 8 ) == 0 ) {
            return number( 64 ); // also backwards, and to the end of time
        }
        uint64_t pause = number( 20 );
        if ( kind < 4 ) {
            pause = number( 50 );
        } else if ( kind < 24 && config.committedRate != 0 ) {
            pause = below( 2 * ( bytes * 8'000'000ULL / config.committedRate ) + 2 );
        }
        return now + pause < now ? now : now + pause;
    }

    std::mt19937_64 random_{ 2697 };
};

TEST_F( MeterModelTest, Meter_AMillionRandomPackets_HaveTheColorsOfTheRfcs )
{
    std::map< std::tuple< MeterMode, bool, TrafficColor, TrafficColor >, int > seen;
    for ( int i = 0; i < 5000; ++i ) {
        const MeterConfig config = randomConfig();
        Marker marker( config );
        MeterState state;
        uint64_t now = number( 60 );
        for ( int packet = 0; packet < 200; ++packet ) {
            const auto bytes =
                static_cast< uint32_t >( below( 16 ) == 0 ? number( 32 ) : below( 1500 ) );
            const auto incoming = static_cast< TrafficColor >( below( 3 ) );
            now = next( now, config, bytes );
            const TrafficColor expected = marker.mark( now, bytes, incoming );
            ASSERT_EQ( meter( config, state, now, bytes, incoming ), expected )
                << "meter " << i << ", packet " << packet;
            ++seen[ { config.mode, config.colorAware, incoming, expected } ];
        }
    }
    // Blind: of each incoming colour 2 outcomes, or 3, or 3. Aware: 2, 1, 1, or twice 3, 2, 1.
    EXPECT_EQ( seen.size(), 3U * ( 2 + 3 + 3 ) + 4 + 6 + 6 );
    for ( const auto& [ outcome, times ] : seen ) {
        EXPECT_GT( times, 1000 );
    }
}

} // namespace
} // namespace Sim
