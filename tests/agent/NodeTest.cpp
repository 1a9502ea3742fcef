#include "agent/base/Node.h"
#include "agent/base/Ptr.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Agent {

namespace {

/// Where a virtual operation stands in the class's table: the compiler keeps it, plus one, in the
/// first word of a pointer to the member.
template< class Member >
std::size_t slotOf( Member member )
{
    static_assert( sizeof( member ) >= sizeof( std::uintptr_t ) );
    std::uintptr_t offset = 0;
    std::memcpy( &offset, &member, sizeof( offset ) );
    return ( offset - 1 ) / sizeof( void* );
}

class Leaf : public Node
{
  public:
    explicit Leaf( int& destructions )
        : destructions_( destructions )
    {}

    ~Leaf() override { ++destructions_; }

    [[nodiscard]] const ModuleRecord& typeData() const override
    {
        // Never asked for.
        std::abort();
    }

    using Node::beingDestroyedIs;

  private:
    int& destructions_;
};

/// Is not destroyed when its last user goes.
class KeptLeaf final : public Leaf
{
  public:
    using Leaf::Leaf;

    void lastUserGone() override { ++lastUsersGone; }

    int lastUsersGone = 0;
};

TEST( NodeTest, VirtualOperations_InTheTable_StandInTheirSlots )
{
    // 0 and 1 are the destructor pair.
    EXPECT_EQ( slotOf( &Node::lastUserGone ), 2U );
    EXPECT_EQ( slotOf( &Node::publisher ), 3U );
    EXPECT_EQ( slotOf( &Node::typeData ), 4U );
}

TEST( NodeTest, Flags_OfANewNode_AreClear )
{
    int destructions = 0;
    const Leaf leaf( destructions );

    EXPECT_EQ( leaf.nodeFlags(), 0U );
    EXPECT_FALSE( leaf.initialized() );
    EXPECT_EQ( leaf.references(), 0U );
}

TEST( NodeTest, InitializedIs_SetAndCleared_ChangesThatFlagOnly )
{
    int destructions = 0;
    Leaf leaf( destructions );
    leaf.beingDestroyedIs();

    leaf.initializedIs( true );
    EXPECT_TRUE( leaf.initialized() );
    EXPECT_EQ( leaf.nodeFlags(), 0x20000001U );

    leaf.initializedIs( false );
    EXPECT_FALSE( leaf.initialized() );
    EXPECT_EQ( leaf.nodeFlags(), 0x20000000U );
}

TEST( NodeTest, Publisher_OfAPlainNode_IsNull )
{
    int destructions = 0;
    Leaf leaf( destructions );

    EXPECT_EQ( leaf.publisher(), nullptr );
}

TEST( NodeTest, LastUserGone_NotOverridden_DestroysTheNode )
{
    int destructions = 0;
    auto* leaf = new Leaf( destructions );

    leaf->referenceTaken();
    leaf->referenceTaken();
    leaf->referenceDropped();
    EXPECT_EQ( destructions, 0 );

    leaf->referenceDropped();
    EXPECT_EQ( destructions, 1 );
}

TEST( NodeTest, ReferenceDropped_TheLastOne_CallsLastUserGoneOnce )
{
    int destructions = 0;
    KeptLeaf leaf( destructions );

    {
        const Ptr< const Node > user( &leaf );
        const Ptr< const Node > other = user;
        EXPECT_EQ( leaf.references(), 2U );
        EXPECT_EQ( leaf.lastUsersGone, 0 );
    }

    EXPECT_EQ( leaf.lastUsersGone, 1 );
    EXPECT_EQ( destructions, 0 );
}

} // namespace

} // namespace Agent
