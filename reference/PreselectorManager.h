#pragma once

/// A TCAM manager's way with preselectors.
///
/// A preselector is made empty, programmed one qualifier after the other through either of the
/// library's functions, and given its class records at last, in one piece.
///
/// All operations are called with the agent's activity lock held, after `buildTranslationMaps()`,
/// by any thread; `Overlap.h` tells how they stay right while the lock is free. A refusal of the
/// SDK to create a preselector is a result; whatever goes wrong with its qualifiers ends the
/// process inside the library. When an SDK call throws, a preselector that is being created is
/// undone, one that is being destroyed stays recorded, and the exception goes on to the caller.
///
///     Reference::PreselectorManager manager( unit );
///     const auto presel = manager.create( { { QualifierType::drop, 0, 1 },
///                                           { QualifierType::srcClassField, 5, 0xFF } },
///                                         PreselectorFunction::current );
///     if ( presel ) { manager.destroy( *presel ); }

#include "agent/base/BaseTypes.h"
#include "agent/tcam/QualifierType.h"
#include "sdk/SdkTypes.h"

#include <cstddef>
#include <optional>
#include <set>
#include <vector>

namespace Reference {

/// One qualifier of a preselector, as the library takes it.
struct PreselectorQualifier
{
    PeloraTcam::QualifierType qualifier{}; ///< what is tested
    Agent::U32 data = 0;                   ///< the value that it is to have
    Agent::U32 mask = 0;                   ///< the bits of the value that count
};

/// Which of the library's functions programs the qualifiers.
enum class PreselectorFunction
{
    current, ///< `setPeloraTcamPreselectQualifier`
    legacy,  ///< `setPreselectQualifier`: data are the SDK's values but for the packet type
};

/// Owns the records of preselectors; see the top of this header.
class PreselectorManager
{
  public:
    /// `unit` is the chip's SDK unit.
    explicit PreselectorManager( Agent::U32 unit );

    /// Creates a preselector with these qualifiers, in that order, and gives the SDK's id of it.
    /// Nothing when the SDK refuses.
    [[nodiscard]] std::optional< bcm_field_presel_t >
    create( const std::vector< PreselectorQualifier >& qualifiers, PreselectorFunction function );

    /// Destroys a preselector. False when the id is none of this manager's.
    bool destroy( bcm_field_presel_t presel );

    /// How many preselectors the manager holds.
    [[nodiscard]] std::size_t size() const { return preselectors_.size(); }

  private:
    void program( bcm_field_presel_t presel,
                  const std::vector< PreselectorQualifier >& qualifiers,
                  PreselectorFunction function ) const;

    const Agent::U32 unit_;
    std::set< bcm_field_presel_t > preselectors_;
};

} // namespace Reference
