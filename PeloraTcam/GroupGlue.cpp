#include "PeloraTcam/GroupGlue.h"

#include "sdk/SdkAccess.h"

#include <algorithm>
#include <array>
#include <span>

namespace PeloraTcam {

namespace {

/// Groups with consecutive ids; both ends belong to the range.
struct GroupRange
{
    TcamGroupId first;
    TcamGroupId last;
};

// clang-format off
/// The groups whose data is skipped when their action set is empty.
constexpr auto groupsWithNullAset = std::to_array< GroupRange >( {
    { 1, 1 },     { 9, 10 },    { 12, 14 },   { 38, 39 },   { 41, 44 },   { 47, 47 },   { 50, 50 },
    { 59, 63 },   { 71, 83 },   { 86, 86 },   { 91, 96 },   { 106, 106 }, { 147, 147 }, { 150, 151 },
    { 153, 156 }, { 158, 159 }, { 166, 166 }, { 173, 173 }, { 187, 193 }, { 202, 203 }, { 205, 205 },
    { 208, 208 }, { 250, 250 },
} );

// clang-format on

constexpr U32 groupCount( std::span< const GroupRange > ranges )
{
    U32 count = 0;
    for ( const GroupRange& range : ranges ) {
        count += range.last - range.first + 1;
    }
    return count;
}

static_assert( groupCount( groupsWithNullAset ) == 63 );

} // namespace

U32 generateSdk6GroupIdFormat( LogicalGroupId groupId, U8 subId )
{
    const U32 group = groupId & 0xFF;
    const U32 instance = groupId >> 24 & 1;
    return group | ( subId & 7U ) << 24 | instance << 27;
}

_shr_pbmp getPbmp( Agent::Ptr< const Agent::Bitmap > ports )
{
    _shr_pbmp pbmp;
    Shim::sdk().BCM_PBMP_CLEAR( &pbmp );
    if ( !ports || ports->empty() ) {
        return pbmp;
    }
    const U32 lastPort = ports->size() - 1;
    for ( auto port = ports->firstSetBit( 0, lastPort ); port;
          port = ports->firstSetBit( *port + 1, lastPort ) ) {
        Shim::sdk().BCM_PBMP_PORT_ADD( &pbmp, static_cast< int >( *port ) );
    }
    return pbmp;
}

std::string pbmpToStr( const _shr_pbmp& pbmp )
{
    // The SDK alone knows how long the text is, so the buffer is sized at run time. It stands on
    // the stack: the only allocation is the result's.
    const std::size_t length = Shim::sdk().SHR_PBMP_FMT_LEN( &pbmp );
    const std::size_t roundedUp = ( length + 15 ) / 16 * 16;
    char* text = static_cast< char* >( __builtin_alloca( roundedUp ) );
    Shim::sdk().SHR_PBMP_FMT( &pbmp, text );
    return text;
}

bool skipGroupDataWithNullAset( TcamGroupId groupId )
{
    return std::ranges::any_of( groupsWithNullAset, [ groupId ]( const GroupRange& range ) {
        return range.first <= groupId && groupId <= range.last;
    } );
}

} // namespace PeloraTcam
