#pragma once

/// Hands out the ids of a range, the lowest free one first. A plain value; the owner guards it.
///
///     IdPool ids( 1, 100 );
///     if ( ids.canAllocate() ) { const U32 id = ids.allocate(); ...; ids.free( id ); }

#include "agent/base/Assert.h"
#include "agent/base/BaseTypes.h"

#include <set>

namespace PeloraTcam {

/// Ids in a row, each free or taken; see the top of this header.
class IdPool
{
  public:
    /// No ids.
    IdPool() = default;

    /// `size` ids, `first` and following; ids have 32 bits (an assertion failure otherwise).
    IdPool( Agent::U32 first, Agent::U32 size )
        : first_( first )
        , size_( size )
    {
        AGENT_ASSERT( ( size == 0 || size - 1 <= 0xFFFFFFFF - first ) && "ids have 32 bits" );
    }

    /// Whether an id is free.
    [[nodiscard]] bool canAllocate() const { return !freed_.empty() || everAllocated_ < size_; }

    /// Takes the lowest free id; there must be one (an assertion failure otherwise).
    [[nodiscard]] Agent::U32 allocate()
    {
        AGENT_ASSERT( canAllocate() && "pool has no free id" );
        if ( freed_.empty() ) {
            return first_ + everAllocated_++;
        }
        return freed_.extract( freed_.begin() ).value();
    }

    /// Whether the pool has that id, and it is free.
    [[nodiscard]] bool isFree( Agent::U32 id ) const
    {
        return id >= first_ && id - first_ < size_ && !isAllocated( id );
    }

    /// Takes that id, which must be free (an assertion failure otherwise).
    void allocate( Agent::U32 id )
    {
        AGENT_ASSERT( isFree( id ) && "id is not free" );
        while ( id - first_ >= everAllocated_ ) {
            freed_.insert( first_ + everAllocated_++ );
        }
        freed_.erase( id );
    }

    /// Whether the id is taken.
    [[nodiscard]] bool isAllocated( Agent::U32 id ) const
    {
        return id >= first_ && id - first_ < everAllocated_ && !freed_.contains( id );
    }

    /// Gives an id back, which must be allocated (an assertion failure otherwise).
    void free( Agent::U32 id )
    {
        AGENT_ASSERT( isAllocated( id ) && "id is not allocated" );
        freed_.insert( id );
    }

    /// How many ids are allocated.
    [[nodiscard]] Agent::U32 allocated() const
    {
        return everAllocated_ - static_cast< Agent::U32 >( freed_.size() );
    }

    /// How many ids there are.
    [[nodiscard]] Agent::U32 size() const { return size_; }

  private:
    Agent::U32 first_ = 0;
    Agent::U32 size_ = 0;
    Agent::U32 everAllocated_ = 0; // So many of the first ids.
    std::set< Agent::U32 > freed_; // Those of them that are free.
};

} // namespace PeloraTcam
