#pragma once

/// Memory for objects of which there are many of one type.
///
/// Each type has a slab: chunks of equal blocks and a list of the free ones. Memory is never
/// given back to the system, only to the type, so an object that comes and goes costs no heap
/// allocation. Types are told apart by name, so a library that is unloaded and loaded again
/// finds its slab again. May be used from any thread.

#include "agent/base/Export.h"

#include <cstddef>
#include <string_view>
#include <typeinfo>

namespace Agent {

/// What a type's slab holds, in objects.
struct SlabUse
{
    std::size_t live = 0;     ///< objects handed out and not yet freed
    std::size_t reserved = 0; ///< objects there is memory for, live ones included
};

/// Memory for one object of `type`, aligned for any object. `size` is the object's size in bytes
/// and the same at every call for a type (an assertion otherwise). Throws std::bad_alloc when
/// the system has no memory.
[[nodiscard]] AGENT_EXPORT void* slabAllocate( const std::type_info& type, std::size_t size );

/// Takes the memory of an object of `type` back; `memory` may be null.
AGENT_EXPORT void slabFree( const std::type_info& type, void* memory ) noexcept;

/// What the slab of the type of that (mangled) name holds; zeros for a type never allocated.
[[nodiscard]] AGENT_EXPORT SlabUse slabUse( std::string_view typeName );

} // namespace Agent
