#pragma once

/// Packets made of short descriptions, such as people write into a scenario.
///
///     tcp 10.0.0.1:1024 > 192.0.2.1:80 flags syn vlan 10
///     icmp6 2001:db8::1 > 2001:db8::2 in vxlan 5000 10.1.1.1 > 10.2.2.2
///     hex 020000000002 020000000001 88b5 00
///
/// All words are in docs/packets.md.

#include "sim/packets/Packet.h"

#include <string>
#include <string_view>
#include <vector>

namespace Sim {

/// Where a description stands that is part of a file.
struct DescriptionPlace
{
    std::string file = "packet"; ///< what an error calls it
    int line = 1;                ///< from 1
    int column = 1;              ///< of its first letter, from 1
};

/// All words that descriptions know, each once: kinds of packets and tunnels, and what is said of
/// them.
[[nodiscard]] std::vector< std::string > descriptionWords();

/// The packet that a description stands for, with right lengths and checksums; of what the bytes do
/// not tell, nothing is given. Throws an `InputError` with the place of the fault, which is that of
/// the word within the description, moved to where `place` says that the description begins.
[[nodiscard]] Packet packetFromDescription( std::string_view description,
                                            const DescriptionPlace& place = {} );

} // namespace Sim
