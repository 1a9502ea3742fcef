#pragma once

/// How much memory the process has.

#include "tests/soak/Require.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <unistd.h>

namespace Soak {

/// What is resident, as the kernel counts it.
inline std::size_t residentKilobytes()
{
    const std::unique_ptr< std::FILE, int ( * )( std::FILE* ) > file(
        std::fopen( "/proc/self/statm", "r" ), &std::fclose );
    unsigned long size = 0;
    unsigned long resident = 0;
    require( file && std::fscanf( file.get(), "%lu %lu", &size, &resident ) == 2,
             "the kernel tells the memory in use" );
    return resident * static_cast< std::size_t >( sysconf( _SC_PAGESIZE ) ) / 1024;
}

/// How much more it may be at the end than after the warm-up: what the allocator keeps for itself,
/// which levels off. A leak of a byte an operation shows at ten million operations.
constexpr std::size_t mostGrowth( std::size_t afterWarmUp )
{
#ifdef PELORA_SANITIZED
    return 16 * afterWarmUp; // A sanitizer holds freed memory back; it finds leaks by itself.
#else
    constexpr std::size_t most = 4096;
    return afterWarmUp / 4 < most ? afterWarmUp / 4 : most;
#endif
}

} // namespace Soak
