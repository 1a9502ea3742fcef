#pragma once

/// The flexible parser of a chip: user-defined fields in abstract packet formats.
///
/// Each abstract packet format has sixteen chunks of its own, two bytes each, of which some may be
/// unavailable from the start. A user-defined field lies in one format and holds the chunks that it
/// was given; a chunk that is available and held by none is free.
///
/// SDK-6 describes a field with a chunk record, HSDK with a multi-chunk record, and both are
/// written in other units than they are read back in:
///
///     record            member   written   read back
///     chunk record      offset   in bits   in bytes
///                       width    in bits   in bytes
///     multi-chunk       offset   in bits   in bits
///     record            width    not read  in bytes, two for each chunk
///
/// The width that a chunk record is written with need not be that of its chunks.
///
/// Operations answer as those of all subsystems do (`sim/chip/README.md`). Each answers BCM_E_PARAM
/// for a null pointer and for an abstract packet format that is none, BCM_E_UNAVAIL for one that
/// the chip does not have, and BCM_E_NOT_FOUND for an id that there is not.
///
///     bcm_udf_chunk_info_t info;   // the third and fourth byte behind the IPv6 header's start
///     info.offsetIs( 16 );
///     info.widthIs( 16 );
///     info.chunk_bmapIs( 0b1 );
///     info.abstract_pkt_formatIs( numbering.bcmUdfAbstractPktFormatL3Ipv6 );
///     parser.createChunk( nullptr, &info, &udfId );

#include "sim/chip/ChipSnapshot.h"
#include "sim/chip/IdSequence.h"
#include "sim/chip/UseChecks.h"
#include "sim/profiles/ChipProfile.h"
#include "sim/values/SdkNumbering.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Sim {

/// The flexible parser of a chip; see the top of this header.
class SimFlexParser
{
  public:
    /// An abstract packet format that the chip has.
    struct Format
    {
        bcm_udf_abstract_pkt_format_t number; ///< the SDK's value
        std::string name;                     ///< what users call it
        uint32_t unavailable;                 ///< bit i stands for chunk i

        /// The name without what all of them start with: "L3Ipv6".
        [[nodiscard]] std::string shortName() const;
    };

    /// A user-defined field.
    struct Udf
    {
        bcm_udf_abstract_pkt_format_t format{}; ///< the packets that it is of
        uint32_t offset = 0;                    ///< in bits
        uint32_t width = 0;                     ///< in bits
        uint32_t chunks = 0;                    ///< bit i stands for chunk i
    };

    /// What changes: each user-defined field by its id.
    using State = std::map< bcm_udf_id_t, Udf >;

    /// The numbering must outlive this. Formats of no enumerator's name are not there.
    SimFlexParser( const SdkNumbering& numbering, const ChipProfile::FlexParser& capacities );

    // ---- User-defined fields -----------------------------------------------------------------

    /// Makes a user-defined field and writes its id. Null hints are no hints. Answers BCM_E_PARAM
    /// if the hints have flags (the chip knows none), if offset or width are not in whole bytes, if
    /// the width is 0 or more than all chunks hold, or if the chunks are none or beyond the
    /// sixteen; BCM_E_RESOURCE if one of the chunks is not free or if all fields are in use.
    int createChunk( const bcm_udf_chunk_hints_t* hints,
                     const bcm_udf_chunk_info_t* info,
                     bcm_udf_id_t* udfId );

    /// The same with a multi-chunk record, whose width is not read.
    int createMultiChunk( const bcm_udf_chunk_hints_t* hints,
                          const bcm_udf_multi_chunk_info_t* info,
                          bcm_udf_id_t* udfId );

    /// Fills in what a user-defined field is.
    int getChunk( bcm_udf_id_t udfId, bcm_udf_chunk_info_t* info ) const;
    int getMultiChunk( bcm_udf_id_t udfId, bcm_udf_multi_chunk_info_t* info ) const;

    /// Destroys a user-defined field, and frees its chunks. Answers BCM_E_BUSY if it is in use.
    int destroy( bcm_udf_id_t udfId );

    // ---- Abstract packet formats -------------------------------------------------------------

    /// Fills in how many chunks a format has, which of them are used and which unavailable.
    int getFormat( bcm_udf_abstract_pkt_format_t format,
                   bcm_udf_abstract_pkt_format_info_t* info ) const;

    /// Fills in which chunks of a format are free, and how many these are.
    int getMultiFormat( bcm_udf_abstract_pkt_format_t format,
                        bcm_udf_multi_abstract_pkt_format_info_t* info ) const;

    /// Writes the ids of the first `max` user-defined fields of a format and how many these are;
    /// with a `max` of 0, how many there are. Answers BCM_E_PARAM for a negative `max`,
    /// BCM_E_NOT_FOUND if the format has none.
    int getUdfs( bcm_udf_abstract_pkt_format_t format,
                 int max,
                 bcm_udf_id_t* udfIds,
                 int* actual ) const;

    // ---- What there is -----------------------------------------------------------------------

    /// The abstract packet formats that the chip has, in the SDK's order.
    [[nodiscard]] const std::vector< Format >& formats() const { return formats_; }

    /// Whether there is such a field.
    [[nodiscard]] bool has( bcm_udf_id_t udfId ) const { return state_.contains( udfId ); }

    /// Who uses user-defined fields says so here.
    [[nodiscard]] UseChecks< bcm_udf_id_t >& useChecks() { return useChecks_; }

    /// How many fields there are.
    [[nodiscard]] uint32_t used() const { return static_cast< uint32_t >( state_.size() ); }

    /// How many fields there can be.
    [[nodiscard]] uint32_t capacity() const { return capacity_; }

    /// How many chunks of a format the fields hold, and how many they could.
    [[nodiscard]] uint32_t chunksUsed( const Format& format ) const;
    [[nodiscard]] static uint32_t chunkCapacity( const Format& format );

    /// Adds an object "udf ID" for each, offset and width in bits.
    void addTo( ChipSnapshot& snapshot ) const;

    /// All that there are, for snapshots.
    [[nodiscard]] const State& state() const { return state_; }

    void stateIs( const State& state ) { state_ = state; }

  private:
    [[nodiscard]] const Format* find( bcm_udf_abstract_pkt_format_t format ) const;
    [[nodiscard]] int refusalOf( bcm_udf_abstract_pkt_format_t format ) const;
    [[nodiscard]] uint32_t usedChunks( bcm_udf_abstract_pkt_format_t format ) const;
    [[nodiscard]] uint32_t freeChunks( const Format& format ) const;
    int create( const bcm_udf_chunk_hints_t* hints, const Udf& udf, bcm_udf_id_t* udfId );

    const SdkNumbering& numbering_;
    const uint32_t capacity_;
    std::vector< Format > formats_;
    IdSequence ids_;
    UseChecks< bcm_udf_id_t > useChecks_;
    State state_;
};

} // namespace Sim
