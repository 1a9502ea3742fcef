#pragma once

/// Policers as the agent sees them, and the helper that programs them.
///
/// A policer meters the packets of the TCAM entries that refer to it. The agent's policer manager
/// owns the software collection and calls a helper of the chip's kind to create, destroy and
/// verify what stands in the chip.

#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/base/ReferenceCount.h"
#include "agent/base/TypeRegistry.h"
#include "agent/tcam/EnumeratorNames.h"
#include "agent/tcam/StageType.h"
#include "agent/tcam/TcamTypes.h"

#include <ostream>
#include <string_view>

namespace PeloraTcam {

/// How a policer judges packets.
enum class PolicerMode : U8
{
    committed = 0, ///< one rate, in or out of profile
    trTcm = 1,     ///< two rates, three colours (RFC 2698)
    srTcm = 2,     ///< one rate, three colours (RFC 2697)
};

/// The table of names behind `nameOfEnumerator()`.
template<>
struct EnumeratorNames< PolicerMode >
{
    static constexpr std::string_view enumeration = "PolicerMode"; ///< the name of the type
    /// One row an enumerator.
    static constexpr EnumeratorName rows[] = {
        { "committed", 0 },
        { "trTcm", 1 },
        { "srTcm", 2 },
    };
};

/// Prints the name, or "PolicerMode(N)" for a value that has none.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, PolicerMode mode );

/// What a policer allows. The peak rate and burst count in mode `trTcm` only.
struct Policer
{
    U32 committedRate = 0;                     ///< kilobits a second
    U32 peakRate = 0;                          ///< kilobits a second
    U32 committedBurst = 0;                    ///< kilobits
    U32 peakBurst = 0;                         ///< kilobits
    PolicerMode mode = PolicerMode::committed; ///< how many rates and colours there are
    bool colorAware = false;                   ///< whether the packet's earlier colour counts

    friend bool operator==( const Policer&, const Policer& ) = default;
};

/// Prints all fields.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, const Policer& policer );

/// The SDK's id of a policer; 0 is never one.
using PolicerId = U32;

/// Stands for "no policer was allocated".
inline constexpr PolicerId invalidPolicerId = 0;

/// What the manager recorded of one policer. Read-only once made.
class PolicerData : public Agent::SharedValue< PolicerData >
{
  public:
    /// A policer that the SDK has made under that id.
    PolicerData( const Policer& policer, PolicerId policerId )
        : policer_( policer )
        , policerId_( policerId )
    {}

    /// What it allows.
    [[nodiscard]] const Policer& policerCfg() const { return policer_; }

    /// The SDK's id.
    [[nodiscard]] PolicerId policerId() const { return policerId_; }

  private:
    Policer policer_;
    PolicerId policerId_;
};

/// The interface of the policer helpers. Its operations are called with the agent's activity lock
/// held, and release it while they call the SDK. Attributes: "fapId", "pipeId".
class AGENT_EXPORT PeloraTcamPolicerHelper : public Agent::Node
{
  public:
    ~PeloraTcamPolicerHelper() override;

    /// Slot 5: creates a policer for entries of the stage and gives its id, or `invalidPolicerId`
    /// when a helper that chooses ids itself has none left. A failure of the SDK is fatal.
    virtual PolicerId getPolicer( const Policer& policer, StageType stage ) = 0;
    /// Slot 6: destroys a policer, which was created for that stage. A failure of the SDK is fatal.
    virtual void releasePolicer( PolicerId policerId, StageType stage ) = 0;
    /// Slot 7: returns when the chip holds what was recorded; otherwise the process ends. The
    /// pointer itself must stay as it is during the call, in which the locks are released.
    virtual void verifyTcamSanity( const Agent::Ptr< const PolicerData >& policerData ) = 0;
    /// Slot 8: called once the helper's attributes are set.
    virtual void handleInitialized() = 0;

    /// The pipe.
    [[nodiscard]] U8 pipeId() const { return pipeId_; }

    /// The chip.
    [[nodiscard]] FapId fapId() const { return fapId_; }

    /// Serves the reading of "fapId" and "pipeId".
    static int attributeOperation( Agent::Node& node,
                                   const Agent::FieldDescriptor& field,
                                   Agent::AttributeOperation operation,
                                   void* result );

  protected:
    /// `pipeId`: the chip's pipe; `fapId`: the chip.
    PeloraTcamPolicerHelper( U8 pipeId, FapId fapId );

  private:
    U8 pipeId_;
    FapId fapId_;
};

} // namespace PeloraTcam
