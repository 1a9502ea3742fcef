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

template< class T >
class Ptr
{
  public:
    Ptr() noexcept = default;

    Ptr( std::nullptr_t ) noexcept {}

    explicit Ptr( T* object ) noexcept
        : object_( object )
    {
        take();
    }

    Ptr( const Ptr& other ) noexcept
        : object_( other.object_ )
    {
        take();
    }

    Ptr( Ptr&& other ) noexcept
        : object_( std::exchange( other.object_, nullptr ) )
    {}

    template< class Other >
    requires std::convertible_to< Other*, T* > Ptr( const Ptr< Other >& other )
    noexcept
        : object_( other.get() )
    {
        take();
    }

    ~Ptr() { drop(); }

    Ptr& operator=( Ptr other ) noexcept
    {
        std::swap( object_, other.object_ );
        return *this;
    }

    [[nodiscard]] T* get() const noexcept { return object_; }

    T* operator->() const noexcept { return object_; }

    T& operator*() const noexcept { return *object_; }

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
