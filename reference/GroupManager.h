#pragma once

/// A TCAM manager's way with groups.
///
/// The manager owns the record of each group. It lets the library build the SDK's qualifier and
/// action sets and choose the mode, creates the group, and reads the qualifiers back at once and at
/// every audit: what the hardware holds must be what was asked for.
///
/// All operations are called with the agent's activity lock held, after `buildTranslationMaps()`,
/// by any thread; `Overlap.h` tells how they stay right while the lock is free. That the SDK
/// refuses to create a group, or to destroy one that has entries, is a result; a qualifier or an
/// action that the library does not know, a mismatch, and any other failure end the process. When
/// an SDK call throws, a group that is being created is undone, one that is being destroyed stays
/// recorded, and the exception goes on to the caller.
///
///     Reference::GroupManager manager( unit, narrowWideTcamWidthSupport );
///     Reference::GroupDesc desc;
///     desc.stage = PeloraTcam::stageIfp();
///     desc.keySize = PeloraTcam::TcamKeySize::doubleWide;
///     desc.qualifiers = { QualifierType::srcIp, QualifierType::dstIp };
///     desc.actions = { ActionType::drop };
///     const auto group = manager.create( desc );
///     if ( group ) { manager.destroy( *group ); }

#include "agent/tcam/EnumerationSet.h"
#include "agent/tcam/StageType.h"
#include "agent/tcam/TcamGroup.h"
#include "reference/Overlap.h"
#include "sdk/SdkTypes.h"

#include <cstddef>
#include <map>
#include <optional>

namespace Reference {

/// What a group is wanted for.
struct GroupDesc
{
    PeloraTcam::StageType stage = PeloraTcam::stageIfp(); ///< where in the pipeline it looks
    /// In bits; `automatic` lets the SDK choose.
    PeloraTcam::TcamKeySize::TcamKeySizeValue keySize = PeloraTcam::TcamKeySize::automatic;
    PeloraTcam::QualifierSet qualifiers; ///< what its entries can match
    PeloraTcam::ActionSet actions;       ///< what its entries can do
    /// The agent's id of the group, from which the SDK's is made; if there is none, the SDK
    /// chooses its own.
    std::optional< PeloraTcam::LogicalGroupId > logicalId;
    Agent::U8 subId = 0; ///< which of the hardware groups of a logical one: 0 to 7
};

/// Owns the records of TCAM groups; see the top of this header.
class GroupManager
{
  public:
    /// `narrowWideTcamWidthSupport`: whether the chip can hold 160-bit keys of the ingress stage
    /// in its narrow slices.
    GroupManager( Agent::U32 unit, bool narrowWideTcamWidthSupport );

    /// Creates a group and gives the SDK's id of it. Nothing when the SDK refuses.
    [[nodiscard]] std::optional< bcm_field_group_t > create( const GroupDesc& desc );

    /// Destroys a group. False when the id is none of this manager's, or when the group has
    /// entries, also one that another thread has just begun to make; then it stays.
    bool destroy( bcm_field_group_t group );

    /// Compares the qualifiers of every group with the hardware; a mismatch ends the process. Gives
    /// the number of groups compared; one that goes meanwhile is left out.
    std::size_t audit() const;

    /// How many groups the manager holds.
    [[nodiscard]] std::size_t size() const { return records_.size(); }

    /// The qualifiers that a group reads back; null for an id that is none of this manager's. Valid
    /// until the next operation, or the next SDK call.
    [[nodiscard]] const PeloraTcam::QualifierSet* qualifiers( bcm_field_group_t group ) const;

  private:
    struct Record
    {
        PeloraTcam::QualifierSet qualifiers;
        Agent::U64 stamp = newStamp(); ///< of this group, and of no other that had the id
    };

    [[nodiscard]] bcm_field_group_config_t configOf( const GroupDesc& desc ) const;
    void verify( bcm_field_group_t group,
                 const PeloraTcam::QualifierSet& qualifiers,
                 const StillSeen& stillSeen ) const;

    const int unit_;
    const bool narrowWideTcamWidthSupport_;
    std::map< bcm_field_group_t, Record > records_;
};

} // namespace Reference
