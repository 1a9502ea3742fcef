#pragma once

/// Decisions made of bytes, and the chips that are chosen among: for the targets that do something
/// with them.

#include "sim/ChipProfile.h"
#include "tests/soak/Choices.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Fuzz {

/// The bytes as decisions; zeros when there are no more.
class ByteChoices : public Soak::Choices
{
  public:
    ByteChoices( const std::uint8_t* data, std::size_t size )
        : data_( data )
        , size_( size )
    {}

    [[nodiscard]] bool areThereMore() const { return at_ < size_; }

    /// One byte for a small count, and as many as it takes for a greater one.
    [[nodiscard]] unsigned below( unsigned count ) override
    {
        unsigned value = next();
        for ( unsigned rest = ( count - 1 ) >> 8; rest != 0; rest >>= 8 ) {
            value = value << 8 | next();
        }
        return value % count;
    }

  private:
    unsigned next() { return at_ < size_ ? data_[ at_++ ] : 0; }

    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

/// A chip of which everything runs out soon, and whose counters wrap.
inline Sim::ChipProfile tightProfile( const char* name )
{
    Sim::ChipProfile profile = Sim::builtInProfile( name );
    profile.rangeCheckers.capacity = 3;
    profile.field.groups = 5;
    profile.field.entriesPerGroup = 4;
    profile.field.preselectors = profile.field.preselectors == 0 ? 0 : 2;
    profile.field.compressionEntries = profile.field.compressionEntries == 0 ? 0 : 3;
    profile.policers.capacity = 5;
    profile.udfModule.udfs = 4;
    profile.udfModule.chunks = 6;
    profile.udfModule.pktFormats = 2;
    profile.udfModule.udfsPerPktFormat = 2;
    profile.flexParser.udfs = 6;
    profile.statistics = { 3, 16 };
    profile.flexCounters = { 2, 8, 16 };
    return profile;
}

inline const Sim::ChipProfile& anyProfile( Soak::Choices& choices )
{
    static const std::array< Sim::ChipProfile, 3 > profiles = {
        tightProfile( "sdk6-udf" ), tightProfile( "sdk6-flex" ), tightProfile( "hsdk" ) };
    return profiles[ choices.below( profiles.size() ) ];
}

} // namespace Fuzz
