#pragma once

/// The interface of the UDF helpers: they program user-defined fields in the chip.
///
/// The agent picks the implementation that suits the chip: one for the SDK's UDF module, and one
/// each for the flexible parser of SDK-6 and of HSDK. Operations are called with the agent's
/// activity lock held, which they release for each SDK call. What they are given is read before the
/// first SDK call: from then on other threads may change or free it.

#include "agent/base/Export.h"
#include "agent/base/TypeRegistry.h"
#include "agent/tcam/TcamTypes.h"
#include "agent/tcam/UdfTypes.h"

namespace PeloraTcam {

/// Attributes: "lagHashingSupported", "moduleId", "pipeId".
class AGENT_EXPORT UdfHelperBase : public Agent::Node
{
  public:
    ~UdfHelperBase() override;

    /// Slot 5: the hardware chunks that the UDFs of one qualifier occupy.
    virtual UdfChunkPosList getUdfChunkPosList( U32 unit, const QualIdList& quals ) = 0;
    /// Slot 6: programs a UDF and gives the ids of its qualifier; none when it did not fit.
    virtual QualIdList programUdfInHw( const UdfDesc& udfDesc ) = 0;
    /// Slot 7: takes a UDF away, given what it was programmed from and the ids it got.
    virtual void removeUdfFromHw( const UdfDesc& udfDesc, const QualIdList& quals ) = 0;
    /// Slot 8: returns when the chip holds the UDF as described; otherwise the process ends.
    virtual void verifyProgrammedUdf( const UdfDesc& udfDesc, const QualIdList& quals ) const = 0;
    /// Slot 9: the same for the UDF's part in the LAG hash.
    virtual void verifyLagHashingUdf( const UdfDesc& udfDesc, const QualIdList& quals ) const = 0;
    /// Slot 10: every UDF that the SDK holds.
    virtual UdfIdList getAllProgrammedUdfIds( U32 unit ) const = 0;
    /// Slot 11: every UDF that feeds the LAG hash.
    virtual UdfIdList getAllProgrammedLagHashingUdfIds( U32 unit ) const = 0;
    /// Slot 12: called once the helper's attributes are set.
    virtual void handleInitialized() = 0;

    /// The SDK unit.
    [[nodiscard]] U16 moduleId() const { return moduleId_; }

    /// The pipe.
    [[nodiscard]] U8 pipeId() const { return pipeId_; }

    /// Whether the chip can use UDFs for LAG hashing.
    [[nodiscard]] bool lagHashingSupported() const { return lagHashingSupported_; }

    /// Serves the reading of "lagHashingSupported", "moduleId" and "pipeId".
    static int attributeOperation( Agent::Node& node,
                                   const Agent::FieldDescriptor& field,
                                   Agent::AttributeOperation operation,
                                   void* result );

  protected:
    /// `moduleId` is the SDK unit, `pipeId` 0 to 255.
    UdfHelperBase( U16 moduleId, U8 pipeId, bool lagHashingSupported );

  private:
    U16 moduleId_;
    U8 pipeId_;
    bool lagHashingSupported_;
};

} // namespace PeloraTcam
