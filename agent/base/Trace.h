#pragma once

/// Trace facilities: named handles, each level switched on and off at run time.
///
/// A source file has one or more trace handles. A handle belongs to a facility by name; several
/// handles may share one. Setting the levels of a facility sets those of its handles, of the ones
/// there are and of those that come later. A level is a number from 0 to 31; bit n of the mask
/// stands for level n. While a level is off its trace statements cost one test: nothing is
/// formatted, nothing allocated.
///
///     Agent::TraceHandle handle( "PeloraTcamRangeChecker" );
///     Agent::trace( handle, 9, "getRangeChecker", "unit: ", unit );
///
/// Levels come from the environment variable `PELORA_TRACE`, read once, for example
/// `PELORA_TRACE="ApiPelora=4;PeloraTcamRangeChecker=0,8-9"`, and from `traceLevelsIs()`. Handles
/// are made and destroyed by any thread; a line goes to the sink on the thread that traces.

#include "agent/base/BaseTypes.h"
#include "agent/base/CallLocation.h"
#include "agent/base/Export.h"
#include "agent/base/TextPieces.h"

#include <atomic>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Agent {

/// A source file's right to trace in a facility; see the top of this header.
class AGENT_EXPORT TraceHandle
{
  public:
    /// A handle of that facility, with the levels that the facility has now.
    explicit TraceHandle( std::string_view facility );
    TraceHandle( const TraceHandle& ) = delete;
    TraceHandle& operator=( const TraceHandle& ) = delete;
    ~TraceHandle();

    /// Whether a level, 0 to 31, is on.
    [[nodiscard]] bool enabled( U32 level ) const noexcept
    {
        return ( mask_.load( std::memory_order_relaxed ) >> level & 1U ) != 0;
    }

    /// The facility's name.
    [[nodiscard]] const std::string& facility() const noexcept { return facility_; }

    /// The levels that are on: bit n stands for level n.
    [[nodiscard]] U32 mask() const noexcept { return mask_.load( std::memory_order_relaxed ); }

  private:
    friend struct TraceSettings;

    std::string facility_;
    std::atomic< U32 > mask_{ 0 };
};

/// Sets the mask of a facility's levels; "*" stands for every facility.
AGENT_EXPORT void traceLevelsIs( std::string_view facility, U32 mask );

/// The levels that a handle of the facility has, or would have.
[[nodiscard]] AGENT_EXPORT U32 traceLevels( std::string_view facility );

/// The facilities of the handles that exist, sorted, each once.
[[nodiscard]] AGENT_EXPORT std::vector< std::string > traceFacilities();

/// Reads a mask from a text such as "0,4,7-9", "all" or "none"; nothing if it is not one.
[[nodiscard]] AGENT_EXPORT std::optional< U32 > traceMaskFromText( std::string_view text );

/// Reads settings such as "ApiPelora=4;PeloraTcamRangeChecker=0,8-9". Nothing if the text is
/// malformed.
[[nodiscard]] AGENT_EXPORT std::optional< std::map< std::string, U32 > >
traceSettingsFromText( std::string_view text );

/// One line of trace.
struct TraceLine
{
    std::string_view facility; ///< of the handle
    U32 level = 0;             ///< 0 to 31
    CallLocation location;     ///< of the trace statement
    std::string_view text;     ///< without facility, level and place
};

/// Where the lines go. Called with one line at a time, by the thread that traces; it must not
/// trace itself, nor set another sink.
using TraceSink = std::function< void( const TraceLine& ) >;

/// Sets where the lines go; an empty function means standard error. Gives back what it was.
AGENT_EXPORT TraceSink traceSinkIs( TraceSink sink );

/// The form in which a line stands on standard error, without the newline:
/// facility, level, file:line, function and text.
[[nodiscard]] AGENT_EXPORT std::string traceLineText( const TraceLine& line );

/// Hands a line to the sink, whatever the handle's levels.
AGENT_EXPORT void writeTraceLine( const TraceHandle& handle,
                                  U32 level,
                                  const CallLocation& location,
                                  std::string_view text );

namespace Detail {

/// Whether a piece is but a number.
template< class Piece >
inline constexpr bool isNumber = std::is_scalar_v< Piece > || std::is_same_v< Piece, Hex >;

/// How a piece reaches the function that formats it: a number by value, so that a statement whose
/// level is off never puts it into memory; a literal as the pointer that it is.
template< class Piece >
using PassedPiece =
    std::conditional_t< std::is_array_v< Piece >,
                        const std::remove_extent_t< Piece >*,
                        std::conditional_t< isNumber< Piece >, Piece, const Piece& > >;

/// Formats and writes a line; a function of its own, out of the way of those that trace. The
/// location comes in pieces for the same reason.
template< class... Pieces >
[[gnu::noinline, gnu::cold]] void formatTraceLine( const TraceHandle& handle,
                                                   U32 level,
                                                   const char* file,
                                                   U32 line,
                                                   const char* function,
                                                   Pieces... pieces )
{
    TextBuffer text;
    ( appendPiece( text, pieces ), ... );
    writeTraceLine( handle, level, { file, line, function }, text.view() );
}

} // namespace Detail

/// Writes the pieces as one line if the level is on; otherwise nothing is formatted.
template< class... Pieces >
[[gnu::always_inline]] inline void
trace( const TraceHandle& handle, const TraceLevel& level, const Pieces&... pieces )
{
    if ( handle.enabled( level.value ) ) [[unlikely]] {
        const CallLocation& location = level.location;
        Detail::formatTraceLine< Detail::PassedPiece< Pieces >... >(
            handle, level.value, location.file, location.line, location.function, pieces... );
    }
}

} // namespace Agent
