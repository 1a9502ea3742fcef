#pragma once

/// What every registered node class has in common, written once.
///
/// A concrete class derives from `RegisteredClass< Concrete, Base >`, where `Base` is the abstract
/// class whose operations it implements. That gives it:
///
/// - memory: `new Concrete( ... )` takes the object's memory from the slab allocator and counts it
///   in `Concrete::memAllocationTracker_`; the deleting destructor undoes both, and so does the
///   language itself when the base's constructor throws, before the exception passes on;
/// - the destructor that marks the node as being destroyed before anything of it goes;
/// - an attribute operation for a class without attributes of its own.
///
/// The concrete class states what is its own: its tracker, its module record, its creator, and,
/// where it serves attributes itself, an `attributeOperation` of its own. It has no data members:
/// these would go before the node is marked. What it keeps is its state, the third argument of
/// `RegisteredClass`, which goes afterwards; a class with members of its own does not compile.
///
///     class Probe final : public Agent::RegisteredClass< Probe, ProbeBase, Ptr< Bitmap > >
///     {
///       public:
///         Probe( U8 pipeId, U32 unit ) : RegisteredClass( pipeId, unit ) {}
///         static Ptr< Probe > ProbeIs( U8 pipeId, U32 unit ) { return make( pipeId, unit ); }
///         const ModuleRecord& typeData() const override { return module; }
///         const Ptr< Bitmap >& bits() const { return state(); }
///         static Agent::AllocationTracker memAllocationTracker_;
///     };
///
/// Its source registers its record when it is loaded:
///
///     constexpr Agent::FieldDescriptor attributes[] = { { "pipeId" }, { "unit" } };
///     const Agent::TypeRecord types[] = {
///         Agent::createdType< &Probe::ProbeIs >( "Probe", attributes ) };
///     const Agent::RegisteredModule module( "probes/Probe", types );

#include "agent/base/AllocationTracker.h"
#include "agent/base/SlabAllocator.h"
#include "agent/base/TypeName.h"
#include "agent/base/TypeRegistry.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

namespace Agent {

namespace Detail {

/// A class and bytes behind it. They take the padding at the class's end first.
template< class Class, std::size_t count, bool = std::is_final_v< Class > >
struct WithBytes : Class
{
    unsigned char bytes[ count ];
};

template< class Class, std::size_t count >
struct WithBytes< Class, count, true >
{
    [[no_unique_address]] Class object;
    unsigned char bytes[ count ];
};

/// How many bytes of padding there are at a class's end.
template< class Class, std::size_t count = 0 >
consteval std::size_t paddingOf()
{
    if constexpr ( sizeof( WithBytes< Class, count + 1 > ) > sizeof( Class ) ) {
        return count;
    } else {
        return paddingOf< Class, count + 1 >();
    }
}

/// Whether a class has data members that its base does not have.
template< class Class, class Base >
consteval bool hasOwnMembers()
{
    return sizeof( Class ) != sizeof( Base ) || paddingOf< Class >() != paddingOf< Base >();
}

} // namespace Detail

/// The state of a class that keeps nothing; another type for each, so that it takes no room.
template< class Concrete >
struct NoState
{};

/// Makes a concrete node class of an abstract one; see the top of this header. `State` is what the
/// class keeps, made by its default constructor.
template< class Concrete, class Base, class State = NoState< Concrete > >
class AGENT_EXPORT RegisteredClass : public Base
{
  public:
    /// The class whose operations the concrete one implements.
    using RegisteredBase = Base;

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

    ~RegisteredClass() override
    {
        static_assert( !Detail::hasOwnMembers< Concrete, RegisteredClass >(),
                       "a registered class keeps what it has in its State" );
        this->beingDestroyedIs();
    }

    /// What the concrete class keeps.
    [[nodiscard]] State& state() noexcept { return state_; }

    /// What the concrete class keeps.
    [[nodiscard]] const State& state() const noexcept { return state_; }

  private:
    [[no_unique_address]] State state_{};
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

/// Converts to that type, or to a reference to it, and to no other.
template< class Type >
struct Exactly
{
    template< std::same_as< Type > Same >
    operator Same() const;
};

/// The names of types, in their order.
template< class... Types >
inline constexpr std::array< std::string_view, sizeof...( Types ) > typeNames = {
    TypeName< Types >::name... };

/// Serves an attribute of a class's bases, the nearest first.
template< class Class >
int attributeOperationOfBases( Node& node,
                               const FieldDescriptor& field,
                               AttributeOperation operation,
                               void* result )
{
    using Base = typename Class::RegisteredBase;
    const int outcome = Base::attributeOperation( node, field, operation, result );
    if constexpr ( requires { typename Base::RegisteredBase; } ) {
        if ( outcome == attributeNotHandledHere ) {
            return attributeOperationOfBases< Base >( node, field, operation, result );
        }
    }
    return outcome;
}

} // namespace Detail

/// The generic construction of a class by its creator, as its type record wants it:
/// `&genericConstruct< &Probe::ProbeIs >`.
template< auto creator >
void genericConstruct( const void* const* arguments, Ptr< Node >& result )
{
    result = Detail::constructWith( creator, arguments );
}

/// The record of a class whose constructor takes arguments of exactly these types, by value or by
/// constant reference (it does not compile otherwise), and which is not constructed by name.
/// `name`: with its namespace; `attributes`: sorted by name. Both must outlive the record.
template< class Class, class... Arguments >
[[nodiscard]] TypeRecord constructedType( std::string_view name,
                                          std::span< const FieldDescriptor > attributes )
{
    static_assert( std::is_constructible_v< Class, Detail::Exactly< Arguments >... >,
                   "the class has no constructor with arguments of these types" );
    return { .name = name,
             .type = &typeid( Class ),
             .constructorArguments = Detail::typeNames< Arguments... >,
             .attributes = attributes,
             .attributeOperation = &Class::attributeOperation,
             .baseAttributeOperation = &Detail::attributeOperationOfBases< Class > };
}

namespace Detail {

template< class Class, class... Arguments >
TypeRecord recordOf( Ptr< Class > ( * )( Arguments... ),
                     std::string_view name,
                     std::span< const FieldDescriptor > attributes )
{
    return constructedType< Class, std::remove_cvref_t< Arguments >... >( name, attributes );
}

} // namespace Detail

/// The record of a class that is constructed by name with its creator, whose arguments are those of
/// the constructor; otherwise as `constructedType`.
template< auto creator >
[[nodiscard]] TypeRecord createdType( std::string_view name,
                                      std::span< const FieldDescriptor > attributes )
{
    TypeRecord record = Detail::recordOf( creator, name, attributes );
    record.construct = &genericConstruct< creator >;
    return record;
}

} // namespace Agent
