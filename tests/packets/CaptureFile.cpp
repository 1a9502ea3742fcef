#include "tests/packets/CaptureFile.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include <pcap/pcap.h>

namespace PacketTest {

std::filesystem::path capturesFolder()
{
    const char* const given = std::getenv( "PELORA_TEST_DATA" );
    const std::filesystem::path data =
        given != nullptr && *given != '\0' ? given : PELORA_SOURCE_DIR "/../shared/data";
    return std::filesystem::is_directory( data / "pcap" ) ? data / "pcap" : "";
}

std::vector< Packet > packetsOf( const std::filesystem::path& capture )
{
    std::array< char, PCAP_ERRBUF_SIZE > error{};
    const std::unique_ptr< pcap_t, decltype( &pcap_close ) > file(
        pcap_open_offline( capture.c_str(), error.data() ), &pcap_close );
    if ( !file ) {
        throw std::runtime_error( capture.string() + ": " + error.data() );
    }
    std::vector< Packet > packets;
    if ( pcap_datalink( file.get() ) != DLT_EN10MB ) {
        return packets;
    }
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    int result = 0;
    while ( ( result = pcap_next_ex( file.get(), &header, &bytes ) ) == 1 ) {
        packets.emplace_back( bytes, bytes + header->caplen );
    }
    if ( result != PCAP_ERROR_BREAK ) {
        throw std::runtime_error( capture.string() + ": " + pcap_geterr( file.get() ) );
    }
    return packets;
}

} // namespace PacketTest
