#pragma once

/// The flags that a node has behind its destructor.

#include "agent/base/Node.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace LibraryTest {

/// Makes an object in memory of the function's own, destroys it in place, and gives the flags that
/// stand there then. Where they stand is where a change of a flag is seen.
template< class Helper, class... Arguments >
Agent::U32 flagsAfterDestruction( Arguments... arguments )
{
    alignas( Helper ) static std::array< unsigned char, sizeof( Helper ) > memory;
    auto* const helper = ::new ( memory.data() ) Helper( arguments... );
    const std::vector< unsigned char > before( memory.begin(), memory.end() );
    helper->initializedIs( true );
    const auto changed = std::mismatch( before.begin(), before.end(), memory.begin() ).first;
    helper->initializedIs( false );
    EXPECT_EQ( helper->nodeFlags(), 0U );
    std::destroy_at( helper );
    Agent::U32 flags = 0;
    const auto place = static_cast< std::size_t >( changed - before.begin() );
    if ( place + sizeof( flags ) > memory.size() ) {
        ADD_FAILURE() << "no flag was seen to change";
        return 0;
    }
    std::memcpy( &flags, &memory.at( place ), sizeof( flags ) );
    return flags;
}

} // namespace LibraryTest
