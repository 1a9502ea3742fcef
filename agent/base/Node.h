#pragma once

/// The base of every object in the agent's object framework, and so of every helper.
///
/// A node header holds a reference count and flags. The node's virtual operations are the first
/// slots of every helper's table, in this order: the destructor pair, `lastUserGone()`,
/// `publisher()`, `typeData()`. Add no virtual operation here: callers are compiled against the
/// slots.
///
/// Nodes are held by `Ptr`; whoever drops the last reference runs `lastUserGone()`.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/base/ReferenceCount.h"

namespace Agent {

struct ModuleRecord;

/// The base of every object that the agent keeps by reference; see the top of this header.
class AGENT_EXPORT Node
{
  public:
    /// The node is being destroyed: set first thing by the destructor of every helper.
    static constexpr U32 flagBeingDestroyed = 0x20000000;
    /// The node's attributes are set and `handleInitialized()` may run.
    static constexpr U32 flagInitialized = 0x00000001;

    Node( const Node& ) = delete;
    Node& operator=( const Node& ) = delete;

    // Slots 0 and 1.
    virtual ~Node();
    /// Slot 2: called when the last reference has gone; deletes the node.
    virtual void lastUserGone();
    /// Slot 3: the node that publishes the changes of this one; null if there is none.
    virtual Node* publisher();
    /// Slot 4: the module record of the node's class; the same for every node of a class.
    [[nodiscard]] virtual const ModuleRecord& typeData() const = 0;

    /// Counts one more reference. `Ptr` calls it.
    void referenceTaken() const noexcept { count_.taken(); }

    /// Counts one reference less; the last one ends in `lastUserGone()`. `Ptr` calls it.
    void referenceDropped() const
    {
        if ( count_.dropped() ) {
            const_cast< Node* >( this )->lastUserGone();
        }
    }

    /// How many references there are.
    [[nodiscard]] U32 references() const noexcept { return count_.value(); }

    /// All flags, those of subclasses included.
    [[nodiscard]] U32 nodeFlags() const noexcept { return flags_; }

    /// Whether the attributes are set.
    [[nodiscard]] bool initialized() const noexcept { return ( flags_ & flagInitialized ) != 0; }

    /// Says that the attributes are set, or that they no longer are.
    void initializedIs( bool value ) noexcept { flagIs( flagInitialized, value ); }

  protected:
    Node() = default;

    /// Sets `flagBeingDestroyed`: what the destructor of a subclass does first.
    void beingDestroyedIs() noexcept { flagIs( flagBeingDestroyed, true ); }

  private:
    void flagIs( U32 flag, bool value ) noexcept
    {
        flags_ = value ? ( flags_ | flag ) : ( flags_ & ~flag );
    }

    mutable ReferenceCount count_;
    U32 flags_ = 0;
};

} // namespace Agent
