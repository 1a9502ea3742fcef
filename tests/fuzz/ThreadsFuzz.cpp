// Two of the agent's threads on the same managers and the same small chip. Each input says which
// chip, at which SDK calls the one thread goes on in the place of the other, and what each of them
// does. At the end, with all given back, the chip and the process hold what they held before.

#include "tests/fuzz/FuzzTarget.h"
#include "tests/fuzz/TightChips.h"
#include "tests/fuzz/Turns.h"
#include "tests/soak/AgentOnChip.h"

#include <optional>
#include <span>
#include <thread>
#include <utility>
#include <vector>

namespace Fuzz {
namespace {

using PeloraTcam::PolicerId;
using PeloraTcam::RangeCheckerId;
using EntryId = Reference::EntryManager::EntryId;
using Reference::PolicerSharing;

constexpr int mostOperations = 24;

/// One thread's own things. Every operation is made with the activity lock held.
class Worker
{
  public:
    Worker( Soak::AgentOnChip& agent, ByteChoices choices )
        : agent_( agent )
        , choices_( choices )
    {}

    void run()
    {
        for ( int i = 0; i < mostOperations && choices_.areThereMore(); ++i ) {
            step();
        }
        releaseAll();
    }

  private:
    struct Entry
    {
        EntryId id = 0;
        std::optional< RangeCheckerId > range;
        std::optional< PolicerId > policer;
    };

    void step()
    {
        switch ( choices_.below( 8 ) ) {
        case 0:
            return audit();
        case 1:
            return release( ranges_, [ & ]( auto id ) { giveBackRange( id ); } );
        case 2:
            return release( policers_, [ & ]( auto id ) { giveBackPolicer( id ); } );
        case 3:
            return release( entries_, [ & ]( const Entry& entry ) { destroy( entry ); } );
        case 4:
            return keep( ranges_, acquireRange() );
        case 5:
            return keep( policers_, acquirePolicer() );
        default:
            return create();
        }
    }

    template< class Item >
    static void keep( std::vector< Item >& items, const std::optional< Item >& item )
    {
        if ( item ) {
            items.push_back( *item );
        }
    }

    template< class Item, class GiveBack >
    void release( std::vector< Item >& items, const GiveBack& giveBack )
    {
        if ( !items.empty() ) {
            const std::size_t position = choices_.positionIn( items );
            const Item item = items[ position ];
            items.erase( items.begin() + static_cast< std::ptrdiff_t >( position ) );
            giveBack( item );
        }
    }

    std::optional< RangeCheckerId > acquireRange()
    {
        PeloraTcam::RangeCheckerDesc desc;
        desc.type = PeloraTcam::RangeType::l4DstPort;
        desc.low = 1000 * choices_.below( 4 );
        desc.high = desc.low + 100;
        return agent_.rangeCheckers.acquire( desc );
    }

    std::optional< PolicerId > acquirePolicer()
    {
        PeloraTcam::Policer policer;
        policer.mode = PeloraTcam::PolicerMode::committed;
        policer.committedRate = 1000 * choices_.below( 3 );
        const auto sharing =
            choices_.below( 4 ) == 0 ? PolicerSharing::own : PolicerSharing::shared;
        return agent_.policers.acquire( policer, PeloraTcam::stageIfp(), sharing );
    }

    void create()
    {
        Entry entry;
        const unsigned parts = choices_.below( 4 );
        entry.range = ( parts & 1U ) != 0 ? acquireRange() : std::nullopt;
        entry.policer = ( parts & 2U ) != 0 ? acquirePolicer() : std::nullopt;
        Reference::EntryDesc desc;
        desc.group = agent_.entryGroups[ choices_.below( 2 ) ].id;
        desc.actions = { { PeloraTcam::ActionType::drop, 0, 0 } };
        if ( entry.range ) {
            desc.qualifiers.ranges = { { *entry.range, false } };
        }
        desc.policer = entry.policer;
        const auto id = agent_.entries.create( desc );
        if ( !id ) {
            return giveBackParts( entry );
        }
        entry.id = *id;
        entries_.push_back( entry );
        require( agent_.entries.install( *id ), "an entry can be installed" );
        require( agent_.entries.isInstalled( *id ), "an entry is where it was put" );
    }

    void destroy( const Entry& entry )
    {
        require( agent_.entries.destroy( entry.id ), "the entry is there" );
        giveBackParts( entry );
    }

    void giveBackParts( const Entry& entry )
    {
        if ( entry.policer ) {
            giveBackPolicer( *entry.policer );
        }
        if ( entry.range ) {
            giveBackRange( *entry.range );
        }
    }

    void giveBackRange( RangeCheckerId id )
    {
        require( agent_.rangeCheckers.release( id ), "the range checker is there" );
    }

    void giveBackPolicer( PolicerId id )
    {
        require( agent_.policers.release( id ), "the policer is there" );
    }

    void audit()
    {
        agent_.rangeCheckers.audit();
        agent_.policers.audit();
        agent_.entries.audit();
        agent_.groups.audit();
    }

    void releaseAll()
    {
        for ( const Entry& entry : entries_ ) {
            destroy( entry );
        }
        for ( const RangeCheckerId id : ranges_ ) {
            giveBackRange( id );
        }
        for ( const PolicerId id : policers_ ) {
            giveBackPolicer( id );
        }
    }

    Soak::AgentOnChip& agent_;
    ByteChoices choices_;
    std::vector< RangeCheckerId > ranges_;
    std::vector< PolicerId > policers_;
    std::vector< Entry > entries_;
};

void runBoth( Turns& turns, Worker& first, Worker& second )
{
    const auto part = [ & ]( unsigned number, Worker& worker ) {
        const Turns::Worker turn( turns, number );
        const Agent::LockAnchor activity( Agent::activityLock() );
        worker.run();
    };
    const Agent::UnlockAnchor released( Agent::activityLock() );
    std::thread other( [ & ] { part( 1, second ); } );
    part( 0, first );
    other.join();
}

void runOn( Soak::AgentOnChip& agent, std::span< const std::uint8_t > input )
{
    const std::size_t third = input.size() / 3;
    const auto choicesOf = [ & ]( std::size_t part ) {
        return ByteChoices( input.data() + part * third, third );
    };
    Turns turns( input.first( third ) );
    TurnTakingSdk sdk( *Shim::sdk_, turns );
    Shim::SdkAccess* const earlier = std::exchange( Shim::sdk_, &sdk );
    Worker first( agent, choicesOf( 1 ) );
    Worker second( agent, choicesOf( 2 ) );
    runBoth( turns, first, second );
    Shim::sdk_ = earlier;
}

} // namespace
} // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
    Fuzz::ByteChoices choices( data, size );
    Soak::Tally tally;
    {
        Soak::AgentOnChip agent( Fuzz::anyProfile( choices ), tally );
        Fuzz::runOn( agent, std::span( data, size ).subspan( size == 0 ? 0 : 1 ) );
        agent.shutDown();
    }
    Soak::requireNoHelpers();
    return 0;
}
