#include "tools/scenario/CompressionReader.h"

#include "tools/scenario/PacketNames.h"
#include "tools/scenario/PrefixReader.h"

#include <array>

namespace Tool {

using PeloraTcam::CompressionKey;
using Table = PeloraTcam::PeloraCompressionTableType;

namespace {

// clang-format off
constexpr std::array< CompressionTableName, 6 > tables{ {
    { "etherType", Table::etherType },
    { "ipProto",   Table::ipProto },
    { "l4SrcPort", Table::l4SrcPort },
    { "l4DstPort", Table::l4DstPort },
    { "srcIp",     Table::srcIp },
    { "dstIp",     Table::dstIp },
} };

// clang-format on

} // namespace

std::span< const CompressionTableName > compressionTableNames()
{
    return tables;
}

CompressionKey readCompressionKey( Table table, const Input::YamlNode& node )
{
    if ( table == Table::srcIp || table == Table::dstIp ) {
        const Reference::IpPrefix prefix = readPrefix( node );
        return { prefix.address, prefix.length };
    }
    if ( table == Table::etherType ) {
        return CompressionKey( readEtherType( node ) );
    }
    if ( table == Table::ipProto ) {
        return CompressionKey( readIpProtocol( node ) );
    }
    Agent::U16 port = 0;
    node.read( port );
    return CompressionKey( port );
}

} // namespace Tool
