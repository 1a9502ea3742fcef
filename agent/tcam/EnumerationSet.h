#pragma once

/// Sets of qualifiers and of actions, with which a TCAM group is created.
///
/// A set is a plain value of 32 bytes: it owns no memory, and copying and filling it allocates
/// nothing. It is iterated in the order of the numbers. Not guarded against threads.
///
///     QualifierSet qualifiers{ QualifierType::srcIp, QualifierType::dstIp };
///     qualifiers.insert( QualifierType::drop );
///     for ( QualifierType type : qualifiers ) { ... }      // drop, dstIp, srcIp

#include "agent/base/BaseTypes.h"
#include "agent/tcam/ActionType.h"
#include "agent/tcam/QualifierType.h"

#include <array>
#include <bit>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <type_traits>

namespace PeloraTcam {

/// A set of values of a one-byte enumeration, whether they have names or not.
template< class Enumeration >
class EnumerationSet
{
    static_assert( sizeof( Enumeration ) == 1 );

  public:
    using value_type = Enumeration;

    /// Goes through the enumerators of a set, the smallest number first.
    class const_iterator
    {
      public:
        /// It can be copied, and gone through again.
        using iterator_category = std::forward_iterator_tag;
        using value_type = Enumeration;
        using difference_type = std::ptrdiff_t;
        using pointer = const Enumeration*;
        using reference = Enumeration;

        const_iterator() = default;

        /// The enumerator at which it stands.
        Enumeration operator*() const { return static_cast< Enumeration >( position_ ); }

        /// Goes on to the next one.
        const_iterator& operator++()
        {
            position_ = set_->firstFrom( position_ + 1 );
            return *this;
        }

        /// Goes on to the next one, and gives where it was.
        const_iterator operator++( int )
        {
            const const_iterator before = *this;
            ++*this;
            return before;
        }

        friend bool operator==( const const_iterator&, const const_iterator& ) = default;

      private:
        friend class EnumerationSet;

        const_iterator( const EnumerationSet& set, unsigned position )
            : set_( &set )
            , position_( position )
        {}

        const EnumerationSet* set_ = nullptr;
        unsigned position_ = 0;
    };

    using iterator = const_iterator;

    /// An empty set.
    EnumerationSet() = default;

    EnumerationSet( std::initializer_list< Enumeration > values )
    {
        for ( const Enumeration value : values ) {
            insert( value );
        }
    }

    /// Adds a value, once however often it is added.
    void insert( Enumeration value ) { wordOf( value ) |= bitOf( value ); }

    /// Takes a value out; nothing happens if it is not in.
    void erase( Enumeration value ) { wordOf( value ) &= ~bitOf( value ); }

    /// Whether the enumerator is in the set.
    [[nodiscard]] bool contains( Enumeration value ) const
    {
        return ( words_[ numberOf( value ) / wordBits ] & bitOf( value ) ) != 0;
    }

    /// How many enumerators are in the set.
    [[nodiscard]] std::size_t size() const
    {
        std::size_t count = 0;
        for ( const Agent::U64 word : words_ ) {
            count += static_cast< std::size_t >( std::popcount( word ) );
        }
        return count;
    }

    /// Whether no enumerator is in the set.
    [[nodiscard]] bool empty() const { return *this == EnumerationSet(); }

    [[nodiscard]] const_iterator begin() const { return { *this, firstFrom( 0 ) }; }

    [[nodiscard]] const_iterator end() const { return { *this, valueCount }; }

    friend bool operator==( const EnumerationSet&, const EnumerationSet& ) = default;

  private:
    static constexpr unsigned wordBits = 64;
    static constexpr unsigned valueCount = 256;

    static unsigned numberOf( Enumeration value ) { return static_cast< unsigned >( value ); }

    static Agent::U64 bitOf( Enumeration value )
    {
        return Agent::U64{ 1 } << ( numberOf( value ) % wordBits );
    }

    Agent::U64& wordOf( Enumeration value ) { return words_[ numberOf( value ) / wordBits ]; }

    /// The lowest member from `position` on; `valueCount` if there is none.
    [[nodiscard]] unsigned firstFrom( unsigned position ) const
    {
        while ( position < valueCount ) {
            const Agent::U64 rest = words_[ position / wordBits ] >> ( position % wordBits );
            if ( rest != 0 ) {
                return position + static_cast< unsigned >( std::countr_zero( rest ) );
            }
            position += wordBits - position % wordBits;
        }
        return valueCount;
    }

    std::array< Agent::U64, valueCount / wordBits > words_{};
};

/// The qualifiers of a group.
using QualifierSet = EnumerationSet< QualifierType >;

/// The actions of a group.
using ActionSet = EnumerationSet< ActionType >;

} // namespace PeloraTcam
