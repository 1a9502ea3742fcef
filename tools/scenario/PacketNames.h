#pragma once

/// The names that scenarios and the command line have for EtherTypes and IP protocols.
///
/// Reading takes a name or a number, so that every value can be given; telling gives the name with
/// the number.

#include "input/YamlDocument.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace Tool {

/// A name and the number that it stands for.
using PacketName = std::pair< std::string_view, std::uint16_t >;

/// The EtherTypes that have a name: "ipv4", "arp", ...; "none" is 0.
[[nodiscard]] std::span< const PacketName > etherTypeNames();

/// The IP protocols that have a name: "tcp", "udp", ...; "any" is 0.
[[nodiscard]] std::span< const PacketName > ipProtocolNames();

/// An EtherType by name, or a number from 0 to 65535; anything else fails at the node.
[[nodiscard]] std::uint16_t readEtherType( const Input::YamlNode& node );

/// An IP protocol by name, or a number from 0 to 255; anything else fails at the node.
[[nodiscard]] std::uint8_t readIpProtocol( const Input::YamlNode& node );

/// "ipv4 (0x0800)", or "0x1234" for an EtherType without a name.
[[nodiscard]] std::string etherTypeText( std::uint16_t etherType );

/// "tcp (6)", or "200" for a protocol without a name.
[[nodiscard]] std::string ipProtocolText( std::uint8_t protocol );

} // namespace Tool
