#include "tests/tools/traffic/Tshark.h"

#include <array>
#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace TrafficTest {

namespace {

constexpr std::string_view options =
    " -n"
    " -o ip.defragment:FALSE -o ipv6.defragment:FALSE -o tcp.desegment_tcp_streams:FALSE"
    " -o ip.check_checksum:TRUE -o tcp.check_checksum:TRUE -o udp.check_checksum:TRUE"
    " -o sctp.checksum:CRC-32c"
    // What looks into packets although it is no tunnel, or a tunnel that is only named.
    " --disable-protocol cmd --disable-protocol erspan --disable-protocol pim"
    " --disable-protocol wccp";

std::string outputOf( const std::string& command )
{
    std::FILE* const pipe = ::popen( command.c_str(), "r" );
    if ( pipe == nullptr ) {
        throw std::runtime_error( "cannot run " + command );
    }
    std::string output;
    std::array< char, 65536 > piece{};
    std::size_t size = 0;
    while ( ( size = std::fread( piece.data(), 1, piece.size(), pipe ) ) != 0 ) {
        output.append( piece.data(), size );
    }
    if ( ::pclose( pipe ) != 0 ) {
        throw std::runtime_error( "fails (is tshark installed?): " + command );
    }
    return output;
}

std::vector< std::string > split( const std::string& text, char separator )
{
    std::vector< std::string > pieces;
    std::istringstream stream( text );
    for ( std::string piece; std::getline( stream, piece, separator ); ) {
        pieces.push_back( piece );
    }
    return pieces;
}

PacketFields fieldsOf( const std::string& line, std::size_t count )
{
    PacketFields fields;
    for ( const std::string& values : split( line, '\t' ) ) {
        fields.push_back( split( values, ',' ) );
    }
    fields.resize( count ); // A last field without values leaves nothing behind.
    return fields;
}

} // namespace

std::vector< PacketFields > tsharkFields( const std::filesystem::path& capture,
                                          const std::vector< std::string >& fields )
{
    std::string command = "tshark -r '" + capture.string() + "'" + std::string( options ) +
                          " -T fields -E separator=/t -E occurrence=a -E aggregator=,";
    for ( const std::string& field : fields ) {
        command += " -e " + field;
    }
    std::vector< PacketFields > packets;
    for ( const std::string& line : split( outputOf( command + " 2>/dev/null" ), '\n' ) ) {
        packets.push_back( fieldsOf( line, fields.size() ) );
    }
    return packets;
}

} // namespace TrafficTest
