#include "sim/packets/TernaryBlocks.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Sim {

namespace {

using Words = std::vector< uint64_t >;

constexpr unsigned bitsOfAWord = 64;

constexpr uint64_t bit( unsigned position )
{
    return uint64_t{ 1 } << position;
}

/// The bits below a position from 0 to 64.
constexpr uint64_t bitsBelow( unsigned position )
{
    return position < bitsOfAWord ? bit( position ) - 1 : ~uint64_t{ 0 };
}

/// Appends a column, and takes no more memory than it needs.
void appendColumn( Words& words, unsigned size, uint64_t value )
{
    words.reserve( words.size() + size );
    words.resize( words.size() + size, value );
}

/// Sets a bit in the word of each value that data and mask take.
void setTaken( uint64_t* words, unsigned values, unsigned data, unsigned mask, unsigned position )
{
    for ( unsigned value = 0; value < values; ++value ) {
        const bool taken = ( ( value ^ data ) & mask ) == 0;
        words[ value ] |= uint64_t{ taken } << position;
    }
}

} // namespace

std::strong_ordering TernaryRank::operator<=>( const TernaryRank& other ) const
{
    if ( order.priority != other.order.priority ) {
        return other.order.priority <=> order.priority;
    }
    if ( order.sequence != other.order.sequence ) {
        return order.sequence <=> other.order.sequence;
    }
    return id <=> other.id;
}

// ---- Blocks ----------------------------------------------------------------------------------

unsigned TernaryBlock::placeFor( const TernaryRank& rank ) const
{
    const auto isBetter = [ & ]( uint8_t slot ) { return ranks[ slot ] < rank; };
    const auto begin = slotsInOrder.begin();
    return static_cast< unsigned >( std::partition_point( begin, begin + count, isBetter ) -
                                    begin );
}

void TernaryBlock::addRank( unsigned slot, const TernaryRank& rank )
{
    const unsigned place = placeFor( rank );
    ranks[ slot ] = rank;
    const auto begin = slotsInOrder.begin();
    std::copy_backward( begin + place, begin + count, begin + count + 1 );
    slotsInOrder[ place ] = static_cast< uint8_t >( slot );
    occupied |= bit( slot );
    ++count;
    numberPlacesFrom( place );
}

void TernaryBlock::write( unsigned slot,
                          const TernaryColumns& columns,
                          TernaryBytes data,
                          TernaryBytes mask )
{
    uint64_t* halfByte = words.data();
    for ( const uint32_t byte : columns ) {
        setTaken( halfByte, halfByteValues, data[ byte ] / halfByteValues,
                  mask[ byte ] / halfByteValues, slot );
        halfByte += halfByteValues;
        setTaken( halfByte, halfByteValues, data[ byte ] % halfByteValues,
                  mask[ byte ] % halfByteValues, slot );
        halfByte += halfByteValues;
    }
}

void TernaryBlock::erase( unsigned slot )
{
    const unsigned place = places[ slot ];
    const auto begin = slotsInOrder.begin();
    std::copy( begin + place + 1, begin + count, begin + place );
    occupied &= ~bit( slot );
    --count;
    numberPlacesFrom( place );
    for ( uint64_t& word : words ) {
        word &= occupied;
    }
}

void TernaryBlock::moveLaterHalfTo( TernaryBlock& next )
{
    for ( unsigned place = capacity / 2; place < capacity; ++place ) {
        const unsigned slot = slotsInOrder[ place ];
        next.addRank( slot, ranks[ slot ] );
    }
    count = capacity / 2;
    occupied &= ~next.occupied;
    for ( std::size_t i = 0; i < words.size(); ++i ) {
        next.words[ i ] = words[ i ] & next.occupied;
        words[ i ] &= occupied;
    }
}

void TernaryBlock::append( unsigned slot, const TernaryBlock& other, unsigned otherSlot )
{
    addRank( slot, other.ranks[ otherSlot ] );
    for ( std::size_t i = 0; i < words.size(); ++i ) {
        words[ i ] |= ( other.words[ i ] >> otherSlot & 1 ) << slot;
    }
}

void TernaryBlock::numberPlacesFrom( unsigned place )
{
    for ( ; place < count; ++place ) {
        places[ slotsInOrder[ place ] ] = static_cast< uint8_t >( place );
    }
}

// ---- Groups ----------------------------------------------------------------------------------

TernaryBlock& TernaryGroup::add( unsigned position, std::unique_ptr< TernaryBlock > block )
{
    const uint64_t below = bitsBelow( position );
    for ( uint64_t& word : words ) {
        word = ( word & below ) | ( word & ~below ) << 1;
    }
    blocks.insert( blocks.begin() + position, std::move( block ) );
    numberFrom( position );
    return *blocks[ position ];
}

void TernaryGroup::remove( unsigned position )
{
    const uint64_t below = bitsBelow( position );
    for ( uint64_t& word : words ) {
        word = ( word & below ) | ( word >> 1 & ~below );
    }
    blocks.erase( blocks.begin() + position );
    numberFrom( position );
}

void TernaryGroup::write( unsigned position,
                          const TernaryColumns& columns,
                          TernaryBytes data,
                          TernaryBytes mask )
{
    uint64_t* column = words.data();
    for ( const uint32_t byte : columns ) {
        setTaken( column, columnSize, data[ byte ], mask[ byte ], position );
        column += columnSize;
    }
}

void TernaryGroup::summarise( unsigned position )
{
    constexpr unsigned values = TernaryBlock::halfByteValues;
    const uint64_t others = ~bit( position );
    const uint64_t* upper = blocks[ position ]->words.data();
    for ( auto column = words.begin(); column != words.end(); column += columnSize ) {
        for ( unsigned value = 0; value < columnSize; ++value ) {
            const bool taken = ( upper[ value / values ] & upper[ values + value % values ] ) != 0;
            column[ value ] = ( column[ value ] & others ) | uint64_t{ taken } << position;
        }
        upper += TernaryBlock::columnSize;
    }
}

void TernaryGroup::moveLaterHalfTo( TernaryGroup& next )
{
    const unsigned half = count() / 2;
    std::move( blocks.begin() + half, blocks.end(), std::back_inserter( next.blocks ) );
    blocks.resize( half );
    next.numberFrom( 0 );
    for ( std::size_t i = 0; i < words.size(); ++i ) {
        next.words[ i ] = words[ i ] >> half;
        words[ i ] &= bitsBelow( half );
    }
}

void TernaryGroup::append( TernaryGroup& next )
{
    const unsigned before = count();
    std::move( next.blocks.begin(), next.blocks.end(), std::back_inserter( blocks ) );
    numberFrom( before );
    for ( std::size_t i = 0; i < words.size(); ++i ) {
        words[ i ] |= next.words[ i ] << before;
    }
}

void TernaryGroup::addColumn()
{
    appendColumn( words, columnSize, allBlocks() );
    for ( const auto& block : blocks ) {
        appendColumn( block->words, TernaryBlock::columnSize, block->occupied );
    }
}

void TernaryGroup::numberFrom( unsigned position )
{
    for ( ; position < count(); ++position ) {
        blocks[ position ]->group = this;
        blocks[ position ]->position = position;
    }
}

} // namespace Sim
