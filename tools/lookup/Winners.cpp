#include "tools/lookup/Winners.h"

#include "tools/lookup/Answer.h"

#include <algorithm>
#include <thread>
#include <vector>

namespace Tool {

namespace {

/// What one thread does.
void findShare( const Sim::PacketPath& path,
                const PacketSource& packets,
                const EntryOrigins& origins,
                std::size_t first,
                std::span< int > lines )
{
    const std::unique_ptr< PacketWriter > writer = packets.writer( path.numbering() );
    std::vector< Sim::GroupVerdict > hits;
    for ( int& line : lines ) {
        path.find( writer->packet( first++ ), hits );
        const Sim::GroupVerdict* winner = winnerOf( hits, origins );
        line = winner == nullptr ? 0 : origins.lineOf( *winner->entry );
    }
}

} // namespace

void findWinners( const Sim::PacketPath& path,
                  const PacketSource& packets,
                  const EntryOrigins& origins,
                  std::size_t first,
                  std::span< int > lines,
                  unsigned jobs )
{
    const std::size_t share = ( lines.size() + jobs - 1 ) / jobs;
    std::vector< std::jthread > threads;
    while ( lines.size() > share ) {
        const std::span< int > mine = lines.first( share );
        threads.emplace_back( [ &path, &packets, &origins, first, mine ] {
            findShare( path, packets, origins, first, mine );
        } );
        first += share;
        lines = lines.subspan( share );
    }
    findShare( path, packets, origins, first, lines );
}

} // namespace Tool
