#pragma once

/// The range checkers of a chip.
///
/// Operations answer as those of all subsystems do (`sim/chip/README.md`).

#include "sim/chip/ChipSnapshot.h"
#include "sim/chip/IdSequence.h"
#include "sim/chip/SoftError.h"
#include "sim/chip/UseChecks.h"
#include "sim/values/SdkNumbering.h"

#include <cstdint>
#include <map>
#include <optional>

namespace Sim {

/// The range checkers of a chip; see the top of this header.
class SimRange
{
  public:
    /// What changes when a range checker is made or destroyed: each one by its id.
    using State = std::map< bcm_range_t, bcm_range_config_t >;

    /// The numbering must outlive this.
    SimRange( const SdkNumbering& numbering, uint32_t capacity );

    /// Makes a range checker and writes its id to config->rid. Answers BCM_E_PARAM if config is
    /// null, if there are flags (the chip knows none), if the type is none, if min is above max or
    /// max above what the field holds: 0xFFF for a VLAN, 0xFFFF for the others; BCM_E_FULL if
    /// all range checkers are in use.
    int create( uint32_t flags, bcm_range_config_t* config );

    /// Destroys a range checker. Answers BCM_E_NOT_FOUND if there is none of that id, BCM_E_BUSY
    /// if it is in use.
    int destroy( bcm_range_t rangeId );

    /// Fills in the range checker whose id is config->rid. Answers BCM_E_PARAM if config is null,
    /// BCM_E_NOT_FOUND if there is none of that id.
    int get( bcm_range_config_t* config ) const;

    /// Whether there is such a range checker.
    [[nodiscard]] bool has( bcm_range_t rangeId ) const { return ranges_.contains( rangeId ); }

    /// Who uses range checkers says so here.
    [[nodiscard]] UseChecks< bcm_range_t >& useChecks() { return useChecks_; }

    /// How many there are.
    [[nodiscard]] uint32_t used() const { return static_cast< uint32_t >( ranges_.size() ); }

    /// How many there can be.
    [[nodiscard]] uint32_t capacity() const { return capacity_; }

    /// Adds an object "range checker ID" for each.
    void addTo( ChipSnapshot& snapshot ) const;

    /// All that there are, for snapshots.
    [[nodiscard]] const State& state() const { return ranges_; }

    /// Changes a bit of a range checker (`SoftError.h`). False if there is none of that id.
    bool flip( bcm_range_t rangeId, const SoftError& error );

    void stateIs( const State& state ) { ranges_ = state; }

  private:
    [[nodiscard]] std::optional< uint32_t > greatestValue( bcm_range_type_t type ) const;
    [[nodiscard]] bool isValid( const bcm_range_config_t& config ) const;

    const SdkNumbering& numbering_;
    const uint32_t capacity_;
    IdSequence ids_;
    UseChecks< bcm_range_t > useChecks_;
    State ranges_;
};

} // namespace Sim
