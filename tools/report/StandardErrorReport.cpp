#include "tools/report/StandardErrorReport.h"

#include "tools/report/LastWordsText.h"
#include "tools/text/PrintableText.h"

#include <cstdio>
#include <fmt/format.h>

namespace Tool {

void StandardErrorReport::runEnded( const RunSummary& summary )
{
    clearProgress();
    if ( summary.unexpectedEnd ) {
        fmt::print( stderr, "{}", unexpectedEndText( *summary.unexpectedEnd ) );
    }
}

void StandardErrorReport::stepProgressed( const StepHeading& step,
                                          std::size_t done,
                                          std::size_t total )
{
    if ( progress_ ) {
        fmt::print( stderr, "\r\033[K{}  {} {}  {} of {}", step.index, step.kind,
                    printable( step.name ), done, total );
        visible_ = true;
    }
}

void StandardErrorReport::standardErrorWritten( std::string_view text )
{
    clearProgress();
    fmt::print( stderr, "{}", printableLines( text ) );
}

void StandardErrorReport::clearProgress()
{
    if ( visible_ ) {
        fmt::print( stderr, "\r\033[K" );
        visible_ = false;
    }
}

} // namespace Tool
