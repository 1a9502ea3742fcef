#pragma once

/// The reader behind `packetFromDescription`: one function a word.

#include "sim/packets/DescribedPacket.h"
#include "sim/packets/DescriptionWords.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Sim {

/// How long a frame may be.
inline constexpr std::size_t mostDescribedBytes = 65535;

/// The names of rows.
template< class Rows >
std::vector< std::string > namesOf( const Rows& rows )
{
    std::vector< std::string > names;
    for ( const auto& row : rows ) {
        names.emplace_back( row.name );
    }
    return names;
}

/// Reads one description.
class DescriptionReader
{
  public:
    DescriptionReader( std::string_view description, const DescriptionPlace& place )
        : words_( description, place )
    {}

    std::vector< std::uint8_t > read();

    /// All words that there are.
    static std::vector< std::string > allWords();

  private:
    /// The first words of a packet, or of a tunnel.
    struct Head
    {
        std::string_view name;
        PacketKind kind;
        void ( DescriptionReader::*read )();
    };

    /// A word behind the first ones.
    struct Detail
    {
        std::string_view name;
        std::string_view counted; ///< the name by which it can be given once; empty if it repeats
        unsigned kinds;           ///< those of `PacketKind` that it is for
        void ( DescriptionReader::*read )();
    };

    static const std::array< Head, 8 > packetHeads;
    static const std::array< Head, 4 > tunnelHeads;
    static const std::array< Detail, 21 > details;

    template< std::size_t count >
    void readHead( const std::array< Head, count >& heads, std::string_view expected );
    void readDetails();
    void readDetail( const DescriptionWord& word );
    void readTunnel();
    void finishLayer();
    std::vector< std::uint8_t > paddedBytes();

    void readAddresses();
    void readIp4Addresses();
    void readIp6Addresses();
    void readAddressesAndPorts();
    void readMacs();
    void readVniAndAddresses();
    void requireOneVersion( const DescriptionWord& destination );

    void readCode() { layer().code = number8( 255 ); }

    void readDontFragment();

    void readDscp() { layer().dscp = number8( 63 ); }

    void readEcn() { layer().ecn = number8( 3 ); }

    void readFlags();
    void readFlow();
    void readFragment();
    void readId();

    void readKey()
    {
        layer().key = static_cast< std::uint32_t >( words_.takeNumber( { 0, ~0U } ) );
    }

    void readLabels();
    void readLength();
    void readOptions();
    void readPayload();

    void readProtocol() { layer().protocol = number8( 255 ); }

    void readReply() { layer().arpOperation = 2; }

    void readRequest() { layer().arpOperation = 1; }

    void readTtl() { layer().ttl = number8( 255 ); }

    void readType();
    void readVlan();
    void readWindow();
    void requireIp( bool is6, std::string_view version );

    [[nodiscard]] DescribedLayer& layer() { return packet_.layers.back(); }

    std::uint8_t number8( std::uint64_t greatest )
    {
        return static_cast< std::uint8_t >( words_.takeNumber( { 0, greatest } ) );
    }

    DescriptionWords words_;
    DescribedPacket packet_;

    // Of the layer that is being read.
    DescriptionWord head_;               ///< its first word
    DescriptionWord detail_;             ///< the word that is being read
    DescriptionWord id_;                 ///< the word `id`
    std::set< std::string_view > given_; ///< what cannot be given again

    std::size_t length_ = 0; ///< of the whole frame; 0 if it is not given
    DescriptionWord lengthWord_;
};

} // namespace Sim
