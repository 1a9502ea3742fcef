#include "sim/packets/TernaryIndex.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

namespace Sim {

namespace {

/// Neighbours become one when together they have no more than this.
constexpr unsigned fewEnoughToMerge = TernaryBlock::capacity / 2;

} // namespace

TernaryIndex::TernaryIndex( std::size_t keyWidth )
    : hasColumn_( keyWidth )
{}

// ---- Lookups ---------------------------------------------------------------------------------

/// Shows the entries that match, the best one first, until `visit` answers false.
template< class Visit >
void TernaryIndex::visitMatches( TernaryBytes key, const Visit& visit ) const
{
    for ( const auto& group : groups_ ) {
        for ( uint64_t left = group->candidates( key, columns_ ); left != 0; left &= left - 1 ) {
            const auto position = static_cast< unsigned >( std::countr_zero( left ) );
            const Block& block = *group->blocks[ position ];
            for ( uint64_t slots = block.matches( key, columns_ ); slots != 0; ) {
                const unsigned slot = block.best( slots );
                if ( !visit( block.ranks[ slot ].id ) ) {
                    return;
                }
                slots &= ~( uint64_t{ 1 } << slot );
            }
        }
    }
}

std::optional< uint32_t > TernaryIndex::find( TernaryBytes key ) const
{
    std::optional< uint32_t > found;
    visitMatches( key, [ &found ]( uint32_t id ) {
        found = id;
        return false;
    } );
    return found;
}

std::vector< uint32_t > TernaryIndex::findAll( TernaryBytes key ) const
{
    std::vector< uint32_t > found;
    visitMatches( key, [ &found ]( uint32_t id ) {
        found.push_back( id );
        return true;
    } );
    return found;
}

std::size_t TernaryIndex::memory() const
{
    std::size_t bytes = sizeof( *this ) + groups_.capacity() * sizeof( groups_[ 0 ] ) +
                        hasColumn_.capacity() / 8 + columns_.capacity() * sizeof( uint32_t ) +
                        places_.bucket_count() * sizeof( void* ) +
                        places_.size() * ( sizeof( void* ) + sizeof( *places_.begin() ) );
    for ( const auto& group : groups_ ) {
        bytes += sizeof( Group ) + group->words.capacity() * sizeof( uint64_t ) +
                 group->blocks.capacity() * sizeof( group->blocks[ 0 ] );
        for ( const auto& block : group->blocks ) {
            bytes += sizeof( Block ) + block->words.capacity() * sizeof( uint64_t );
        }
    }
    return bytes;
}

// ---- Changes ---------------------------------------------------------------------------------

void TernaryIndex::insert( uint32_t id,
                           const TernaryOrder& order,
                           TernaryBytes data,
                           TernaryBytes mask )
{
    checkWidths( data, mask );
    if ( has( id ) ) {
        throw std::invalid_argument( "there is an entry " + std::to_string( id ) + " already" );
    }
    addColumnsFor( mask );
    const TernaryRank rank{ order, id };
    Block& block = blockWithRoomFor( rank );
    const unsigned slot = block.freeSlot();
    block.addRank( slot, rank );
    block.write( slot, columns_, data, mask );
    block.group->write( block.position, columns_, data, mask );
    wordsWritten_ += blockWords() + groupWords();
    places_[ id ] = { &block, slot };
}

bool TernaryIndex::remove( uint32_t id )
{
    const auto found = places_.find( id );
    if ( found == places_.end() ) {
        return false;
    }
    Block& block = *found->second.block;
    block.erase( found->second.slot );
    places_.erase( found );
    wordsWritten_ += blockWords();
    if ( block.count == 0 ) {
        removeBlock( block );
        return true;
    }
    block.group->summarise( block.position );
    wordsWritten_ += groupWords();
    mergeWithNeighbour( block );
    return true;
}

void TernaryIndex::change( uint32_t id,
                           const TernaryOrder& order,
                           TernaryBytes data,
                           TernaryBytes mask )
{
    checkWidths( data, mask );
    if ( !remove( id ) ) {
        throw std::invalid_argument( "there is no entry " + std::to_string( id ) );
    }
    insert( id, order, data, mask );
}

void TernaryIndex::checkWidths( TernaryBytes data, TernaryBytes mask ) const
{
    if ( data.size() != keyWidth() || mask.size() != keyWidth() ) {
        throw std::invalid_argument( "data or mask are not as wide as keys, which have " +
                                     std::to_string( keyWidth() ) + " bytes" );
    }
}

void TernaryIndex::addColumnsFor( TernaryBytes mask )
{
    for ( std::size_t byte = 0; byte < mask.size(); ++byte ) {
        if ( mask[ byte ] == 0 || hasColumn_[ byte ] ) {
            continue;
        }
        hasColumn_[ byte ] = true;
        columns_.push_back( static_cast< uint32_t >( byte ) );
        for ( const auto& group : groups_ ) {
            group->addColumn();
            wordsWritten_ += Group::columnSize + group->count() * Block::columnSize;
        }
    }
}

// ---- Room for entries ------------------------------------------------------------------------

std::size_t TernaryIndex::positionOf( const Group& group ) const
{
    const auto found = std::find_if( groups_.begin(), groups_.end(),
                                     [ & ]( const auto& each ) { return each.get() == &group; } );
    return static_cast< std::size_t >( found - groups_.begin() );
}

/// The last block that begins before that rank, or the first one of all.
TernaryIndex::Block& TernaryIndex::blockFor( const TernaryRank& rank )
{
    const auto group =
        std::partition_point( groups_.begin(), groups_.end(), [ & ]( const auto& each ) {
            return each->blocks.front()->first() < rank;
        } );
    const auto& blocks = ( group == groups_.begin() ? *group : *( group - 1 ) )->blocks;
    const auto block = std::partition_point(
        blocks.begin(), blocks.end(), [ & ]( const auto& each ) { return each->first() < rank; } );
    return block == blocks.begin() ? **block : **( block - 1 );
}

/// A block that an entry of that rank can go into, made if need be.
TernaryIndex::Block& TernaryIndex::blockWithRoomFor( const TernaryRank& rank )
{
    if ( groups_.empty() ) {
        return addBlock( addGroup( 0 ), 0 );
    }
    Block& block = blockFor( rank );
    if ( block.count < Block::capacity ) {
        return block;
    }
    if ( block.group->count() == Group::capacity ) {
        splitGroup( *block.group );
    }
    // At its ends a full block is not cut: entries that come in their order, or against it, fill
    // the blocks.
    Group& group = *block.group;
    const unsigned place = block.placeFor( rank );
    if ( place == 0 ) {
        return addBlock( group, block.position );
    }
    if ( place == Block::capacity ) {
        const unsigned next = block.position + 1;
        const bool hasRoom = next < group.count() && group.blocks[ next ]->count < Block::capacity;
        return hasRoom ? *group.blocks[ next ] : addBlock( group, next );
    }
    splitBlock( block );
    return blockFor( rank );
}

/// Adds an empty block to a group that has room.
TernaryIndex::Block& TernaryIndex::addBlock( Group& group, unsigned position )
{
    auto block = std::make_unique< Block >();
    block->words.resize( blockWords() );
    wordsWritten_ += groupWords();
    return group.add( position, std::move( block ) );
}

TernaryIndex::Group& TernaryIndex::addGroup( std::size_t position )
{
    auto group = std::make_unique< Group >();
    group->words.resize( groupWords() );
    return **groups_.insert( groups_.begin() + static_cast< std::ptrdiff_t >( position ),
                             std::move( group ) );
}

/// Moves the later half of a full block's entries to a new block behind it, in a group with room.
void TernaryIndex::splitBlock( Block& block )
{
    Group& group = *block.group;
    Block& next = addBlock( group, block.position + 1 );
    block.moveLaterHalfTo( next );
    for ( unsigned place = 0; place < next.count; ++place ) {
        places_[ next.ranks[ next.slotsInOrder[ place ] ].id ].block = &next;
    }
    group.summarise( block.position );
    group.summarise( next.position );
    wordsWritten_ += 2 * ( blockWords() + groupWords() );
}

/// Moves the later half of a full group's blocks to a new group behind it.
void TernaryIndex::splitGroup( Group& group )
{
    group.moveLaterHalfTo( addGroup( positionOf( group ) + 1 ) );
    wordsWritten_ += 2 * groupWords();
}

// ---- When entries are gone -------------------------------------------------------------------

void TernaryIndex::removeBlock( Block& block )
{
    Group& group = *block.group;
    group.remove( block.position );
    wordsWritten_ += groupWords();
    mergeGroupWithNeighbour( positionOf( group ) );
}

/// Unites a block of few entries with one beside it in its group.
void TernaryIndex::mergeWithNeighbour( Block& block )
{
    const auto& blocks = block.group->blocks;
    const unsigned position = block.position;
    const auto areFew = [ & ]( unsigned first ) {
        return blocks[ first ]->count + blocks[ first + 1 ]->count <= fewEnoughToMerge;
    };
    if ( position + 1 < blocks.size() && areFew( position ) ) {
        mergeBlocks( block, *blocks[ position + 1 ] );
    } else if ( position > 0 && areFew( position - 1 ) ) {
        mergeBlocks( *blocks[ position - 1 ], block );
    }
}

/// Moves the entries of a block to the one before it.
void TernaryIndex::mergeBlocks( Block& block, Block& next )
{
    for ( unsigned place = 0; place < next.count; ++place ) {
        const unsigned from = next.slotsInOrder[ place ];
        const unsigned slot = block.freeSlot();
        block.append( slot, next, from );
        places_[ next.ranks[ from ].id ] = { &block, slot };
        wordsWritten_ += blockWords();
    }
    block.group->summarise( block.position );
    wordsWritten_ += groupWords();
    removeBlock( next );
}

/// Removes a group that has no blocks, and unites one of few blocks with one beside it.
void TernaryIndex::mergeGroupWithNeighbour( std::size_t position )
{
    const auto areFew = [ & ]( std::size_t first ) {
        return groups_[ first ]->count() + groups_[ first + 1 ]->count() <= fewEnoughToMerge;
    };
    if ( groups_[ position ]->blocks.empty() ) {
        groups_.erase( groups_.begin() + static_cast< std::ptrdiff_t >( position ) );
    } else if ( position + 1 < groups_.size() && areFew( position ) ) {
        mergeGroups( position );
    } else if ( position > 0 && areFew( position - 1 ) ) {
        mergeGroups( position - 1 );
    }
}

/// Moves the blocks of the group behind that position to the group there.
void TernaryIndex::mergeGroups( std::size_t position )
{
    groups_[ position ]->append( *groups_[ position + 1 ] );
    wordsWritten_ += groupWords();
    groups_.erase( groups_.begin() + static_cast< std::ptrdiff_t >( position + 1 ) );
}

} // namespace Sim
