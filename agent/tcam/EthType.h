#pragma once

/// EtherTypes (IEEE 802 numbers, as assigned by the IEEE Registration Authority).

#include "agent/base/BaseTypes.h"

namespace Kvnet {

struct EthType
{
    static constexpr Agent::U16 ethTypeIp_ = 0x0800;
    static constexpr Agent::U16 ethTypeArp_ = 0x0806;
    static constexpr Agent::U16 ethTypeIp6_ = 0x86DD;
};

} // namespace Kvnet
