#pragma once

/// What a TCAM entry does with a packet.
///
///     EntryActions actions = { { ActionType::drop } };
///     const EntryActions same = actions; // No copy: the list is shared, and never changes.

#include "agent/base/BaseTypes.h"
#include "agent/tcam/ActionType.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

namespace Reference {

/// An action of an entry.
struct EntryAction
{
    PeloraTcam::ActionType type = PeloraTcam::ActionType::drop; ///< what it does
    Agent::U32 param0 = 0; ///< the action's first parameter; 0 if it has none
    Agent::U32 param1 = 0; ///< the action's second parameter; 0 if it has none

    friend bool operator==( const EntryAction&, const EntryAction& ) = default;
};

/// A list of actions, in the order in which they are added to an entry. Copies share it: the
/// entries of a rule set mostly do the same.
class EntryActions
{
  public:
    using value_type = EntryAction;
    using const_iterator = const EntryAction*;

    /// No actions.
    EntryActions() = default;

    EntryActions( std::initializer_list< EntryAction > actions )
        : EntryActions( std::vector( actions ) )
    {}

    explicit EntryActions( std::vector< EntryAction > actions )
        : actions_( std::make_shared< const std::vector< EntryAction > >( std::move( actions ) ) )
    {}

    [[nodiscard]] std::size_t size() const { return actions_ ? actions_->size() : 0; }

    [[nodiscard]] bool empty() const { return size() == 0; }

    [[nodiscard]] const EntryAction* begin() const { return actions_ ? actions_->data() : nullptr; }

    [[nodiscard]] const EntryAction* end() const { return begin() + size(); }

    friend bool operator==( const EntryActions& left, const EntryActions& right )
    {
        return std::ranges::equal( left, right );
    }

  private:
    std::shared_ptr< const std::vector< EntryAction > > actions_; // Null for none.
};

} // namespace Reference
