#pragma once

/// EtherTypes (IEEE 802 numbers, as assigned by the IEEE Registration Authority).

#include "agent/base/BaseTypes.h"

namespace Kvnet {

/// Names of EtherTypes.
struct EthType
{
    static constexpr Agent::U16 ethTypeIp_ = 0x0800;  ///< IPv4
    static constexpr Agent::U16 ethTypeArp_ = 0x0806; ///< ARP
    static constexpr Agent::U16 ethTypeIp6_ = 0x86DD; ///< IPv6
};

} // namespace Kvnet
