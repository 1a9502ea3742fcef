#include "tests/support/AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic< std::size_t > count_{ 0 };

void* allocate( std::size_t size ) noexcept
{
    count_.fetch_add( 1, std::memory_order_relaxed );
    return std::malloc( size == 0 ? 1 : size );
}

void* allocateOrThrow( std::size_t size )
{
    if ( void* memory = allocate( size ) ) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace

namespace TestSupport {

std::size_t allocationCount() noexcept
{
    return count_.load( std::memory_order_relaxed );
}

} // namespace TestSupport

void* operator new( std::size_t size )
{
    return allocateOrThrow( size );
}

void* operator new[]( std::size_t size )
{
    return allocateOrThrow( size );
}

void* operator new( std::size_t size, const std::nothrow_t& ) noexcept
{
    return allocate( size );
}

void* operator new[]( std::size_t size, const std::nothrow_t& ) noexcept
{
    return allocate( size );
}

void operator delete( void* memory ) noexcept
{
    std::free( memory );
}

void operator delete[]( void* memory ) noexcept
{
    std::free( memory );
}

void operator delete( void* memory, std::size_t ) noexcept
{
    std::free( memory );
}

void operator delete[]( void* memory, std::size_t ) noexcept
{
    std::free( memory );
}

void operator delete( void* memory, const std::nothrow_t& ) noexcept
{
    std::free( memory );
}

void operator delete[]( void* memory, const std::nothrow_t& ) noexcept
{
    std::free( memory );
}
