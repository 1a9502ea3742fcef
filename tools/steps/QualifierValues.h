#pragma once

/// Reads what an entry of a scenario wants of one qualifier.
///
///     ttl: 1                                  # a number: all bits count
///     tcpFlags: { data: 0x02, mask: 0x12 }    # a number, of which the bits in the mask count
///     innerSrcIp: 10.0.0.0/8                  # a prefix or an address
///     srcMac: 02:00:00:00:00:00/ff:00:00:00:00:00
///     ipType: ipv4Any                         # an enumerator, by the agent's or the SDK's name
///     etherType: arp                          # EtherTypes and protocols, by name or number

#include "input/YamlDocument.h"
#include "reference/QualifierMatch.h"
#include "tools/scenario/ReadContext.h"

#include <vector>

namespace Tool {

/// The value of a qualifier of the table; anything else than such a value fails at the node.
[[nodiscard]] Reference::QualifierMatch readQualifierMatch( const Input::YamlNode& node,
                                                            const Reference::QualifierForm& form,
                                                            const ReadContext& context );

/// The bytes of a user-defined field: a number of as many bytes as it takes, the most significant
/// first ("0x001388", "5000"), or bytes in hexadecimal with blanks between them ("00 13 88").
struct UdfValue
{
    std::vector< Agent::U8 > bytes; ///< of a number without zeros before it
    bool isNumber = false;
};

/// Fails at the node for anything else, and for more than 16 bytes.
[[nodiscard]] UdfValue readUdfValue( const Input::YamlNode& node );

} // namespace Tool
