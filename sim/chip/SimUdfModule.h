#pragma once

/// The UDF module of a chip: user-defined fields, the packet formats they are attached to, and the
/// hash configurations of those that feed the hash.
///
/// A user-defined field takes as many free hardware chunks of two bytes as its width needs, the
/// lowest ones first. A packet format is an object of its own each time it is made, also when
/// another one describes the same packets.
///
/// Operations answer as those of all subsystems do (`sim/chip/README.md`). Each answers BCM_E_PARAM
/// for a null pointer that it needs, and BCM_E_NOT_FOUND for an id that there is not.

#include "sim/chip/ChipSnapshot.h"
#include "sim/chip/IdSequence.h"
#include "sim/chip/UseChecks.h"
#include "sim/profiles/ChipProfile.h"
#include "sim/values/SdkNumbering.h"

#include <cstdint>
#include <map>
#include <set>

namespace Sim {

/// The UDF module of a chip; see the top of this header.
class SimUdfModule
{
  public:
    /// A user-defined field.
    struct Udf
    {
        bcm_udf_t udf;        ///< what it was created with, and its chunks
        bool forHash = false; ///< whether it feeds the LAG hash
    };

    /// A packet format.
    struct PktFormat
    {
        bcm_udf_pkt_format_info_t info; ///< what it was created with
        std::set< bcm_udf_id_t > udfs;  ///< those attached
    };

    /// What changes.
    struct State
    {
        std::map< bcm_udf_id_t, Udf > udfs;                        ///< by id
        std::map< bcm_udf_pkt_format_id_t, PktFormat > pktFormats; ///< by id
        /// By the field that feeds the hash.
        std::map< bcm_udf_id_t, bcm_udf_hash_config_t > hashConfigs;
    };

    /// The numbering must outlive this.
    SimUdfModule( const SdkNumbering& numbering, const ChipProfile::UdfModule& capacities );

    // ---- User-defined fields -----------------------------------------------------------------

    /// Makes a user-defined field and writes its id. Null hints are no hints. Answers BCM_E_PARAM
    /// if the hints have a flag that there is not, if the layer is none, or if start or width are
    /// not in whole bytes, start negative or width not positive; BCM_E_RESOURCE if all are in use
    /// or if there are too few free chunks.
    int create( const bcm_udf_alloc_hints_t* hints, const bcm_udf_t* udf, bcm_udf_id_t* udfId );

    /// Destroys a user-defined field, and frees its chunks. Answers BCM_E_BUSY while it is
    /// attached to a packet format, has a hash configuration or is in use.
    int destroy( bcm_udf_id_t udfId );

    /// Fills in what a user-defined field is, with the chunks it holds.
    int get( bcm_udf_id_t udfId, bcm_udf_t* udf ) const;

    /// Writes the ids of the first `max` user-defined fields and how many these are; with a `max`
    /// of 0, how many there are. Answers BCM_E_PARAM for a negative `max`.
    int getAll( int max, bcm_udf_id_t* udfIds, int* actual ) const;

    // ---- Packet formats ----------------------------------------------------------------------

    /// Makes a packet format and writes its id. Answers BCM_E_PARAM if there are options or if a
    /// member has a value that there is not; BCM_E_RESOURCE if all are in use.
    int createPktFormat( uint32_t options,
                         const bcm_udf_pkt_format_info_t* format,
                         bcm_udf_pkt_format_id_t* formatId );

    /// Destroys a packet format. Answers BCM_E_BUSY while user-defined fields are attached to it.
    int destroyPktFormat( bcm_udf_pkt_format_id_t formatId );

    /// Fills in what a packet format is.
    int getPktFormat( bcm_udf_pkt_format_id_t formatId, bcm_udf_pkt_format_info_t* format ) const;

    /// Attaches a user-defined field to a packet format. Answers BCM_E_EXISTS if it is attached
    /// there already, BCM_E_FULL if the packet format has no room for more.
    int attach( bcm_udf_id_t udfId, bcm_udf_pkt_format_id_t formatId );

    /// Detaches a user-defined field. Answers BCM_E_NOT_FOUND also if it is not attached there.
    int detach( bcm_udf_id_t udfId, bcm_udf_pkt_format_id_t formatId );

    /// Writes the ids of the packet formats that a user-defined field is attached to, like
    /// `getAll`.
    int getPktFormats( bcm_udf_id_t udfId,
                       int max,
                       bcm_udf_pkt_format_id_t* formatIds,
                       int* actual ) const;

    // ---- Hash configurations -----------------------------------------------------------------

    /// Lets a user-defined field feed the hash. Answers BCM_E_PARAM if there are options, if the
    /// mask is empty or longer than the SDK's longest, or if the field was not made for the hash;
    /// BCM_E_EXISTS if it has a configuration already, BCM_E_FULL if all are in use.
    int addHashConfig( uint32_t options, const bcm_udf_hash_config_t* config );

    /// Takes the user-defined field config->udf_id() out of the hash.
    int deleteHashConfig( const bcm_udf_hash_config_t* config );

    /// Fills in the configuration of config->udf_id().
    int getHashConfig( bcm_udf_hash_config_t* config ) const;

    /// Writes the first `max` configurations, like `getAll`.
    int getHashConfigs( int max, bcm_udf_hash_config_t* configs, int* actual ) const;

    // ---- What there is -----------------------------------------------------------------------

    /// What the module has room for.
    [[nodiscard]] const ChipProfile::UdfModule& capacities() const { return capacities_; }

    /// Whether there is such a field.
    [[nodiscard]] bool has( bcm_udf_id_t udfId ) const { return state_.udfs.contains( udfId ); }

    /// Who uses user-defined fields says so here.
    [[nodiscard]] UseChecks< bcm_udf_id_t >& useChecks() { return useChecks_; }

    /// How many chunks the fields hold.
    [[nodiscard]] uint32_t chunksUsed() const;

    /// Adds objects "udf ID", "udf packet format ID" and "udf hash configuration ID".
    void addTo( ChipSnapshot& snapshot ) const;

    /// All that there is, for snapshots.
    [[nodiscard]] const State& state() const { return state_; }

    void stateIs( const State& state ) { state_ = state; }

  private:
    [[nodiscard]] bool isValid( const bcm_udf_alloc_hints_t* hints, const bcm_udf_t& udf ) const;
    [[nodiscard]] bool isValid( const bcm_udf_pkt_format_info_t& format ) const;
    [[nodiscard]] uint32_t usedChunks() const;
    [[nodiscard]] uint32_t freeChunksFor( int32_t width ) const;
    [[nodiscard]] ChipSnapshot::Fields fieldsOf( const Udf& udf ) const;
    [[nodiscard]] ChipSnapshot::Fields fieldsOf( const PktFormat& format ) const;

    const SdkNumbering& numbering_;
    const ChipProfile::UdfModule capacities_;
    IdSequence udfIds_;
    IdSequence formatIds_;
    UseChecks< bcm_udf_id_t > useChecks_;
    State state_;
};

} // namespace Sim
