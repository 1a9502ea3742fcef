#include "tools/lookup/PacketSource.h"

#include "input/InputError.h"
#include "input/TextFile.h"
#include "sim/packets/PacketDescription.h"
#include "sim/packets/PacketNumbers.h"
#include "tools/traffic/Capture.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

using Sim::Packet;
using Sim::SdkNumbering;

/// What a person calls the file.
std::string shownName( const std::string& path )
{
    return path == "-" ? "standard input" : path;
}

/// Packets that are there already.
class PacketList : public PacketSource
{
  public:
    explicit PacketList( std::vector< Packet > packets )
        : packets_( std::move( packets ) )
    {}

    [[nodiscard]] std::size_t size() const override { return packets_.size(); }

    [[nodiscard]] std::unique_ptr< PacketWriter > writer( const SdkNumbering& ) const override
    {
        return std::make_unique< Reader >( packets_ );
    }

  private:
    class Reader : public PacketWriter
    {
      public:
        explicit Reader( const std::vector< Packet >& packets )
            : packets_( packets )
        {}

        [[nodiscard]] const Packet& packet( std::size_t index ) override
        {
            return packets_.at( index );
        }

      private:
        const std::vector< Packet >& packets_;
    };

    std::vector< Packet > packets_;
};

class DescribedPackets : public PacketList
{
  public:
    DescribedPackets( std::vector< Packet > packets, std::vector< std::string > descriptions )
        : PacketList( std::move( packets ) )
        , descriptions_( std::move( descriptions ) )
    {}

    [[nodiscard]] std::string nameOf( std::size_t index ) const override
    {
        return descriptions_.at( index );
    }

  private:
    std::vector< std::string > descriptions_;
};

class CapturedPackets : public PacketList
{
  public:
    explicit CapturedPackets( const std::string& path )
        : PacketList( readCapture( path ) )
        , file_( shownName( path ) )
    {}

    [[nodiscard]] std::string nameOf( std::size_t index ) const override
    {
        return fmt::format( "{}, packet {}", file_, index + 1 );
    }

  private:
    std::string file_;
};

/// Whether the bytes of a trace's packet of that protocol have the ports.
bool hasPorts( std::uint8_t protocol )
{
    return protocol == Sim::IpProtocols::tcp || protocol == Sim::IpProtocols::udp ||
           protocol == Sim::IpProtocols::sctp;
}

class TracedPackets : public PacketSource
{
  public:
    explicit TracedPackets( const std::string& path )
        : file_( shownName( path ) )
        , packets_( read( path ) )
    {}

    [[nodiscard]] std::size_t size() const override { return packets_.size(); }

    [[nodiscard]] std::string nameOf( std::size_t index ) const override
    {
        return fmt::format( "{}:{}", file_, index + 1 );
    }

    [[nodiscard]] std::unique_ptr< PacketWriter >
    writer( const SdkNumbering& numbering ) const override
    {
        return std::make_unique< Writer >( packets_, numbering );
    }

  private:
    /// Keeps two packets, so that what is given has its memory for good.
    class Writer : public PacketWriter
    {
      public:
        Writer( const std::vector< TracePacket >& packets, const SdkNumbering& numbering )
            : packets_( packets )
            , sourcePort_( withGivenPorts_.given[ numbering.bcmFieldQualifyL4SrcPort ] )
            , destinationPort_( withGivenPorts_.given[ numbering.bcmFieldQualifyL4DstPort ] )
        {}

        [[nodiscard]] const Packet& packet( std::size_t index ) override
        {
            const TracePacket& from = packets_.at( index );
            Packet& to = hasPorts( from.protocol ) ? withPorts_ : withGivenPorts_;
            writePacket( from, to );
            sourcePort_ = from.sourcePort;
            destinationPort_ = from.destinationPort;
            return to;
        }

      private:
        const std::vector< TracePacket >& packets_;
        Packet withPorts_;
        Packet withGivenPorts_;
        std::uint64_t& sourcePort_; ///< what `withGivenPorts_` is given
        std::uint64_t& destinationPort_;
    };

    static std::vector< TracePacket > read( const std::string& path )
    {
        if ( path != "-" ) {
            return readTrace( path );
        }
        return parseTrace( Input::readTextFile( "/dev/stdin" ), shownName( path ) );
    }

    std::string file_;
    std::vector< TracePacket > packets_;
};

} // namespace

std::unique_ptr< const PacketSource >
describedPackets( const std::vector< std::string >& descriptions )
{
    std::vector< Packet > packets;
    for ( const std::string& description : descriptions ) {
        const int number = static_cast< int >( packets.size() ) + 1;
        packets.push_back( Sim::packetFromDescription(
            description, { .file = "--packet", .line = number, .column = 1 } ) );
    }
    return std::make_unique< DescribedPackets >( std::move( packets ), descriptions );
}

std::unique_ptr< const PacketSource > capturedPackets( const std::string& path )
{
    return std::make_unique< CapturedPackets >( path );
}

std::unique_ptr< const PacketSource > tracedPackets( const std::string& path )
{
    return std::make_unique< TracedPackets >( path );
}

std::vector< Packet > readCapture( const std::string& path )
{
    Capture capture( path );
    std::vector< Packet > packets;
    std::uint64_t first = 0;
    for ( Packet packet; capture.next( packet ); ) {
        first = packets.empty() ? packet.timestamp : first;
        packet.timestamp = packet.timestamp < first ? 0 : packet.timestamp - first;
        packets.push_back( packet );
    }
    return packets;
}

} // namespace Tool
