#include "input/YamlOpenings.h"

#include "input/InputText.h"

#include <vector>

namespace Input {

namespace {

/// Reads a text as far as brackets, quotes and comments go.
class OpeningScanner
{
  public:
    OpeningScanner( std::string_view text, int refusedLine )
        : text_( text )
        , refusedLine_( refusedLine )
        , indentation_( indentationHere() )
    {}

    [[nodiscard]] std::optional< YamlOpening > unclosed()
    {
        while ( !atEnd() && !found_ ) {
            readOne();
        }
        if ( !found_ && !open_.empty() ) {
            found_ = open_.back();
        }
        return found_;
    }

  private:
    [[nodiscard]] bool atEnd() const { return at_ == text_.size(); }

    [[nodiscard]] char here() const { return text_[ at_ ]; }

    void next()
    {
        const bool isLineEnd = here() == '\n';
        ++at_;
        const bool continues =
            !atEnd() && ( static_cast< unsigned char >( here() ) & 0xC0U ) == 0x80U;
        line_ += isLineEnd ? 1 : 0;
        column_ = isLineEnd ? 1 : column_ + ( continues ? 0 : 1 );
    }

    void readOne()
    {
        const char sign = here();
        const bool isQuote = sign == '\'' || sign == '"';
        if ( sign == '#' && beginsComment() ) {
            skipLine();
        } else if ( isQuote && startsValue_ ) {
            readQuoted();
        } else if ( ( sign == '[' || sign == '{' ) && ( startsValue_ || !open_.empty() ) ) {
            open_.push_back( { sign, line_, column_ } );
            passed( true );
        } else if ( ( sign == ']' || sign == '}' ) && !open_.empty() ) {
            close( sign );
        } else {
            readOther( sign );
        }
    }

    /// Moves on; tells whether a value may start behind what was passed.
    void passed( bool startsValue )
    {
        next();
        startsValue_ = startsValue;
    }

    void readOther( char sign )
    {
        const bool isBlank = sign == ' ' || sign == '\t' || sign == '\r';
        if ( sign == '\n' && open_.empty() ) {
            readLineEnd();
        } else if ( isBlank || sign == '\n' ) {
            passed( startsValue_ );
        } else if ( ( sign == '|' || sign == '>' ) && startsValue_ && open_.empty() ) {
            skipBlockOfText();
        } else {
            const bool isIndicator =
                ( sign == ':' || sign == '-' || sign == '?' ) && blankFollows();
            passed( isIndicator || ( sign == ',' && !open_.empty() ) );
        }
    }

    /// A value may start in the next line, unless that goes on with the text of this one.
    void readLineEnd()
    {
        const bool endsInText = !startsValue_;
        const std::size_t indentation = indentation_;
        next();
        indentation_ = indentationHere();
        startsValue_ = !( endsInText && indentation_ > indentation );
    }

    [[nodiscard]] std::size_t indentationHere() const
    {
        const std::size_t first = text_.find_first_not_of( ' ', at_ );
        return ( first == std::string_view::npos ? text_.size() : first ) - at_;
    }

    /// The lines behind "|" or ">", as far as they are indented more.
    void skipBlockOfText()
    {
        const std::size_t indentation = indentation_;
        do {
            skipLine();
            if ( !atEnd() ) {
                next();
            }
            indentation_ = indentationHere();
        } while ( !atEnd() && ( indentation_ > indentation || here() == '\n' ) );
        startsValue_ = true;
    }

    [[nodiscard]] bool blankFollows() const
    {
        constexpr std::string_view blanks = " \t\r\n";
        return at_ + 1 == text_.size() || blanks.find( text_[ at_ + 1 ] ) != std::string_view::npos;
    }

    [[nodiscard]] bool beginsComment() const
    {
        return at_ == 0 || text_[ at_ - 1 ] == ' ' || text_[ at_ - 1 ] == '\t' ||
               text_[ at_ - 1 ] == '\n';
    }

    void skipLine()
    {
        while ( !atEnd() && here() != '\n' ) {
            next();
        }
    }

    /// A bracket that closes another one than the last leaves that one open.
    void close( char sign )
    {
        const bool fits = ( open_.back().sign == '[' ) == ( sign == ']' );
        if ( !fits ) {
            found_ = open_.back();
            return;
        }
        open_.pop_back();
        passed( false );
    }

    void readQuoted()
    {
        const YamlOpening opening{ here(), line_, column_ };
        next();
        while ( !atEnd() && !closesQuote( opening.sign ) ) {
            skipQuotedLetter( opening.sign );
        }
        const bool endsWhereRefused = line_ > opening.line && line_ == refusedLine_;
        if ( atEnd() || endsWhereRefused ) {
            found_ = opening;
            return;
        }
        passed( false );
    }

    /// A single quote is written twice in single quotes.
    [[nodiscard]] bool closesQuote( char quote ) const
    {
        return here() == quote && !( quote == '\'' && text_.substr( at_, 2 ) == "''" );
    }

    void skipQuotedLetter( char quote )
    {
        const bool isPair = here() == quote || ( quote == '"' && here() == '\\' );
        next();
        if ( isPair && !atEnd() ) {
            next();
        }
    }

    std::string_view text_;
    int refusedLine_;
    std::size_t at_ = 0;
    int line_ = 1;
    int column_ = 1;
    std::size_t indentation_; // Of this line.
    bool startsValue_ = true; // Whether a quote or a bracket here would be one, and not a letter.
    std::vector< YamlOpening > open_;
    std::optional< YamlOpening > found_;
};

} // namespace

std::optional< YamlOpening > unclosedOpening( std::string_view text, int refusedLine )
{
    return OpeningScanner( withoutByteOrderMark( text ), refusedLine ).unclosed();
}

} // namespace Input
