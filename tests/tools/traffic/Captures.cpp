#include "tests/tools/traffic/Captures.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <unistd.h>

#include <pcap/pcap.h>

namespace TrafficTest {

std::filesystem::path capturesFolder()
{
    const char* const given = std::getenv( "PELORA_TEST_DATA" );
    if ( given != nullptr && *given != '\0' ) {
        return std::filesystem::path( given ) / "pcap";
    }
    const std::filesystem::path beside = PELORA_SOURCE_DIR "/../shared/data/pcap";
    return std::filesystem::is_directory( beside ) ? beside : "";
}

std::vector< std::filesystem::path > ethernetCaptures()
{
    std::vector< std::filesystem::path > files;
    for ( const auto& entry : std::filesystem::directory_iterator( capturesFolder() ) ) {
        const bool isOfEthernet = entry.path().filename() != "tcp-handshake-nano.pcap";
        if ( isOfEthernet ) {
            files.push_back( entry.path() );
        }
    }
    std::ranges::sort( files );
    return files;
}

void writeCapture( const std::filesystem::path& file, const std::vector< Sim::Packet >& packets )
{
    constexpr int mostBytes = 262144;
    constexpr std::uint64_t second = 1'000'000'000;
    const std::unique_ptr< pcap_t, decltype( &pcap_close ) > capture(
        pcap_open_dead_with_tstamp_precision( DLT_EN10MB, mostBytes, PCAP_TSTAMP_PRECISION_NANO ),
        &pcap_close );
    const std::unique_ptr< pcap_dumper_t, decltype( &pcap_dump_close ) > dump(
        pcap_dump_open( capture.get(), file.c_str() ), &pcap_dump_close );
    if ( !dump ) {
        throw std::runtime_error( "cannot write " + file.string() );
    }
    for ( const Sim::Packet& packet : packets ) {
        pcap_pkthdr header{};
        header.ts.tv_sec = static_cast< time_t >( packet.timestamp / second );
        header.ts.tv_usec = static_cast< suseconds_t >( packet.timestamp % second );
        header.caplen = static_cast< bpf_u_int32 >( packet.bytes.size() );
        header.len = packet.wireLength;
        pcap_dump( reinterpret_cast< u_char* >( dump.get() ), &header, packet.bytes.data() );
    }
}

TemporaryFile::TemporaryFile( const std::string& bytes )
    : path_( std::filesystem::temp_directory_path() / "traffic-XXXXXX" )
{
    const int descriptor = ::mkstemp( path_.data() );
    if ( descriptor < 0 ) {
        throw std::runtime_error( "cannot make " + path_ );
    }
    ::close( descriptor );
    std::ofstream( path_, std::ios::binary ) << bytes;
}

TemporaryFile::~TemporaryFile()
{
    std::filesystem::remove( path_ );
}

} // namespace TrafficTest
