#include "tools/traffic/Capture.h"

#include "input/InputError.h"

#include <array>
#include <filesystem>
#include <system_error>

#include <pcap/pcap.h>

namespace Tool {

namespace {

struct CloseCapture
{
    void operator()( pcap_t* capture ) const { pcap_close( capture ); }
};

/// "LINUX_SLL (Linux cooked v1)"
std::string linkTypeName( int linkType )
{
    const char* const name = pcap_datalink_val_to_name( linkType );
    const char* const description = pcap_datalink_val_to_description( linkType );
    const std::string number = std::to_string( linkType );
    return ( name != nullptr ? name : number ) +
           ( description != nullptr ? " (" + std::string( description ) + ")" : std::string() );
}

} // namespace

struct Capture::File
{
    std::unique_ptr< pcap_t, CloseCapture > capture;
};

Capture::Capture( const std::string& path )
    : path_( path )
    , file_( std::make_unique< File >() )
{
    std::error_code ignored;
    if ( std::filesystem::is_directory( path, ignored ) ) {
        fail( "cannot be read: is a directory" );
    }
    std::array< char, PCAP_ERRBUF_SIZE > error{};
    file_->capture.reset( pcap_open_offline_with_tstamp_precision(
        path.c_str(), PCAP_TSTAMP_PRECISION_NANO, error.data() ) );
    if ( !file_->capture ) {
        fail( "is no capture that can be read: " + std::string( error.data() ) );
    }
    const int linkType = pcap_datalink( file_->capture.get() );
    if ( linkType != DLT_EN10MB ) {
        fail( "the capture is of link type " + linkTypeName( linkType ) +
              ", only Ethernet can be read" );
    }
}

Capture::~Capture() = default;

bool Capture::next( Sim::Packet& packet )
{
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    const int result = pcap_next_ex( file_->capture.get(), &header, &bytes );
    if ( result == PCAP_ERROR_BREAK ) {
        return false;
    }
    if ( result != 1 ) {
        fail( "cannot be read behind " + std::to_string( packets_ ) +
              " packets: " + pcap_geterr( file_->capture.get() ) );
    }
    ++packets_;
    constexpr std::uint64_t second = 1'000'000'000;
    packet.bytes.assign( bytes, bytes + header->caplen );
    packet.wireLength = header->len;
    packet.timestamp = static_cast< std::uint64_t >( header->ts.tv_sec ) * second +
                       static_cast< std::uint64_t >( header->ts.tv_usec );
    return true;
}

void Capture::fail( const std::string& message ) const
{
    throw Input::InputError( path_, 1, 1, message );
}

} // namespace Tool
