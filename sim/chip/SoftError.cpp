#include "sim/chip/SoftError.h"

#include "sim/chip/FieldCriteria.h"

#include <algorithm>
#include <charconv>
#include <span>
#include <system_error>

namespace Sim {

namespace {

constexpr std::string_view rangeFields[] = { "min", "max" };
constexpr std::string_view policerFields[] = { "ckbits_sec", "ckbits_burst", "pkbits_sec",
                                               "pkbits_burst" };

constexpr unsigned bitsOfNumber = 32;
constexpr unsigned bitsOfBytes = 8 * FieldCriteria::longestUdf;

bool isAmong( std::string_view field, std::span< const std::string_view > fields )
{
    return std::ranges::find( fields, field ) != fields.end();
}

std::string textOf( std::span< const std::string_view > fields )
{
    std::string text;
    for ( const std::string_view field : fields ) {
        text += ( text.empty() ? "'" : ", '" ) + std::string( field ) + "'";
    }
    return text;
}

} // namespace

SnapshotName partsOf( std::string_view object )
{
    const std::size_t blank = object.rfind( ' ' );
    SnapshotName name{ object, 0 };
    if ( blank == std::string_view::npos ) {
        return name;
    }
    const char* const end = object.data() + object.size();
    const auto read = std::from_chars( object.data() + blank + 1, end, name.id );
    if ( read.ec != std::errc() || read.ptr != end ) {
        return { object, 0 };
    }
    name.kind = object.substr( 0, blank );
    return name;
}

std::string objectionTo( const SoftError& error )
{
    const SnapshotName name = partsOf( error.object );
    const auto refused = [ & ]( std::span< const std::string_view > fields ) {
        return "a " + std::string( name.kind ) + " has no field '" + error.field +
               "' that a bit can change of: " + textOf( fields );
    };
    if ( name.id == 0 || ( name.kind != "field entry" && name.kind != "range checker" &&
                           name.kind != "policer" ) ) {
        return "expected 'field entry ID', 'range checker ID' or 'policer ID', found '" +
               error.object + "'";
    }
    if ( name.kind == "range checker" && !isAmong( error.field, rangeFields ) ) {
        return refused( rangeFields );
    }
    if ( name.kind == "policer" && !isAmong( error.field, policerFields ) ) {
        return refused( policerFields );
    }
    const unsigned bits = name.kind == "field entry" ? bitsOfBytes : bitsOfNumber;
    return error.bit < bits ? ""
                            : "expected a bit below " + std::to_string( bits ) + ", found " +
                                  std::to_string( error.bit );
}

} // namespace Sim
