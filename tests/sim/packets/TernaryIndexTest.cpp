#include "sim/packets/TernaryIndex.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Sim {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Bytes = std::vector< uint8_t >;

constexpr std::optional< uint32_t > none;

/// An order in which the greater priority comes first, and nothing else is given.
TernaryOrder priority( int64_t priority )
{
    return { priority, 0 };
}

TEST( TernaryIndexTest, Find_Empty_FindsNone )
{
    const TernaryIndex index( 2 );

    EXPECT_EQ( index.find( Bytes{ 0, 0 } ), none );
    EXPECT_THAT( index.findAll( Bytes{ 0, 0 } ), IsEmpty() );
    EXPECT_EQ( index.size(), 0U );
    EXPECT_EQ( index.keyWidth(), 2U );
}

TEST( TernaryIndexTest, Find_OneEntry_MatchesInTheBitsOfItsMask )
{
    TernaryIndex index( 2 );
    index.insert( 7, {}, Bytes{ 0xA5, 0x00 }, Bytes{ 0xF1, 0x00 } );

    EXPECT_EQ( index.find( Bytes{ 0xA5, 0x00 } ), 7U );
    EXPECT_EQ( index.find( Bytes{ 0xAB, 0xFF } ), 7U );
    EXPECT_EQ( index.find( Bytes{ 0xA4, 0x00 } ), none );
    EXPECT_EQ( index.find( Bytes{ 0x25, 0x00 } ), none );
}

TEST( TernaryIndexTest, Find_DataOutsideTheMask_DoesNotCount )
{
    TernaryIndex index( 1 );
    index.insert( 1, {}, Bytes{ 0xFF }, Bytes{ 0x0F } );

    EXPECT_EQ( index.find( Bytes{ 0x0F } ), 1U );
    EXPECT_EQ( index.find( Bytes{ 0xF0 } ), none );
}

TEST( TernaryIndexTest, Find_EveryKeyOfAByte_TakesThoseOfAnOddMask )
{
    TernaryIndex index( 1 );
    index.insert( 1, {}, Bytes{ 0x41 }, Bytes{ 0x49 } );
    for ( unsigned key = 0; key < 256; ++key ) {
        const bool matches = key / 64 % 2 == 1 && key / 8 % 2 == 0 && key % 2 == 1;
        EXPECT_EQ( index.find( Bytes{ static_cast< uint8_t >( key ) } ).has_value(), matches )
            << key;
    }
}

TEST( TernaryIndexTest, Find_SeveralMatch_TakesTheGreatestPriority )
{
    TernaryIndex index( 1 );
    index.insert( 1, priority( 10 ), Bytes{ 0 }, Bytes{ 0 } );
    index.insert( 2, priority( 30 ), Bytes{ 0x10 }, Bytes{ 0xF0 } );
    index.insert( 3, priority( -5 ), Bytes{ 0 }, Bytes{ 0 } );
    index.insert( 4, priority( 20 ), Bytes{ 0x12 }, Bytes{ 0xFF } );

    EXPECT_EQ( index.find( Bytes{ 0x12 } ), 2U );
    EXPECT_EQ( index.find( Bytes{ 0x22 } ), 1U );
    EXPECT_THAT( index.findAll( Bytes{ 0x12 } ), ElementsAre( 2U, 4U, 1U, 3U ) );
    EXPECT_THAT( index.findAll( Bytes{ 0x22 } ), ElementsAre( 1U, 3U ) );
}

TEST( TernaryIndexTest, Find_EqualPriorities_TakesTheLeastSequenceThenTheLeastId )
{
    TernaryIndex index( 1 );
    const Bytes any{ 0 };
    index.insert( 5, { 1, 0xFFFFFFFFFFFFFFFF }, any, any );
    index.insert( 9, { 1, 2 }, any, any );
    index.insert( 3, { 1, 3 }, any, any );
    index.insert( 8, { 1, 2 }, any, any );

    EXPECT_THAT( index.findAll( any ), ElementsAre( 8U, 9U, 3U, 5U ) );
}

TEST( TernaryIndexTest, Find_PrefixesOfEveryLength_TakesTheLongest )
{
    TernaryIndex index( 4 );
    for ( unsigned length = 0; length <= 32; ++length ) {
        const uint32_t mask = length == 0 ? 0 : ~uint32_t{ 0 } << ( 32 - length );
        const auto byte = [ mask ]( unsigned i ) {
            return static_cast< uint8_t >( mask >> ( 24 - 8 * i ) );
        };
        const Bytes ones{ byte( 0 ), byte( 1 ), byte( 2 ), byte( 3 ) };
        index.insert( length, priority( length ), ones, ones );
    }
    EXPECT_EQ( index.find( Bytes{ 0x7F, 0xFF, 0xFF, 0xFF } ), 0U );
    EXPECT_EQ( index.find( Bytes{ 0xFE, 0xFF, 0xFF, 0xFF } ), 7U );
    EXPECT_EQ( index.find( Bytes{ 0xFF, 0xF0, 0xFF, 0xFF } ), 12U );
    EXPECT_EQ( index.find( Bytes{ 0xFF, 0xFF, 0xFF, 0xFE } ), 31U );
    EXPECT_EQ( index.find( Bytes{ 0xFF, 0xFF, 0xFF, 0xFF } ), 32U );
}

TEST( TernaryIndexTest, Find_KeyOfNoBytes_MatchesAll )
{
    TernaryIndex index( 0 );
    EXPECT_EQ( index.find( Bytes{} ), none );
    index.insert( 1, priority( 1 ), Bytes{}, Bytes{} );
    index.insert( 2, priority( 2 ), Bytes{}, Bytes{} );
    EXPECT_EQ( index.find( Bytes{} ), 2U );
}

TEST( TernaryIndexTest, FindAll_ThousandsThatMatchEverything_AreInTheirOrder )
{
    TernaryIndex index( 3 );
    const Bytes any{ 0, 0, 0 };
    std::vector< uint32_t > ids( 5000 );
    for ( uint32_t id = 0; id < ids.size(); ++id ) {
        ids[ id ] = id;
    }
    std::vector< uint32_t > shuffled = ids;
    std::mt19937 random( 1 );
    std::shuffle( shuffled.begin(), shuffled.end(), random );
    for ( const uint32_t id : shuffled ) {
        index.insert( id, { 0, id }, any, any );
    }
    EXPECT_EQ( index.find( any ), 0U );
    EXPECT_EQ( index.findAll( any ), ids );
}

TEST( TernaryIndexTest, Insert_ByteThatNoneHadAMaskIn_LeavesTheOthersAsTheyWere )
{
    TernaryIndex index( 3 );
    index.insert( 1, priority( 1 ), Bytes{ 1, 0, 0 }, Bytes{ 0xFF, 0, 0 } );
    index.insert( 2, priority( 2 ), Bytes{ 0, 0, 5 }, Bytes{ 0, 0, 0xFF } );

    EXPECT_THAT( index.findAll( Bytes{ 1, 9, 5 } ), ElementsAre( 2U, 1U ) );
    EXPECT_THAT( index.findAll( Bytes{ 1, 9, 6 } ), ElementsAre( 1U ) );
    EXPECT_THAT( index.findAll( Bytes{ 2, 9, 5 } ), ElementsAre( 2U ) );
    EXPECT_THAT( index.findAll( Bytes{ 2, 9, 6 } ), IsEmpty() );
}

TEST( TernaryIndexTest, Remove_BestMatch_UncoversTheNext )
{
    TernaryIndex index( 1 );
    index.insert( 1, priority( 1 ), Bytes{ 5 }, Bytes{ 0xFF } );
    index.insert( 2, priority( 2 ), Bytes{ 5 }, Bytes{ 0x0F } );

    EXPECT_TRUE( index.remove( 2 ) );
    EXPECT_EQ( index.find( Bytes{ 5 } ), 1U );
    EXPECT_EQ( index.find( Bytes{ 0x15 } ), none );
    EXPECT_FALSE( index.has( 2 ) );
    EXPECT_FALSE( index.remove( 2 ) );
    EXPECT_EQ( index.size(), 1U );
}

TEST( TernaryIndexTest, Remove_ToEmptyAndInsertAgain_FindsWhatIsThere )
{
    TernaryIndex index( 2 );
    const Bytes ones{ 0xFF, 0xFF };
    for ( int round = 0; round < 3; ++round ) {
        for ( uint32_t id = 0; id < 1000; ++id ) {
            index.insert( id, priority( id ), Bytes{ uint8_t( id / 256 ), uint8_t( id ) }, ones );
        }
        EXPECT_EQ( index.find( Bytes{ 3, 231 } ), 999U );
        for ( uint32_t id = 0; id < 1000; ++id ) {
            EXPECT_TRUE( index.remove( id * 7 % 1000 ) );
        }
        EXPECT_EQ( index.size(), 0U );
        EXPECT_EQ( index.find( Bytes{ 3, 231 } ), none );
    }
}

TEST( TernaryIndexTest, Change_OrderDataAndMask_AreTheNewOnes )
{
    TernaryIndex index( 1 );
    index.insert( 1, priority( 1 ), Bytes{ 5 }, Bytes{ 0xFF } );
    index.insert( 2, priority( 2 ), Bytes{ 0 }, Bytes{ 0 } );
    index.change( 1, priority( 3 ), Bytes{ 6 }, Bytes{ 0xFE } );

    EXPECT_EQ( index.find( Bytes{ 5 } ), 2U );
    EXPECT_EQ( index.find( Bytes{ 7 } ), 1U );
    EXPECT_EQ( index.size(), 2U );
}

TEST( TernaryIndexTest, Change_WrongArguments_ThrowsAndChangesNothing )
{
    TernaryIndex index( 2 );
    const Bytes any{ 0, 0 };
    const Bytes shorter{ 0 };
    index.insert( 1, priority( 1 ), any, any );

    EXPECT_THROW( index.insert( 1, priority( 2 ), any, any ), std::invalid_argument );
    EXPECT_THROW( index.insert( 2, priority( 2 ), shorter, any ), std::invalid_argument );
    EXPECT_THROW( index.insert( 2, priority( 2 ), any, shorter ), std::invalid_argument );
    EXPECT_THROW( index.change( 2, priority( 2 ), any, any ), std::invalid_argument );
    EXPECT_THROW( index.change( 1, priority( 2 ), any, shorter ), std::invalid_argument );
    EXPECT_THAT( index.findAll( any ), ElementsAre( 1U ) );
}

TEST( TernaryIndexTest, Move_ToAnother_TakesTheEntriesAlong )
{
    TernaryIndex index( 1 );
    index.insert( 1, {}, Bytes{ 5 }, Bytes{ 0xFF } );
    TernaryIndex other = std::move( index );
    EXPECT_EQ( other.find( Bytes{ 5 } ), 1U );
    EXPECT_TRUE( other.remove( 1 ) );
    EXPECT_EQ( other.find( Bytes{ 5 } ), none );
}

// ---- Against the comparison of every entry ----------------------------------------------------

/// What the index has to be the same as: entries, compared one after the other.
class ComparedOneByOne
{
  public:
    struct Entry
    {
        uint32_t id = 0;
        TernaryOrder order;
        Bytes data;
        Bytes mask;
    };

    void insert( const Entry& entry )
    {
        const auto isAfter = [ &entry ]( const Entry& other ) {
            if ( entry.order.priority != other.order.priority ) {
                return entry.order.priority > other.order.priority;
            }
            return entry.order.sequence < other.order.sequence;
        };
        entries_.insert( std::find_if( entries_.begin(), entries_.end(), isAfter ), entry );
    }

    void remove( uint32_t id )
    {
        std::erase_if( entries_, [ id ]( const Entry& entry ) { return entry.id == id; } );
    }

    [[nodiscard]] std::optional< uint32_t > find( const uint8_t* key ) const
    {
        for ( const Entry& entry : entries_ ) {
            if ( matches( entry, key ) ) {
                return entry.id;
            }
        }
        return std::nullopt;
    }

    [[nodiscard]] const std::vector< Entry >& entries() const { return entries_; }

  private:
    static bool matches( const Entry& entry, const uint8_t* key )
    {
        const uint8_t* data = entry.data.data();
        const uint8_t* mask = entry.mask.data();
        for ( std::size_t i = 0, width = entry.data.size(); i < width; ++i ) {
            if ( ( key[ i ] & mask[ i ] ) != ( data[ i ] & mask[ i ] ) ) {
                return false;
            }
        }
        return true;
    }

    std::vector< Entry > entries_;
};

/// What masks are like in a test.
enum class Masks
{
    odd,      ///< any bits
    prefixes, ///< the first bits of each field of four bytes
    sparse,   ///< any bits of every fourth byte or so
};

/// One test against the model.
struct Setting
{
    std::size_t width;
    std::size_t entries; ///< about so many at a time
    int changes;
    int lookupsEach; ///< after each change
    Masks masks;
    unsigned priorities; ///< how many there are
    unsigned wildcards;  ///< how many entries of a hundred match everything
};

class TernaryIndexModelTest : public ::testing::TestWithParam< Setting >
{
  protected:
    unsigned below( std::size_t end ) { return static_cast< unsigned >( random_() % end ); }

    uint8_t maskByte( std::size_t i )
    {
        switch ( GetParam().masks ) {
        case Masks::odd:
            return static_cast< uint8_t >( random_() & random_() );
        case Masks::prefixes:
            prefixLength_ = i % 4 == 0 ? below( 33 ) : prefixLength_;
            return static_cast< uint8_t >(
                0xFF00U >>
                std::clamp( static_cast< int >( prefixLength_ - 8 * ( i % 4 ) ), 0, 8 ) );
        case Masks::sparse:
            break;
        }
        return below( 4 ) == 0 ? static_cast< uint8_t >( random_() ) : uint8_t{ 0 };
    }

    ComparedOneByOne::Entry randomEntry( uint32_t id )
    {
        ComparedOneByOne::Entry entry{
            id, {}, Bytes( GetParam().width ), Bytes( GetParam().width ) };
        const bool wildcard = below( 100 ) < GetParam().wildcards;
        // Entries near each other in half of the cases, so that keys match several.
        const uint64_t few = random_() % 2 == 0 ? 0x01 : 0xFF;
        for ( std::size_t i = 0; i < entry.data.size(); ++i ) {
            entry.data[ i ] = static_cast< uint8_t >( random_() & few );
            entry.mask[ i ] = wildcard ? uint8_t{ 0 } : maskByte( i );
        }
        entry.order = { static_cast< int64_t >( below( GetParam().priorities ) ) - 3,
                        nextSequence_++ };
        return entry;
    }

    /// A key that an entry matches, or that differs from such a key in one bit.
    Bytes randomKey()
    {
        Bytes key( GetParam().width );
        for ( uint8_t& byte : key ) {
            byte = static_cast< uint8_t >( random_() );
        }
        if ( model_.entries().empty() ) {
            return key;
        }
        const auto& entry = model_.entries()[ below( model_.entries().size() ) ];
        const uint64_t free = random_() % 2 == 0 ? 0x01 : 0xFF;
        for ( std::size_t i = 0; i < key.size(); ++i ) {
            key[ i ] = static_cast< uint8_t >( ( key[ i ] & free & ~entry.mask[ i ] ) |
                                               ( entry.data[ i ] & entry.mask[ i ] ) );
        }
        if ( below( 3 ) == 0 ) {
            const unsigned bit = below( 8 * key.size() );
            key[ bit / 8 ] = static_cast< uint8_t >( key[ bit / 8 ] ^ ( 1U << bit % 8 ) );
        }
        return key;
    }

    void insertOne()
    {
        const auto entry = randomEntry( nextId_++ );
        index_.insert( entry.id, entry.order, entry.data, entry.mask );
        model_.insert( entry );
    }

    void changeOrRemoveOne()
    {
        const uint32_t id = model_.entries()[ below( model_.entries().size() ) ].id;
        model_.remove( id );
        if ( below( 2 ) == 0 ) {
            EXPECT_TRUE( index_.remove( id ) );
            return;
        }
        const auto entry = randomEntry( id );
        index_.change( id, entry.order, entry.data, entry.mask );
        model_.insert( entry );
    }

    /// Keeps the size going up and down, from none to twice what the setting says.
    void changeSomething( int i )
    {
        const bool growing = i / static_cast< int >( 2 * GetParam().entries ) % 2 == 0;
        const bool empty = model_.entries().empty();
        if ( empty || below( 5 ) < ( growing ? 4U : 1U ) ) {
            insertOne();
        } else {
            changeOrRemoveOne();
        }
    }

    std::mt19937_64 random_{ 20240229 };
    unsigned prefixLength_ = 0;
    uint32_t nextId_ = 1000;
    uint64_t nextSequence_ = 0;
    TernaryIndex index_{ GetParam().width };
    ComparedOneByOne model_;
};

TEST_P( TernaryIndexModelTest, Find_BetweenRandomChanges_IsWhatComparingEveryEntryFinds )
{
    int found = 0;
    int lookups = 0;
    for ( int i = 0; i < GetParam().changes; ++i ) {
        changeSomething( i );
        ASSERT_EQ( index_.size(), model_.entries().size() );
        for ( int j = 0; j < GetParam().lookupsEach; ++j, ++lookups ) {
            const Bytes key = randomKey();
            const auto expected = model_.find( key.data() );
            ASSERT_EQ( index_.find( key ), expected ) << "change " << i << ", lookup " << j;
            found += expected ? 1 : 0;
        }
    }
    EXPECT_GT( found, lookups / 20 );
    if ( GetParam().wildcards == 0 ) {
        EXPECT_LT( found, lookups - lookups / 100 );
    }
}

INSTANTIATE_TEST_SUITE_P( Settings,
                          TernaryIndexModelTest,
                          ::testing::Values( Setting{ 1, 20, 2000, 50, Masks::odd, 5, 5 },
                                             Setting{ 4, 60, 2000, 200, Masks::prefixes, 33, 1 },
                                             Setting{ 13, 100, 2000, 200, Masks::prefixes, 1000,
                                                      0 },
                                             Setting{ 13, 800, 6000, 3, Masks::odd, 4, 0 },
                                             Setting{ 40, 40, 1000, 60, Masks::sparse, 2, 0 },
                                             Setting{ 160, 30, 500, 40, Masks::sparse, 10, 5 },
                                             Setting{ 160, 10, 500, 20, Masks::odd, 10, 5 } ) );

// ---- What it costs ------------------------------------------------------------------------------

/// Random entries of 13 bytes, and an index of so many of them.
class TernaryIndexCostTest : public ::testing::Test
{
  protected:
    void insertMore( TernaryIndex& index, uint32_t number )
    {
        for ( uint32_t i = 0; i < number; ++i ) {
            std::array< uint8_t, 13 > data{};
            std::array< uint8_t, 13 > mask{};
            for ( std::size_t byte = 0; byte < data.size(); ++byte ) {
                data[ byte ] = static_cast< uint8_t >( random_() );
                mask[ byte ] = static_cast< uint8_t >( random_() );
            }
            const auto priority = static_cast< int64_t >( random_() % 1000000 );
            index.insert( nextId_, { priority, nextId_ }, data, mask );
            ++nextId_;
        }
    }

    std::mt19937_64 random_{ 7 };
    uint32_t nextId_ = 0;
};

TEST_F( TernaryIndexCostTest, Insert_AmongEightThousand_WritesLittleMoreThanAmongEighty )
{
    TernaryIndex small( 13 );
    insertMore( small, 80 );
    const uint64_t smallBefore = small.wordsWritten();
    insertMore( small, 1 );
    const uint64_t one = small.wordsWritten() - smallBefore;

    TernaryIndex large( 13 );
    insertMore( large, 8000 );
    const uint64_t largeBefore = large.wordsWritten();
    insertMore( large, 1000 );
    const uint64_t each = ( large.wordsWritten() - largeBefore ) / 1000;

    EXPECT_GT( one, 13U * 2 );
    EXPECT_LT( each, one + one / 2 );
}

TEST_F( TernaryIndexCostTest, Insert_TheWorstOne_CutsOneBlockAndOneGroup )
{
    TernaryIndex index( 13 );
    insertMore( index, 80 );
    uint64_t worst = 0;
    for ( int i = 0; i < 10000; ++i ) {
        const uint64_t before = index.wordsWritten();
        insertMore( index, 1 );
        worst = std::max( worst, index.wordsWritten() - before );
    }
    // A column has 256 words in a group and 32 in a block. One insertion writes both; cutting a
    // group two of a group, cutting a block three of a group (room, and twice what is left) and two
    // of a block.
    EXPECT_EQ( worst, 13U * ( ( 256 + 32 ) + 2 * 256 + 3 * 256 + 2 * 32 ) );
}

TEST_F( TernaryIndexCostTest, Memory_EightThousandInAnyOrder_IsBelowAKilobyteEach )
{
    TernaryIndex index( 13 );
    insertMore( index, 8000 );
    EXPECT_LT( index.memory(), 8000U * 1000 );
    EXPECT_GT( index.memory(), 8000U * ( 13 * 32 / 8 ) );
}

TEST_F( TernaryIndexCostTest, Memory_AfterRemovalOfMost_IsGivenBack )
{
    TernaryIndex index( 13 );
    insertMore( index, 8000 );
    const std::size_t full = index.memory();
    for ( uint32_t id = 0; id < 8000; ++id ) {
        if ( id % 20 != 0 ) {
            EXPECT_TRUE( index.remove( id ) );
        }
    }
    EXPECT_LT( index.memory(), full / 4 );
}

} // namespace
} // namespace Sim
