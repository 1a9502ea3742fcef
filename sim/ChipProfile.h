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

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Sim {

enum class ChipKind
{
    sdk6UdfModule,
    sdk6FlexParser,
    hsdk,
};

/// The kind's name in a profile.
[[nodiscard]] std::string_view nameOf( ChipKind kind );

struct ChipProfile
{
    struct RangeCheckers
    {
        uint32_t capacity = 0;
    };

    struct Field
    {
        uint32_t groups = 0;
        uint32_t entriesPerGroup = 0;
        uint32_t preselectors = 0;
        uint32_t compressionEntries = 0; ///< of each compression group
    };

    struct Policers
    {
        uint32_t capacity = 0;
    };

    struct UdfModule
    {
        uint32_t udfs = 0;
        uint32_t chunks = 0; ///< of two bytes, for all of them
        uint32_t pktFormats = 0;
        uint32_t udfsPerPktFormat = 0;
        uint32_t hashConfigurations = 0;
    };

    struct FlexParser
    {
        /// Of each abstract packet format, two bytes each.
        static constexpr uint32_t chunksPerFormat = 16;

        uint32_t udfs = 0;
        /// The abstract packet formats that the chip has, by name; bit i stands for chunk i.
        std::map< std::string, uint32_t > unavailableChunks;
    };

    struct Statistics
    {
        uint32_t capacity = 0;
        uint32_t counterWidth = 64; ///< in bits
    };

    struct FlexCounters
    {
        uint32_t objects = 0;
        uint32_t counters = 0;      ///< of all objects together
        uint32_t counterWidth = 64; ///< in bits
    };

    std::string name;
    std::string description;
    ChipKind chip = ChipKind::sdk6UdfModule;
    RangeCheckers rangeCheckers;
    Field field;
    Policers policers;
    UdfModule udfModule;
    FlexParser flexParser;
    Statistics statistics;
    FlexCounters flexCounters;
};

/// Reads a profile from a text; `file` is its name for error messages.
[[nodiscard]] ChipProfile readChipProfile( const std::string& file, const std::string& text );

/// The built-in profile of that name, or else the one in the file of that name. Throws an
/// InputError if it is neither or if the file's content is wrong.
[[nodiscard]] ChipProfile loadChipProfile( const std::string& nameOrPath );

[[nodiscard]] std::vector< std::string > builtInProfileNames();

/// The text of a built-in profile. Throws std::invalid_argument if there is none of that name.
[[nodiscard]] std::string builtInProfileText( std::string_view name );

/// A built-in profile. Throws std::invalid_argument if there is none of that name.
[[nodiscard]] ChipProfile builtInProfile( std::string_view name );

} // namespace Sim
