#include "agent/base/SlabAllocator.h"

#include "tests/support/AllocationCount.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

namespace Agent {

namespace {

// One type for each test: a slab lives as long as the process.

struct Forty
{
    char bytes[ 40 ];
};

struct Tiny
{
    char byte;
};

struct Reused
{
    char bytes[ 24 ];
};

struct Counted
{
    char bytes[ 100 ];
};

struct Resized
{
    char bytes[ 16 ];
};

struct NeverAllocated
{};

template< class Type >
SlabUse useOf()
{
    return slabUse( typeid( Type ).name() );
}

template< class Type >
std::vector< void* > allocateMany( std::size_t count )
{
    std::vector< void* > blocks;
    for ( std::size_t i = 0; i < count; ++i ) {
        blocks.push_back( slabAllocate( typeid( Type ), sizeof( Type ) ) );
        std::memset( blocks.back(), static_cast< int >( i ), sizeof( Type ) );
    }
    return blocks;
}

template< class Type >
void freeAll( const std::vector< void* >& blocks )
{
    for ( void* block : blocks ) {
        slabFree( typeid( Type ), block );
    }
}

TEST( SlabAllocatorTest, Allocate_ManyObjects_GivesEachItsOwnAlignedBlock )
{
    const std::vector< void* > blocks = allocateMany< Forty >( 100 );

    EXPECT_EQ( std::set< void* >( blocks.begin(), blocks.end() ).size(), 100U );
    for ( std::size_t i = 0; i < blocks.size(); ++i ) {
        EXPECT_EQ( reinterpret_cast< std::uintptr_t >( blocks[ i ] ) % alignof( std::max_align_t ),
                   0U );
        // Nobody wrote into it since.
        Forty contents{};
        std::memcpy( &contents, blocks[ i ], sizeof( contents ) );
        EXPECT_EQ( contents.bytes[ 0 ], static_cast< char >( i ) );
        EXPECT_EQ( contents.bytes[ 39 ], static_cast< char >( i ) );
    }
    freeAll< Forty >( blocks );
}

TEST( SlabAllocatorTest, Use_OfAType_CountsLiveAndReservedObjects )
{
    EXPECT_EQ( useOf< Counted >().live, 0U );
    EXPECT_EQ( useOf< Counted >().reserved, 0U );

    std::vector< void* > blocks = allocateMany< Counted >( 17 );
    EXPECT_EQ( useOf< Counted >().live, 17U );
    EXPECT_GE( useOf< Counted >().reserved, 17U );

    const std::size_t reserved = useOf< Counted >().reserved;
    freeAll< Counted >( blocks );
    EXPECT_EQ( useOf< Counted >().live, 0U );
    EXPECT_EQ( useOf< Counted >().reserved, reserved );
}

TEST( SlabAllocatorTest, Use_OfATypeNeverAllocated_IsZero )
{
    EXPECT_EQ( useOf< NeverAllocated >().live, 0U );
    EXPECT_EQ( useOf< NeverAllocated >().reserved, 0U );
}

TEST( SlabAllocatorTest, Allocate_AfterFree_UsesTheMemoryAgainWithoutTheHeap )
{
    void* first = slabAllocate( typeid( Reused ), sizeof( Reused ) );
    slabFree( typeid( Reused ), first );

    const std::size_t before = TestSupport::allocationCount();
    void* second = slabAllocate( typeid( Reused ), sizeof( Reused ) );
    slabFree( typeid( Reused ), second );

    EXPECT_EQ( TestSupport::allocationCount(), before );
    EXPECT_EQ( first, second );
}

TEST( SlabAllocatorTest, Allocate_ObjectSmallerThanAPointer_KeepsTheListOfFreeBlocks )
{
    freeAll< Tiny >( allocateMany< Tiny >( 20 ) );
    const std::vector< void* > blocks = allocateMany< Tiny >( 20 );

    EXPECT_EQ( std::set< void* >( blocks.begin(), blocks.end() ).size(), 20U );
    freeAll< Tiny >( blocks );
}

TEST( SlabAllocatorTest, Free_OfNull_DoesNothing )
{
    slabFree( typeid( NeverAllocated ), nullptr );

    EXPECT_EQ( useOf< NeverAllocated >().live, 0U );
}

TEST( SlabAllocatorTest, Allocate_AnotherSizeForAType_IsAnAssertionFailure )
{
    void* block = slabAllocate( typeid( Resized ), sizeof( Resized ) );

    EXPECT_DEATH( static_cast< void >( slabAllocate( typeid( Resized ), 17 ) ),
                  "Assertion `size == objectSize_ && \"all objects of a type have one size\"' "
                  "failed" );
    slabFree( typeid( Resized ), block );
}

TEST( SlabAllocatorTest, Free_ByATypeNeverAllocated_IsAnAssertionFailure )
{
    int object = 0;

    EXPECT_DEATH( slabFree( typeid( NeverAllocated ), &object ),
                  "\"freed by the type it was allocated by\"' failed" );
}

} // namespace

} // namespace Agent
