#include "tests/soak/MixedSteps.h"

namespace Soak {

MixedSteps::MixedSteps( const Sim::ChipProfile& profile,
                        Choices& choices,
                        Tally& tally,
                        const Rates& rates )
    : choices_( choices )
    , tally_( tally )
    , rates_( rates )
    , agent_( profile, tally )
    , trouble_( agent_.chips, agent_.faulty, AgentOnChip::unit, choices, tally, rates.trouble )
    , rangeCheckers_( { agent_, choices, trouble_, tally } )
    , policers_( { agent_, choices, trouble_, tally } )
    , entries_( { agent_, choices, trouble_, tally }, rangeCheckers_, policers_ )
    , compression_( { agent_, choices, trouble_, tally } )
    , udfs_( { agent_, choices, trouble_, tally } )
    , groups_( { agent_, choices, trouble_, tally } )
    , ruleSets_( { agent_, choices, trouble_, tally } )
{}

/// In the order in which everything can be given back: what refers to something else first.
std::vector< Steps* > MixedSteps::kinds()
{
    std::vector< Steps* > all = { &ruleSets_, &entries_, &rangeCheckers_,
                                  &policers_, &udfs_,    &groups_ };
    if ( agent_.compression ) {
        all.push_back( &compression_ );
    }
    return all;
}

/// Mostly entries, which take from most of the others.
Steps& MixedSteps::anyKind()
{
    struct Share
    {
        unsigned of64;
        Steps& steps;
    };

    Steps& orEntries = agent_.compression ? static_cast< Steps& >( compression_ ) : entries_;
    const std::array< Share, 6 > shares = { { { 9, rangeCheckers_ },
                                              { 8, policers_ },
                                              { 10, udfs_ },
                                              { 3, groups_ },
                                              { 1, ruleSets_ },
                                              { 10, orEntries } } };
    unsigned chosen = choices_.below( 64 );
    for ( const Share& share : shares ) {
        if ( chosen < share.of64 ) {
            return share.steps;
        }
        chosen -= share.of64;
    }
    return entries_;
}

void MixedSteps::step()
{
    anyKind().step();
    if ( choices_.oneIn( rates_.auditOneIn ) ) {
        audit();
    }
}

void MixedSteps::audit()
{
    ++tally_.audits;
    for ( Steps* const steps : kinds() ) {
        steps->audit();
    }
}

void MixedSteps::end()
{
    audit();
    for ( Steps* const steps : kinds() ) {
        steps->releaseAll();
    }
    agent_.shutDown();
}

} // namespace Soak
