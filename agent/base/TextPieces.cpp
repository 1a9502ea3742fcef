#include "agent/base/TextPieces.h"

#include <algorithm>
#include <charconv>
#include <locale>
#include <streambuf>

namespace Agent {

namespace {

/// Puts what a stream is given at the end of a text.
class TextBufferOutput final : public std::streambuf
{
  public:
    explicit TextBufferOutput( TextBuffer& text )
        : text_( text )
    {}

  protected:
    int_type overflow( int_type character ) override
    {
        if ( !traits_type::eq_int_type( character, traits_type::eof() ) ) {
            const char put = traits_type::to_char_type( character );
            text_.append( { &put, 1 } );
        }
        return traits_type::not_eof( character );
    }

    std::streamsize xsputn( const char* characters, std::streamsize count ) override
    {
        text_.append( { characters, static_cast< std::size_t >( count ) } );
        return count;
    }

  private:
    TextBuffer& text_;
};

} // namespace

template< class Number >
void TextBuffer::appendDigits( Number number, int base )
{
    // A sign and the 20 decimal digits of the largest number.
    constexpr std::size_t mostCharacters = 21;
    char* place = roomFor( mostCharacters );
    const std::to_chars_result end = std::to_chars( place, place + mostCharacters, number, base );
    size_ += static_cast< std::size_t >( end.ptr - place );
}

void TextBuffer::appendSigned( std::int64_t number )
{
    appendDigits( number, 10 );
}

void TextBuffer::appendUnsigned( U64 number )
{
    appendDigits( number, 10 );
}

void TextBuffer::appendHexadecimal( U64 number )
{
    appendDigits( number, 16 );
}

void TextBuffer::appendPrinted( void ( *print )( std::ostream& stream, const void* piece ),
                                const void* piece )
{
    TextBufferOutput output( *this );
    std::ostream stream( &output );
    // Texts are the same whatever locale the agent has set. To set the same again takes as long as
    // all the rest.
    if ( stream.getloc() != std::locale::classic() ) {
        stream.imbue( std::locale::classic() );
    }
    print( stream, piece );
}

void TextBuffer::grow( std::size_t more )
{
    const std::size_t capacity = std::max( 2 * capacity_, size_ + more );
    auto larger = std::make_unique_for_overwrite< char[] >( capacity );
    std::copy_n( start_, size_, larger.get() );
    onHeap_ = std::move( larger );
    start_ = onHeap_.get();
    capacity_ = capacity;
}

} // namespace Agent
