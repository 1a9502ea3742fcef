#pragma once

/// What every registered node class has in common, written once.
///
/// A concrete class derives from `RegisteredClass< Concrete, Base >`, where `Base` is the abstract
/// class whose operations it implements. That gives it:
///
/// - memory: `new Concrete( ... )` takes the object's memory from the slab allocator and counts it
///   in `Concrete::memAllocationTracker_`; the deleting destructor undoes both, and so does the
///   language itself when the base's constructor throws, before the exception passes on;
/// - the destructor that marks the node as being destroyed before the base's destructor runs;
/// - an attribute operation for a class without attributes of its own.
///
/// The concrete class states what is its own: its tracker, its module record, its creator, and,
/// where it serves attributes itself, an `attributeOperation` of its own:
///
///     class Probe final : public Agent::RegisteredClass< Probe, ProbeBase >
///     {
///       public:
///         Probe( U8 pipeId, U32 unit ) : RegisteredClass( pipeId, unit ) {}
///         static Ptr< Probe > ProbeIs( U8 pipeId, U32 unit ) { return make( pipeId, unit ); }
///         const ModuleRecord& typeData() const override { return probeModule; }
///         static Agent::AllocationTracker memAllocationTracker_;
///     };

#include "agent/base/AllocationTracker.h"
#include "agent/base/SlabAllocator.h"
#include "agent/base/TypeRegistry.h"

#include <cstddef>
#include <utility>

namespace Agent {

/// Makes a concrete node class of an abstract one; see the top of this header.
template< class Concrete, class Base >
class AGENT_EXPORT RegisteredClass : public Base
{
  public:
    /// Memory from the slab allocator, counted for the class. Throws what the allocator throws.
    static void* operator new( std::size_t size )
    {
        Concrete::memAllocationTracker_.allocated( typeid( Concrete ), size );
        try {
            return slabAllocate( typeid( Concrete ), size );
        } catch ( ... ) {
            Concrete::memAllocationTracker_.freed( typeid( Concrete ), size );
            throw;
        }
    }

    /// Gives the memory back, and counts it off.
    static void operator delete( void* memory ) noexcept
    {
        Concrete::memAllocationTracker_.freed( typeid( Concrete ), sizeof( Concrete ) );
        slabFree( typeid( Concrete ), memory );
    }

    /// A new object, constructed with the arguments.
    template< class... Arguments >
    [[nodiscard]] static Ptr< Concrete > make( Arguments&&... arguments )
    {
        return Ptr< Concrete >( new Concrete( std::forward< Arguments >( arguments )... ) );
    }

    /// A class without attributes of its own leaves all of them to its base.
    static int attributeOperation( Node&, const FieldDescriptor&, AttributeOperation, void* )
    {
        return attributeNotHandledHere;
    }

  protected:
    using Base::Base;

    ~RegisteredClass() override { this->beingDestroyedIs(); }
};

namespace Detail {

template< class Object, class... Arguments, std::size_t... index >
Ptr< Object > constructWith( Ptr< Object > ( *creator )( Arguments... ),
                             const void* const* arguments,
                             std::index_sequence< index... > )
{
    return creator(
        *static_cast< const std::remove_cvref_t< Arguments >* >( arguments[ index ] )... );
}

template< class Object, class... Arguments >
Ptr< Object > constructWith( Ptr< Object > ( *creator )( Arguments... ),
                             const void* const* arguments )
{
    return constructWith( creator, arguments, std::index_sequence_for< Arguments... >() );
}

} // namespace Detail

/// The generic construction of a class by its creator, as its type record wants it:
/// `&genericConstruct< &Probe::ProbeIs >`.
template< auto creator >
void genericConstruct( const void* const* arguments, Ptr< Node >& result )
{
    result = Detail::constructWith( creator, arguments );
}

} // namespace Agent
