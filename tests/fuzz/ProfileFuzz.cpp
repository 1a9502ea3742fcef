// The reader of chip profiles: a text is refused with a position inside of it, or a chip can be
// made of it that holds nothing and may hold no more than the text says.

#include "sim/SimulatedSdk.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/fuzz/InputErrors.h"

#include <optional>

namespace Fuzz {
namespace {

std::optional< Sim::ChipProfile > readProfile( const std::string& text )
{
    std::optional< Sim::ChipProfile > profile;
    acceptsOrRefuses( "profile.yaml", text,
                      [ & ] { profile = Sim::readChipProfile( "profile.yaml", text ); } );
    return profile;
}

/// The limits that `ChipProfile.h` documents, as far as a chip would suffer from others.
void requireLimits( const Sim::ChipProfile& profile )
{
    require( profile.rangeCheckers.capacity <= 4096, "range checkers are limited" );
    require( profile.field.groups <= 1024, "groups are limited" );
    require( profile.field.entriesPerGroup <= 65536, "entries are limited" );
    require( profile.field.preselectors <= 1024, "preselectors are limited" );
    require( profile.udfModule.chunks <= 16, "chunks are limited" );
    for ( const auto& [ name, chunks ] : profile.flexParser.unavailableChunks ) {
        require( chunks <= 0xFFFF, "a packet format has sixteen chunks" );
    }
    for ( const auto width :
          { profile.statistics.counterWidth, profile.flexCounters.counterWidth } ) {
        require( width >= 1 && width <= 64, "counters have 1 to 64 bits" );
    }
}

} // namespace
} // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
    const auto profile = Fuzz::readProfile( std::string( Fuzz::textOf( data, size ) ) );
    if ( profile ) {
        Fuzz::requireLimits( *profile );
        Sim::SimulatedSdk chips;
        for ( const Sim::Resource& resource : chips.chipIs( 0, *profile ).occupancy() ) {
            Fuzz::require( resource.used <= resource.capacity, "a new chip is not overfull" );
        }
    }
    return 0;
}
