#include "sim/packets/Meter.h"

#include <algorithm>

namespace Sim {

namespace {

/// The unit of tokens: millionths of a bit.
constexpr uint64_t tokensOfAKilobit = 1'000'000'000;
constexpr uint64_t tokensOfAByte = 8'000'000;

/// The flag of a policer for which the packet's earlier colour does not count.
constexpr uint32_t colorBlindFlag = 0x80;

/// What a rate brings in a time, or `most` if it brings more; that may not fit into 64 bits. A
/// kilobit a second is a token a nanosecond.
uint64_t tokensOf( uint32_t rate, uint64_t nanoseconds, uint64_t most )
{
    if ( rate == 0 ) {
        return 0;
    }
    return nanoseconds > most / rate ? most : rate * nanoseconds;
}

/// A bucket of the burst given, of which so much is missing.
class Bucket
{
  public:
    Bucket( uint32_t burst, uint64_t& missing )
        : size_( burst * tokensOfAKilobit )
        , missing_( missing )
    {}

    [[nodiscard]] bool has( uint64_t tokens ) const { return tokens <= size_ - missing_; }

    void take( uint64_t tokens ) { missing_ += tokens; }

  private:
    uint64_t size_;
    uint64_t& missing_;
};

/// What is over when the committed bucket is full goes to the excess bucket.
void fillBothAtOneRate( const MeterConfig& config, MeterState& state, uint64_t nanoseconds )
{
    const uint64_t tokens =
        tokensOf( config.committedRate, nanoseconds, state.committedMissing + state.secondMissing );
    const uint64_t committed = std::min( tokens, state.committedMissing );
    state.committedMissing -= committed;
    state.secondMissing -= tokens - committed;
}

void fillUpTo( const MeterConfig& config, MeterState& state, uint64_t nanoseconds )
{
    if ( nanoseconds <= state.latest ) {
        return;
    }
    const uint64_t elapsed = nanoseconds - state.latest;
    state.latest = nanoseconds;
    if ( config.mode == MeterMode::singleRate ) {
        fillBothAtOneRate( config, state, elapsed );
        return;
    }
    state.committedMissing -= tokensOf( config.committedRate, elapsed, state.committedMissing );
    state.secondMissing -= tokensOf( config.peakRate, elapsed, state.secondMissing );
}

/// RFC 2697, section 3; and, without an excess bucket, the mode of two colours.
TrafficColor judgeAtOneRate( const MeterConfig& config,
                             MeterState& state,
                             uint64_t tokens,
                             TrafficColor incoming )
{
    Bucket committed( config.committedBurst, state.committedMissing );
    if ( incoming == TrafficColor::green && committed.has( tokens ) ) {
        committed.take( tokens );
        return TrafficColor::green;
    }
    Bucket excess( config.secondBurst, state.secondMissing );
    if ( config.mode == MeterMode::singleRate && incoming != TrafficColor::red &&
         excess.has( tokens ) ) {
        excess.take( tokens );
        return TrafficColor::yellow;
    }
    return TrafficColor::red;
}

/// RFC 2698, section 3.
TrafficColor judgeAtTwoRates( const MeterConfig& config,
                              MeterState& state,
                              uint64_t tokens,
                              TrafficColor incoming )
{
    Bucket committed( config.committedBurst, state.committedMissing );
    Bucket peak( config.secondBurst, state.secondMissing );
    if ( incoming == TrafficColor::red || !peak.has( tokens ) ) {
        return TrafficColor::red;
    }
    peak.take( tokens );
    if ( incoming == TrafficColor::yellow || !committed.has( tokens ) ) {
        return TrafficColor::yellow;
    }
    committed.take( tokens );
    return TrafficColor::green;
}

MeterMode modeOf( bcm_policer_mode_t mode, const SdkNumbering& numbering )
{
    if ( mode == numbering.bcmPolicerModeCommitted ) {
        return MeterMode::committed;
    }
    return mode == numbering.bcmPolicerModeTrTcm ? MeterMode::twoRates : MeterMode::singleRate;
}

} // namespace

TrafficColor meter( const MeterConfig& config,
                    MeterState& state,
                    uint64_t nanoseconds,
                    uint32_t bytes,
                    TrafficColor incoming )
{
    fillUpTo( config, state, nanoseconds );
    const TrafficColor color = config.colorAware ? incoming : TrafficColor::green;
    const uint64_t tokens = bytes * tokensOfAByte;
    return config.mode == MeterMode::twoRates ? judgeAtTwoRates( config, state, tokens, color )
                                              : judgeAtOneRate( config, state, tokens, color );
}

MeterConfig meterConfigOf( const bcm_policer_config_t& policer, const SdkNumbering& numbering )
{
    return { .mode = modeOf( policer.mode, numbering ),
             .colorAware = ( policer.flags & colorBlindFlag ) == 0,
             .committedRate = policer.ckbits_sec,
             .committedBurst = policer.ckbits_burst,
             .peakRate = policer.pkbits_sec,
             .secondBurst = policer.pkbits_burst };
}

} // namespace Sim
