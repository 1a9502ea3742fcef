#pragma once

/// The flex counters of a chip that is driven through HSDK.
///
/// A flex counter object has so many counters, each of which counts packets and bytes. An entry is
/// attached to a counter of an object for the packets of one colour, or for all; it may be attached
/// to several. Counters wrap at their width. Operations answer as those of all subsystems do
/// (`sim/chip/README.md`).

#include "sim/chip/SimField.h"
#include "sim/chip/Traffic.h"
#include "sim/profiles/ChipProfile.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace Sim {

/// The flex counters of a chip; see the top of this header.
class SimFlexctr
{
  public:
    /// A counter object.
    struct Object
    {
        uint32_t size = 0; ///< how many counters it has
        /// The counters that are not 0, by index.
        std::map< uint32_t, bcm_flexctr_counter_value_t > counters;
    };

    /// What changes when an object or an attachment does.
    struct State
    {
        std::map< uint32_t, Object > objects; ///< by id
        /// Which counters each entry feeds.
        std::map< bcm_field_entry_t, std::vector< bcm_field_flexctr_config_t > > attachments;
    };

    /// Numbering and field must outlive this. Entries that are attached are in use.
    SimFlexctr( const SdkNumbering& numbering,
                SimField& field,
                const ChipProfile::FlexCounters& capacities );
    SimFlexctr( const SimFlexctr& ) = delete;
    SimFlexctr& operator=( const SimFlexctr& ) = delete;

    /// Makes an object, with its counters at 0, and writes its id to counterId. Answers BCM_E_PARAM
    /// if action or counterId is null, if there are options (the chip knows none), or if the object
    /// would have no counter; BCM_E_FULL if all objects are in use; BCM_E_RESOURCE if not so
    /// many counters are free.
    int create( int options, const bcm_flexctr_action_t* action, uint32_t* counterId );

    /// Destroys an object. Answers BCM_E_NOT_FOUND if there is none of that id, BCM_E_BUSY if an
    /// entry is attached to it.
    int destroy( uint32_t counterId );

    /// Attaches an entry to a counter. Answers BCM_E_PARAM if config is null, if the colour is none
    /// or if the object has no such counter; BCM_E_NOT_FOUND if there is no such entry or object;
    /// BCM_E_EXISTS if the entry is attached for that colour.
    int attach( bcm_field_entry_t entry, const bcm_field_flexctr_config_t* config );

    /// Detaches an entry from a counter. Answers BCM_E_PARAM if config is null, BCM_E_NOT_FOUND if
    /// it is not attached just so.
    int detach( bcm_field_entry_t entry, const bcm_field_flexctr_config_t* config );

    /// Tells to which counter of which object an entry is attached for a colour. Answers
    /// BCM_E_PARAM if counterId or index is null, BCM_E_NOT_FOUND if to none.
    int getAttached( bcm_field_entry_t entry,
                     bcm_flexctr_color_t color,
                     uint32_t* counterId,
                     uint32_t* index ) const;

    /// Reads a counter. Answers BCM_E_PARAM if value is null or the object has no such counter,
    /// BCM_E_NOT_FOUND if there is no such object.
    int get( uint32_t counterId, uint32_t index, bcm_flexctr_counter_value_t* value ) const;

    /// Sets a counter. Answers as above, and BCM_E_PARAM if a value is wider than the counter.
    int set( uint32_t counterId, uint32_t index, const bcm_flexctr_counter_value_t* value );

    /// Counts what an entry has seen, and tells whether anything counts it: the entry must be in
    /// the hardware and be attached to a counter for that colour or for all.
    bool count( bcm_field_entry_t entry, const Traffic& traffic );

    /// How many objects there are.
    [[nodiscard]] uint32_t objectsUsed() const
    {
        return static_cast< uint32_t >( state_.objects.size() );
    }

    /// How many objects there can be.
    [[nodiscard]] uint32_t objectCapacity() const { return capacities_.objects; }

    /// How many counters the objects have.
    [[nodiscard]] uint32_t countersUsed() const;

    /// How many counters of each object, by its id, some entry is attached to; several entries may
    /// be to one counter.
    [[nodiscard]] std::map< uint32_t, std::size_t > countersInUse() const;

    /// How many counters all objects together can have.
    [[nodiscard]] uint32_t counterCapacity() const { return capacities_.counters; }

    /// Adds an object "flex counter object ID" for each, and "flex counters of entry ID" for each
    /// entry that is attached.
    void addTo( ChipSnapshot& snapshot ) const;

    /// All that there is, for snapshots.
    [[nodiscard]] const State& state() const { return state_; }

    void stateIs( const State& state ) { state_ = state; }

  private:
    [[nodiscard]] int check( uint32_t counterId, uint32_t index ) const;
    [[nodiscard]] bool isAttached( uint32_t counterId ) const;
    [[nodiscard]] bool counts( bcm_flexctr_color_t color, TrafficColor traffic ) const;
    void add( const bcm_field_flexctr_config_t& place, const Traffic& traffic );

    const SdkNumbering& numbering_;
    const SimField& field_;
    const ChipProfile::FlexCounters capacities_;
    IdSequence ids_;
    State state_;
};

} // namespace Sim
