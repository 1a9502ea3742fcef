#include "tools/report/LookupReport.h"

#include "tools/report/LastWordsText.h"
#include "tools/text/PrintableText.h"
#include "tools/text/Terminal.h"

#include <cstdio>
#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

std::string textOf( const Json& json, const char* member )
{
    return json.at( member ).get< std::string >();
}

/// "office.rules:17", or the entry's name.
std::string placeOf( const Json& entry )
{
    return entry.at( "file" ).is_null()
               ? "entry " + textOf( entry, "entry" )
               : fmt::format( "{}:{}", textOf( entry, "file" ), entry.at( "line" ).get< int >() );
}

std::string winnerText( const Json& entry )
{
    return fmt::format( "{}, priority {} in group {}{}", placeOf( entry ),
                        entry.at( "priority" ).get< int >(), textOf( entry, "group" ),
                        entry.at( "file" ).is_null()
                            ? ""
                            : fmt::format( ", entry {}", entry.at( "entryId" ).get< int >() ) );
}

std::string loserText( const Json& loser )
{
    const std::string who =
        fmt::format( "{}, priority {}: ", placeOf( loser ), loser.at( "priority" ).get< int >() );
    if ( loser.at( "matches" ).get< bool >() ) {
        return who + "it matches, but ranks below";
    }
    return who + fmt::format( "{} wanted {}, found {}", textOf( loser, "qualifier" ),
                              textOf( loser, "wanted" ), textOf( loser, "found" ) );
}

/// "dropped, copied to the processor; green"
std::string fateText( const Json& answer )
{
    std::string text;
    const auto add = [ & ]( const char* member, std::string_view what ) {
        if ( answer.at( member ).get< bool >() ) {
            text += ( text.empty() ? "" : ", " ) + std::string( what );
        }
    };
    add( "dropped", "dropped" );
    add( "copied", "copied to the processor" );
    add( "redirected", "redirected" );
    return ( text.empty() ? "goes on" : text ) + "; " + textOf( answer, "colour" );
}

std::string actionsText( const Json& answer )
{
    return fmt::format(
        "{}", fmt::join( answer.at( "actions" ).get< std::vector< std::string > >(), ", " ) );
}

std::string headersText( const Json& answer )
{
    std::string text;
    for ( const Json& header : answer.at( "headers" ) ) {
        text += fmt::format( "{}{} {}", text.empty() ? "" : ", ", textOf( header, "name" ),
                             textOf( header, "value" ) );
    }
    return text;
}

/// "SrcClassField 5; range checker 3 takes 80; field 1 is 0a000001"
std::string findingsText( const Json& answer )
{
    std::string text;
    const auto add = [ & ]( const std::string& what ) {
        text += ( text.empty() ? "" : "; " ) + what;
    };
    for ( const Json& found : answer.at( "classes" ) ) {
        add( fmt::format( "{} {}", textOf( found, "field" ), found.at( "class" ).get< int >() ) );
    }
    for ( const Json& range : answer.at( "ranges" ) ) {
        if ( range.at( "inside" ).get< bool >() ) {
            add( fmt::format( "range checker {} takes {}", range.at( "id" ).get< int >(),
                              range.at( "value" ).get< std::uint32_t >() ) );
        }
    }
    for ( const Json& udf : answer.at( "udfs" ) ) {
        if ( !udf.at( "bytes" ).empty() ) {
            add( fmt::format( "field {} is {:02x}", udf.at( "id" ).get< int >(),
                              fmt::join( udf.at( "bytes" ).get< std::vector< int > >(), " " ) ) );
        }
    }
    return text;
}

/// What goes to standard error whatever is printed.
class LookupStandardError : public LookupListener
{
  public:
    explicit LookupStandardError( bool progress )
        : progress_( progress )
    {}

    void setUpFailed( const std::string& message ) override
    {
        clearProgress();
        fmt::print( stderr, "{}\n", printable( message ) );
    }

    void progressed( std::size_t done, std::size_t total ) override
    {
        if ( progress_ && done != total ) {
            fmt::print( stderr, "\r\033[K{} of {} packets", done, total );
            visible_ = true;
        } else {
            clearProgress();
        }
    }

    void standardErrorWritten( std::string_view text ) override
    {
        clearProgress();
        fmt::print( stderr, "{}", printableLines( text ) );
    }

    void ended( const LookupEnd& end ) override
    {
        clearProgress();
        if ( end.unexpectedEnd ) {
            fmt::print( stderr, "{}", unexpectedEndText( *end.unexpectedEnd ) );
        }
    }

  protected:
    void clearProgress()
    {
        if ( std::exchange( visible_, false ) ) {
            fmt::print( stderr, "\r\033[K" );
        }
    }

  private:
    bool progress_;
    bool visible_ = false;
};

class LookupText : public LookupStandardError
{
  public:
    LookupText( std::size_t width, bool progress )
        : LookupStandardError( progress )
        , width_( width )
    {}

    void answered( const Json& answer ) override
    {
        clearProgress();
        fmt::print( "{}{}\n", std::exchange( isFirst_, false ) ? "" : "\n",
                    printable( textOf( answer, "packet" ) ) );
        const Json& winner = answer.at( "winner" );
        printLine( "Winner", winner.is_null() ? "none: nothing matches" : winnerText( winner ) );
        printLine( "Actions", actionsText( answer ) );
        printLine( "Packet", fateText( answer ) );
        printLine( "Headers", headersText( answer ) );
        printLine( "Found", findingsText( answer ) );
        for ( const Json& group : answer.at( "groups" ) ) {
            printGroup( group, answer.at( "groups" ).size() > 1 );
        }
    }

    void winners( std::string_view lines ) override
    {
        std::fwrite( lines.data(), 1, lines.size(), stdout );
    }

  private:
    void printGroup( const Json& group, bool isOneOfSeveral ) const
    {
        if ( isOneOfSeveral ) {
            const Json& winner = group.at( "winner" );
            printLine( "Group",
                       fmt::format( "{}, id {}: {}", textOf( group, "group" ),
                                    group.at( "groupId" ).get< int >(),
                                    winner.is_null() ? "nothing matches" : placeOf( winner ) ) );
        }
        for ( const Json& loser : group.at( "nearest" ) ) {
            printLine( "Lost", loserText( loser ) );
        }
    }

    /// Nothing for an empty text.
    void printLine( std::string_view label, const std::string& text ) const
    {
        constexpr std::size_t indent = 11;
        constexpr std::size_t narrowest = 30;
        const std::size_t room = width_ == 0 ? 0 : std::max( width_, indent + narrowest ) - indent;
        if ( text.empty() ) {
            return;
        }
        for ( const std::string& line : folded( printable( text ), room ) ) {
            fmt::print( "  {:<9}{}\n", std::exchange( label, "" ), line );
        }
    }

    std::size_t width_;
    bool isFirst_ = true;
};

/// Keeps the answers, and prints them in the end.
class LookupJson : public LookupStandardError
{
  public:
    LookupJson( std::string chip, bool progress )
        : LookupStandardError( progress )
        , chip_( std::move( chip ) )
    {}

    void answered( const Json& answer ) override { answers_.push_back( answer ); }

    void winners( std::string_view ) override {}

    void setUpFailed( const std::string& message ) override
    {
        LookupStandardError::setUpFailed( message );
        failures_.push_back( message );
    }

    void ended( const LookupEnd& end ) override
    {
        LookupStandardError::ended( end );
        if ( !end.unexpectedEnd ) {
            fmt::print( "{}\n", jsonDocument( { { "chip", chip_ },
                                                { "notSetUp", failures_ },
                                                { "packets", answers_ } } ) );
        }
    }

  private:
    std::string chip_;
    Json failures_ = Json::array();
    Json answers_ = Json::array();
};

} // namespace

std::unique_ptr< LookupListener > makeLookupText( std::size_t width, bool progress )
{
    return std::make_unique< LookupText >( width, progress );
}

std::unique_ptr< LookupListener > makeLookupJson( const std::string& chip, bool progress )
{
    return std::make_unique< LookupJson >( chip, progress );
}

} // namespace Tool
