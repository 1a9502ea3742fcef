#include "sim/chip/FieldCriteria.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Sim {

namespace {

/// A field of the SDK's source-class records, and the qualifier that it stands for.
struct SourceClass
{
    uint32_t bcm_field_src_class_t::*field;
    bcm_field_qualify_t SdkNumbering::*qualifier;
};

constexpr SourceClass sourceClassFields[] = {
    { &bcm_field_src_class_t::dst_class_field, &SdkNumbering::bcmFieldQualifyDstClassField },
    { &bcm_field_src_class_t::src_class_field, &SdkNumbering::bcmFieldQualifySrcClassField },
    { &bcm_field_src_class_t::intf_class_l2, &SdkNumbering::bcmFieldQualifyInterfaceClassL2 },
    { &bcm_field_src_class_t::intf_class_l3, &SdkNumbering::bcmFieldQualifyInterfaceClassL3 },
    { &bcm_field_src_class_t::intf_class_port, &SdkNumbering::bcmFieldQualifyInterfaceClassPort },
    { &bcm_field_src_class_t::intf_class_vport, &SdkNumbering::bcmFieldQualifyInterfaceClassVPort },
};

void appendHex( std::string& text, uint64_t value, unsigned digits )
{
    constexpr char digitTexts[] = "0123456789abcdef";
    for ( unsigned digit = digits; digit != 0; --digit ) {
        text += digitTexts[ value >> ( 4 * ( digit - 1 ) ) & 0xF ];
    }
}

std::string hexNumber( uint32_t value )
{
    unsigned digits = 1;
    while ( digits < 8 && value >> ( 4 * digits ) != 0 ) {
        ++digits;
    }
    std::string text = "0x";
    appendHex( text, value, digits );
    return text;
}

std::string hexBytes( const std::vector< uint8_t >& bytes )
{
    std::string text = "0x";
    for ( const uint8_t byte : bytes ) {
        appendHex( text, byte, 2 );
    }
    return text;
}

/// Changes a bit of bytes of which the last has the least significant ones.
bool flipBit( std::vector< uint8_t >& bytes, unsigned bit )
{
    if ( bit / 8 >= bytes.size() ) {
        return false;
    }
    uint8_t& byte = bytes[ bytes.size() - 1 - bit / 8 ];
    byte = static_cast< uint8_t >( byte ^ 1U << bit % 8 );
    return true;
}

constexpr unsigned portsOfWord = 32;

bool hasPort( const std::vector< uint32_t >& words, unsigned port )
{
    return port / portsOfWord < words.size() &&
           ( words[ port / portsOfWord ] >> ( port % portsOfWord ) & 1 ) != 0;
}

/// The ports of a set: "0-3,7"; "none" if it is empty.
std::string portList( const std::vector< uint32_t >& words )
{
    std::string text;
    const auto end = static_cast< unsigned >( words.size() ) * portsOfWord;
    for ( unsigned port = 0; port < end; ++port ) {
        if ( !hasPort( words, port ) ) {
            continue;
        }
        const unsigned first = port;
        while ( hasPort( words, port + 1 ) ) {
            ++port;
        }
        text += ( text.empty() ? "" : "," ) + std::to_string( first );
        text += port == first ? "" : "-" + std::to_string( port );
    }
    return text.empty() ? "none" : text;
}

struct MatchText
{
    std::string operator()( const MaskedNumber& match ) const
    {
        return hexNumber( match.data ) + "/" + hexNumber( match.mask );
    }

    std::string operator()( const MaskedBytes& match ) const
    {
        return hexBytes( match.data ) + "/" + hexBytes( match.mask );
    }

    std::string operator()( const MaskedPorts& match ) const
    {
        return portList( match.data ) + "/" + portList( match.mask );
    }

    std::string operator()( const NamedValue& match ) const { return match.name; }

    std::string operator()( const RangeMatch& match ) const
    {
        return ( match.inverted ? "not-" : "" ) + std::to_string( match.rangeId );
    }
};

} // namespace

MaskedPorts maskedPorts( const _shr_pbmp& data, const _shr_pbmp& mask )
{
    return { { data.pbits.begin(), data.pbits.end() }, { mask.pbits.begin(), mask.pbits.end() } };
}

std::string textOf( const FieldMatch& match )
{
    return std::visit( MatchText(), match );
}

bool isValid( const FieldMatch& match )
{
    const auto* named = std::get_if< NamedValue >( &match );
    return named == nullptr || !named->name.empty();
}

std::map< bcm_field_qualify_t, MaskedNumber >
sourceClassMatches( const SdkNumbering& numbering,
                    const bcm_field_src_class_t& data,
                    const bcm_field_src_class_t& mask )
{
    std::map< bcm_field_qualify_t, MaskedNumber > matches;
    for ( const SourceClass& sourceClass : sourceClassFields ) {
        if ( mask.*sourceClass.field != 0 ) {
            matches.emplace( numbering.*sourceClass.qualifier,
                             MaskedNumber{ data.*sourceClass.field, mask.*sourceClass.field } );
        }
    }
    return matches;
}

void FieldCriteria::matchIs( bcm_field_qualify_t qualifier, FieldMatch match )
{
    if ( const auto* range = std::get_if< RangeMatch >( &match ) ) {
        ranges_.insert_or_assign( range->rangeId, range->inverted );
        return;
    }
    matches_.insert_or_assign( qualifier, std::move( match ) );
}

const FieldMatch* FieldCriteria::match( bcm_field_qualify_t qualifier ) const
{
    const auto found = matches_.find( qualifier );
    return found == matches_.end() ? nullptr : &found->second;
}

void FieldCriteria::sourceClasses( const SdkNumbering& numbering,
                                   bcm_field_src_class_t& data,
                                   bcm_field_src_class_t& mask ) const
{
    data = {};
    mask = {};
    for ( const SourceClass& sourceClass : sourceClassFields ) {
        const FieldMatch* found = match( numbering.*sourceClass.qualifier );
        if ( found != nullptr ) {
            const MaskedNumber& number = std::get< MaskedNumber >( *found );
            data.*sourceClass.field = number.data;
            mask.*sourceClass.field = number.mask;
        }
    }
}

void FieldCriteria::sourceClassesAre( const SdkNumbering& numbering,
                                      const std::map< bcm_field_qualify_t, MaskedNumber >& matches )
{
    for ( const SourceClass& sourceClass : sourceClassFields ) {
        matches_.erase( numbering.*sourceClass.qualifier );
    }
    matches_.insert( matches.begin(), matches.end() );
}

void FieldCriteria::udfIs( bcm_udf_id_t udfId, MaskedBytes match )
{
    udfs_.insert_or_assign( udfId, std::move( match ) );
}

const MaskedBytes* FieldCriteria::udf( bcm_udf_id_t udfId ) const
{
    const auto found = udfs_.find( udfId );
    return found == udfs_.end() ? nullptr : &found->second;
}

bool FieldCriteria::flip( const SdkNumbering& numbering,
                          std::string_view field,
                          bool ofMask,
                          unsigned bit )
{
    for ( auto& [ udfId, match ] : udfs_ ) {
        if ( field == "udf" + std::to_string( udfId ) ) {
            return flipBit( ofMask ? match.mask : match.data, bit );
        }
    }
    for ( auto& [ qualifier, match ] : matches_ ) {
        if ( field != shortName( numbering.nameOf( qualifier ) ) ) {
            continue;
        }
        if ( auto* number = std::get_if< MaskedNumber >( &match ) ) {
            ( ofMask ? number->mask : number->data ) ^= bit < 32 ? 1U << bit : 0U;
            return bit < 32;
        }
        auto* bytes = std::get_if< MaskedBytes >( &match );
        return bytes != nullptr && flipBit( ofMask ? bytes->mask : bytes->data, bit );
    }
    return false;
}

ChipSnapshot::Fields FieldCriteria::fields( const SdkNumbering& numbering ) const
{
    ChipSnapshot::Fields all;
    for ( const auto& [ qualifier, match ] : matches_ ) {
        all.emplace_back( shortName( numbering.nameOf( qualifier ) ), textOf( match ) );
    }
    for ( const auto& [ rangeId, inverted ] : ranges_ ) {
        all.emplace_back( "RangeCheck", MatchText()( RangeMatch{ rangeId, inverted } ) );
    }
    std::ranges::sort( all );
    for ( const auto& [ udfId, match ] : udfs_ ) {
        all.emplace_back( "udf" + std::to_string( udfId ), MatchText()( match ) );
    }
    return all;
}

std::string shortName( const std::string& name )
{
    for ( const std::string_view prefix : { "bcmFieldQualify", "bcmFieldAction" } ) {
        if ( name.starts_with( prefix ) ) {
            return name.substr( prefix.size() );
        }
    }
    return name;
}

} // namespace Sim
