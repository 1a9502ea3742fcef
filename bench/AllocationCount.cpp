#include "bench/AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic< std::uint64_t > count_{ 0 };

} // namespace

namespace Bench {

std::uint64_t allocationCount() noexcept
{
    return count_.load( std::memory_order_relaxed );
}

} // namespace Bench

// The other forms of `operator new` and `operator delete` end in these.

void* operator new( std::size_t size )
{
    count_.fetch_add( 1, std::memory_order_relaxed );
    if ( void* memory = std::malloc( size == 0 ? 1 : size ) ) {
        return memory;
    }
    throw std::bad_alloc();
}

void* operator new( std::size_t size, std::align_val_t alignment )
{
    count_.fetch_add( 1, std::memory_order_relaxed );
    const auto boundary = static_cast< std::size_t >( alignment );
    if ( void* memory =
             std::aligned_alloc( boundary, ( size + boundary - 1 ) / boundary * boundary ) ) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete( void* memory ) noexcept
{
    std::free( memory );
}

void operator delete( void* memory, std::size_t ) noexcept
{
    std::free( memory );
}

void operator delete( void* memory, std::align_val_t ) noexcept
{
    std::free( memory );
}

void operator delete( void* memory, std::size_t, std::align_val_t ) noexcept
{
    std::free( memory );
}
