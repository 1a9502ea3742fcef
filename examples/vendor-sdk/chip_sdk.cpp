#include <chip_sdk.h>

#include <map>

namespace {

constexpr std::size_t capacity = 2;
std::map< unsigned, chip_range > ranges;
unsigned lastId = 100;

} // namespace

int chip_range_add( int, const chip_range* range, unsigned* id )
{
    if ( ranges.size() == capacity ) {
        return CHIP_FULL;
    }
    *id = ++lastId;
    ranges.emplace( *id, *range );
    return 0;
}

int chip_range_remove( int, unsigned id )
{
    return ranges.erase( id ) == 1 ? 0 : CHIP_NOT_FOUND;
}

int chip_range_read( int, unsigned id, chip_range* range )
{
    const auto found = ranges.find( id );
    if ( found == ranges.end() ) {
        return CHIP_NOT_FOUND;
    }
    *range = found->second;
    return 0;
}
