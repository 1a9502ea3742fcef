#pragma once

/// The count behind `Ptr`: atomic only while threads are active.

#include "agent/base/BaseTypes.h"
#include "agent/base/ThreadControl.h"

#include <atomic>

namespace Agent {

/// The number of references to one object; see the top of this header.
class ReferenceCount
{
  public:
    ReferenceCount() = default;

    // A copy of a shared object is a new object, which nobody refers to yet.
    /// A copy of a shared object is a new object, which nobody refers to yet.
    ReferenceCount( const ReferenceCount& ) noexcept {}

    /// Nothing: references are to the object, not to its value.
    ReferenceCount& operator=( const ReferenceCount& ) noexcept { return *this; }

    ~ReferenceCount() = default;

    /// How many references there are.
    [[nodiscard]] U32 value() const noexcept { return count_.load( std::memory_order_relaxed ); }

    /// Counts one more.
    void taken() noexcept
    {
        if ( threadsActive() ) {
            count_.fetch_add( 1, std::memory_order_relaxed );
        } else {
            count_.store( value() + 1, std::memory_order_relaxed );
        }
    }

    /// True when the reference dropped was the last one.
    [[nodiscard]] bool dropped() noexcept
    {
        if ( threadsActive() ) {
            return count_.fetch_sub( 1, std::memory_order_acq_rel ) == 1;
        }
        const U32 left = value() - 1;
        count_.store( left, std::memory_order_relaxed );
        return left == 0;
    }

  private:
    std::atomic< U32 > count_{ 0 };
};

/// The base of a shared object that is no node, for example `Bitmap`: it is deleted when the last
/// `Ptr` to it goes. `Value` is the class that derives from it.
template< class Value >
class SharedValue
{
  public:
    /// Counts one more reference. `Ptr` calls it.
    void referenceTaken() const noexcept { count_.taken(); }

    /// Counts one reference less; the last one deletes the object. `Ptr` calls it.
    void referenceDropped() const
    {
        if ( count_.dropped() ) {
            delete static_cast< const Value* >( this );
        }
    }

    /// How many references there are.
    [[nodiscard]] U32 references() const noexcept { return count_.value(); }

  protected:
    SharedValue() = default;
    SharedValue( const SharedValue& ) = default;
    SharedValue& operator=( const SharedValue& ) = default;
    ~SharedValue() = default;

  private:
    mutable ReferenceCount count_;
};

} // namespace Agent
