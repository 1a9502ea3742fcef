#pragma once

/// What goes to standard error while a scenario runs, whatever is printed of it: how far a long
/// step is, what the child writes there, and why the library ended the run.

#include "tools/run/RunReport.h"

namespace Tool {

/// The base of the reports, or a report of its own.
class StandardErrorReport : public RunReport
{
  public:
    /// `progress` says whether long steps show how far they are, in one line that is replaced again
    /// and again, and is gone in the end.
    explicit StandardErrorReport( bool progress )
        : progress_( progress )
    {}

    void runStarts( const RunHeading& ) override {}

    void stepEnded( const StepReport& ) override { clearProgress(); }

    /// Tells an unexpected end.
    void runEnded( const RunSummary& summary ) override;
    void stepProgressed( const StepHeading& step, std::size_t done, std::size_t total ) override;
    void standardErrorWritten( std::string_view text ) override;

  protected:
    /// To be called before anything is printed.
    void clearProgress();

  private:
    bool progress_;
    bool visible_ = false;
};

} // namespace Tool
