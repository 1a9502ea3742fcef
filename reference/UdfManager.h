#pragma once

/// A TCAM manager's way with user-defined fields (UDFs).
///
/// The manager owns the software collection: what it asked the chip for, which ids it got, and how
/// many users share it. Equal descriptors share one UDF; the chip hears of the first user and of
/// the last. It talks to the chip through a UDF helper alone, whichever suits the chip.
///
/// All operations are called with the agent's activity lock held, by any thread; `Overlap.h` tells
/// how they stay right while the lock is free. The helper keeps packet formats and chunks that UDFs
/// share, so the operations that reach the chip take turns. A UDF that does not fit is a result;
/// whatever else goes wrong in the chip ends the process inside the helper. An exception of the SDK
/// leaves the record as it was.
///
///     Reference::UdfManager manager( helper );
///     const QualIdList quals = manager.program( udfDesc );
///     if ( quals.qualIds() != 0 ) { manager.remove( udfDesc ); }

#include "agent/base/Ptr.h"
#include "agent/tcam/UdfHelper.h"
#include "reference/Overlap.h"

#include <cstddef>
#include <map>

namespace Reference {

/// How a chip makes UDFs; it decides which of them the helper's audit can judge.
enum class UdfPath
{
    udfModule,      ///< all but those that count from behind a header
    flexParser,     ///< through SDK-6: those of one chunk, which are 1 or 2 bytes
    flexParserHsdk, ///< through HSDK: those of one whole chunk, which are 2 bytes
};

/// Owns the records of user-defined fields; see the top of this header.
class UdfManager
{
  public:
    /// What an audit found.
    struct Audit
    {
        std::size_t compared = 0;      ///< records that the chip holds as described
        std::size_t notJudged = 0;     ///< records that the helper's audit cannot judge
        PeloraTcam::UdfIdList foreign; ///< UDFs of the chip that are none of this manager's
    };

    /// `helper` is not null; `path` is what it programs.
    explicit UdfManager( Agent::Ptr< PeloraTcam::UdfHelperBase > helper,
                         UdfPath path = UdfPath::udfModule );

    /// The ids of the qualifier for the descriptor: those of an existing UDF with one more user, or
    /// of a new one. Empty when it does not fit, or when it is to feed the LAG hash of a chip that
    /// cannot.
    [[nodiscard]] PeloraTcam::QualIdList program( const PeloraTcam::UdfDesc& udfDesc );

    /// Takes one user away; the last one takes the UDF out of the chip. False when the descriptor
    /// is none of this manager's.
    bool remove( const PeloraTcam::UdfDesc& udfDesc );

    /// Compares every record with the chip, and what feeds the LAG hash with its configuration; a
    /// mismatch ends the process. UDFs that the helper cannot judge (`UdfPath`) are left out: it
    /// compares offsets without the header they count from, and expects a chunk for two bytes.
    [[nodiscard]] Audit audit() const;

    /// The hardware chunks that a UDF occupies; none for a descriptor that is none of this
    /// manager's.
    [[nodiscard]] PeloraTcam::UdfChunkPosList
    chunkPositions( const PeloraTcam::UdfDesc& udfDesc ) const;

    /// The UDFs of this manager.
    [[nodiscard]] PeloraTcam::UdfIdList list() const;

    /// The UDFs of the chip that are none of this manager's, for example of an earlier life of the
    /// agent: they can neither be shared nor removed through the helper.
    [[nodiscard]] PeloraTcam::UdfIdList foreign() const;

    /// How many UDFs the manager holds.
    [[nodiscard]] std::size_t size() const { return records_.size(); }

    /// How many users a UDF has; 0 for a descriptor that is none of this manager's.
    [[nodiscard]] std::size_t users( const PeloraTcam::UdfDesc& udfDesc ) const;

  private:
    struct Record
    {
        PeloraTcam::QualIdList quals;
        std::size_t users = 0;
    };

    class HelperTurn;

    void waitForTheHelper() const;
    [[nodiscard]] Record* usedOrTurn( const PeloraTcam::UdfDesc& udfDesc, std::size_t users );
    [[nodiscard]] bool canBeJudged( const PeloraTcam::UdfDesc& udfDesc ) const;
    [[nodiscard]] PeloraTcam::UdfIdList foreignInTurn() const;

    const Agent::Ptr< PeloraTcam::UdfHelperBase > helper_;
    const UdfPath path_;
    std::map< PeloraTcam::UdfDesc, Record > records_;
    mutable bool helperIsBusy_ = false;
};

} // namespace Reference
