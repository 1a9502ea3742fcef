#include "tests/soak/PolicerSteps.h"

namespace Soak {

using PeloraTcam::Policer;
using PeloraTcam::PolicerId;
using PeloraTcam::PolicerMode;
using Reference::PolicerSharing;

namespace {

constexpr std::size_t mostOwn = 48;

} // namespace

Policer PolicerSteps::anyPolicer()
{
    constexpr std::array< PolicerMode, 3 > modes = { PolicerMode::committed, PolicerMode::trTcm,
                                                     PolicerMode::srTcm };
    Policer policer;
    policer.mode = choices.oneOf( modes );
    policer.colorAware = choices.below( 2 ) != 0;
    policer.committedRate = choices.below( 4 ) * 1000;
    policer.committedBurst = choices.below( 2 ) * 64;
    policer.peakRate = choices.below( 2 ) * 8000;
    policer.peakBurst = choices.below( 2 ) * 128;
    return policer;
}

std::optional< PolicerId > PolicerSteps::acquireAny()
{
    const Policer policer = anyPolicer();
    const auto sharing = choices.below( 2 ) == 0 ? PolicerSharing::own : PolicerSharing::shared;
    const bool isFull = agent.policers.size() >= agent.policers.capacity();
    // An exception on HSDK leaves the id taken that the helper has chosen.
    const unsigned throwing = agent.isHsdk() ? 0 : 1;
    std::optional< PolicerId > id;
    const Outcome outcome = trouble.run( { .throwing = throwing }, [ & ] {
        id = agent.policers.acquire( policer, PeloraTcam::stageIfp(), sharing );
        return id.has_value();
    } );
    if ( outcome != Outcome::done ) {
        require( outcome == Outcome::thrown || isFull, "there is one while there is room" );
        return std::nullopt;
    }
    const std::size_t users = ++users_[ *id ];
    require( sharing == PolicerSharing::shared || users == 1, "one of one's own is new" );
    require( agent.policers.users( *id ) == users, "each user counts" );
    return id;
}

void PolicerSteps::release( PolicerId id )
{
    // On HSDK an id is used again at once, so the chip must have let go of it.
    const bool mayStrand = !agent.isHsdk() && stranded_.size() < AgentOnChip::sparePolicers;
    trouble.finish( { .throwing = 1, .droppable = mayStrand ? "bcm_policer_destroy" : nullptr },
                    [ & ] { return agent.policers.release( id ); } );
    if ( --users_.at( id ) == 0 ) {
        users_.erase( id );
    }
    if ( trouble.dropped() ) {
        stranded_.push_back( id );
    }
}

void PolicerSteps::cleanUp()
{
    for ( const PolicerId id : stranded_ ) {
        const auto policer = static_cast< bcm_policer_t >( id );
        require( agent.chips.bcm_policer_destroy( AgentOnChip::unit, policer ) == 0,
                 "it was left behind" );
    }
    stranded_.clear();
}

void PolicerSteps::step()
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

void PolicerSteps::audit()
{
    require( agent.policers.audit() >= users_.size(), "all are compared" );
    require( !agent.policers.release( PeloraTcam::invalidPolicerId ),
             "what nobody has cannot be given back" );
}

void PolicerSteps::releaseAll()
{
    while ( !own_.empty() ) {
        release( taken( own_, own_.size() - 1 ) );
    }
    cleanUp();
}

} // namespace Soak
