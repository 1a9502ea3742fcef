#include "tools/report/LastWordsText.h"
#include "tools/report/RunReports.h"
#include "tools/report/StandardErrorReport.h"
#include "tools/text/PrintableText.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>

namespace Tool {

namespace {

/// "1 step", "2 steps".
std::string counted( std::size_t count, std::string_view what )
{
    return fmt::format( "{} {}{}", count, what, count == 1 ? "" : "s" );
}

/// "rangeCheckers" as "range checkers".
std::string inWords( std::string_view name )
{
    std::string words;
    for ( const char letter : name ) {
        if ( letter >= 'A' && letter <= 'Z' ) {
            words += ' ';
            words += static_cast< char >( letter - 'A' + 'a' );
        } else {
            words += letter;
        }
    }
    return words;
}

class TextReport : public StandardErrorReport
{
  public:
    TextReport( Painter painter, std::size_t width, bool progress )
        : StandardErrorReport( progress )
        , painter_( painter )
        , width_( width )
    {}

    void runStarts( const RunHeading& heading ) override
    {
        for ( const StepHeading& step : heading.steps ) {
            kindWidth_ = std::max( kindWidth_, step.kind.size() );
            nameWidth_ = std::max( nameWidth_, printable( step.name ).size() );
        }
        stepCount_ = heading.steps.size();
        profile_ = heading.profile;
        fmt::print( "{}: {} on chip {}, unit {}, pipe {}, numbering {}\n\n",
                    printable( heading.scenario ), counted( stepCount_, "step" ), heading.profile,
                    heading.unit, heading.pipe, heading.numbering );
        std::fflush( stdout );
    }

    void stepEnded( const StepReport& step ) override
    {
        clearProgress();
        const StepHeading& heading = step.heading;
        const std::string start = fmt::format( "{:>{}}  {:<{}}  {:<{}}  ", heading.index,
                                               std::to_string( stepCount_ ).size(), heading.kind,
                                               kindWidth_, printable( heading.name ), nameWidth_ );
        fmt::print( "{}{}", start, paintedOutcome( step ) );
        printRemark( step, start.size() + widestOutcome );
        for ( const std::string& line : step.result.lines ) {
            fmt::print( "{}{}\n", detailIndent, printable( line ) );
        }
        printNotes( step.result.produced );
        if ( step.result.outcome == Outcome::aborted ) {
            printLastWords( step.lastWords, step.end,
                            step.asExpected ? Colour::quiet : Colour::warning );
        }
        std::fflush( stdout );
    }

    void runEnded( const RunSummary& summary ) override
    {
        clearProgress();
        printOccupancy( summary.chip );
        printSnapshot( summary.snapshot );
        if ( summary.unexpectedEnd ) {
            printUnexpectedEnd( *summary.unexpectedEnd );
            StandardErrorReport::runEnded( summary );
        } else if ( summary.notAsExpected > 0 ) {
            printResult( Colour::bad, fmt::format( "{} of {} not as expected",
                                                   summary.notAsExpected, stepCount_ ) );
        } else {
            printResult( Colour::good,
                         fmt::format( "{}, all as expected", counted( stepCount_, "step" ) ) );
        }
    }

  private:
    static constexpr std::size_t widestOutcome = 7;
    static constexpr std::string_view detailIndent = "      ";
    static constexpr std::size_t narrowest = 30; // Narrower columns of text are not made.

    /// What a step wants known of what it produced.
    void printNotes( const Json& produced ) const
    {
        std::vector< std::string > lines;
        for ( const Json& note : produced.value( "notes", Json::array() ) ) {
            const std::string text = note.get< std::string >();
            addLabelled( lines, "note: ", text, widthBehind( detailIndent.size() ) );
        }
        for ( const std::string& line : lines ) {
            fmt::print( "{}{}\n", detailIndent, line );
        }
    }

    /// What the library said before it ended the process, and how the process ended.
    void printLastWords( const LastWords& lastWords, const std::string& end, Colour colour ) const
    {
        for ( const std::string& line :
              lastWordLines( lastWords, end, widthBehind( detailIndent.size() ) ) ) {
            fmt::print( "{}{}\n", detailIndent, painter_( colour, line ) );
        }
    }

    /// The result of a run that the library ended. The step that was running has told why.
    void printUnexpectedEnd( const UnexpectedEnd& unexpected ) const
    {
        if ( unexpected.step ) {
            const StepHeading& step = *unexpected.step;
            printResult( Colour::bad,
                         fmt::format( "the library ended the process in step {} of {}, {} {}",
                                      step.index, stepCount_, step.kind, printable( step.name ) ) );
            return;
        }
        printResult( Colour::bad, "the library ended the process between steps" );
        printLastWords( unexpected.lastWords, unexpected.end, Colour::warning );
        std::fflush( stdout );
    }

    /// How wide a text behind so many columns may be; 0 for any width.
    [[nodiscard]] std::size_t widthBehind( std::size_t columns ) const
    {
        return width_ == 0 ? 0 : std::max( width_, columns + narrowest ) - columns;
    }

    [[nodiscard]] std::string paintedOutcome( const StepReport& step ) const
    {
        const std::string text =
            fmt::format( "{:<{}}", outcomeName( step.result.outcome ), widestOutcome );
        if ( !step.asExpected ) {
            return painter_( Colour::bad, text );
        }
        return painter_( step.result.outcome == Outcome::ok ? Colour::good : Colour::warning,
                         text );
    }

    /// Whether the outcome was expected, if that has to be said.
    [[nodiscard]] static std::string verdictOn( const StepReport& step )
    {
        if ( !step.asExpected ) {
            return "expected " + std::string( outcomeName( step.heading.expected ) );
        }
        return step.result.outcome == Outcome::ok ? "" : "as expected";
    }

    /// Ends the line of a step, of which so many columns are printed, and goes on below.
    void printRemark( const StepReport& step, std::size_t columns ) const
    {
        const std::string verdict = verdictOn( step );
        const std::string text = printable( step.result.text );
        const std::string remark = verdict + ( verdict.empty() || text.empty() ? "" : ": " ) + text;
        if ( remark.empty() ) {
            fmt::print( "\n" );
            return;
        }
        columns += 2;
        std::size_t indent = 2;
        for ( std::string line : folded( remark, widthBehind( columns ) ) ) {
            if ( indent == 2 && !step.asExpected && line.starts_with( verdict ) ) {
                line = painter_( Colour::bad, verdict ) + line.substr( verdict.size() );
            }
            fmt::print( "{:{}}{}\n", "", indent, line );
            indent = columns;
        }
    }

    void printOccupancy( const Json& chip ) const
    {
        const std::string title = "Chip " + profile_;
        std::size_t width = title.size();
        for ( const auto& [ name, resource ] : chip.items() ) {
            width = std::max( width, inWords( name ).size() + 2 );
        }
        fmt::print( "\n{:<{}}  {:>8}  {:>8}  {:>8}\n", title, width, "used", "at most",
                    "capacity" );
        for ( const auto& [ name, resource ] : chip.items() ) {
            fmt::print( "{}\n", occupancyLine( inWords( name ), width, resource ) );
        }
    }

    /// A line of the table: quiet for what nobody used, in colour for what ran out.
    [[nodiscard]] std::string
    occupancyLine( const std::string& name, std::size_t width, const Json& resource ) const
    {
        const std::uint64_t peak = resource.at( "peak" );
        const std::uint64_t capacity = resource.at( "capacity" );
        const std::string setAside =
            resource.contains( "setAside" )
                ? fmt::format( "  {} set aside", resource.at( "setAside" ).get< std::uint64_t >() )
                : std::string();
        const std::string line =
            fmt::format( "  {:<{}}  {:>8}  {:>8}  {:>8}{}", name, width - 2,
                         resource.at( "used" ).get< std::uint64_t >(), peak, capacity, setAside );
        if ( peak == 0 ) {
            return painter_( Colour::quiet, line );
        }
        return peak == capacity ? painter_( Colour::warning, line ) : line;
    }

    static void printSnapshot( const Json& snapshot )
    {
        if ( snapshot.is_null() ) {
            return;
        }
        fmt::print( "\nSnapshot\n" );
        if ( snapshot.empty() ) {
            fmt::print( "  nothing\n" );
        }
        for ( const Json& object : snapshot ) {
            std::string line = object.at( "object" ).get< std::string >() + ":";
            for ( const Json& field : object.at( "fields" ) ) {
                line += fmt::format( " {}={}", field.at( "name" ).get< std::string >(),
                                     field.at( "value" ).get< std::string >() );
            }
            fmt::print( "  {}\n", printable( line ) );
        }
    }

    void printResult( Colour colour, const std::string& text ) const
    {
        fmt::print( "\nResult: {}\n", painter_( colour, text ) );
        std::fflush( stdout );
    }

    Painter painter_;
    std::size_t width_; ///< of a terminal, or 0
    std::string profile_;
    std::size_t stepCount_ = 0;
    std::size_t kindWidth_ = 0;
    std::size_t nameWidth_ = 0;
};

} // namespace

std::unique_ptr< RunReport > makeTextReport( Painter painter, std::size_t width, bool progress )
{
    return std::make_unique< TextReport >( painter, width, progress );
}

} // namespace Tool
