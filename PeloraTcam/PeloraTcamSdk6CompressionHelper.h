#pragma once

/// Programs the compression entries of a chip that is driven through SDK-6.
///
/// Each entry is created in the compression group of its table, qualified with the value, given
/// the class id as its action, and installed. Any failure of the SDK is fatal; when it throws, what
/// it did before stays, and the entry's id is not known to the caller.
///
/// The agent holds the helper by `Ptr` and calls it with the activity lock held. The compression
/// groups must exist in the chip.
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

/// The compression helper of SDK-6.
class PELORA_TCAM_EXPORT PeloraTcamSdk6CompressionHelper
    : public Agent::RegisteredClass< PeloraTcamSdk6CompressionHelper,
                                     PeloraTcamCompressionHelperBase >
{
  public:
    /// `pipeId` is the pipe, 0 to 255; the value of `fapId` is the chip's SDK unit.
    PeloraTcamSdk6CompressionHelper( U8 pipeId, FapId fapId );
    ~PeloraTcamSdk6CompressionHelper() override;

    /// A new helper. `pipeId`: the chip's pipe; the value of `fapId` is the chip's SDK unit.
    [[nodiscard]] static Agent::Ptr< PeloraTcamSdk6CompressionHelper >
    PeloraTcamSdk6CompressionHelperIs( U8 pipeId, FapId fapId );

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;

    /// Creates and installs an entry and gives its SDK id, sign-extended. The key of a scalar table
    /// is cut to the field's width, the class id to 32 bits. A prefix of an IP table has 0 to 32 or
    /// 0 to 128 bits: a longer one matches an IPv4 address whole, and is an assertion failure for
    /// an IPv6 one. An unknown table is an assertion failure, before the SDK is asked.
    U64 getFieldCompressionEntry( const CompressionData& compressionData,
                                  U64 classId,
                                  PeloraCompressionTableType tableType ) override;

    /// Takes the entry out of the hardware; the table is only traced. The SDK keeps the entry
    /// allocated.
    void releaseFieldCompressionEntry( U64 id, PeloraCompressionTableType tableType ) override;

    void handleInitialized() override;

    /// Counts the live helpers of this class.
    static Agent::AllocationTracker memAllocationTracker_;
};

/// A new helper, as `PeloraTcamSdk6CompressionHelper::PeloraTcamSdk6CompressionHelperIs` makes it.
[[nodiscard]] PELORA_TCAM_EXPORT Agent::Ptr< PeloraTcamSdk6CompressionHelper >
peloraTcamSdk6CompressionHelperFactory( U8 pipeId, FapId fapId );

} // namespace PeloraTcam
