#pragma once

/// The lines of the rules that win, of many packets at once.

#include "sim/packets/PacketPath.h"
#include "tools/lookup/PacketSource.h"
#include "tools/run/EntryNames.h"

#include <cstddef>
#include <span>

namespace Tool {

/// Writes the line of the rule that wins for each packet from `first` on, 0 for none, as many as
/// there is room in `lines`. So many threads share the work; nothing is metered or counted.
void findWinners( const Sim::PacketPath& path,
                  const PacketSource& packets,
                  const EntryOrigins& origins,
                  std::size_t first,
                  std::span< int > lines,
                  unsigned jobs );

} // namespace Tool
