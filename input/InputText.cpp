#include "input/InputText.h"

#include "input/InputError.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

namespace Input {

namespace {

/// The letters of one size.
struct Form
{
    std::size_t size;
    unsigned char mask;  ///< the bits of the first byte that tell the size
    unsigned char value; ///< what they are
    unsigned least;      ///< the least letter that needs so many bytes
};

constexpr Form forms[] = {
    { 1, 0x80, 0x00, 0x0000 },
    { 2, 0xE0, 0xC0, 0x0080 },
    { 3, 0xF0, 0xE0, 0x0800 },
    { 4, 0xF8, 0xF0, 0x10000 },
};

bool isSurrogate( unsigned number )
{
    return number >= 0xD800 && number <= 0xDFFF;
}

/// The letter that is written in all the bytes, in that form; nothing if none is.
std::optional< unsigned > decoded( std::string_view bytes, const Form& form )
{
    constexpr unsigned greatest = 0x10FFFF;
    unsigned number = static_cast< unsigned char >( bytes.front() ) & ~unsigned{ form.mask };
    for ( const char byte : bytes.substr( 1 ) ) {
        const auto continuation = static_cast< unsigned char >( byte );
        if ( ( continuation & 0xC0U ) != 0x80U ) {
            return std::nullopt;
        }
        number = number << 6U | ( continuation & 0x3FU );
    }
    const bool isLetter = number >= form.least && number <= greatest && !isSurrogate( number );
    return isLetter ? std::optional( number ) : std::nullopt;
}

/// Goes through a text letter by letter, and knows where it is.
class LetterWalk
{
  public:
    explicit LetterWalk( std::string_view text )
        : text_( withoutByteOrderMark( text ) )
    {}

    [[nodiscard]] bool atEnd() const { return at_ == text_.size(); }

    /// The letter here; empty where there is none.
    [[nodiscard]] std::string_view letter() const
    {
        return text_.substr( at_, letterSize( text_, at_ ) );
    }

    [[nodiscard]] bool isLoneCarriageReturn() const
    {
        return text_[ at_ ] == '\r' && text_.substr( at_, 2 ) != "\r\n";
    }

    [[nodiscard]] unsigned byte() const { return static_cast< unsigned char >( text_[ at_ ] ); }

    [[nodiscard]] BadLetter bad( std::string what ) const
    {
        return { line_, column_, std::move( what ) };
    }

    void next()
    {
        const bool isLineEnd = text_[ at_ ] == '\n';
        line_ += isLineEnd ? 1 : 0;
        column_ = isLineEnd ? 1 : column_ + 1;
        at_ += std::max< std::size_t >( letterSize( text_, at_ ), 1 );
    }

  private:
    std::string_view text_;
    std::size_t at_ = 0;
    int line_ = 1;
    int column_ = 1;
};

} // namespace

std::string_view withoutByteOrderMark( std::string_view text )
{
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    text.remove_prefix( text.starts_with( mark ) ? mark.size() : 0 );
    return text;
}

std::size_t letterSize( std::string_view text, std::size_t at )
{
    const auto first = static_cast< unsigned char >( text[ at ] );
    for ( const Form& form : forms ) {
        const std::string_view bytes = text.substr( at, form.size );
        if ( ( first & form.mask ) == form.value && bytes.size() == form.size &&
             decoded( bytes, form ) ) {
            return form.size;
        }
    }
    return 0;
}

std::optional< unsigned > controlCharacter( std::string_view letter )
{
    const auto byteAt = [ letter ]( std::size_t index ) {
        return unsigned{ static_cast< unsigned char >( letter[ index ] ) };
    };
    const bool isC1 = letter.size() == 2 && byteAt( 0 ) == 0xC2 && byteAt( 1 ) < 0xA0;
    if ( isC1 ) {
        return byteAt( 1 );
    }
    const bool isControl =
        letter.size() == 1 && letter != "\n" && ( byteAt( 0 ) < 0x20 || byteAt( 0 ) == 0x7F );
    return isControl ? std::optional( byteAt( 0 ) ) : std::nullopt;
}

std::string hexadecimalByte( unsigned byte )
{
    constexpr std::string_view digits = "0123456789abcdef";
    return std::string( "0x" ) + digits[ byte >> 4U & 0xFU ] + digits[ byte & 0xFU ];
}

bool hasLeadingZero( std::string_view text )
{
    const auto isDigit = []( char letter ) { return letter >= '0' && letter <= '9'; };
    const auto goesOn = []( char letter ) {
        return std::isalnum( static_cast< unsigned char >( letter ) ) != 0 || letter == '.';
    };
    for ( std::size_t at = 0; at + 1 < text.size(); ++at ) {
        const bool begins = at == 0 || !goesOn( text[ at - 1 ] );
        if ( begins && text[ at ] == '0' && isDigit( text[ at + 1 ] ) ) {
            return true;
        }
    }
    return false;
}

std::optional< BadLetter > firstNotUtf8( std::string_view text )
{
    for ( LetterWalk walk( text ); !walk.atEnd(); walk.next() ) {
        if ( walk.letter().empty() ) {
            return walk.bad( "not UTF-8: the byte " + hexadecimalByte( walk.byte() ) );
        }
    }
    return std::nullopt;
}

std::optional< BadLetter > firstControl( std::string_view text )
{
    for ( LetterWalk walk( text ); !walk.atEnd(); walk.next() ) {
        const std::optional< unsigned > control = controlCharacter( walk.letter() );
        const bool isAccepted = walk.letter() == "\t" || walk.letter() == "\r";
        if ( control && !isAccepted ) {
            return walk.bad( "the control character " + hexadecimalByte( *control ) );
        }
        if ( walk.isLoneCarriageReturn() ) {
            return walk.bad( "a carriage return without a line feed" );
        }
    }
    return std::nullopt;
}

std::string inputFileText( const std::string& path )
{
    std::error_code ignored;
    if ( std::filesystem::is_directory( path, ignored ) ) {
        throw InputError( path, 1, 1, "cannot be read: is a directory" );
    }
    errno = 0;
    std::ifstream file( path, std::ios::binary );
    std::ostringstream content;
    if ( file && file.peek() != std::ifstream::traits_type::eof() ) {
        content << file.rdbuf();
    }
    if ( !file.is_open() || file.bad() || content.bad() ) {
        throw InputError( path, 1, 1,
                          "cannot be read: " + std::generic_category().message( errno ) );
    }
    return std::move( content ).str();
}

} // namespace Input
