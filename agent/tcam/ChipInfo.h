#pragma once

/// What the agent knows of one chip: the map of its CoS queues, and the profile that it runs with.
///
/// A `ChipInfo` is a value: a copy refers to the same map and profile. Both are shared and not
/// changed while anybody else holds them; the agent puts another one in their place. Not guarded
/// against threads: it is used with the activity lock held.
///
///     Ptr< CosQueueMap > queues( new CosQueueMap );
///     queues->classifierIdIs( ClassifierKind::fieldAction, 3, 0x203 );
///     ChipInfo chipInfo( queues );
///     chipInfo.activeChipProfileIs( Ptr< const ChipProfile >( new ChipProfile ) );

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/base/ReferenceCount.h"
#include "agent/base/TypeName.h"

#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace PeloraCentral {

/// What a classifier id of the CoS queue map is for.
enum class ClassifierKind : Agent::U8
{
    invalid = 0,
    unicastQueue = 1,
    multicastQueue = 2,
    cpuQueue = 3,
    /// The parameter of the field action that selects a CoS map.
    fieldAction = 4,
};

/// The ids under which a chip's traffic classes are known to its classifiers.
class AGENT_EXPORT CosQueueMap : public Agent::SharedValue< CosQueueMap >
{
  public:
    /// The id of a traffic class, or 0 if none was set.
    [[nodiscard]] Agent::U32 classifierId( ClassifierKind kind, Agent::U8 trafficClass ) const;
    void classifierIdIs( ClassifierKind kind, Agent::U8 trafficClass, Agent::U32 id );

  private:
    std::map< std::pair< ClassifierKind, Agent::U8 >, Agent::U32 > ids_;
};

/// What a profile changes for the TCAM features.
struct TcamFeatureAttributes
{
    /// Bits that belong into the CoS-map parameter of every entry.
    Agent::U32 cosMapBits = 0;
};

/// How the chip is set up; one profile is active at a time.
class AGENT_EXPORT ChipProfile : public Agent::SharedValue< ChipProfile >
{
  public:
    /// A profile, with or without a record for the TCAM features.
    explicit ChipProfile( std::optional< TcamFeatureAttributes > attributes = std::nullopt );

    /// The record for the TCAM features; nothing if the profile has none.
    [[nodiscard]] const std::optional< TcamFeatureAttributes >& tcamFeatureAttributes() const
    {
        return tcamFeatureAttributes_;
    }

  private:
    std::optional< TcamFeatureAttributes > tcamFeatureAttributes_;
};

/// What a counter helper knows of its chip: the CoS queue map, and the active profile.
class AGENT_EXPORT ChipInfo
{
  public:
    /// A chip whose CoS queue map is empty; no profile is active.
    ChipInfo();
    /// A chip with that CoS queue map, which is not null; no profile is active.
    explicit ChipInfo( Agent::Ptr< const CosQueueMap > cosQueueMap );

    /// The ids of traffic classes.
    [[nodiscard]] const CosQueueMap& cosQueueMap() const { return *cosQueueMap_; }

    /// The active profile; null while there is none.
    [[nodiscard]] const Agent::Ptr< const ChipProfile >& activeChipProfile() const
    {
        return activeChipProfile_;
    }

    /// Makes another profile the active one, or none (null).
    void activeChipProfileIs( Agent::Ptr< const ChipProfile > profile );

    /// Whether both describe the chip by the same map and profile.
    friend bool operator==( const ChipInfo&, const ChipInfo& ) = default;

  private:
    Agent::Ptr< const CosQueueMap > cosQueueMap_;
    Agent::Ptr< const ChipProfile > activeChipProfile_;
};

} // namespace PeloraCentral

template<>
struct Agent::TypeName< PeloraCentral::ChipInfo >
{
    static constexpr std::string_view name = "PeloraCentral::ChipInfo";
};
