#pragma once

/// What a policer makes of packets: token buckets that give each packet a colour.
///
/// There are the single rate with two colours, the single-rate three-colour marker of RFC 2697 and
/// the two-rate one of RFC 2698, each colour-blind or colour-aware. Time is simulated: each packet
/// brings its own. Buckets are full at first and fill continuously, at the rate, up to the burst.
///
/// All arithmetic is exact. A kilobit a second is one millionth of a bit a nanosecond, so tokens
/// are counted in millionths of a bit, whole numbers of which come in each nanosecond: nothing is
/// ever rounded, however long a meter runs, and the greatest burst fits into 64 bits.
///
/// Free functions over values: whoever shares a state between threads guards it. Nothing fails.
///
///     Sim::MeterConfig config{ .mode = Sim::MeterMode::twoRates, .committedRate = 1000, ... };
///     Sim::MeterState state;
///     color = Sim::meter( config, state, nanoseconds, bytes, Sim::TrafficColor::green );

#include "sim/chip/Traffic.h"
#include "sim/values/SdkNumbering.h"

#include <cstdint>

namespace Sim {

/// How a meter judges packets.
enum class MeterMode
{
    committed,  ///< one rate and one burst: green, or red beyond it
    singleRate, ///< RFC 2697: green up to the committed burst, yellow up to the excess burst, or
                ///< red
    twoRates,   ///< RFC 2698: red beyond the peak rate, yellow beyond the committed rate, or green
};

/// What a meter allows. A kilobit is 1000 bits. A bucket of a rate of 0 never fills again; a burst
/// of 0 lets only packets of no bytes pass.
struct MeterConfig
{
    MeterMode mode = MeterMode::committed;
    bool colorAware = false;     ///< whether the packet's earlier colour counts
    uint32_t committedRate = 0;  ///< CIR, kilobits a second
    uint32_t committedBurst = 0; ///< CBS, kilobits
    uint32_t peakRate = 0;       ///< PIR, kilobits a second; with `twoRates` only
    uint32_t secondBurst = 0;    ///< kilobits: EBS with `singleRate`, PBS with `twoRates`

    friend bool operator==( const MeterConfig&, const MeterConfig& ) = default;
};

/// The buckets of a meter, of one configuration from the first packet to the last. As it is
/// made, all buckets are full.
struct MeterState
{
    uint64_t committedMissing = 0; ///< to a full bucket, in millionths of a bit
    uint64_t secondMissing = 0;    ///< of the excess or peak bucket, the same
    uint64_t latest = 0;           ///< the greatest time seen, nanoseconds

    friend bool operator==( const MeterState&, const MeterState& ) = default;
};

/// Meters a packet: lets the buckets fill up to its time, gives it a colour and takes its tokens.
///
/// - `nanoseconds`: when it comes. A time before the latest seen counts as that one.
/// - `bytes`: how long it is, as far as the rates count it.
/// - `incoming`: the colour that it has already. It does not count for a colour-blind meter. In the
///   mode `committed`, which no RFC makes colour-aware, only green packets can be green; that is an
///   assumption of this model.
[[nodiscard]] TrafficColor meter( const MeterConfig& config,
                                  MeterState& state,
                                  uint64_t nanoseconds,
                                  uint32_t bytes,
                                  TrafficColor incoming );

/// The meter of a policer of the chip. Colours count unless the flag 0x80 says that they do not.
/// That the peak burst of a policer of the single-rate mode is its excess burst is an assumption of
/// this model, and so is that an unknown mode counts as that one.
[[nodiscard]] MeterConfig meterConfigOf( const bcm_policer_config_t& policer,
                                         const SdkNumbering& numbering );

} // namespace Sim
