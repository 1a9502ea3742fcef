#pragma once

/// What an entry of a scenario asks of packets, beyond the keys that `create-entry` has for the
/// most common fields:
///
///     match:
///       ttl: 1                            # any qualifier, by the agent's name or a shorter one
///       tcpFlags: { data: 0x02, mask: 0x12 }
///       range: web                        # a range checker, by the scenario's name
///       ranges: [ clients, { not: jumbo } ]
///       class: { srcIp: 192.0.2.0/24 }    # the class of a compressed value, or a class id
///       udf: { vni: 5000 }                # a user-defined field, by the scenario's name
///
/// `docs/scenarios.md` has all of it. What is wrong with a value is told when the scenario is read;
/// what a name stands for, and whether the group has the qualifier, when the step is run.

#include "agent/tcam/CompressionHelper.h"
#include "input/YamlDocument.h"
#include "reference/EntryQualifiers.h"
#include "tools/run/RunContext.h"
#include "tools/scenario/ReadContext.h"
#include "tools/steps/QualifierValues.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace Tool {

/// What the keys of an entry ask for, so that two that do not go together are told at the second.
class AskedQualifiers
{
  public:
    /// Fails at the node if an earlier key asks for the same qualifier, or, for one that only
    /// packets of one version of IP have, if one asks for the other version.
    void
    add( const std::string& key, PeloraTcam::QualifierType qualifier, const Input::YamlNode& node );

    /// Fails at the node if an earlier key asks for the other version of IP; `inner` is within a
    /// tunnel.
    void requireIp( const std::string& key, bool isV6, bool inner, const Input::YamlNode& node );

  private:
    /// What version of IP an entry is for, and which key says so first.
    struct Version
    {
        std::string key;
        bool isV6 = false;
    };

    std::map< std::string_view, std::string > keys_; ///< by SDK function
    std::optional< Version > versions_[ 2 ];         ///< outside and inside of a tunnel
};

/// What `match` says; see the top of this header.
struct EntryMatch
{
    /// One of them, and the key that asks for it.
    struct Qualifier
    {
        std::string key;
        Reference::QualifierMatch match;
    };

    struct Range
    {
        std::string name;
        bool outside = false;
    };

    struct Class
    {
        PeloraTcam::PeloraCompressionTableType table;
        std::variant< Agent::U32, PeloraTcam::CompressionKey > value; ///< a class id or a value
    };

    struct Udf
    {
        std::string name;
        UdfValue data;
        std::optional< UdfValue > mask; ///< all bits if there is none
    };

    std::vector< Qualifier > qualifiers;
    std::vector< Range > ranges;
    std::vector< Class > classes;
    std::vector< Udf > udfs;
};

/// The shorter names of qualifiers, each with the agent's.
[[nodiscard]] std::span< const std::pair< std::string_view, PeloraTcam::QualifierType > >
qualifierAliases();

/// Reads the value of `match`; whatever is wrong fails at the node concerned.
[[nodiscard]] EntryMatch
readEntryMatch( const Input::YamlNode& node, const ReadContext& context, AskedQualifiers& asked );

/// Adds what it asks for, for an entry of that group. Throws a `StepError` for a name that stands
/// for nothing, a qualifier that the group does not have, and bytes that a field does not.
void addMatch( const EntryMatch& match,
               RunContext& context,
               const std::string& group,
               Reference::EntryQualifiers& qualifiers );

} // namespace Tool
