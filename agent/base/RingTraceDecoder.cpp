#include "agent/base/RingTraceDecoder.h"

#include "agent/base/RingTrace.h"
#include "agent/base/TextPieces.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iomanip>
#include <optional>
#include <sstream>
#include <type_traits>

namespace Agent {

namespace {

constexpr std::string_view argumentPiece = "\1";

/// A block's magic is a start, one digit, and an end. The digit is the version of its format.
constexpr std::size_t versionPlace = 13;
constexpr std::string_view magic( ringMagic.data(), ringMagic.size() );
constexpr std::string_view magicStart = magic.substr( 0, versionPlace );
constexpr std::string_view magicEnd = magic.substr( versionPlace + 1 );

/// What there may be in front of a block: `ringMagic` with any version.
bool isMagic( std::string_view bytes )
{
    return bytes.size() >= magic.size() && bytes[ versionPlace ] >= '0' &&
           bytes[ versionPlace ] <= '9' && bytes.substr( versionPlace + 1 ).starts_with( magicEnd );
}

/// The header's size in bytes, 0 for an unknown version. A header of version 1 ends before the
/// ticks, and the records of such a block have none: the clock was read for each.
std::size_t headerSizeOf( char version )
{
    switch ( version ) {
    case '1':
        return offsetof( RingHeader, ticks );
    case '2':
        return sizeof( RingHeader );
    default:
        return 0;
    }
}

/// Takes values from the front of bytes; nothing once they have run out.
class Reader
{
  public:
    explicit Reader( std::string_view bytes )
        : bytes_( bytes )
    {}

    [[nodiscard]] bool atEnd() const { return bytes_.empty(); }

    std::optional< std::string_view > take( std::size_t size )
    {
        if ( size > bytes_.size() ) {
            return std::nullopt;
        }
        const std::string_view taken = bytes_.substr( 0, size );
        bytes_.remove_prefix( size );
        return taken;
    }

    template< class Value >
    std::optional< Value > takeValue()
    {
        static_assert( std::is_trivially_copyable_v< Value > );
        const auto bytes = take( sizeof( Value ) );
        if ( !bytes ) {
            return std::nullopt;
        }
        Value value;
        std::memcpy( &value, bytes->data(), sizeof( value ) );
        return value;
    }

    std::optional< std::string > takeString()
    {
        const std::size_t end = bytes_.find( '\0' );
        if ( end == std::string_view::npos ) {
            return std::nullopt;
        }
        std::string string( bytes_.substr( 0, end ) );
        bytes_.remove_prefix( end + 1 );
        return string;
    }

  private:
    std::string_view bytes_;
};

template< class Value >
std::optional< std::string > argumentAs( Reader& reader )
{
    const auto value = reader.takeValue< Value >();
    return value ? std::optional( joinPieces( *value ) ) : std::nullopt;
}

std::optional< std::string > textArgument( Reader& reader )
{
    const auto length = reader.takeValue< U8 >();
    const auto text = length ? reader.take( *length ) : std::nullopt;
    return text ? std::optional( std::string( *text ) ) : std::nullopt;
}

std::optional< std::string > hexArgument( Reader& reader )
{
    const auto value = reader.takeValue< U64 >();
    return value ? std::optional( joinPieces( hex( *value ) ) ) : std::nullopt;
}

std::optional< std::string > booleanArgument( Reader& reader )
{
    const auto value = reader.takeValue< U8 >();
    return value ? std::optional( std::string( *value != 0 ? "1" : "0" ) ) : std::nullopt;
}

/// One value of that kind; nothing for a kind that does not stand for one value.
std::optional< std::string > valueText( RingKind kind, Reader& reader )
{
    switch ( kind ) {
    case RingKind::unsigned8:
        return argumentAs< U8 >( reader );
    case RingKind::unsigned16:
        return argumentAs< U16 >( reader );
    case RingKind::unsigned32:
        return argumentAs< U32 >( reader );
    case RingKind::unsigned64:
        return argumentAs< U64 >( reader );
    case RingKind::signed64:
        return argumentAs< std::int64_t >( reader );
    case RingKind::hexadecimal:
        return hexArgument( reader );
    case RingKind::boolean:
        return booleanArgument( reader );
    case RingKind::real:
        return argumentAs< double >( reader );
    case RingKind::text:
        return textArgument( reader );
    case RingKind::group:
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional< RingKind > takeKind( Reader& reader )
{
    const auto kind = reader.takeValue< U8 >();
    return kind ? std::optional( static_cast< RingKind >( *kind ) ) : std::nullopt;
}

/// The values of a group, with blanks between.
std::optional< std::string > groupText( Reader& reader )
{
    const auto length = reader.takeValue< U16 >();
    const auto values = length ? reader.take( *length ) : std::nullopt;
    if ( !values ) {
        return std::nullopt;
    }
    std::string text;
    const char* separator = "";
    for ( Reader group( *values ); !group.atEnd(); ) {
        const auto value = valueText( *takeKind( group ), group );
        if ( !value ) {
            return std::nullopt;
        }
        text += separator + *value;
        separator = " ";
    }
    return text;
}

/// One argument: a value, or a group of them.
std::optional< std::string > argumentText( Reader& reader )
{
    const auto kind = takeKind( reader );
    if ( !kind ) {
        return std::nullopt;
    }
    return *kind == RingKind::group ? groupText( reader ) : valueText( *kind, reader );
}

/// Reads one block whose magic stands at the front of the bytes.
class RingReader
{
  public:
    explicit RingReader( std::string_view bytes )
        : bytes_( bytes )
    {}

    DecodedRing read()
    {
        if ( !readHeader() ) {
            return std::move( ring_ );
        }
        U64 position = header_.oldest;
        while ( position < header_.next && ring_.problem.empty() ) {
            position += readRecord( position, header_.next - position );
        }
        return std::move( ring_ );
    }

  private:
    bool readHeader()
    {
        const std::size_t headerSize = headerSizeOf( bytes_[ versionPlace ] );
        if ( headerSize == 0 ) {
            return fail( "its format is of an unknown version" );
        }
        const auto header = Reader( bytes_ ).take( headerSize );
        if ( !header ) {
            return fail( "the header is cut off" );
        }
        std::memcpy( &header_, header->data(), headerSize );
        ring_.written = header_.count;
        const U64 size = U64{ header_.headerSize } + header_.descriptionsSize + header_.recordsSize;
        if ( header_.headerSize != headerSize || size > bytes_.size() || header_.recordsSize == 0 ||
             header_.descriptionsUsed > header_.descriptionsSize || header_.next < header_.oldest ||
             header_.next - header_.oldest > header_.recordsSize ) {
            return fail( "the header is damaged" );
        }
        descriptions_ = bytes_.substr( header_.headerSize, header_.descriptionsUsed );
        records_ =
            bytes_.substr( header_.headerSize + header_.descriptionsSize, header_.recordsSize );
        return true;
    }

    /// Gives the record's size in bytes, which is at most `rest`.
    U64 readRecord( U64 position, U64 rest )
    {
        Reader reader( records_.substr( position % header_.recordsSize ) );
        Reader sizes = reader;
        const auto size = sizes.takeValue< U32 >();
        const auto description = sizes.takeValue< U32 >();
        if ( !size || !description || *size < 2 * sizeof( U32 ) || *size % 8 != 0 || *size > rest ||
             !reader.take( *size ) ) {
            fail( "a record is damaged" );
            return 0;
        }
        if ( *description != ringPadding ) {
            readArguments( records_.substr( position % header_.recordsSize, *size ) );
        }
        return *size;
    }

    void readArguments( std::string_view record )
    {
        Reader reader( record );
        const auto start = reader.takeValue< RingRecord >();
        const auto arguments = start ? reader.take( start->argumentsSize ) : std::nullopt;
        if ( !arguments ) {
            fail( "a record is damaged" );
            return;
        }
        DecodedRecord decoded;
        decoded.nanoseconds = timeOf( *start );
        if ( describe( start->description, *arguments, decoded ) ) {
            ring_.records.push_back( std::move( decoded ) );
        }
    }

    /// When the record was written, in nanoseconds of the monotonic clock.
    U64 timeOf( const RingRecord& record )
    {
        // The counter of a block that is not damaged makes more than one tick a microsecond.
        constexpr double mostNanoseconds = 1000;
        const double ofOneTick = header_.ticks == 0 ? 1
                                                    : static_cast< double >( header_.nanoseconds ) /
                                                          static_cast< double >( header_.ticks );
        const double since = record.ticks * std::min( ofOneTick, mostNanoseconds );
        const U64 time = record.nanoseconds + static_cast< U64 >( since );
        // What is calculated may be a little more than what the clock then showed.
        constexpr U64 inexactness = 1'000'000;
        const bool wentBack = time < lastTime_ && lastTime_ - time < inexactness;
        lastTime_ = wentBack ? lastTime_ : time;
        return lastTime_;
    }

    bool describe( U32 offset, std::string_view arguments, DecodedRecord& decoded )
    {
        if ( offset >= descriptions_.size() ) {
            return fail( "a record has no description" );
        }
        Reader sized( descriptions_.substr( offset ) );
        const auto size = sized.takeValue< U32 >();
        const auto line = sized.takeValue< U32 >();
        const auto text = size && *size >= 2 * sizeof( U32 )
                              ? sized.take( *size - 2 * sizeof( U32 ) )
                              : std::nullopt;
        Reader strings( text.value_or( "" ) );
        const auto file = strings.takeString();
        const auto function = strings.takeString();
        if ( !line || !file || !function ) {
            return fail( "a description is damaged" );
        }
        decoded.line = *line;
        decoded.file = *file;
        decoded.function = *function;
        decoded.text = joined( strings, Reader( arguments ) );
        return true;
    }

    /// The literal pieces with the arguments in their places; arguments without a place follow.
    /// One that cannot be read is the last: nothing says where another would start.
    static std::string joined( Reader pieces, Reader arguments )
    {
        const auto takeArgument = [ &arguments ] {
            const auto argument = argumentText( arguments );
            if ( !argument ) {
                arguments = Reader( "" );
            }
            return argument.value_or( "?" );
        };
        std::string text;
        while ( const auto piece = pieces.takeString() ) {
            text += *piece == argumentPiece ? takeArgument() : *piece;
        }
        while ( !arguments.atEnd() ) {
            text += " " + takeArgument();
        }
        return text;
    }

    bool fail( const char* problem )
    {
        ring_.problem = problem;
        return false;
    }

    std::string_view bytes_;
    std::string_view descriptions_;
    std::string_view records_;
    RingHeader header_{};
    U64 lastTime_ = 0;
    DecodedRing ring_;
};

} // namespace

std::vector< DecodedRing > decodeRings( std::string_view bytes )
{
    std::vector< DecodedRing > rings;
    std::size_t at = bytes.find( magicStart );
    while ( at != std::string_view::npos ) {
        const bool isBlock = isMagic( bytes.substr( at ) );
        if ( isBlock ) {
            rings.push_back( RingReader( bytes.substr( at ) ).read() );
        }
        at = bytes.find( magicStart, at + ( isBlock ? magic : magicStart ).size() );
    }
    return rings;
}

std::string decodedRecordText( const DecodedRecord& record )
{
    constexpr U64 nanosecondsPerSecond = 1'000'000'000;
    std::ostringstream text;
    text << record.nanoseconds / nanosecondsPerSecond << '.' << std::setw( 9 )
         << std::setfill( '0' ) << record.nanoseconds % nanosecondsPerSecond << ' ' << record.file
         << ':' << record.line << ' ' << record.function << ": " << record.text;
    return text.str();
}

} // namespace Agent
