#pragma once

/// What the tests of the lives of the helpers share: a helper is counted while it lives, and its
/// attributes can be read and nothing else.

#include "agent/base/Node.h"
#include "agent/base/SlabAllocator.h"
#include "agent/base/TypeRegistry.h"

#include <functional>
#include <gtest/gtest.h>
#include <typeinfo>

namespace LibraryTest {

/// What `make` gives is a helper of that class, which its tracker and its slabs count until the
/// last reference to it goes.
template< class Helper >
void expectCounted( const std::function< Agent::Ptr< Agent::Node >() >& make )
{
    const std::size_t count = Helper::memAllocationTracker_.count();
    const std::size_t bytes = Helper::memAllocationTracker_.bytes();
    const std::size_t live = Agent::slabUse( typeid( Helper ).name() ).live;
    {
        const Agent::Ptr< Agent::Node > helper = make();
        ASSERT_TRUE( helper );
        EXPECT_NE( dynamic_cast< Helper* >( helper.get() ), nullptr );
        EXPECT_EQ( Helper::memAllocationTracker_.count(), count + 1 );
        EXPECT_EQ( Helper::memAllocationTracker_.bytes(), bytes + sizeof( Helper ) );
        EXPECT_EQ( Agent::slabUse( typeid( Helper ).name() ).live, live + 1 );
    }
    EXPECT_EQ( Helper::memAllocationTracker_.count(), count );
    EXPECT_EQ( Helper::memAllocationTracker_.bytes(), bytes );
    EXPECT_EQ( Agent::slabUse( typeid( Helper ).name() ).live, live );
}

/// The attribute has that value, and can be neither made nor removed.
template< class Value, class Helper >
void expectReadable( const char* attribute, const Value& expected, Helper& helper )
{
    using Agent::AttributeOperation;
    Value value{};
    EXPECT_EQ( Agent::attributeOperation( helper, attribute, AttributeOperation::create, &value ),
               1 );
    EXPECT_EQ( Agent::attributeOperation( helper, attribute, AttributeOperation::remove, &value ),
               1 );
    EXPECT_EQ( value, Value{} );
    EXPECT_EQ( Agent::attributeOperation( helper, attribute, AttributeOperation::read, &value ),
               0 );
    EXPECT_EQ( value, expected );
}

} // namespace LibraryTest
