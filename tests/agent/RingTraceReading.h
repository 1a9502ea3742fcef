#pragma once

/// Reads what is in a ring-buffer trace, for its tests.
///
///     EXPECT_THAT( textsOf( ring ), ElementsAre( "n:1", "n:2" ) );

#include "agent/base/RingTrace.h"
#include "agent/base/RingTraceDecoder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace Agent {

/// The one ring, which is whole.
inline DecodedRing decoded( const RingTrace& ring )
{
    const std::span< const std::byte > image = ring.image();
    const std::vector< DecodedRing > rings =
        decodeRings( { reinterpret_cast< const char* >( image.data() ), image.size() } );
    EXPECT_EQ( rings.size(), 1U );
    EXPECT_EQ( rings.front().problem, "" );
    return rings.front();
}

/// The texts of its records, the oldest first.
inline std::vector< std::string > textsOf( const RingTrace& ring )
{
    std::vector< std::string > texts;
    for ( const DecodedRecord& record : decoded( ring ).records ) {
        texts.push_back( record.text );
    }
    return texts;
}

} // namespace Agent
