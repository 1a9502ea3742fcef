#include "tools/udf/UdfNotes.h"

#include "agent/tcam/EthType.h"
#include "tools/scenario/PacketNames.h"
#include "tools/udf/UdfOnChip.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>

namespace Tool {

namespace {

using PeloraTcam::UdfDesc;

constexpr int bitsPerByte = 8;
constexpr int bytesPerChunk = 2;

std::string countedBytes( int count )
{
    return fmt::format( "{} {}", count, count == 1 ? "byte" : "bytes" );
}

std::optional< std::string > noteOnLength( int asked, int taken )
{
    if ( taken < asked ) {
        return fmt::format( "the chip takes only {} of the {} asked for", taken,
                            countedBytes( asked ) );
    }
    if ( taken > asked ) {
        return fmt::format( "the chip takes {}, {} asked for", countedBytes( taken ), asked );
    }
    return std::nullopt;
}

/// Whether no IP header follows in packets of that outer EtherType, whatever they carry. One that
/// is not given, a tag, and what may carry IP in itself says nothing.
bool neverCarriesIp( std::uint16_t etherType )
{
    constexpr std::string_view names[] = {
        "arp", "rarp", "pppoeDiscovery", "slowProtocols", "eapol", "lldp", "ptp", "cfm", "fcoe",
    };
    return std::ranges::any_of( etherTypeNames(), [ & ]( const PacketName& row ) {
        return row.second == etherType && std::ranges::count( names, row.first ) != 0;
    } );
}

bool countsFromLayer4( const UdfDesc& desc )
{
    return desc.base() == PeloraTcam::UdfBaseL4OuterHeader_ ||
           desc.base() == PeloraTcam::UdfBaseL4OuterPayload_ ||
           desc.base() == PeloraTcam::UdfBaseL4InnerHeader_;
}

bool countsFromInside( const UdfDesc& desc )
{
    return desc.base() == PeloraTcam::UdfBaseL3InnerHeader_ ||
           desc.base() == PeloraTcam::UdfBaseL4InnerHeader_;
}

bool countsFromAPayload( const UdfDesc& desc )
{
    return desc.base() == PeloraTcam::UdfBaseL3OuterPayload_ ||
           desc.base() == PeloraTcam::UdfBaseL4OuterPayload_;
}

/// Numbers below are lengths of frames; who gives one has often left out "0x".
std::optional< std::string > noteOnEtherType( std::uint16_t etherType )
{
    constexpr std::uint16_t leastEtherType = 0x0600;
    if ( etherType == 0 || etherType >= leastEtherType ) {
        return std::nullopt;
    }
    return fmt::format( "{} (0x{:04X}) is not an EtherType; those begin at 0x0600 (hexadecimal "
                        "numbers begin with 0x)",
                        etherType, etherType );
}

std::optional< std::string > noteOnBase( const UdfDesc& desc )
{
    if ( countsFromLayer4( desc ) && neverCarriesIp( desc.ethType() ) ) {
        return fmt::format( "packets of EtherType {} have no L4 header to count from",
                            etherTypeText( desc.ethType() ) );
    }
    if ( countsFromInside( desc ) && desc.innerEtherType() == 0 ) {
        return "packets without a tunnel have no inner header to count from; 'inner-ethertype' "
               "describes those with one";
    }
    return std::nullopt;
}

/// A payload behind a header that the library does not know the length of.
std::optional< std::string >
noteOnPayload( bcm_udf_id_t udfId, const UdfDesc& desc, const Sim::SimUdfModule& module )
{
    const int first = module.state().udfs.at( udfId ).udf.start() / bitsPerByte;
    if ( countsFromAPayload( desc ) && first == desc.offset() ) {
        return "for these packets the library skips no header: the field counts from the start of "
               "the header, not of the payload";
    }
    return std::nullopt;
}

} // namespace

int bytesTaken( bcm_udf_id_t udfId, const RunContext& context )
{
    const Sim::SimulatedChip& chip = context.chip();
    if ( chip.udfModule() != nullptr ) {
        return chip.udfModule()->state().udfs.at( udfId ).udf.width() / bitsPerByte;
    }
    const Sim::SimFlexParser::Udf& udf = chip.flexParser()->state().at( udfId );
    return std::min( static_cast< int >( udf.width ) / bitsPerByte,
                     bytesPerChunk * static_cast< int >( chunksIn( udf.chunks ).size() ) );
}

std::vector< std::string >
udfNotes( bcm_udf_id_t udfId, const UdfDesc& desc, const RunContext& context )
{
    const Sim::SimUdfModule* module = context.chip().udfModule();
    const std::optional< std::string > base = noteOnBase( desc );
    std::vector< std::string > notes;
    for ( const std::optional< std::string >& note :
          { noteOnLength( desc.length(), bytesTaken( udfId, context ) ),
            noteOnEtherType( desc.ethType() ), base,
            base || module == nullptr ? std::nullopt : noteOnPayload( udfId, desc, *module ) } ) {
        if ( note ) {
            notes.push_back( *note );
        }
    }
    return notes;
}

} // namespace Tool
