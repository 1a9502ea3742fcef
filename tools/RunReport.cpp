#include "tools/RunReport.h"

#include "tools/ExitCodes.h"
#include "tools/PrintableText.h"

#include <algorithm>
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

/// Adds a text behind a label, in lines of at most `width` columns (0: of any length).
void addLabelled( std::vector< std::string >& lines,
                  const std::string& label,
                  const std::string& text,
                  std::size_t width )
{
    std::string start = label;
    for ( const std::string& line :
          folded( printable( text ), width - std::min( width, label.size() ) ) ) {
        lines.push_back( start + line );
        start.assign( label.size(), ' ' );
    }
}

/// The lines of what the library said before it ended, and how the process ended.
std::vector< std::string >
lastWordLines( const LastWords& lastWords, const std::string& end, std::size_t width = 0 )
{
    std::vector< std::string > lines;
    if ( !lastWords.errorLine.empty() ) {
        addLabelled( lines, "library:   ", lastWords.errorLine, width );
    }
    if ( !lastWords.apiError.empty() ) {
        addLabelled( lines, "SDK call:  ", lastWords.apiError, width );
    }
    if ( !lastWords.assertion.empty() ) {
        addLabelled( lines, "assertion: ", lastWords.assertion, width );
    }
    lines.push_back( "process:   ended by " + end );
    return lines;
}

class TextReport : public RunReport
{
  public:
    TextReport( Painter painter, std::size_t width )
        : painter_( painter )
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
        printOccupancy( summary.chip );
        printSnapshot( summary.snapshot );
        if ( summary.unexpectedEnd ) {
            printUnexpectedEnd( *summary.unexpectedEnd );
            fmt::print( stderr, "{}", unexpectedEndText( *summary.unexpectedEnd ) );
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

class JsonReport : public RunReport
{
  public:
    explicit JsonReport( std::function< void( const Json& report ) > done )
        : done_( std::move( done ) )
    {}

    void runStarts( const RunHeading& heading ) override
    {
        json_ = { { "scenario", heading.scenario },   { "profile", heading.profile },
                  { "unit", heading.unit },           { "pipe", heading.pipe },
                  { "numbering", heading.numbering }, { "steps", Json::array() } };
    }

    void stepEnded( const StepReport& step ) override
    {
        Json json = { { "index", step.heading.index },
                      { "step", step.heading.kind },
                      { "name", step.heading.name },
                      { "outcome", outcomeName( step.result.outcome ) },
                      { "expected", outcomeName( step.heading.expected ) },
                      { "text", step.result.text } };
        json.update( step.result.produced );
        if ( !step.result.lines.empty() ) {
            json[ "lines" ] = step.result.lines;
        }
        if ( step.result.outcome == Outcome::aborted ) {
            addLastWords( json, step.lastWords, step.end );
        }
        json_[ "steps" ].push_back( json );
    }

    void runEnded( const RunSummary& summary ) override
    {
        json_[ "chip" ] = summary.chip;
        if ( !summary.snapshot.is_null() ) {
            json_[ "snapshot" ] = summary.snapshot;
        }
        json_[ "result" ] = resultName( summary );
        if ( summary.unexpectedEnd ) {
            const UnexpectedEnd& unexpected = *summary.unexpectedEnd;
            Json ended = Json::object();
            if ( unexpected.step ) {
                ended[ "step" ] = unexpected.step->index;
            }
            addLastWords( ended, unexpected.lastWords, unexpected.end );
            json_[ "ended" ] = ended;
            fmt::print( stderr, "{}", unexpectedEndText( unexpected ) );
        }
        done_( json_ );
    }

  private:
    static std::string_view resultName( const RunSummary& summary )
    {
        if ( summary.unexpectedEnd ) {
            return "library-ended";
        }
        return summary.notAsExpected > 0 ? "not-as-expected" : "as-expected";
    }

    static void addLastWords( Json& json, const LastWords& lastWords, const std::string& end )
    {
        json[ "end" ] = end;
        if ( !lastWords.errorLine.empty() ) {
            json[ "errorLine" ] = lastWords.errorLine;
        }
        if ( !lastWords.apiError.empty() ) {
            json[ "apiError" ] = lastWords.apiError;
        }
        if ( !lastWords.assertion.empty() ) {
            json[ "assertion" ] = lastWords.assertion;
        }
    }

    std::function< void( const Json& report ) > done_;
    Json json_;
};

} // namespace

int RunSummary::exitCode() const
{
    if ( unexpectedEnd ) {
        return exitLibraryEnded;
    }
    return notAsExpected > 0 ? exitUnexpectedOutcome : exitAsExpected;
}

std::unique_ptr< RunReport > makeTextReport( Painter painter, std::size_t width )
{
    return std::make_unique< TextReport >( painter, width );
}

std::unique_ptr< RunReport > makeJsonReport()
{
    return makeJsonReport( []( const Json& report ) {
        fmt::print( "{}\n", jsonDocument( report ) );
        std::fflush( stdout );
    } );
}

std::unique_ptr< RunReport > makeJsonReport( std::function< void( const Json& report ) > done )
{
    return std::make_unique< JsonReport >( std::move( done ) );
}

std::string unexpectedEndText( const UnexpectedEnd& unexpected )
{
    std::string text = "pelora-tcam: the library ended the process";
    if ( unexpected.step ) {
        const StepHeading& step = *unexpected.step;
        text += fmt::format( " in step {}, {}", step.index, step.kind );
        text += step.name.empty() ? "" : " " + printable( step.name );
    } else {
        text += " between steps";
    }
    text += "\n";
    for ( const std::string& line : lastWordLines( unexpected.lastWords, unexpected.end ) ) {
        text += "  " + line + "\n";
    }
    return text;
}

} // namespace Tool
