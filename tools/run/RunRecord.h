#pragma once

/// A whole run, kept: for those who tell of it once it is over.

#include "tools/run/RunReport.h"

#include <vector>

namespace Tool {

/// All that was told of a run.
struct RunRecord
{
    RunHeading heading;
    std::vector< StepReport > steps;
    RunSummary summary;
};

/// Keeps what it is told, and tells another one.
class RunRecorder : public RunReport
{
  public:
    /// Both must outlive this.
    RunRecorder( RunRecord& record, RunReport& next )
        : record_( record )
        , next_( next )
    {}

    void runStarts( const RunHeading& heading ) override
    {
        record_.heading = heading;
        next_.runStarts( heading );
    }

    void stepEnded( const StepReport& step ) override
    {
        record_.steps.push_back( step );
        next_.stepEnded( step );
    }

    void runEnded( const RunSummary& summary ) override
    {
        record_.summary = summary;
        next_.runEnded( summary );
    }

    void stepProgressed( const StepHeading& step, std::size_t done, std::size_t total ) override
    {
        next_.stepProgressed( step, done, total );
    }

    void standardErrorWritten( std::string_view text ) override
    {
        next_.standardErrorWritten( text );
    }

  private:
    RunRecord& record_;
    RunReport& next_;
};

} // namespace Tool
