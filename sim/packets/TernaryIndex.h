#pragma once

/// Finds the best of many ternary entries for a key: what a TCAM does, in software.
///
/// An entry matches a key if they are the same in every bit that the entry's mask has; masks may
/// have any bits. Of several that match, the best one is found: that of the greatest priority, of
/// these that of the least sequence number, of these that of the least id.
///
/// The order of the entries is cut into blocks of up to 64, and the blocks into groups of up to 64.
/// A block has, for each value of each half byte of the key, a word that tells which of its entries
/// take that value; a group has, for each value of each byte, a word that tells which of its blocks
/// have such entries. A key selects a word in each byte. What these words have in common are first
/// the blocks that may have a match, and then the entries of a block that do (bit vectors: T. V.
/// Lakshman and D. Stiliadis, SIGCOMM 1998; aggregated: F. Baboescu and G. Varghese, SIGCOMM 2001).
/// Bytes in which no entry has had a mask cost nothing. A change writes to one block and one group,
/// and at most cuts or unites them with those beside them; only a mask in a byte that none had
/// before writes to all, once for each byte.
///
/// Lookups change nothing: several threads may look up while none changes. Wrong arguments throw
/// `std::invalid_argument` and change nothing, unless something else is said.
///
///     Sim::TernaryIndex index( 2 );
///     index.insert( 7, { .priority = 10, .sequence = 1 }, data, mask ); // 0A 00, of FF 00
///     index.find( key );                                                // 7 for 0A FF

#include "sim/packets/TernaryBlocks.h"

#include <optional>
#include <unordered_map>

namespace Sim {

/// Ternary entries, and the best one for a key; see the top of this header.
class TernaryIndex
{
  public:
    /// An index over keys of so many bytes.
    explicit TernaryIndex( std::size_t keyWidth );

    /// Adds an entry. Bits of `data` that `mask` has not do not count. Throws if there is an entry
    /// of that id, or if data or mask have another width than keys.
    void insert( uint32_t id, const TernaryOrder& order, TernaryBytes data, TernaryBytes mask );

    /// Removes an entry. False if there is none of that id.
    bool remove( uint32_t id );

    /// Gives an entry another order, data and mask. Throws if there is no entry of that id, or if
    /// data or mask have another width than keys.
    void change( uint32_t id, const TernaryOrder& order, TernaryBytes data, TernaryBytes mask );

    /// The id of the best entry that matches, if any does. The key must have the index's width,
    /// which is not checked.
    [[nodiscard]] std::optional< uint32_t > find( TernaryBytes key ) const;

    /// All entries that match, the best one first. The key must have the index's width, which is
    /// not checked.
    [[nodiscard]] std::vector< uint32_t > findAll( TernaryBytes key ) const;

    /// Whether there is an entry of that id.
    [[nodiscard]] bool has( uint32_t id ) const { return places_.contains( id ); }

    /// How many entries there are.
    [[nodiscard]] std::size_t size() const { return places_.size(); }

    /// How many bytes a key has.
    [[nodiscard]] std::size_t keyWidth() const { return hasColumn_.size(); }

    /// Bytes of memory that this takes, without what the allocator needs for itself.
    [[nodiscard]] std::size_t memory() const;

    /// Words of bit vectors that changes have written so far: what they cost, on any machine.
    [[nodiscard]] uint64_t wordsWritten() const { return wordsWritten_; }

  private:
    using Block = TernaryBlock;
    using Group = TernaryGroup;

    /// Where an entry stands.
    struct Place
    {
        Block* block = nullptr;
        unsigned slot = 0;
    };

    void checkWidths( TernaryBytes data, TernaryBytes mask ) const;
    void addColumnsFor( TernaryBytes mask );
    [[nodiscard]] std::size_t positionOf( const Group& group ) const;
    [[nodiscard]] Block& blockFor( const TernaryRank& rank );
    [[nodiscard]] Block& blockWithRoomFor( const TernaryRank& rank );
    Block& addBlock( Group& group, unsigned position );
    Group& addGroup( std::size_t position );
    void splitBlock( Block& block );
    void splitGroup( Group& group );
    void removeBlock( Block& block );
    void mergeWithNeighbour( Block& block );
    void mergeBlocks( Block& block, Block& next );
    void mergeGroupWithNeighbour( std::size_t position );
    void mergeGroups( std::size_t position );
    template< class Visit >
    void visitMatches( TernaryBytes key, const Visit& visit ) const;

    [[nodiscard]] std::size_t blockWords() const { return columns_.size() * Block::columnSize; }

    [[nodiscard]] std::size_t groupWords() const { return columns_.size() * Group::columnSize; }

    std::vector< std::unique_ptr< Group > > groups_; // In order, none empty, nor their blocks.
    std::vector< bool > hasColumn_;                  // By byte of the key.
    TernaryColumns columns_;
    std::unordered_map< uint32_t, Place > places_; // By id.
    uint64_t wordsWritten_ = 0;
};

} // namespace Sim
