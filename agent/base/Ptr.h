#pragma once

/// The agent's reference-counted pointer to nodes and shared values.
///
/// The object holds the count; it goes when the last `Ptr` to it goes. A `Ptr` may be null. The
/// count is atomic only while the agent's threads are active (`ThreadControl.h`); one `Ptr`
/// object is not to be changed by two threads at once.
///
///     Ptr< Bitmap > chunks( new Bitmap( 16 ) );
///     Ptr< const Bitmap > readOnly = chunks;

#include <concepts>
#include <cstddef>
#include <utility>

namespace Agent {

/// A class that a pointer to `Base` can point to.
template< class Other, class Base >
concept PointerTo = std::convertible_to< Other*, Base* >;

/// A reference that keeps its object alive; see the top of this header.
template< class T >
class Ptr
{
  public:
    Ptr() noexcept = default;

    /// No object.
    Ptr( std::nullptr_t ) noexcept {}

    /// One more reference to the object, which may be null.
    explicit Ptr( T* object ) noexcept
        : object_( object )
    {
        take();
    }

    /// One more reference.
    Ptr( const Ptr& other ) noexcept
        : object_( other.object_ )
    {
        take();
    }

    /// Takes the reference over; `other` has none then.
    Ptr( Ptr&& other ) noexcept
        : object_( std::exchange( other.object_, nullptr ) )
    {}

    /// One more reference, to the object as its base.
    template< PointerTo< T > Other >
    Ptr( const Ptr< Other >& other ) noexcept
        : object_( other.get() )
    {
        take();
    }

    ~Ptr() { drop(); }

    /// Drops the reference that it has, and takes that of `other`.
    Ptr& operator=( Ptr other ) noexcept
    {
        std::swap( object_, other.object_ );
        return *this;
    }

    /// The object; null if there is none.
    [[nodiscard]] T* get() const noexcept { return object_; }

    /// The object; there must be one.
    T* operator->() const noexcept { return object_; }

    /// The object; there must be one.
    T& operator*() const noexcept { return *object_; }

    /// Whether there is an object.
    explicit operator bool() const noexcept { return object_ != nullptr; }

    friend bool operator==( const Ptr& left, const Ptr& right ) noexcept
    {
        return left.object_ == right.object_;
    }

    friend bool operator==( const Ptr& left, std::nullptr_t ) noexcept
    {
        return left.object_ == nullptr;
    }

  private:
    void take() const noexcept
    {
        if ( object_ != nullptr ) {
            object_->referenceTaken();
        }
    }

    void drop() const
    {
        if ( object_ != nullptr ) {
            object_->referenceDropped();
        }
    }

    T* object_ = nullptr;
};

} // namespace Agent
