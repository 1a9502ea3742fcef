// The words behind the first ones of a packet or tunnel.

#include "input/NameHints.h"
#include "sim/packets/DescriptionReader.h"
#include "sim/packets/PacketNumbers.h"

#include <algorithm>
#include <optional>

namespace Sim {

namespace {

// ---- Flags of TCP ------------------------------------------------------------------------------

struct TcpFlag
{
    std::string_view name;
    char letter;
    std::uint16_t bit;
};

constexpr std::array< TcpFlag, 8 > tcpFlags{ {
    { "fin", 'F', 0x01 },
    { "syn", 'S', 0x02 },
    { "rst", 'R', 0x04 },
    { "psh", 'P', 0x08 },
    { "ack", 'A', 0x10 },
    { "urg", 'U', 0x20 },
    { "ece", 'E', 0x40 },
    { "cwr", 'C', 0x80 },
} };

/// The flags of letters such as "SA"; nothing if one is none.
std::optional< std::uint16_t > flagsOfLetters( std::string_view letters )
{
    unsigned flags = 0;
    for ( const char letter : letters ) {
        const auto* const flag = std::ranges::find( tcpFlags, letter, &TcpFlag::letter );
        if ( flag == tcpFlags.end() ) {
            return std::nullopt;
        }
        flags |= flag->bit;
    }
    return static_cast< std::uint16_t >( flags );
}

} // namespace

// ---- The words behind --------------------------------------------------------------------------

void DescriptionReader::requireIp( bool is6, std::string_view version )
{
    if ( isIp6( layer() ) != is6 ) {
        words_.fail( detail_, quoted( detail_.text ) + " is for " + std::string( version ) );
    }
}

void DescriptionReader::readDontFragment()
{
    requireIp( false, "IPv4" );
    layer().dontFragment = true;
}

void DescriptionReader::readFlow()
{
    requireIp( true, "IPv6" );
    layer().flowLabel = static_cast< std::uint32_t >( words_.takeNumber( { 0, 0xFFFFF } ) );
}

// "syn,ack", "SA", or a number of the reserved bits and the flags.
void DescriptionReader::readFlags()
{
    const DescriptionWord word = words_.take( "flags" );
    if ( word.text.front() >= '0' && word.text.front() <= '9' ) {
        layer().tcpFlags = static_cast< std::uint16_t >( words_.numberIn( word, { 0, 0xFFF } ) );
        return;
    }
    if ( const std::optional< std::uint16_t > flags = flagsOfLetters( word.text ) ) {
        layer().tcpFlags = *flags;
        return;
    }
    unsigned flags = 0;
    for ( std::size_t at = 0; at <= word.text.size(); ) {
        const std::size_t end = std::min( word.text.find( ',', at ), word.text.size() );
        const DescriptionWord name = partOf( word, at, end - at );
        const auto* const flag = std::ranges::find( tcpFlags, name.text, &TcpFlag::name );
        if ( flag == tcpFlags.end() ) {
            words_.fail( name, "unknown flag " + quoted( name.text ) +
                                   Input::nameHint( name.text, namesOf( tcpFlags ) ) );
        }
        flags |= flag->bit;
        at = end + 1;
    }
    layer().tcpFlags = static_cast< std::uint16_t >( flags );
}

// "0+" is the first fragment of several, "1480" the last one.
void DescriptionReader::readFragment()
{
    const DescriptionWord word = words_.take( "where the fragment begins" );
    layer().isFragment = true;
    layer().moreFragments = word.text.ends_with( '+' );
    const DescriptionWord number =
        partOf( word, 0, word.text.size() - ( layer().moreFragments ? 1 : 0 ) );
    layer().fragmentOffset =
        static_cast< std::uint16_t >( words_.numberIn( number, { 0, 65528 } ) );
    if ( layer().fragmentOffset % 8 != 0 ) {
        words_.fail( number, "a fragment begins at a multiple of 8 bytes" );
    }
}

void DescriptionReader::readId()
{
    const std::uint64_t greatest = isIp6( layer() ) ? 0xFFFFFFFF : 0xFFFF;
    id_ = detail_;
    layer().identification = static_cast< std::uint32_t >( words_.takeNumber( { 0, greatest } ) );
}

void DescriptionReader::readLabels()
{
    const DescriptionWord word = words_.take( "labels" );
    for ( std::size_t at = 0; at <= word.text.size(); ) {
        const std::size_t end = std::min( word.text.find( ',', at ), word.text.size() );
        layer().labels.push_back( static_cast< std::uint32_t >(
            words_.numberIn( partOf( word, at, end - at ), { 0, 0xFFFFF } ) ) );
        at = end + 1;
    }
}

void DescriptionReader::readLength()
{
    if ( length_ != 0 ) {
        words_.fail( detail_, "'length' is given twice" );
    }
    lengthWord_ = words_.peek();
    length_ = words_.takeNumber( { 14, mostDescribedBytes } );
}

void DescriptionReader::readOptions()
{
    requireIp( false, "IPv4" );
    const DescriptionWord word = words_.peek();
    layer().options = words_.takeBytes();
    if ( layer().options.size() % 4 != 0 || layer().options.size() > 40 ) {
        words_.fail( word, "expected a multiple of 4 bytes, 40 at most" );
    }
}

void DescriptionReader::readPayload()
{
    packet_.payload = words_.takeBytes();
}

void DescriptionReader::readType()
{
    if ( layer().kind == PacketKind::ethernet ) {
        layer().etherType =
            static_cast< std::uint16_t >( words_.takeNumber( { EtherTypes::first, 0xFFFF } ) );
    } else {
        layer().type = number8( 255 );
    }
}

void DescriptionReader::readVlan()
{
    if ( layer().tags.size() == 2 ) {
        words_.fail( detail_, "a packet has two tags at most" );
    }
    DescribedTag tag;
    tag.vlan = static_cast< std::uint16_t >( words_.takeNumber( { 0, 4095 } ) );
    if ( words_.takeIf( "prio" ) ) {
        tag.priority = number8( 7 );
    }
    layer().tags.push_back( tag );
}

void DescriptionReader::readWindow()
{
    layer().window = static_cast< std::uint16_t >( words_.takeNumber( { 0, 0xFFFF } ) );
}

} // namespace Sim
