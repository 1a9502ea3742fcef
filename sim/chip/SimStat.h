#pragma once

/// The statistics of a chip that is driven through SDK-6: what its entries have counted.
///
/// A statistic is made for the entries of one group with a counter for each of some types, and
/// attached to entries; it counts what they see, and wraps at the counters' width. Operations
/// answer as those of all subsystems do (`sim/chip/README.md`).

#include "sim/chip/SimField.h"
#include "sim/chip/Traffic.h"
#include "sim/profiles/ChipProfile.h"

#include <cstdint>
#include <map>
#include <set>
#include <span>

namespace Sim {

/// The statistics of a chip; see the top of this header.
class SimStat
{
  public:
    /// A statistic.
    struct Statistic
    {
        bcm_field_group_t group = 0; ///< the group whose entries it can be attached to
        uint32_t poolIndex = 0;      ///< its place in the pool
        std::map< bcm_field_stat_t, uint64_t > counters; ///< what it counts, and how much that was
        std::set< bcm_field_entry_t > entries;           ///< to which it is attached
    };

    /// What changes when a statistic does.
    struct State
    {
        std::map< int, Statistic > statistics; ///< by id
        /// The statistic of each entry that has one.
        std::map< bcm_field_entry_t, int > statByEntry;
        std::set< uint32_t > freePoolIndices; ///< of those below nextPoolIndex
        uint32_t nextPoolIndex = 0;           ///< the place that the next one gets
    };

    /// Where a counter stands in the chip. Every statistic has an index of its own in the one pool.
    struct PoolPlace
    {
        int poolId = 0;        ///< which pool
        int poolType = 0;      ///< what kind of pool
        int indices[ 3 ] = {}; ///< the places in it, as many as are used
        int pipe = 0;          ///< which pipe
    };

    /// Numbering and field must outlive this. Groups and entries that have statistics are in use.
    SimStat( const SdkNumbering& numbering,
             SimField& field,
             const ChipProfile::Statistics& capacities );
    SimStat( const SimStat& ) = delete;
    SimStat& operator=( const SimStat& ) = delete;

    /// Makes a statistic for entries of a group, with its counters at 0, and writes its id to
    /// statId. Answers BCM_E_PARAM if statId is null, or if the types are none, not all ones that
    /// count, or not all different; BCM_E_NOT_FOUND if there is no such group; BCM_E_FULL if
    /// all statistics are in use.
    int create( bcm_field_group_t group, std::span< const bcm_field_stat_t > types, int* statId );

    /// Destroys a statistic. Answers BCM_E_NOT_FOUND if there is none of that id, BCM_E_BUSY if it
    /// is attached.
    int destroy( int statId );

    /// Attaches a statistic to an entry. Answers BCM_E_NOT_FOUND if there is no such entry or
    /// statistic, BCM_E_PARAM if the entry is in another group than the statistic, BCM_E_EXISTS if
    /// the entry has a statistic.
    int attach( bcm_field_entry_t entry, int statId );

    /// Detaches a statistic from an entry. Answers BCM_E_NOT_FOUND if it is not attached to it.
    int detach( bcm_field_entry_t entry, int statId );

    /// Tells which statistic is attached to an entry. Answers BCM_E_PARAM if statId is null,
    /// BCM_E_NOT_FOUND if none is.
    int getAttached( bcm_field_entry_t entry, int* statId ) const;

    /// Sets a counter. Answers BCM_E_NOT_FOUND if there is no such statistic, BCM_E_PARAM if it
    /// has no counter of that type or the value is wider than the counter.
    int set( int statId, bcm_field_stat_t type, uint64_t value );

    /// Reads a counter. Answers BCM_E_PARAM if value is null, and otherwise as above.
    int get( int statId, bcm_field_stat_t type, uint64_t* value ) const;

    /// Tells where a counter stands. Answers as `get` does.
    int getPoolPlace( int statId, bcm_field_stat_t type, PoolPlace* place ) const;

    /// Whether the statistic is attached to an entry that is in the hardware.
    [[nodiscard]] bool isInstalled( int statId ) const;

    /// Counts what an entry has seen, and tells whether anything counts it: the entry must be in
    /// the hardware and have a statistic.
    bool count( bcm_field_entry_t entry, const Traffic& traffic );

    /// How many there are.
    [[nodiscard]] uint32_t used() const
    {
        return static_cast< uint32_t >( state_.statistics.size() );
    }

    /// How many there can be.
    [[nodiscard]] uint32_t capacity() const { return capacities_.capacity; }

    /// Adds an object "statistic ID" for each.
    void addTo( ChipSnapshot& snapshot ) const;

    /// All that there are, for snapshots.
    [[nodiscard]] const State& state() const { return state_; }

    void stateIs( const State& state ) { state_ = state; }

  private:
    [[nodiscard]] bool areTypes( std::span< const bcm_field_stat_t > types ) const;
    [[nodiscard]] const uint64_t* findCounter( int statId, bcm_field_stat_t type, int& rc ) const;
    [[nodiscard]] bool hasStatistics( bcm_field_group_t group ) const;
    [[nodiscard]] uint32_t takePoolIndex();

    const SdkNumbering& numbering_;
    const SimField& field_;
    const ChipProfile::Statistics capacities_;
    IdSequence ids_;
    State state_;
};

} // namespace Sim
