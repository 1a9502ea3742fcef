#include "tools/RunReport.h"

#include "tools/ExitCodes.h"

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

/// The lines of what the library said before it ended, and how the process ended.
std::vector< std::string > lastWordLines( const LastWords& lastWords, const std::string& end )
{
    std::vector< std::string > lines;
    if ( !lastWords.apiError.empty() ) {
        lines.push_back( "SDK call:  " + lastWords.apiError );
    }
    if ( !lastWords.assertion.empty() ) {
        lines.push_back( "assertion: " + lastWords.assertion );
    }
    lines.push_back( "process:   ended by " + end );
    return lines;
}

class TextReport : public RunReport
{
  public:
    explicit TextReport( Painter painter )
        : painter_( painter )
    {}

    void runStarts( const RunHeading& heading ) override
    {
        for ( const StepHeading& step : heading.steps ) {
            kindWidth_ = std::max( kindWidth_, step.kind.size() );
            nameWidth_ = std::max( nameWidth_, step.name.size() );
        }
        stepCount_ = heading.steps.size();
        profile_ = heading.profile;
        fmt::print( "{}: {} on chip {}, unit {}, pipe {}, numbering {}\n\n",
                    heading.scenario,
                    counted( stepCount_, "step" ),
                    heading.profile,
                    heading.unit,
                    heading.pipe,
                    heading.numbering );
        std::fflush( stdout );
    }

    void stepEnded( const StepReport& step ) override
    {
        const StepHeading& heading = step.heading;
        const std::string text = remark( step );
        fmt::print( "{:>{}}  {:<{}}  {:<{}}  {}{}{}\n",
                    heading.index,
                    std::to_string( stepCount_ ).size(),
                    heading.kind,
                    kindWidth_,
                    heading.name,
                    nameWidth_,
                    paintedOutcome( step ),
                    text.empty() ? "" : "  ",
                    text );
        for ( const std::string& line : step.result.lines ) {
            fmt::print( "      {}\n", line );
        }
        if ( step.result.outcome == Outcome::aborted && step.asExpected ) {
            for ( const std::string& line : lastWordLines( step.lastWords, step.end ) ) {
                fmt::print( "      {}\n", painter_( Colour::quiet, line ) );
            }
        }
        std::fflush( stdout );
    }

    void runEnded( const RunSummary& summary ) override
    {
        printOccupancy( summary.chip );
        if ( summary.unexpectedEnd ) {
            printResult( Colour::bad,
                         summary.unexpectedEnd->step
                             ? fmt::format( "the library ended the process in step {} of {}",
                                            summary.unexpectedEnd->step->index,
                                            stepCount_ )
                             : std::string( "the library ended the process between steps" ) );
            fmt::print( stderr, "{}", unexpectedEndText( *summary.unexpectedEnd ) );
        } else if ( summary.notAsExpected > 0 ) {
            printResult(
                Colour::bad,
                fmt::format( "{} of {} not as expected", summary.notAsExpected, stepCount_ ) );
        } else {
            printResult( Colour::good,
                         fmt::format( "{}, all as expected", counted( stepCount_, "step" ) ) );
        }
    }

  private:
    [[nodiscard]] std::string paintedOutcome( const StepReport& step ) const
    {
        constexpr std::size_t widestOutcome = 7;
        const std::string text =
            fmt::format( "{:<{}}", outcomeName( step.result.outcome ), widestOutcome );
        if ( !step.asExpected ) {
            return painter_( Colour::bad, text );
        }
        return painter_( step.result.outcome == Outcome::ok ? Colour::good : Colour::warning,
                         text );
    }

    [[nodiscard]] std::string remark( const StepReport& step ) const
    {
        const std::string& text = step.result.text;
        std::string verdict;
        if ( !step.asExpected ) {
            verdict = painter_( Colour::bad,
                                "expected " + std::string( outcomeName( step.heading.expected ) ) );
        } else if ( step.result.outcome != Outcome::ok ) {
            verdict = "as expected";
        }
        return verdict + ( verdict.empty() || text.empty() ? "" : ": " ) + text;
    }

    void printOccupancy( const Json& chip ) const
    {
        std::size_t width = 0;
        for ( const auto& [ name, resource ] : chip.items() ) {
            width = std::max( width, inWords( name ).size() );
        }
        fmt::print( "\nChip {}\n", profile_ );
        for ( const auto& [ name, resource ] : chip.items() ) {
            fmt::print( "  {:<{}}  {} of {} used\n",
                        inWords( name ),
                        width,
                        resource.at( "used" ).get< std::uint64_t >(),
                        resource.at( "capacity" ).get< std::uint64_t >() );
        }
    }

    void printResult( Colour colour, const std::string& text ) const
    {
        fmt::print( "\nResult: {}\n", painter_( colour, text ) );
        std::fflush( stdout );
    }

    Painter painter_;
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
        json_ = { { "scenario", heading.scenario },
                  { "profile", heading.profile },
                  { "unit", heading.unit },
                  { "pipe", heading.pipe },
                  { "numbering", heading.numbering },
                  { "steps", Json::array() } };
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

std::unique_ptr< RunReport > makeTextReport( Painter painter )
{
    return std::make_unique< TextReport >( painter );
}

std::unique_ptr< RunReport > makeJsonReport()
{
    return makeJsonReport( []( const Json& report ) {
        fmt::print( "{}\n", jsonText( report, 2 ) );
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
        text += step.name.empty() ? "" : " " + step.name;
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
