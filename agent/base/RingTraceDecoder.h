#pragma once

/// Reads ring-buffer traces back, from a dump file or from any file that contains one, such as a
/// core: the block is found by its magic. The bytes are not trusted: a damaged block gives the
/// records that can be read and says what is wrong, and so does one of a version that is not known.
/// Known are versions 1 and 2, of which the ring-buffer trace writes the last.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"

#include <string>
#include <string_view>
#include <vector>

namespace Agent {

/// A trace statement that was reached.
struct DecodedRecord
{
    U64 nanoseconds = 0;  ///< of the monotonic clock
    std::string file;     ///< the path of its source file
    U32 line = 0;         ///< from 1
    std::string function; ///< as the compiler names it
    std::string text;     ///< the whole text, arguments included
};

/// What a block holds.
struct DecodedRing
{
    U64 written = 0;                      ///< records ever written, overwritten ones included
    std::vector< DecodedRecord > records; ///< the oldest first
    std::string problem;                  ///< empty if the block could be read to its end
};

/// Every ring-buffer trace in the bytes, in their order.
[[nodiscard]] AGENT_EXPORT std::vector< DecodedRing > decodeRings( std::string_view bytes );

/// One line a record: seconds, file:line, function and text.
[[nodiscard]] AGENT_EXPORT std::string decodedRecordText( const DecodedRecord& record );

} // namespace Agent
