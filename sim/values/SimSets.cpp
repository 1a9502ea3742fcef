#include "sim/values/SimSets.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace Sim {

namespace {

constexpr unsigned bitsOfWord = 32;

/// How many members follow the first word. A set whose first word holds something else than a
/// count is nobody's set, but it must not lead out of its storage.
ptrdiff_t sizeOf( const SetWords& words )
{
    return static_cast< ptrdiff_t >( std::min< size_t >( words[ 0 ], words.size() - 1 ) );
}

template< class Words >
void addBit( Words& words, int bit, const char* what )
{
    if ( bit < 0 || static_cast< size_t >( bit ) >= words.size() * bitsOfWord ) {
        throw std::out_of_range( std::string( what ) + " " + std::to_string( bit ) +
                                 " is out of the bitmap" );
    }
    const auto position = static_cast< unsigned >( bit );
    words[ position / bitsOfWord ] |= 1U << ( position % bitsOfWord );
}

} // namespace

void addToSet( SetWords& words, uint32_t member )
{
    const auto first = words.begin() + 1;
    const auto end = first + sizeOf( words );
    const auto place = std::lower_bound( first, end, member );
    if ( place != end && *place == member ) {
        return;
    }
    if ( end == words.end() ) {
        throw std::length_error( "the set is full" );
    }
    std::move_backward( place, end, end + 1 );
    *place = member;
    ++words[ 0 ];
}

std::span< const uint32_t > membersOf( const SetWords& words )
{
    return { words.data() + 1, static_cast< size_t >( sizeOf( words ) ) };
}

bool isInSet( const SetWords& words, uint32_t member )
{
    const auto members = membersOf( words );
    return !members.empty() && member <= members.back() &&
           std::binary_search( members.begin(), members.end(), member );
}

void addPort( _shr_pbmp& ports, int port )
{
    addBit( ports.pbits, port, "port" );
}

void writePortBitmap( const _shr_pbmp& ports, char* text )
{
    constexpr char digits[] = "0123456789abcdef";
    *text++ = '0';
    *text++ = 'x';
    for ( auto word = ports.pbits.rbegin(); word != ports.pbits.rend(); ++word ) {
        for ( unsigned bits = bitsOfWord; bits != 0; bits -= 4 ) {
            *text++ = digits[ ( *word >> ( bits - 4 ) ) & 0xF ];
        }
    }
    *text = '\0';
}

void addChunk( bcm_udf_cbmp_t& chunks, int chunk )
{
    addBit( chunks.w, chunk, "chunk" );
}

bool hasChunk( const bcm_udf_cbmp_t& chunks, int chunk )
{
    return chunk >= 0 && chunk < static_cast< int >( bitsOfWord ) &&
           ( chunks.w[ 0 ] >> chunk & 1U ) != 0;
}

} // namespace Sim
