#pragma once

/// The operations of one kind of thing, made one at a time and at random.
///
/// Each kind keeps a record of its own of what it has asked for, and requires of every answer that
/// it agrees with that record, with the chip's capacity, and with the fault that was injected.

#include "tests/soak/AgentOnChip.h"
#include "tests/soak/TroubleMaker.h"

#include <algorithm>

namespace Soak {

/// What all kinds work on.
struct Run
{
    AgentOnChip& agent;
    Choices& choices;
    TroubleMaker& trouble;
    Tally& tally;
};

class Steps
{
  public:
    explicit Steps( const Run& run )
        : agent( run.agent )
        , choices( run.choices )
        , trouble( run.trouble )
        , tally( run.tally )
    {}

    Steps( const Steps& ) = delete;
    Steps& operator=( const Steps& ) = delete;
    virtual ~Steps() = default;

    /// Makes one operation.
    virtual void step() = 0;

    /// Lets the manager compare its records with the chip; a mismatch ends the process.
    virtual void audit() = 0;

    /// Gives everything back.
    virtual void releaseAll() = 0;

  protected:
    AgentOnChip& agent;
    Choices& choices;
    TroubleMaker& trouble;
    Tally& tally;
};

/// Takes an item out of a list whose order does not matter.
template< class Item >
Item taken( std::vector< Item >& items, std::size_t position )
{
    std::swap( items[ position ], items.back() );
    Item item = std::move( items.back() );
    items.pop_back();
    return item;
}

} // namespace Soak
