#include "tools/rules/ClassBench.h"

#include "agent/tcam/IpAddress.h"
#include "input/InputError.h"
#include "input/InputText.h"
#include "input/TextFile.h"

#include <fmt/format.h>
#include <limits>
#include <utility>

namespace Tool {

namespace {

using Agent::U16;
using Agent::U32;
using Agent::U64;
using Agent::U8;

constexpr std::string_view blanks = " \t\r";
constexpr std::string_view decimalDigits = "0123456789";
constexpr std::string_view hexadecimalDigits = "0123456789abcdefABCDEF";

/// Reads one line from its front, and knows where it is.
class LineReader
{
  public:
    LineReader( std::string_view text, const std::string& file, int line )
        : text_( text )
        , file_( file )
        , line_( line )
    {}

    /// Moves behind the blanks, of which there must be at least one.
    void blank()
    {
        if ( text_.find_first_of( blanks, at_ ) != at_ ) {
            fail( "a blank or a tab" );
        }
        maybeBlanks();
    }

    void maybeBlanks()
    {
        const std::size_t next = text_.find_first_not_of( blanks, at_ );
        at_ = next == std::string_view::npos ? text_.size() : next;
    }

    void literal( std::string_view expected )
    {
        if ( !text_.substr( at_ ).starts_with( expected ) ) {
            fail( "'" + std::string( expected ) + "'" );
        }
        at_ += expected.size();
    }

    /// A decimal number from 0 to `most`.
    U32 decimal( U32 most, const std::string& expected )
    {
        return number( at_, decimalDigits, 10, most, expected );
    }

    /// A hexadecimal number from 0 to `most`, after "0x".
    U32 hexadecimal( U32 most, const std::string& expected )
    {
        const std::size_t start = at_;
        if ( !text_.substr( at_ ).starts_with( "0x" ) ) {
            fail( expected );
        }
        at_ += 2;
        return number( start, hexadecimalDigits, 16, most, expected );
    }

    void end()
    {
        maybeBlanks();
        if ( at_ != text_.size() ) {
            fail( "the end of the rule" );
        }
    }

    [[nodiscard]] std::size_t at() const { return at_; }

    [[noreturn]] void fail( const std::string& expected ) const { failAt( at_, expected ); }

    [[noreturn]] void failAt( std::size_t at, const std::string& expected ) const
    {
        throw Input::InputError( file_, line_, static_cast< int >( at ) + 1,
                                 "expected " + expected + ", found " + foundAt( at ) );
    }

  private:
    /// The digits from here on; what is wrong with them is reported at `start`.
    U32 number( std::size_t start,
                std::string_view digits,
                U64 base,
                U32 most,
                const std::string& expected )
    {
        const std::size_t firstDigit = at_;
        if ( base == 10 && Input::hasLeadingZero( text_.substr( firstDigit, 2 ) ) ) {
            failAt( start, expected + " without a leading zero" );
        }
        U64 value = 0;
        while ( at_ < text_.size() && digits.find( text_[ at_ ] ) != std::string_view::npos &&
                value <= most ) {
            value = value * base + digitValue( text_[ at_++ ] );
        }
        if ( at_ == firstDigit || value > most ) {
            failAt( start, expected );
        }
        return static_cast< U32 >( value );
    }

    /// The word at that place, as far as it can be shown.
    [[nodiscard]] std::string foundAt( std::size_t at ) const
    {
        constexpr std::size_t mostLetters = 20;
        std::string word( text_.substr( at, text_.find_first_of( blanks, at ) - at ) );
        if ( word.empty() ) {
            return at == text_.size() ? "the end of the line" : "a blank";
        }
        for ( char& letter : word ) {
            letter = letter < ' ' || letter > '~' ? '.' : letter;
        }
        const bool isLong = word.size() > mostLetters;
        return "'" + word.substr( 0, mostLetters ) + ( isLong ? "...'" : "'" );
    }

    static U64 digitValue( char digit )
    {
        const std::size_t position = hexadecimalDigits.find( digit );
        constexpr std::size_t lowerCaseEnd = 16;
        return position < lowerCaseEnd ? position : position - ( lowerCaseEnd - 10 );
    }

    std::string_view text_;
    const std::string& file_;
    int line_;
    std::size_t at_ = 0;
};

/// "10.0.0.0/8"
std::string prefixText( U32 address, U32 length )
{
    constexpr U32 byte = 0xFF;
    return fmt::format( "{}.{}.{}.{}/{}", address >> 24, address >> 16 & byte, address >> 8 & byte,
                        address & byte, length );
}

Ipv4Prefix readPrefix( LineReader& line )
{
    const std::size_t start = line.at();
    Ipv4Prefix prefix;
    for ( int byte = 0; byte < 4; ++byte ) {
        if ( byte > 0 ) {
            line.literal( "." );
        }
        prefix.address =
            prefix.address << 8 | line.decimal( 255, "a byte of an IPv4 address (0 to 255)" );
    }
    line.literal( "/" );
    prefix.length = static_cast< U8 >( line.decimal( 32, "a prefix length (0 to 32)" ) );
    const U32 network = prefix.address & PeloraTcam::ip4PrefixMask( prefix.length );
    if ( prefix.address != network ) {
        line.failAt( start,
                     "a prefix without host bits, '" + prefixText( network, prefix.length ) + "'" );
    }
    return prefix;
}

U16 readPort( LineReader& line )
{
    return static_cast< U16 >( line.decimal( 65535, "a port number (0 to 65535)" ) );
}

PortRange readPortRange( LineReader& line )
{
    PortRange range;
    range.low = readPort( line );
    line.blank();
    line.literal( ":" );
    line.blank();
    const std::size_t highAt = line.at();
    range.high = readPort( line );
    if ( range.high < range.low ) {
        line.failAt( highAt, "a port number not below " + std::to_string( range.low ) );
    }
    return range;
}

template< class Value >
Masked< Value > readMasked( LineReader& line, const std::string& what )
{
    constexpr U32 most = std::numeric_limits< Value >::max();
    const std::string range = sizeof( Value ) == 1 ? " (0x00 to 0xFF)" : " (0x0000 to 0xFFFF)";
    Masked< Value > masked;
    masked.value =
        static_cast< Value >( line.hexadecimal( most, "a value of the " + what + range ) );
    line.literal( "/" );
    masked.mask = static_cast< Value >( line.hexadecimal( most, "a mask of the " + what + range ) );
    return masked;
}

Rule readRule( LineReader line )
{
    Rule rule;
    line.literal( "@" );
    rule.source = readPrefix( line );
    line.blank();
    rule.destination = readPrefix( line );
    line.blank();
    rule.sourcePorts = readPortRange( line );
    line.blank();
    rule.destinationPorts = readPortRange( line );
    line.blank();
    rule.protocol = readMasked< U8 >( line, "protocol" );
    line.blank();
    rule.tcpFlags = readMasked< U16 >( line, "TCP flags" );
    line.end();
    return rule;
}

} // namespace

RuleSet parseRuleSet( std::string_view text, const std::string& file )
{
    if ( const std::optional< Input::BadLetter > bad = Input::firstNotUtf8( text ) ) {
        throw Input::InputError( file, bad->line, bad->column, bad->what );
    }
    RuleSet ruleSet{ file, {}, {} };
    int lineNumber = 0;
    while ( !text.empty() ) {
        ++lineNumber;
        const std::size_t end = text.find( '\n' );
        const std::string_view line = text.substr( 0, end );
        text.remove_prefix( end == std::string_view::npos ? text.size() : end + 1 );
        if ( line.find_first_not_of( blanks ) != std::string_view::npos ) {
            ruleSet.rules.push_back( readRule( LineReader( line, file, lineNumber ) ) );
            ruleSet.lines.push_back( lineNumber );
        }
    }
    if ( ruleSet.rules.empty() ) {
        throw Input::InputError( file, 1, 1, "expected a rule, found none in the file" );
    }
    return ruleSet;
}

RuleSet readRuleSet( const std::string& path )
{
    return parseRuleSet( Input::readTextFile( path ), path );
}

} // namespace Tool
