#pragma once

/// Programs the compression entries of a chip that is driven through SDK-6.
///
/// Each entry is created in the compression group of its table, qualified with the value, given
/// the class id as its action, and installed. Any failure of the SDK is fatal.
///
///     auto helper = PeloraTcamSdk6CompressionHelper::PeloraTcamSdk6CompressionHelperIs(
///         pipeId, fapId );
///     const U64 id = helper->getFieldCompressionEntry(
///         CompressionData( CompressionKey( 6 ) ), 3, PeloraCompressionTableType::ipProto );
///     ...
///     helper->releaseFieldCompressionEntry( id, PeloraCompressionTableType::ipProto );

#include "agent/base/RegisteredClass.h"
#include "agent/tcam/CompressionHelper.h"

namespace PeloraTcam {

class PELORA_TCAM_EXPORT PeloraTcamSdk6CompressionHelper
    : public Agent::RegisteredClass< PeloraTcamSdk6CompressionHelper,
                                     PeloraTcamCompressionHelperBase >
{
  public:
    PeloraTcamSdk6CompressionHelper( U8 pipeId, FapId fapId );
    ~PeloraTcamSdk6CompressionHelper() override;

    /// A new helper. `pipeId`: the chip's pipe; the value of `fapId` is the chip's SDK unit.
    [[nodiscard]] static Agent::Ptr< PeloraTcamSdk6CompressionHelper >
    PeloraTcamSdk6CompressionHelperIs( U8 pipeId, FapId fapId );

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;

    /// Creates and installs an entry and gives its SDK id. The key of a scalar table is cut to
    /// the field's width; a prefix of an IP table has up to 32 or 128 bits. An unknown table is
    /// an assertion failure.
    U64 getFieldCompressionEntry( const CompressionData& compressionData,
                                  U64 classId,
                                  PeloraCompressionTableType tableType ) override;

    /// Takes the entry out of the hardware. The SDK keeps it allocated.
    void releaseFieldCompressionEntry( U64 id, PeloraCompressionTableType tableType ) override;

    void handleInitialized() override;

    /// Counts the live helpers of this class.
    static Agent::AllocationTracker memAllocationTracker_;
};

/// A new helper, as `PeloraTcamSdk6CompressionHelper::PeloraTcamSdk6CompressionHelperIs` makes it.
[[nodiscard]] PELORA_TCAM_EXPORT Agent::Ptr< PeloraTcamSdk6CompressionHelper >
peloraTcamSdk6CompressionHelperFactory( U8 pipeId, FapId fapId );

} // namespace PeloraTcam
