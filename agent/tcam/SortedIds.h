#pragma once

/// A sorted set of a few small values, such as ids: up to four need no memory of their own.
///
///     SortedIds< Agent::U32 > ids;
///     ids.insert( 7 );
///     for ( const Agent::U32 id : ids ) { ... }

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace PeloraTcam {

/// The set; iterated in ascending order. `Id` is cheap to copy, and compares. An insertion may
/// throw `std::bad_alloc` from the fifth value on; it and a removal end the validity of iterators.
template< class Id >
class SortedIds
{
  public:
    using value_type = Id;
    using const_iterator = const Id*;

    SortedIds() = default;

    SortedIds( const SortedIds& ) = default;

    /// Takes the values over; `other` has none then.
    SortedIds( SortedIds&& other ) noexcept
        : few_( other.few_ )
        , many_( std::move( other.many_ ) )
        , size_( std::exchange( other.size_, 0 ) )
    {
        other.many_.clear();
    }

    SortedIds& operator=( SortedIds other ) noexcept
    {
        few_ = other.few_;
        many_.swap( other.many_ );
        size_ = other.size_;
        return *this;
    }

    ~SortedIds() = default;

    /// Adds a value; one that is there already stays once.
    void insert( Id id )
    {
        const const_iterator place = std::lower_bound( begin(), end(), id );
        if ( place != end() && *place == id ) {
            return;
        }
        const auto index = place - begin();
        if ( many_.empty() && size_ < few_.size() ) {
            const auto behind = few_.begin() + static_cast< std::ptrdiff_t >( size_ );
            std::copy_backward( few_.begin() + index, behind, behind + 1 );
            few_[ static_cast< std::size_t >( index ) ] = id;
        } else {
            if ( many_.empty() ) {
                many_.assign( begin(), end() );
            }
            many_.insert( many_.begin() + index, id );
        }
        ++size_;
    }

    /// Takes a value out, if it is there.
    void erase( Id id )
    {
        const const_iterator place = std::lower_bound( begin(), end(), id );
        if ( place == end() || *place != id ) {
            return;
        }
        const auto index = place - begin();
        if ( many_.empty() ) {
            const auto behind = few_.begin() + static_cast< std::ptrdiff_t >( size_ );
            std::copy( few_.begin() + index + 1, behind, few_.begin() + index );
        } else {
            many_.erase( many_.begin() + index );
        }
        --size_;
    }

    /// Takes all values out.
    void clear()
    {
        many_.clear();
        size_ = 0;
    }

    /// Whether the value is in the set.
    [[nodiscard]] bool contains( Id id ) const { return std::binary_search( begin(), end(), id ); }

    /// How many values there are.
    [[nodiscard]] std::size_t size() const { return size_; }

    [[nodiscard]] const_iterator begin() const
    {
        return many_.empty() ? few_.data() : many_.data();
    }

    [[nodiscard]] const_iterator end() const { return begin() + size_; }

    friend bool operator==( const SortedIds& left, const SortedIds& right )
    {
        return std::equal( left.begin(), left.end(), right.begin(), right.end() );
    }

  private:
    std::array< Id, 4 > few_{};
    std::vector< Id > many_; ///< all of them, since there was a fifth; empty: they are in few_
    std::size_t size_ = 0;
};

} // namespace PeloraTcam
