#include "tests/docs/SourceCalls.h"

#include "tests/support/AssertionText.h"

#include <cctype>

namespace DocsTest {

namespace {

bool isBlank( char character )
{
    return std::isspace( static_cast< unsigned char >( character ) ) != 0;
}

bool isOfName( char character )
{
    return std::isalnum( static_cast< unsigned char >( character ) ) != 0 || character == '_';
}

/// Reads the arguments of a call: parenthesis by parenthesis, literals whole.
class ArgumentReader
{
  public:
    /// `position`: that behind the opening parenthesis.
    ArgumentReader( std::string_view source, std::size_t position )
        : source_( source )
        , position_( position )
    {}

    std::vector< std::string > read()
    {
        for ( int depth = 1; position_ < source_.size(); ++position_ ) {
            const char character = source_[ position_ ];
            if ( character == '"' ) {
                takeLiteral();
                continue;
            }
            depth += isOpening( character ) ? 1 : isClosing( character ) ? -1 : 0;
            if ( depth == 0 ) {
                break;
            }
            if ( character == ',' && depth == 1 ) {
                endArgument();
            } else {
                take( character );
            }
        }
        endArgument();
        return arguments_;
    }

  private:
    static bool isOpening( char c ) { return c == '(' || c == '{' || c == '['; }

    static bool isClosing( char c ) { return c == ')' || c == '}' || c == ']'; }

    void take( char character )
    {
        if ( !isBlank( character ) ) {
            argument_ += character;
        } else if ( !argument_.empty() && argument_.back() != ' ' ) {
            argument_ += ' ';
        }
    }

    /// Takes a literal; stops at its closing quote.
    void takeLiteral()
    {
        do {
            if ( source_[ position_ ] == '\\' ) {
                argument_ += source_[ position_++ ];
            }
            argument_ += source_[ position_++ ];
        } while ( source_[ position_ ] != '"' );
        argument_ += '"';
    }

    void endArgument()
    {
        while ( !argument_.empty() && argument_.back() == ' ' ) {
            argument_.pop_back();
        }
        if ( !argument_.empty() ) {
            arguments_.push_back( argument_ );
        }
        argument_.clear();
    }

    std::string_view source_;
    std::size_t position_;
    std::string argument_;
    std::vector< std::string > arguments_;
};

/// The first literal among the arguments of each call.
void addFirstLiterals( std::string_view source,
                       std::string_view name,
                       std::set< std::string >& texts )
{
    for ( const SourceCall& call : callsOf( source, name ) ) {
        for ( const std::string& argument : call.arguments ) {
            if ( isLiteral( argument ) ) {
                texts.insert( literalOf( argument ) );
                break;
            }
        }
    }
}

/// All literals among the arguments of each row, from a position on.
void addLiteralsOfRows( std::string_view source,
                        std::string_view row,
                        std::size_t first,
                        std::set< std::string >& texts )
{
    for ( const SourceCall& call : callsOf( source, row ) ) {
        for ( std::size_t i = first; i < call.arguments.size(); ++i ) {
            if ( isLiteral( call.arguments[ i ] ) ) {
                texts.insert( literalOf( call.arguments[ i ] ) );
            }
        }
    }
}

/// What varies: without blanks at its ends, so that none beside it is lost.
constexpr const char* anyPiece = "\\S(?:.*\\S)?";

/// The text that a trace statement writes, from its pieces.
std::string textOfPieces( const std::vector< std::string >& arguments, std::size_t first )
{
    std::string text;
    for ( std::size_t i = first; i < arguments.size(); ++i ) {
        text += isLiteral( arguments[ i ] ) ? TestSupport::literally( literalOf( arguments[ i ] ) )
                                            : std::string( anyPiece );
    }
    return text;
}

/// A function that traces: its pieces follow the level.
struct TraceFunction
{
    std::string_view name;
    std::size_t levelAt; ///< which argument
};

// What `reportFull` makes of the descriptor behind its text varies like any other piece.
constexpr TraceFunction traceFunctions[] = {
    { "trace", 1 },
    { "traceUdf", 0 },
    { "reportFull", 0 },
};

bool isShortageLevel( const std::string& argument )
{
    return argument == "0" || argument == "1";
}

} // namespace

std::vector< SourceCall > callsOf( std::string_view source, std::string_view name )
{
    std::vector< SourceCall > calls;
    const std::string beginning = std::string( name ) + '(';
    for ( std::size_t at = source.find( beginning ); at != std::string_view::npos;
          at = source.find( beginning, at + 1 ) ) {
        if ( at == 0 || !isOfName( source[ at - 1 ] ) || !isOfName( name.front() ) ) {
            calls.push_back( { at, ArgumentReader( source, at + beginning.size() ).read() } );
        }
    }
    return calls;
}

bool isLiteral( std::string_view argument )
{
    return argument.size() >= 2 && argument.front() == '"' && argument.back() == '"';
}

std::string literalOf( std::string_view argument )
{
    std::string text;
    bool isInside = false;
    for ( std::size_t i = 0; i < argument.size(); ++i ) {
        if ( argument[ i ] == '"' ) {
            isInside = !isInside;
        } else if ( isInside ) {
            i += argument[ i ] == '\\' ? 1 : 0;
            text += argument[ i ];
        }
    }
    return text;
}

std::set< std::string > assertionTextsOfSource( std::string_view source )
{
    std::set< std::string > texts;
    for ( const SourceCall& call : callsOf( source, "AGENT_ASSERT" ) ) {
        std::string text;
        for ( const std::string& argument : call.arguments ) {
            text += ( text.empty() ? "" : ", " ) + argument;
        }
        texts.insert( text );
    }
    addFirstLiterals( source, "AGENT_ASSERT_AS", texts );
    addFirstLiterals( source, "AGENT_FAIL", texts );
    addFirstLiterals( source, "assertionFailed", texts );
    addFirstLiterals( source, "lookUp", texts );
    addFirstLiterals( source, ".fail", texts );
    addLiteralsOfRows( source, "refusalRow", 0, texts );
    // The second argument is the label of a trace.
    addLiteralsOfRows( source, "classRow", 2, texts );
    return texts;
}

std::set< std::string > assertionTextsOfTable( std::string_view table )
{
    // Heads of macros have names for arguments, and no literals.
    std::set< std::string > texts;
    addLiteralsOfRows( table, "TRANSLATION_BOTH_WAYS", 0, texts );
    addLiteralsOfRows( table, "TRANSLATION_ONE_WAY", 0, texts );
    return texts;
}

std::vector< ShortageTrace > shortageTracesOf( std::string_view source )
{
    std::vector< ShortageTrace > traces;
    for ( const TraceFunction& function : traceFunctions ) {
        const std::size_t levelAt = function.levelAt;
        for ( const SourceCall& call : callsOf( source, function.name ) ) {
            if ( call.arguments.size() > levelAt + 1 &&
                 isShortageLevel( call.arguments[ levelAt ] ) ) {
                traces.push_back(
                    { call.arguments[ levelAt ], textOfPieces( call.arguments, levelAt + 1 ) } );
            }
        }
    }
    return traces;
}

} // namespace DocsTest
