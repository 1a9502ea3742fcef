#pragma once

/// The agent's TCAM vocabulary: ids, chip model, and what every TCAM helper shares.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/base/TypeName.h"

#include <ostream>
#include <string>
#include <string_view>

namespace PeloraCentral {

/// What model of chip the agent drives.
struct PeloraModel
{
    std::string name; ///< as the agent calls it

    friend bool operator==( const PeloraModel&, const PeloraModel& ) = default;
};

} // namespace PeloraCentral

namespace PeloraTcam {

using Agent::S32;
using Agent::U16;
using Agent::U32;
using Agent::U64;
using Agent::U8;

/// Names one forwarding chip; its value is the chip's SDK unit.
class FapId
{
  public:
    constexpr FapId() = default;

    /// The chip of that SDK unit.
    constexpr explicit FapId( U32 value )
        : value_( value )
    {}

    /// The chip's SDK unit.
    [[nodiscard]] constexpr U32 value() const { return value_; }

    friend constexpr bool operator==( FapId, FapId ) = default;

  private:
    U32 value_ = 0;
};

/// The SDK unit of a chip.
constexpr int sdkUnit( FapId fapId )
{
    return static_cast< int >( fapId.value() );
}

/// Prints the number.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, FapId fapId );

} // namespace PeloraTcam

template<>
struct Agent::TypeName< PeloraCentral::PeloraModel >
{
    static constexpr std::string_view name = "PeloraCentral::PeloraModel";
};

template<>
struct Agent::TypeName< PeloraTcam::FapId >
{
    static constexpr std::string_view name = "FapId";
};
