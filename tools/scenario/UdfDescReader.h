#pragma once

/// Reads what a user-defined field is to be: the vocabulary that the steps of a scenario and
/// `pelora-tcam explain-udf` share.
///
///     base: l3Header          # from where the offset counts
///     ethertype: ipv4         # of which packets
///     inner-ethertype: none   # what a GRE packet carries
///     protocol: tcp
///     offset: 6               # in bytes
///     length: 2               # in bytes
///     priority: 0             # of a packet format made for it
///     app: ipv4Acl
///     lag-mask: [ 0xFF, 0x0F ] # only of a field that also feeds the LAG hash

#include "agent/tcam/UdfTypes.h"
#include "input/YamlDocument.h"

#include <string>

namespace Tool {

/// Asks for the keys above; `base`, `offset` and `length` must be there. What is wrong fails at
/// the node concerned.
void readUdfDesc( Input::YamlMembers& members, PeloraTcam::UdfDesc& desc );

/// "2 bytes at 6 from l3Header"
[[nodiscard]] std::string udfPlaceText( const PeloraTcam::UdfDesc& desc );

} // namespace Tool
