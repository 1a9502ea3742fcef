#pragma once

/// Range checkers as the agent sees them, and the helper that programs them.
///
/// A range checker tests whether a field of the packet lies in a range of values; a TCAM entry
/// matches on its result. The agent's range checker manager owns the software collection and
/// calls a helper of the chip's kind to allocate, release and verify what stands in the chip.

#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/base/ReferenceCount.h"
#include "agent/base/TypeRegistry.h"
#include "agent/tcam/EnumeratorNames.h"
#include "agent/tcam/TcamTypes.h"

#include <ostream>
#include <string_view>

namespace PeloraTcam {

/// The field that a range checker tests.
enum class RangeType : U8
{
    invalid = 0,
    l4DstPort = 1,
    l4SrcPort = 2,
    packetLength = 3,
};

/// The table of names behind `nameOfEnumerator()`.
template<>
struct EnumeratorNames< RangeType >
{
    static constexpr std::string_view enumeration = "RangeType"; ///< the name of the type
    /// One row an enumerator.
    static constexpr EnumeratorName rows[] = {
        { "invalid", 0 },
        { "l4DstPort", 1 },
        { "l4SrcPort", 2 },
        { "packetLength", 3 },
    };
};

/// Prints the name, or "RangeType(N)" for a value that has none.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, RangeType type );

/// What a range checker tests: the bounds belong to the range.
struct RangeCheckerDesc
{
    U32 low = 0;                         ///< the least value that matches
    U32 high = 0;                        ///< the greatest value that matches
    RangeType type = RangeType::invalid; ///< the packet field that is tested

    friend bool operator==( const RangeCheckerDesc&, const RangeCheckerDesc& ) = default;
};

/// Prints "l4SrcPort 1024..65535".
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, const RangeCheckerDesc& desc );

/// The SDK's id of a range checker.
using RangeCheckerId = U32;

/// Stands for "no range checker was allocated".
inline constexpr RangeCheckerId invalidRangeCheckerId = 0xFFFFFFFF;

/// What the manager recorded of one range checker. Read-only once made.
class RangeCheckerData : public Agent::SharedValue< RangeCheckerData >
{
  public:
    /// A range checker that the SDK has made under that id.
    RangeCheckerData( const RangeCheckerDesc& desc, RangeCheckerId rangeCheckerId )
        : desc_( desc )
        , rangeCheckerId_( rangeCheckerId )
    {}

    /// What it tests.
    [[nodiscard]] const RangeCheckerDesc& checkerDesc() const { return desc_; }

    /// The SDK's id.
    [[nodiscard]] RangeCheckerId rangeCheckerId() const { return rangeCheckerId_; }

  private:
    RangeCheckerDesc desc_;
    RangeCheckerId rangeCheckerId_;
};

/// The interface of the range checker helpers. Its operations are called with the agent's
/// activity lock held, and release it while they call the SDK. Attributes: "fapId", "model",
/// "pipeId".
class AGENT_EXPORT PeloraTcamRangeCheckerHelper : public Agent::Node
{
  public:
    ~PeloraTcamRangeCheckerHelper() override;

    /// Slot 5: allocates a range checker and gives its id, or `invalidRangeCheckerId` when the
    /// chip has none left.
    virtual RangeCheckerId getRangeChecker( const RangeCheckerDesc& desc ) = 0;
    /// Slot 6: gives a range checker back to the chip. A failure of the SDK is fatal.
    virtual void releaseRangeChecker( RangeCheckerId rangeCheckerId ) = 0;
    /// Slot 7: returns when the chip holds what was recorded; otherwise the process ends. The
    /// pointer itself must stay as it is during the call, in which the locks are released.
    virtual void
    verifyTcamSanity( const Agent::Ptr< const RangeCheckerData >& rangeCheckerData ) const = 0;
    /// Slot 8: called once the helper's attributes are set.
    virtual void handleInitialized() = 0;

    /// The pipe.
    [[nodiscard]] U8 pipeId() const { return pipeId_; }

    /// The chip.
    [[nodiscard]] FapId fapId() const { return fapId_; }

    /// The model of the chip.
    [[nodiscard]] const PeloraCentral::PeloraModel& model() const { return model_; }

    /// Serves the reading of "fapId", "model" and "pipeId".
    static int attributeOperation( Agent::Node& node,
                                   const Agent::FieldDescriptor& field,
                                   Agent::AttributeOperation operation,
                                   void* result );

  protected:
    /// `pipeId`: the chip's pipe; `fapId`: the chip; `model`: its model, which is copied.
    PeloraTcamRangeCheckerHelper( U8 pipeId, FapId fapId, const PeloraCentral::PeloraModel& model );

  private:
    U8 pipeId_;
    FapId fapId_;
    PeloraCentral::PeloraModel model_;
};

} // namespace PeloraTcam
