#pragma once

/// Keeps the trace lines of a test instead of letting them go to standard error.
///
///     TestSupport::TraceRecorder traces( "ApiPelora", 1U << 4 );
///     operation();
///     EXPECT_THAT( traces.texts(), ElementsAre( "..." ) );

#include "agent/base/Trace.h"

#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace TestSupport {

/// A line, with strings of its own.
struct RecordedLine
{
    std::string facility;
    Agent::U32 level = 0;
    std::string file;
    Agent::U32 line = 0;
    std::string function;
    std::string text;
};

/// Is the trace's sink while it lives. At its end the previous sink is back and every level that
/// it switched on is off.
class TraceRecorder
{
  public:
    TraceRecorder()
        : previous_(
              Agent::traceSinkIs( [ this ]( const Agent::TraceLine& line ) { lineIs( line ); } ) )
    {}

    /// Also switches on levels of a facility ("*": of all), bit n for level n.
    TraceRecorder( std::string_view facility, Agent::U32 mask )
        : TraceRecorder()
    {
        levelsIs( facility, mask );
    }

    TraceRecorder( const TraceRecorder& ) = delete;
    TraceRecorder& operator=( const TraceRecorder& ) = delete;

    ~TraceRecorder()
    {
        for ( const std::string& facility : facilities_ ) {
            Agent::traceLevelsIs( facility, 0 );
        }
        Agent::traceSinkIs( std::move( previous_ ) );
    }

    void levelsIs( std::string_view facility, Agent::U32 mask )
    {
        facilities_.emplace_back( facility );
        Agent::traceLevelsIs( facility, mask );
    }

    /// The lines so far, in their order.
    [[nodiscard]] std::vector< RecordedLine > lines() const
    {
        const std::lock_guard lock( mutex_ );
        return lines_;
    }

    /// Their texts.
    [[nodiscard]] std::vector< std::string > texts() const
    {
        std::vector< std::string > texts;
        for ( const RecordedLine& line : lines() ) {
            texts.push_back( line.text );
        }
        return texts;
    }

  private:
    void lineIs( const Agent::TraceLine& line )
    {
        const std::lock_guard lock( mutex_ );
        lines_.push_back( { std::string( line.facility ), line.level, line.location.file,
                            line.location.line, line.location.function,
                            std::string( line.text ) } );
    }

    mutable std::mutex mutex_;
    std::vector< RecordedLine > lines_;
    std::vector< std::string > facilities_;
    Agent::TraceSink previous_;
};

} // namespace TestSupport
