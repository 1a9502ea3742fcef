#include "sim/faults/FaultInjectingSdk.h"

#include "input/NameHints.h"

#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

namespace Sim {

namespace {

/// Sets what the corruption is about where one of the arguments of the call points.
template< class... Arguments >
void corruptAmong( const std::tuple< Arguments... >& given,
                   const SdkFunction& function,
                   const CorruptOutput& corruption )
{
    std::apply(
        [ & ]( const Arguments&... arguments ) {
            setOutput( function, corruption.output, corruption.value, arguments... );
        },
        given );
}

} // namespace

FaultInjectingSdk::FaultInjectingSdk( SimulatedSdk& simulated, FaultPlan plan )
    : ForwardingSdk( simulated )
    , simulated_( simulated )
    , plan_( std::move( plan ) )
    , calls_( sdkFunctions().size() )
{}

void FaultInjectingSdk::add( const Fault& fault )
{
    const std::lock_guard guarded( mutex_ );
    plan_.add( fault );
}

void FaultInjectingSdk::addFromNow( Fault fault )
{
    const std::lock_guard guarded( mutex_ );
    FaultPlan().add( fault ); // Refuses what is wrong with it as it was given.
    const SdkFunction* function = findSdkFunction( fault.when.function );
    fault.when.call +=
        function == nullptr ? allCalls_ : calls_[ static_cast< size_t >( function->id ) ];
    plan_.add( fault );
}

void FaultInjectingSdk::clearFaults()
{
    const std::lock_guard guarded( mutex_ );
    plan_ = {};
}

uint64_t FaultInjectingSdk::calls( std::string_view function ) const
{
    const std::lock_guard guarded( mutex_ );
    if ( function == everyFunction ) {
        return allCalls_;
    }
    const SdkFunction* found = findSdkFunction( function );
    if ( found == nullptr ) {
        throw std::invalid_argument( "unknown SDK function '" + std::string( function ) + "'" +
                                     Input::nameHint( function, sdkFunctionNames() ) );
    }
    return calls_[ static_cast< size_t >( found->id ) ];
}

DueFaults FaultInjectingSdk::count( SdkFunctionId function )
{
    const std::lock_guard guarded( mutex_ );
    const uint64_t callOfFunction = ++calls_[ static_cast< size_t >( function ) ];
    const uint64_t callOfAll = ++allCalls_;
    return plan_.dueAt( function, callOfFunction, callOfAll );
}

int FaultInjectingSdk::injected( SdkFunctionId id,
                                 int unit,
                                 const Call& call,
                                 const Corrupt& corrupt )
{
    const DueFaults due = count( id );
    const SdkFunction& function = sdkFunctions()[ static_cast< size_t >( id ) ];
    if ( due.delay.count() > 0 ) {
        std::this_thread::sleep_for( due.delay );
    }
    if ( due.end && std::holds_alternative< ThrowFromCall >( *due.end ) ) {
        throw std::runtime_error( "injected fault: " + function.name );
    }
    const int rc = due.end ? std::get< FailCall >( *due.end ).rc
                           : called( due, function, unit, call, corrupt );
    const auto guard = simulated_.guard();
    for ( const SoftError& error : due.softErrors ) {
        if ( SimulatedChip* chip = simulated_.chip( unit ) ) {
            chip->flip( error );
        }
    }
    return rc;
}

int FaultInjectingSdk::called( const DueFaults& due,
                               const SdkFunction& function,
                               int unit,
                               const Call& call,
                               const Corrupt& corrupt )
{
    const int rc = due.drop ? simulated_.callWithoutEffect( unit, call ) : call();
    if ( rc >= 0 ) {
        for ( const CorruptOutput& corruption : due.corruptions ) {
            corrupt( function, corruption );
        }
    }
    return rc;
}

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int FaultInjectingSdk::name parameters                                                         \
    {                                                                                              \
        const auto given = std::tuple arguments;                                                   \
        return injected(                                                                           \
            SdkFunctionId::name, unit, [ & ] { return simulated_.name arguments; },                \
            [ & ]( const SdkFunction& function, const CorruptOutput& corruption ) {                \
                corruptAmong( given, function, corruption );                                       \
            } );                                                                                   \
    }
#include "sdk/SdkFunctions.def"

} // namespace Sim
