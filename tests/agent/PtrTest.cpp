#include "agent/base/Ptr.h"
#include "agent/base/ReferenceCount.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace Agent {

namespace {

class Base : public SharedValue< Base >
{
  public:
    explicit Base( int* destructions = nullptr )
        : destructions_( destructions )
    {}

    Base( const Base& ) = default;
    Base& operator=( const Base& ) = default;

    virtual ~Base()
    {
        if ( destructions_ != nullptr ) {
            ++*destructions_;
        }
    }

    [[nodiscard]] int number() const { return 7; }

  private:
    int* destructions_;
};

class Derived : public Base
{
  public:
    using Base::Base;
};

/// Says that several threads are active for as long as it lives.
class ThreadsActive
{
  public:
    ThreadsActive() { threadsActiveIs( true ); }

    ThreadsActive( const ThreadsActive& ) = delete;
    ThreadsActive& operator=( const ThreadsActive& ) = delete;

    ~ThreadsActive() { threadsActiveIs( false ); }
};

/// Runs the work on so many threads at once and waits for them.
template< class Work >
void onThreads( unsigned count, Work work )
{
    std::vector< std::thread > threads;
    for ( unsigned i = 0; i < count; ++i ) {
        threads.emplace_back( work );
    }
    for ( std::thread& thread : threads ) {
        thread.join();
    }
}

TEST( PtrTest, Ptr_OfNothing_IsNull )
{
    const Ptr< Base > empty;
    const Ptr< Base > null( nullptr );
    const Ptr< Base > ofNull( static_cast< Base* >( nullptr ) );

    EXPECT_FALSE( empty );
    EXPECT_TRUE( null == nullptr );
    EXPECT_EQ( ofNull.get(), nullptr );
    EXPECT_TRUE( empty == null );
}

TEST( PtrTest, Ptr_CopiedAndMoved_CountsItsReferences )
{
    int destructions = 0;
    Ptr< Base > first( new Base( &destructions ) );
    EXPECT_EQ( first->references(), 1U );
    EXPECT_EQ( ( *first ).number(), 7 );

    Ptr< Base > second = first;
    EXPECT_EQ( first->references(), 2U );
    EXPECT_TRUE( first == second );

    const Ptr< Base > third = std::move( second );
    EXPECT_EQ( first->references(), 2U );
    EXPECT_EQ( second.get(), nullptr ); // NOLINT: what a move leaves behind is part of the type

    first = nullptr;
    EXPECT_EQ( third->references(), 1U );
    EXPECT_EQ( destructions, 0 );
}

TEST( PtrTest, Ptr_LastOneGone_DeletesTheObject )
{
    int destructions = 0;
    {
        const Ptr< Base > first( new Base( &destructions ) );
        const Ptr< Base > second( first );
    }

    EXPECT_EQ( destructions, 1 );
}

TEST( PtrTest, Assignment_OfAnother_DropsTheOldObject )
{
    int destructions = 0;
    Ptr< Base > pointer( new Base( &destructions ) );

    pointer = Ptr< Base >( new Base );

    EXPECT_EQ( destructions, 1 );
    EXPECT_EQ( pointer->references(), 1U );
}

TEST( PtrTest, Assignment_OfItself_KeepsTheObject )
{
    int destructions = 0;
    Ptr< Base > pointer( new Base( &destructions ) );
    const Ptr< Base >& same = pointer;

    pointer = same;

    EXPECT_EQ( destructions, 0 );
    EXPECT_EQ( pointer->references(), 1U );
}

TEST( PtrTest, Conversion_ToBaseAndToConst_SharesTheObject )
{
    int destructions = 0;
    {
        const Ptr< Derived > derived( new Derived( &destructions ) );
        const Ptr< Base > base = derived;
        const Ptr< const Base > constant = base;

        EXPECT_EQ( derived->references(), 3U );
        EXPECT_EQ( constant.get(), derived.get() );
    }

    EXPECT_EQ( destructions, 1 );
}

TEST( PtrTest, Copy_OfASharedObject_HasACountOfItsOwn )
{
    const Ptr< Base > original( new Base );
    const Ptr< Base > copy( new Base( *original ) );
    const Ptr< Base > another = original;

    EXPECT_EQ( original->references(), 2U );
    EXPECT_EQ( copy->references(), 1U );

    *copy = *original;
    EXPECT_EQ( copy->references(), 1U );
}

TEST( PtrTest, Ptr_OnSeveralActiveThreads_LosesNoReference )
{
    int destructions = 0;
    {
        const ThreadsActive active;
        const Ptr< Base > shared( new Base( &destructions ) );
        onThreads( 4, [ &shared ] {
            std::vector< Ptr< Base > > copies;
            for ( int i = 0; i < 50'000; ++i ) {
                copies.push_back( shared );
            }
        } );

        EXPECT_EQ( shared->references(), 1U );
        EXPECT_EQ( destructions, 0 );
    }

    EXPECT_EQ( destructions, 1 );
}

TEST( PtrTest, ReferenceCount_OnSeveralActiveThreads_IsExact )
{
    const ThreadsActive active;
    ReferenceCount count;

    onThreads( 4, [ &count ] {
        for ( int i = 0; i < 100'000; ++i ) {
            count.taken();
        }
    } );

    EXPECT_EQ( count.value(), 400'000U );
}

TEST( PtrTest, ReferenceCount_ThreadsNotActive_IsChangedWithPlainArithmetic )
{
    // Plain arithmetic on two threads loses an update sooner or later, which is how it shows.
    constexpr U32 changes = 100'000;
    ASSERT_FALSE( threadsActive() );
    bool lost = false;
    for ( int attempt = 0; attempt < 2000 && !lost; ++attempt ) {
        ReferenceCount count;
        onThreads( 2, [ &count ] {
            for ( U32 i = 0; i < changes; ++i ) {
                count.taken();
            }
        } );
        lost = count.value() != 2 * changes;
    }

    EXPECT_TRUE( lost );
}

TEST( PtrTest, ReferenceCount_ThreadsSwitchedOnAndOff_GoesOnCounting )
{
    ReferenceCount count;
    count.taken();
    {
        const ThreadsActive active;
        count.taken();
        EXPECT_EQ( count.value(), 2U );
        EXPECT_FALSE( count.dropped() );
    }
    EXPECT_TRUE( count.dropped() );
    EXPECT_EQ( count.value(), 0U );
}

} // namespace

} // namespace Agent
