#pragma once

/// What a ternary index is made of: blocks of up to 64 entries, groups of up to 64 blocks, each
/// with bit vectors that a key selects from. `TernaryIndex.h` tells how they work together, and is
/// what others include.
///
/// A column is what a block or a group has for one byte of the key. The columns of all blocks and
/// groups of an index are those of the same bytes, in the same order (`TernaryColumns`).

#include <array>
#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Sim {

/// Where an entry stands among others.
struct TernaryOrder
{
    int64_t priority = 0;  ///< the greater one is better
    uint64_t sequence = 0; ///< among the same priority, the lesser one is better

    friend bool operator==( const TernaryOrder&, const TernaryOrder& ) = default;
};

/// What entries are sorted by: the lesser rank is better.
struct TernaryRank
{
    TernaryOrder order;
    uint32_t id = 0;

    std::strong_ordering operator<=>( const TernaryRank& other ) const;
};

/// A key, data or a mask.
using TernaryBytes = std::span< const uint8_t >;

/// For each column, the byte of the key that it is for.
using TernaryColumns = std::vector< uint32_t >;

struct TernaryGroup;

/// Entries that follow each other in the order. An entry keeps its slot, which is its bit of all
/// words, while others come and go before it.
struct TernaryBlock
{
    static constexpr unsigned capacity = 64;
    static constexpr unsigned halfByteValues = 16;
    /// Words of a column: of each value of the upper half byte, then of the lower one.
    static constexpr unsigned columnSize = 2 * halfByteValues;

    TernaryGroup* group = nullptr;
    unsigned position = 0; ///< in the group
    unsigned count = 0;
    uint64_t occupied = 0;                          ///< the slots that have an entry
    std::array< TernaryRank, capacity > ranks{};    ///< by slot
    std::array< uint8_t, capacity > slotsInOrder{}; ///< the best entry's first
    std::array< uint8_t, capacity > places{};       ///< in that order, by slot
    std::vector< uint64_t > words;                  ///< the slots that take a value

    /// The best entry's rank. There must be one.
    [[nodiscard]] const TernaryRank& first() const { return ranks[ slotsInOrder[ 0 ] ]; }

    /// How many entries are better than one of that rank.
    [[nodiscard]] unsigned placeFor( const TernaryRank& rank ) const;

    /// The first slot that has no entry.
    [[nodiscard]] unsigned freeSlot() const
    {
        return static_cast< unsigned >( std::countr_one( occupied ) );
    }

    /// Puts an entry into a free slot; its words are still to be written.
    void addRank( unsigned slot, const TernaryRank& rank );

    /// Writes the words of an entry that has been added.
    void
    write( unsigned slot, const TernaryColumns& columns, TernaryBytes data, TernaryBytes mask );

    /// Takes an entry out.
    void erase( unsigned slot );

    /// Moves the later half of a full block to an empty one, each entry to the slot of its number.
    void moveLaterHalfTo( TernaryBlock& next );

    /// Copies an entry of another block, which comes behind all here, into a free slot.
    void append( unsigned slot, const TernaryBlock& other, unsigned otherSlot );

    /// The slots of the entries that match a key.
    [[nodiscard]] uint64_t matches( TernaryBytes key, const TernaryColumns& columns ) const
    {
        uint64_t left = occupied;
        const uint64_t* column = words.data();
        for ( const uint32_t byte : columns ) {
            const unsigned value = key[ byte ];
            left &= column[ value / halfByteValues ] &
                    column[ halfByteValues + value % halfByteValues ];
            if ( left == 0 ) {
                break;
            }
            column += columnSize;
        }
        return left;
    }

    /// The best of some slots.
    [[nodiscard]] unsigned best( uint64_t slots ) const
    {
        auto found = static_cast< unsigned >( std::countr_zero( slots ) );
        while ( ( slots &= slots - 1 ) != 0 ) {
            const auto other = static_cast< unsigned >( std::countr_zero( slots ) );
            found = places[ other ] < places[ found ] ? other : found;
        }
        return found;
    }

  private:
    void numberPlacesFrom( unsigned place );
};

/// Blocks that follow each other in the order. A block's position is its bit of all words.
struct TernaryGroup
{
    static constexpr unsigned capacity = 64;
    /// Words of a column: of each value of the byte.
    static constexpr unsigned columnSize = 256;

    std::vector< std::unique_ptr< TernaryBlock > > blocks;
    std::vector< uint64_t > words; ///< the blocks that have entries that take a value

    [[nodiscard]] unsigned count() const { return static_cast< unsigned >( blocks.size() ); }

    /// Makes room for a bit of all words at a position, and puts a block there.
    TernaryBlock& add( unsigned position, std::unique_ptr< TernaryBlock > block );

    /// Takes a block and its bit out.
    void remove( unsigned position );

    /// Lets the group know an entry that its block has got.
    void
    write( unsigned position, const TernaryColumns& columns, TernaryBytes data, TernaryBytes mask );

    /// Writes what a block's entries take, anew.
    void summarise( unsigned position );

    /// Moves the later half of the blocks to an empty group.
    void moveLaterHalfTo( TernaryGroup& next );

    /// Moves the blocks of another group, all of which come behind these, here.
    void append( TernaryGroup& next );

    /// A column of a byte in which no entry has a mask, in the group and its blocks.
    void addColumn();

    /// The positions of the blocks that may have entries that match a key.
    [[nodiscard]] uint64_t candidates( TernaryBytes key, const TernaryColumns& columns ) const
    {
        uint64_t left = allBlocks();
        const uint64_t* column = words.data();
        for ( const uint32_t byte : columns ) {
            left &= column[ key[ byte ] ];
            if ( left == 0 ) {
                break;
            }
            column += columnSize;
        }
        return left;
    }

  private:
    [[nodiscard]] uint64_t allBlocks() const
    {
        return count() == 0 ? 0 : ~uint64_t{ 0 } >> ( capacity - count() );
    }

    void numberFrom( unsigned position );
};

} // namespace Sim
