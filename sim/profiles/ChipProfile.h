#pragma once

/// What a simulated chip is: its kind and its capacities.
///
/// A profile is a YAML file. Every key is required, and there are no others, except that a chip
/// need not have every abstract packet format:
///
///     name: sdk6-udf
///     description: An SDK-6 chip that makes user-defined fields through its UDF module
///     chip: sdk6-udf-module      # or sdk6-flex-parser, or hsdk
///     range-checkers:
///       capacity: 24             # 0 to 4096
///     field:
///       groups: 24               # 0 to 1024
///       entries-per-group: 1024  # 0 to 65536
///       preselectors: 64         # 0 to 1024
///       compression-entries: 128 # of each compression group, 0 to 65536
///     policers:
///       capacity: 256            # 0 to 65536
///     udf-module:                # on a chip of another kind it is not used
///       udfs: 16                 # 0 to 65536
///       chunks: 16               # of two bytes, 0 to 16
///       packet-formats: 16       # 0 to 65536
///       udfs-per-packet-format: 8 # 0 to 65536
///       hash-configurations: 2   # 0 to 65536
///     flex-parser:               # on a chip with a UDF module it is not used
///       udfs: 32                 # 0 to 65536
///       unavailable-chunks:      # of each abstract packet format that the chip has: which of
///         bcmUdfAbstractPktFormatL3Ipv6: [ 14, 15 ]    # its chunks 0 to 15 no UDF can take
///         bcmUdfAbstractPktFormatUnknownL3: []
///     statistics:                # not used on an HSDK chip
///       capacity: 2048           # 0 to 65536
///       counter-width: 36        # in bits, 1 to 64
///     flex-counters:             # used on an HSDK chip only
///       objects: 8               # 0 to 1024
///       counters: 16384          # of all objects together, 0 to 1048576
///       counter-width: 36        # in bits, 1 to 64
///
/// The profiles in `sim/profiles` are built in. A profile that cannot be read is an `InputError`
/// with file, line and column.

#include "sim/profiles/InputError.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Sim {

/// The three kinds of chip that are simulated.
enum class ChipKind
{
    sdk6UdfModule,
    sdk6FlexParser,
    hsdk,
};

/// The kind's name in a profile.
[[nodiscard]] std::string_view nameOf( ChipKind kind );

/// What a chip has; a resource that it lacks has the capacity 0.
struct ChipProfile
{
    /// Range checkers.
    struct RangeCheckers
    {
        uint32_t capacity = 0; ///< how many there are
    };

    /// Field groups, entries and preselectors.
    struct Field
    {
        uint32_t groups = 0;             ///< how many there can be
        uint32_t entriesPerGroup = 0;    ///< how many a group can hold
        uint32_t preselectors = 0;       ///< how many there can be
        uint32_t compressionEntries = 0; ///< of each compression group
    };

    /// Policers.
    struct Policers
    {
        uint32_t capacity = 0; ///< how many there are
    };

    /// The UDF module of an SDK-6 chip.
    struct UdfModule
    {
        uint32_t udfs = 0;               ///< user-defined fields
        uint32_t chunks = 0;             ///< of two bytes, for all of them
        uint32_t pktFormats = 0;         ///< packet formats
        uint32_t udfsPerPktFormat = 0;   ///< fields of one packet format
        uint32_t hashConfigurations = 0; ///< fields that can feed the LAG hash
    };

    /// The flexible parser.
    struct FlexParser
    {
        /// Of each abstract packet format, two bytes each.
        static constexpr uint32_t chunksPerFormat = 16;

        uint32_t udfs = 0; ///< user-defined fields
        /// The abstract packet formats that the chip has, by name; bit i stands for chunk i.
        std::map< std::string, uint32_t > unavailableChunks;
    };

    /// Statistics of an SDK-6 chip.
    struct Statistics
    {
        uint32_t capacity = 0;      ///< how many there can be
        uint32_t counterWidth = 64; ///< in bits
    };

    /// Flex counters of an HSDK chip.
    struct FlexCounters
    {
        uint32_t objects = 0;       ///< counter objects
        uint32_t counters = 0;      ///< of all objects together
        uint32_t counterWidth = 64; ///< in bits
    };

    std::string name;                        ///< what users call it
    std::string description;                 ///< one sentence for users
    ChipKind chip = ChipKind::sdk6UdfModule; ///< which of the structures below count
    RangeCheckers rangeCheckers;             ///< on every chip
    Field field;                             ///< on every chip
    Policers policers;                       ///< on every chip
    UdfModule udfModule;                     ///< on chips of the kind `sdk6UdfModule`
    FlexParser flexParser;                   ///< on chips with a flexible parser
    Statistics statistics;                   ///< on SDK-6 chips
    FlexCounters flexCounters;               ///< on HSDK chips
};

/// Reads a profile from a text; `file` is its name for error messages.
[[nodiscard]] ChipProfile readChipProfile( const std::string& file, const std::string& text );

/// The built-in profile of that name, or else the one in the file of that name. Throws an
/// InputError if it is neither or if the file's content is wrong.
[[nodiscard]] ChipProfile loadChipProfile( const std::string& nameOrPath );

/// The names of the profiles that are built in, in the order in which users see them.
[[nodiscard]] std::vector< std::string > builtInProfileNames();

/// The text of a built-in profile. Throws std::invalid_argument if there is none of that name.
[[nodiscard]] std::string builtInProfileText( std::string_view name );

/// A built-in profile. Throws std::invalid_argument if there is none of that name.
[[nodiscard]] ChipProfile builtInProfile( std::string_view name );

} // namespace Sim
