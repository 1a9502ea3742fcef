#pragma once

/// The policers of a chip: meters of rate and burst.
///
/// Operations answer as those of all subsystems do (`sim/chip/README.md`).

#include "sim/chip/ChipSnapshot.h"
#include "sim/chip/IdSequence.h"
#include "sim/chip/SoftError.h"
#include "sim/chip/UseChecks.h"
#include "sim/values/SdkNumbering.h"

#include <cstdint>
#include <map>

namespace Sim {

/// The policers of a chip; see the top of this header.
class SimPolicer
{
  public:
    /// What changes when a policer is made or destroyed: each one by its id.
    using State = std::map< bcm_policer_t, bcm_policer_config_t >;

    /// The flag of a configuration that says that the caller gives the id. It is not read back.
    static constexpr uint32_t withIdFlag = 1;

    /// The numbering must outlive this.
    SimPolicer( const SdkNumbering& numbering, uint32_t capacity );

    /// Makes a policer: of the id *policerId if the flag for it is set, otherwise of one that the
    /// chip chooses and writes there. Answers BCM_E_PARAM if config or policerId is null, if the
    /// mode is none, or if a given id is not positive; BCM_E_EXISTS if there is a policer of
    /// the given id; BCM_E_FULL if all policers are in use.
    int create( const bcm_policer_config_t* config, bcm_policer_t* policerId );

    /// Destroys a policer. Answers BCM_E_NOT_FOUND if there is none of that id, BCM_E_BUSY if it
    /// is in use.
    int destroy( bcm_policer_t policerId );

    /// Fills in what the policer was made with. Answers BCM_E_PARAM if config is null,
    /// BCM_E_NOT_FOUND if there is none of that id.
    int get( bcm_policer_t policerId, bcm_policer_config_t* config ) const;

    /// Whether there is such a policer.
    [[nodiscard]] bool has( bcm_policer_t policerId ) const
    {
        return policers_.contains( policerId );
    }

    /// Tells a policer from all others, also from an earlier one of its id; 0 if there is none.
    [[nodiscard]] uint64_t serialOf( bcm_policer_t policerId ) const
    {
        const auto found = serials_.find( policerId );
        return found == serials_.end() ? 0 : found->second;
    }

    /// Who uses policers says so here.
    [[nodiscard]] UseChecks< bcm_policer_t >& useChecks() { return useChecks_; }

    /// How many there are.
    [[nodiscard]] uint32_t used() const { return static_cast< uint32_t >( policers_.size() ); }

    /// How many there can be.
    [[nodiscard]] uint32_t capacity() const { return capacity_; }

    /// Adds an object "policer ID" for each.
    void addTo( ChipSnapshot& snapshot ) const;

    /// All that there are, for snapshots.
    [[nodiscard]] const State& state() const { return policers_; }

    /// Changes a bit of a policer (`SoftError.h`). False if there is none of that id.
    bool flip( bcm_policer_t policerId, const SoftError& error );

    void stateIs( const State& state ) { policers_ = state; }

  private:
    [[nodiscard]] bool isMode( bcm_policer_mode_t mode ) const;
    [[nodiscard]] bcm_policer_t nextId();

    const SdkNumbering& numbering_;
    const uint32_t capacity_;
    IdSequence ids_;
    UseChecks< bcm_policer_t > useChecks_;
    State policers_;
    std::map< bcm_policer_t, uint64_t > serials_; ///< of those that were made
    uint64_t lastSerial_ = 0;
};

} // namespace Sim
