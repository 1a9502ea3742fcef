#include "sim/packets/PacketExplanation.h"

#include "sim/packets/HeaderTexts.h"
#include "sim/packets/UdfExtraction.h"

#include <algorithm>

namespace Sim {

namespace {

constexpr const char* absent = "absent";

std::string hex( uint64_t number )
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for ( ; number != 0 || text.empty(); number /= 16 ) {
        text.insert( text.begin(), digits[ number % 16 ] );
    }
    return "0x" + text;
}

std::string hexBytes( std::span< const uint8_t > bytes )
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text = "0x";
    for ( const uint8_t byte : bytes ) {
        text += digits[ byte >> 4 ];
        text += digits[ byte & 0xF ];
    }
    return text;
}

bool isSame( std::span< const uint8_t > found, const MaskedBytes& wanted )
{
    for ( std::size_t byte = 0; byte < wanted.data.size(); ++byte ) {
        const uint8_t value = byte < found.size() ? found[ byte ] : uint8_t{ 0 };
        if ( ( ( value ^ wanted.data[ byte ] ) & wanted.mask[ byte ] ) != 0 ) {
            return false;
        }
    }
    return true;
}

bool asksForAny( const MaskedBytes& wanted )
{
    return std::ranges::any_of( wanted.mask, []( uint8_t byte ) { return byte != 0; } );
}

/// Compares what is asked for with the packet, a qualifier at a time.
class Comparison
{
  public:
    Comparison( const SimulatedChip& chip, const PacketView& view )
        : chip_( chip )
        , view_( view )
    {}

    void compare( const FieldCriteria& criteria )
    {
        for ( const auto& [ qualifier, match ] : criteria.matches() ) {
            qualifier_ = qualifier;
            std::visit( [ this ]( const auto& wanted ) { compare( wanted ); }, match );
        }
        for ( const auto& [ rangeId, inverted ] : criteria.ranges() ) {
            compare( RangeMatch{ rangeId, inverted } );
        }
        for ( const auto& [ udfId, match ] : criteria.udfs() ) {
            compareUdf( udfId, match );
        }
    }

    [[nodiscard]] std::vector< Mismatch > mismatches() && { return std::move( mismatches_ ); }

  private:
    void note( const FieldMatch& wanted, std::string found )
    {
        mismatches_.push_back( { shortName( view_.numbering.nameOf( qualifier_ ) ),
                                 textOf( wanted ), std::move( found ) } );
    }

    void compare( const MaskedNumber& wanted )
    {
        const NumberField* field = findNumberField( view_.numbering, qualifier_ );
        const bool isThere = field != nullptr && isPresent( field->presence, view_.headers );
        if ( !isThere && wanted.mask != 0 ) {
            note( wanted, absent );
            return;
        }
        const uint32_t found = isThere ? numberOf( *field, view_ ) : 0;
        if ( ( ( found ^ wanted.data ) & wanted.mask ) != 0 ) {
            note( wanted, hex( found ) );
        }
    }

    void compare( const MaskedBytes& wanted )
    {
        const BytesField* field = findBytesField( view_.numbering, qualifier_ );
        const bool isThere = field != nullptr && isPresent( field->presence, view_.headers );
        const std::span< const uint8_t > found =
            isThere ? bytesOf( *field, view_ ) : std::span< const uint8_t >();
        if ( ( !isThere && asksForAny( wanted ) ) || !isSame( found, wanted ) ) {
            note( wanted, isThere ? hexBytes( found ) : absent );
        }
    }

    void compare( const MaskedPorts& wanted )
    {
        const std::size_t word = view_.packet.port / 32;
        const uint32_t bit = 1U << view_.packet.port % 32;
        if ( word < wanted.data.size() && ( wanted.mask[ word ] & bit ) != 0 &&
             ( wanted.data[ word ] & bit ) == 0 ) {
            note( wanted, std::to_string( view_.packet.port ) );
        }
    }

    void compare( const NamedValue& wanted )
    {
        if ( !isNamed( view_, qualifier_, wanted ) ) {
            const auto given = view_.packet.given.find( qualifier_ );
            note( wanted,
                  given == view_.packet.given.end() ? "another" : std::to_string( given->second ) );
        }
    }

    void compare( const RangeMatch& wanted )
    {
        const auto range = chip_.ranges().state().find( wanted.rangeId );
        if ( range == chip_.ranges().state().end() ) {
            mismatches_.push_back( { "RangeCheck", textOf( wanted ), absent } );
            return;
        }
        const RangeValues values( view_ );
        if ( values.areIn( range->second ) == wanted.inverted ) {
            const std::optional< uint32_t > value = values.valueFor( range->second.rtype );
            mismatches_.push_back( { "RangeCheck",
                                     textOf( wanted ) + ": " + ( wanted.inverted ? "not " : "" ) +
                                         std::to_string( range->second.min ) + "-" +
                                         std::to_string( range->second.max ),
                                     value ? std::to_string( *value ) : absent } );
        }
    }

    void compareUdf( bcm_udf_id_t udfId, const MaskedBytes& wanted )
    {
        const std::span< const uint8_t > found =
            extractedBytes( chip_, udfId, view_.numbering, view_.packet, view_.headers );
        if ( ( found.empty() && asksForAny( wanted ) ) || !isSame( found, wanted ) ) {
            mismatches_.push_back( { "udf" + std::to_string( udfId ), textOf( wanted ),
                                     found.empty() ? absent : hexBytes( found ) } );
        }
    }

    const SimulatedChip& chip_;
    const PacketView& view_;
    bcm_field_qualify_t qualifier_{};
    std::vector< Mismatch > mismatches_;
};

/// An entry, with all that did not match.
struct Candidate
{
    LosingEntry entry;
    std::size_t mismatches = 0;
};

/// Whether the left one ranks above.
bool ranksAbove( const LosingEntry& left, const LosingEntry& right )
{
    return left.priority != right.priority ? left.priority > right.priority
                                           : left.entry < right.entry;
}

GroupExplanation explainGroup( const PacketPath& path,
                               bcm_field_group_t group,
                               const PacketView& view,
                               std::size_t losers )
{
    std::vector< Candidate > candidates;
    for ( const auto& [ id, entry ] : path.chip().field().entries().state().entries ) {
        const FieldEntry& held = entry.inHardware();
        if ( entry.group != group || entry.hardware == FieldEntry::Hardware::none ) {
            continue;
        }
        const std::vector< Mismatch > all = mismatchesOf( held.criteria, path.chip(), view );
        LosingEntry losing{ id, held.priority, all.empty(), {}, {}, {} };
        if ( !all.empty() ) {
            losing.qualifier = all.front().qualifier;
            losing.wanted = all.front().wanted;
            losing.found = all.front().found;
        }
        candidates.push_back( { losing, all.size() } );
    }
    std::ranges::sort( candidates, []( const Candidate& left, const Candidate& right ) {
        return left.mismatches != right.mismatches ? left.mismatches < right.mismatches
                                                   : ranksAbove( left.entry, right.entry );
    } );
    GroupExplanation explanation{ group, std::nullopt, {} };
    for ( const Candidate& candidate : candidates ) {
        if ( candidate.mismatches == 0 && !explanation.winner ) {
            explanation.winner = candidate.entry.entry;
        } else if ( explanation.nearest.size() < losers ) {
            explanation.nearest.push_back( candidate.entry );
        }
    }
    return explanation;
}

std::vector< std::pair< std::string, uint32_t > > classesOf( const PacketFindings& findings )
{
    constexpr const char* names[ classFieldCount ] = {
        "DstClassField",    "SrcClassField",      "InterfaceClassL2",
        "InterfaceClassL3", "InterfaceClassPort", "InterfaceClassVPort" };
    std::vector< std::pair< std::string, uint32_t > > classes;
    for ( std::size_t field = 0; field < classFieldCount; ++field ) {
        if ( findings.classes[ field ] != 0 ) {
            classes.emplace_back( names[ field ], findings.classes[ field ] );
        }
    }
    return classes;
}

} // namespace

std::vector< Mismatch >
mismatchesOf( const FieldCriteria& criteria, const SimulatedChip& chip, const PacketView& view )
{
    Comparison comparison( chip, view );
    comparison.compare( criteria );
    return std::move( comparison ).mismatches();
}

PacketExplanation explain( const PacketPath& path, const Packet& packet, std::size_t losers )
{
    const SimulatedChip& chip = path.chip();
    const PacketHeaders headers = readHeaders( packet.bytes );
    PacketExplanation explanation;
    const PacketFindings classes = path.findingsOf( packet, headers );
    explanation.headers = textsOf( headers, packet.bytes );
    explanation.classes = classesOf( classes );
    const PacketView view{ path.numbering(), packet, headers, classes };
    const RangeValues values( view );
    for ( const auto& [ id, range ] : chip.ranges().state() ) {
        explanation.ranges.push_back(
            { id, values.valueFor( range.rtype ).value_or( 0 ), values.areIn( range ) } );
    }
    for ( const bcm_udf_id_t udfId : udfsOf( chip ) ) {
        const auto bytes = extractedBytes( chip, udfId, path.numbering(), packet, headers );
        explanation.udfs.push_back( { udfId, { bytes.begin(), bytes.end() } } );
    }
    const std::vector< GroupVerdict > hits = path.find( packet );
    const std::vector< PacketFindings > seen = path.findingsByGroup( packet );
    for ( std::size_t group = 0; group < hits.size(); ++group ) {
        const PacketView ofGroup{ path.numbering(), packet, headers, seen[ group ] };
        explanation.groups.push_back( explainGroup( path, hits[ group ].group, ofGroup, losers ) );
    }
    return explanation;
}

} // namespace Sim
