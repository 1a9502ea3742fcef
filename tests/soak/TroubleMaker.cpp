#include "tests/soak/TroubleMaker.h"

#include "agent/base/Locks.h"
#include "tests/soak/AgentOnChip.h"

#include <utility>

namespace Soak {

TroubleMaker::TroubleMaker( Sim::SimulatedSdk& chips,
                            Sim::FaultInjectingSdk& faulty,
                            int unit,
                            Choices& choices,
                            Tally& tally,
                            const Rates& rates )
    : chips_( chips )
    , faulty_( faulty )
    , unit_( unit )
    , choices_( choices )
    , tally_( tally )
    , rates_( rates )
{}

Sim::ChipSnapshot TroubleMaker::snapshot() const
{
    return chips_.chip( unit_ )->snapshot();
}

// ---- Before ----------------------------------------------------------------------------------

void TroubleMaker::begin( const Trouble& trouble )
{
    ++tally_.operations;
    planned_ = {};
    fired_ = false;
    if ( choices_.oneIn( rates_.faultOneIn ) ) {
        plan( trouble );
    }
    before_.reset();
    if ( rates_.watchOneIn == 1 || choices_.oneIn( rates_.watchOneIn ) ) {
        before_ = snapshot();
    }
}

void TroubleMaker::plan( const Trouble& trouble )
{
    constexpr unsigned failureCodes = 18;
    switch ( choices_.below( 8 ) ) {
    case 0:
        return inject( Kind::delay, Sim::everyFunction, 1, Sim::DelayCall{} );
    case 1:
        if ( trouble.droppable != nullptr ) {
            inject( Kind::drop, trouble.droppable, 1, Sim::DropCall{} );
        }
        return;
    case 2:
    case 3:
    case 4:
        if ( trouble.throwing != 0 ) {
            const unsigned call = 1 + choices_.below( trouble.throwing );
            inject( Kind::raise, Sim::everyFunction, call, Sim::ThrowFromCall{} );
        }
        return;
    default:
        if ( !trouble.refusable.empty() ) {
            const auto count = static_cast< unsigned >( trouble.refusable.size() );
            const char* const function = trouble.refusable[ choices_.below( count ) ];
            const int rc = -1 - static_cast< int >( choices_.below( failureCodes ) );
            inject( Kind::fail, function, 1 + choices_.below( 2 ), Sim::FailCall{ rc } );
        }
    }
}

void TroubleMaker::inject( Kind kind,
                           std::string_view function,
                           unsigned call,
                           Sim::FaultEffect effect )
{
    planned_ = { kind, std::string( function ), faulty_.calls( function ) + call };
    faulty_.addFromNow( { { planned_.function, call, false }, std::move( effect ) } );
}

// ---- After -----------------------------------------------------------------------------------

void TroubleMaker::checkException( const std::runtime_error& error ) const
{
    const bool isOurs = std::string_view( error.what() ).starts_with( "injected fault: " );
    require( isOurs && planned_.kind == Kind::raise, error.what() );
}

void TroubleMaker::end( const Trouble& trouble, Outcome outcome )
{
    require( Agent::activityLock().heldByThisThread(), "the activity lock is held again" );
    if ( planned_.kind != Kind::none ) {
        fired_ = faulty_.calls( planned_.function ) >= planned_.firesAt;
        faulty_.clearFaults();
        countFault();
    }
    if ( fired_ && planned_.kind == Kind::raise ) {
        require( outcome == Outcome::thrown, "nobody swallows an exception of the SDK" );
    }
    if ( fired_ && planned_.kind == Kind::fail && trouble.failureRefuses ) {
        require( outcome == Outcome::refused, "a call that failed is a refusal" );
    }
    tally_.refusals += outcome == Outcome::refused ? 1 : 0;
    const bool isAsBefore =
        outcome == Outcome::refused || ( outcome == Outcome::thrown && trouble.undone );
    if ( before_ && isAsBefore ) {
        ++tally_.comparisons;
        requireSame( *before_, snapshot(), "what was not done has changed nothing" );
    }
}

void TroubleMaker::countFault()
{
    if ( fired_ ) {
        ++tally_.faults;
        tally_.exceptions += planned_.kind == Kind::raise ? 1 : 0;
        tally_.dropped += planned_.kind == Kind::drop ? 1 : 0;
    }
}

} // namespace Soak
