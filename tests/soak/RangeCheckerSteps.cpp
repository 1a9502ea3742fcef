#include "tests/soak/RangeCheckerSteps.h"

namespace Soak {

using PeloraTcam::RangeCheckerDesc;
using PeloraTcam::RangeCheckerId;
using PeloraTcam::RangeType;

namespace {

constexpr std::array< const char*, 1 > refusable = { "bcm_range_create" };
constexpr std::size_t mostOwn = 40;

} // namespace

RangeCheckerDesc RangeCheckerSteps::anyDesc()
{
    constexpr std::array< RangeType, 3 > types = { RangeType::l4DstPort, RangeType::l4SrcPort,
                                                   RangeType::packetLength };
    RangeCheckerDesc desc;
    desc.type = choices.oneOf( types );
    desc.low = choices.below( 8 ) * 1000;
    desc.high = desc.low + choices.below( 4 ) * 100;
    if ( choices.oneIn( 32 ) ) {
        desc.high = choices.below( 70000 ); // May be below the other bound, or above all ports.
    }
    return desc;
}

std::optional< RangeCheckerId > RangeCheckerSteps::acquireAny()
{
    const RangeCheckerDesc desc = anyDesc();
    const auto equal = std::ranges::find_if(
        shared_, [ & ]( const auto& row ) { return row.second.desc == desc; } );
    const bool isKnown = equal != shared_.end();
    const bool isFull = agent.chip().ranges().used() >= agent.profile.rangeCheckers.capacity;
    const bool isRange = desc.low <= desc.high && desc.high <= 0xFFFF;
    std::optional< RangeCheckerId > id;
    const Outcome outcome = trouble.run( { .refusable = refusable, .throwing = 1 }, [ & ] {
        id = agent.rangeCheckers.acquire( desc );
        return id.has_value();
    } );
    if ( isKnown ) {
        require( outcome == Outcome::done && *id == equal->first, "equal ranges share one" );
    } else if ( !trouble.fired() ) {
        require( id.has_value() == ( isRange && !isFull ), "there is one while there is room" );
    }
    // Not the id is asked: after an exception g++ 12 has it hold anything (it leaves out the value
    // before an assignment that did not take place).
    if ( outcome != Outcome::done ) {
        return std::nullopt;
    }
    Shared& shared = shared_[ *id ];
    shared.desc = desc;
    ++shared.users;
    // Rule sets may have it too.
    require( agent.rangeCheckers.users( *id ) >= shared.users, "each user counts" );
    return id;
}

void RangeCheckerSteps::release( RangeCheckerId id )
{
    const auto found = shared_.find( id );
    require( found != shared_.end(), "the range checker is known" );
    trouble.finish( { .throwing = 1, .droppable = "bcm_range_destroy" },
                    [ & ] { return agent.rangeCheckers.release( id ); } );
    if ( --found->second.users == 0 ) {
        shared_.erase( found );
    }
    if ( trouble.dropped() ) {
        stranded_.push_back( id );
    }
}

void RangeCheckerSteps::cleanUp()
{
    for ( const RangeCheckerId id : stranded_ ) {
        require( agent.chips.bcm_range_destroy( AgentOnChip::unit, id ) == 0,
                 "it was left behind" );
    }
    stranded_.clear();
}

void RangeCheckerSteps::step()
{
    const bool mayHaveMore = own_.size() < mostOwn;
    if ( own_.empty() || ( mayHaveMore && choices.below( 2 ) == 0 ) ) {
        if ( const auto id = acquireAny() ) {
            own_.push_back( *id );
        }
    } else {
        release( taken( own_, choices.positionIn( own_ ) ) );
    }
    if ( choices.oneIn( 64 ) ) {
        cleanUp();
    }
}

void RangeCheckerSteps::audit()
{
    require( agent.rangeCheckers.audit() >= shared_.size(), "all are compared" );
    require( !agent.rangeCheckers.release( PeloraTcam::invalidRangeCheckerId ),
             "what nobody has cannot be given back" );
}

void RangeCheckerSteps::releaseAll()
{
    while ( !own_.empty() ) {
        release( taken( own_, own_.size() - 1 ) );
    }
    cleanUp();
}

} // namespace Soak
