#include "sim/packets/KeyLayout.h"

#include "sim/packets/UdfExtraction.h"

#include <algorithm>
#include <stdexcept>

namespace Sim {

namespace {

constexpr unsigned bitsOfByte = 8;
constexpr std::size_t bytesOfPorts = sizeof( _shr_pbmp );
constexpr std::size_t bytesOfUdf = FieldCriteria::longestUdf;

std::size_t bytesFor( std::size_t bits )
{
    return ( bits + bitsOfByte - 1 ) / bitsOfByte;
}

unsigned udfCapacity( const SimulatedChip& chip )
{
    return chip.udfModule() != nullptr ? chip.udfModule()->capacities().udfs
                                       : chip.flexParser()->capacity();
}

void setBit( std::span< uint8_t > bytes, std::size_t offset, std::size_t bit, bool value )
{
    uint8_t& byte = bytes[ offset + bit / bitsOfByte ];
    const auto mask = static_cast< uint8_t >( 1U << bit % bitsOfByte );
    byte = static_cast< uint8_t >( value ? byte | mask : byte & ~mask );
}

/// Asks for a bit to be 1 or 0.
void askBit( TernaryKey& key, std::size_t offset, std::size_t bit, bool value )
{
    setBit( key.data, offset, bit, value );
    setBit( key.mask, offset, bit, true );
}

void putNumber( std::span< uint8_t > bytes, std::size_t offset, unsigned width, uint32_t value )
{
    for ( unsigned byte = 0; byte < width; ++byte ) {
        bytes[ offset + byte ] =
            static_cast< uint8_t >( value >> bitsOfByte * ( width - 1 - byte ) );
    }
}

constexpr FieldPresence presences[] = { FieldPresence::outerIp4, FieldPresence::outerIp6,
                                        FieldPresence::innerIp4, FieldPresence::innerIp6 };

} // namespace

KeyLayout::KeyLayout( const SimulatedChip& chip, const SdkNumbering& numbering )
    : chip_( chip )
    , numbering_( numbering )
    , ranges_( chip.profile().rangeCheckers.capacity )
    , names_( mostNames )
    , udfs_( udfCapacity( chip ) )
{
    const auto take = [ this ]( std::size_t bytes ) {
        const std::size_t offset = width_;
        width_ += bytes;
        return offset;
    };
    for ( const NumberField& field : numberFields() ) {
        fixed_.push_back( { numbering.*field.qualifier, &field, nullptr, take( field.width ), 0 } );
    }
    for ( const BytesField& field : bytesFields() ) {
        fixed_.push_back( { numbering.*field.qualifier, nullptr, &field, take( field.width ), 0 } );
    }
    presenceAt_ = take( bytesFor( std::size( presences ) ) );
    portsAt_ = take( bytesOfPorts );
    rangesAt_ = take( bytesFor( chip.profile().rangeCheckers.capacity ) );
    namesAt_ = take( bytesFor( mostNames ) );
    udfPresenceAt_ = take( bytesFor( udfCapacity( chip ) ) );
    udfsAt_ = take( bytesOfUdf * udfCapacity( chip ) );
}

// ---- Entries ---------------------------------------------------------------------------------

TernaryKey KeyLayout::added( const FieldCriteria& criteria )
{
    TernaryKey key{ std::vector< uint8_t >( width_ ), std::vector< uint8_t >( width_ ) };
    for ( const auto& [ qualifier, match ] : criteria.matches() ) {
        addMatch( qualifier, match, key );
    }
    for ( const auto& [ rangeId, inverted ] : criteria.ranges() ) {
        askBit( key, rangesAt_, ranges_.take( rangeId ).value(), !inverted );
    }
    for ( const auto& [ udfId, match ] : criteria.udfs() ) {
        addUdf( udfs_.take( udfId ).value(), match, key );
    }
    listUsed();
    return key;
}

void KeyLayout::removed( const FieldCriteria& criteria )
{
    for ( const auto& [ qualifier, match ] : criteria.matches() ) {
        if ( Fixed* field = findFixed( qualifier ) ) {
            --field->entries;
        } else if ( const auto* value = std::get_if< NamedValue >( &match ) ) {
            names_.giveBack( { qualifier, *value } );
        } else if ( std::holds_alternative< MaskedPorts >( match ) ) {
            --entriesWithPorts_;
        }
    }
    for ( const auto& [ rangeId, inverted ] : criteria.ranges() ) {
        ranges_.giveBack( rangeId );
    }
    for ( const auto& [ udfId, match ] : criteria.udfs() ) {
        udfs_.giveBack( udfId );
    }
    listUsed();
}

KeyLayout::Fixed* KeyLayout::findFixed( bcm_field_qualify_t qualifier )
{
    const auto found = std::ranges::find( fixed_, qualifier, &Fixed::qualifier );
    return found == fixed_.end() ? nullptr : &*found;
}

void KeyLayout::listUsed()
{
    used_.clear();
    findings_.clear();
    for ( const Fixed& field : fixed_ ) {
        if ( field.entries != 0 ) {
            used_.push_back( &field );
            if ( field.number != nullptr && field.number->ofFindings ) {
                findings_.push_back( &field );
            }
        }
    }
    usedRanges_.clear();
    for ( const auto& [ rangeId, use ] : ranges_.uses() ) {
        const auto found = chip_.ranges().state().find( rangeId );
        if ( found != chip_.ranges().state().end() ) {
            usedRanges_.push_back( { use.place, found->second } );
        }
    }
}

void KeyLayout::addMatch( bcm_field_qualify_t qualifier, const FieldMatch& match, TernaryKey& key )
{
    if ( Fixed* field = findFixed( qualifier ) ) {
        ++field->entries;
        if ( field->number != nullptr ) {
            addNumber( *field, std::get< MaskedNumber >( match ), key );
        } else {
            addBytes( *field, std::get< MaskedBytes >( match ), key );
        }
    } else if ( const auto* value = std::get_if< NamedValue >( &match ) ) {
        askBit( key, namesAt_, names_.take( { qualifier, *value } ).value(), true );
    } else if ( const auto* ports = std::get_if< MaskedPorts >( &match ) ) {
        ++entriesWithPorts_;
        addPorts( *ports, key );
    } else {
        throw std::logic_error( "no packet has the qualifier " + numbering_.nameOf( qualifier ) );
    }
}

void KeyLayout::addNumber( Fixed& field, const MaskedNumber& match, TernaryKey& key ) const
{
    putNumber( key.data, field.offset, field.number->width, match.data & match.mask );
    putNumber( key.mask, field.offset, field.number->width, match.mask );
    if ( match.mask != 0 ) {
        addPresence( field.number->presence, key );
    }
}

void KeyLayout::addBytes( const Fixed& field, const MaskedBytes& match, TernaryKey& key ) const
{
    bool asksForAny = false;
    for ( std::size_t byte = 0; byte < match.data.size(); ++byte ) {
        key.data[ field.offset + byte ] = match.data[ byte ] & match.mask[ byte ];
        key.mask[ field.offset + byte ] = match.mask[ byte ];
        asksForAny = asksForAny || match.mask[ byte ] != 0;
    }
    if ( asksForAny ) {
        addPresence( field.bytes->presence, key );
    }
}

void KeyLayout::addPresence( FieldPresence presence, TernaryKey& key ) const
{
    for ( std::size_t bit = 0; bit < std::size( presences ); ++bit ) {
        if ( presences[ bit ] == presence ) {
            askBit( key, presenceAt_, bit, true );
        }
    }
}

void KeyLayout::addPorts( const MaskedPorts& match, TernaryKey& key ) const
{
    // A packet came in by one port: it must not be one of those that count and are not wanted.
    for ( std::size_t word = 0; word < match.data.size(); ++word ) {
        const uint32_t unwanted = match.mask[ word ] & ~match.data[ word ];
        for ( unsigned bit = 0; bit < 32; ++bit ) {
            if ( ( unwanted >> bit & 1 ) != 0 ) {
                askBit( key, portsAt_, 32 * word + bit, false );
            }
        }
    }
}

void KeyLayout::addUdf( unsigned place, const MaskedBytes& match, TernaryKey& key ) const
{
    const std::size_t offset = udfsAt_ + bytesOfUdf * place;
    bool asksForAny = false;
    for ( std::size_t byte = 0; byte < match.data.size(); ++byte ) {
        key.data[ offset + byte ] = match.data[ byte ] & match.mask[ byte ];
        key.mask[ offset + byte ] = match.mask[ byte ];
        asksForAny = asksForAny || match.mask[ byte ] != 0;
    }
    if ( asksForAny ) {
        askBit( key, udfPresenceAt_, place, true );
    }
}

// ---- Packets ---------------------------------------------------------------------------------

void KeyLayout::write( const PacketView& view, std::span< uint8_t > key ) const
{
    for ( const Fixed* field : used_ ) {
        if ( field->number != nullptr ) {
            putNumber( key, field->offset, field->number->width, numberOf( *field->number, view ) );
            continue;
        }
        const std::span< const uint8_t > bytes = bytesOf( *field->bytes, view );
        const auto place = key.subspan( field->offset, field->bytes->width );
        std::ranges::fill( place, uint8_t{ 0 } );
        std::ranges::copy( bytes, place.begin() );
    }
    for ( std::size_t bit = 0; bit < std::size( presences ); ++bit ) {
        setBit( key, presenceAt_, bit, isPresent( presences[ bit ], view.headers ) );
    }
    if ( entriesWithPorts_ != 0 ) {
        std::ranges::fill( key.subspan( portsAt_, bytesOfPorts ), uint8_t{ 0 } );
        if ( view.packet.port < bytesOfPorts * bitsOfByte ) {
            setBit( key, portsAt_, view.packet.port, true );
        }
    }
    if ( !usedRanges_.empty() ) {
        const RangeValues values( view );
        for ( const UsedRange& used : usedRanges_ ) {
            setBit( key, rangesAt_, used.place, values.areIn( used.range ) );
        }
    }
    for ( const auto& [ name, use ] : names_.uses() ) {
        setBit( key, namesAt_, use.place, isNamed( view, name.qualifier, name.value ) );
    }
    for ( const auto& [ udfId, use ] : udfs_.uses() ) {
        writeUdf( udfId, use.place, view, key );
    }
}

void KeyLayout::writeFindings( const PacketView& view, std::span< uint8_t > key ) const
{
    for ( const Fixed* field : findings_ ) {
        putNumber( key, field->offset, field->number->width, numberOf( *field->number, view ) );
    }
}

void KeyLayout::writeUdf( bcm_udf_id_t udfId,
                          unsigned place,
                          const PacketView& view,
                          std::span< uint8_t > key ) const
{
    const std::span< const uint8_t > bytes =
        extractedBytes( chip_, udfId, numbering_, view.packet, view.headers );
    const auto field = key.subspan( udfsAt_ + bytesOfUdf * place, bytesOfUdf );
    std::ranges::fill( field, uint8_t{ 0 } );
    std::ranges::copy( bytes.first( std::min( bytes.size(), bytesOfUdf ) ), field.begin() );
    setBit( key, udfPresenceAt_, place, !bytes.empty() );
}

} // namespace Sim
