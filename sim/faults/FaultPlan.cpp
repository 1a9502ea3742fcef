#include "sim/faults/FaultPlan.h"

#include "input/NameHints.h"

#include <stdexcept>

namespace Sim {

namespace {

/// Calls the one of several functions that takes the argument.
template< class... Functions >
struct Overloaded : Functions...
{
    using Functions::operator()...;
};

template< class... Functions >
Overloaded( Functions... ) -> Overloaded< Functions... >;

/// Throws unless the condition is true. The message is a function, as it takes long to make one
/// that looks for similar names.
template< class Message >
void require( bool condition, const Message& message )
{
    if ( !condition ) {
        throw std::invalid_argument( message() );
    }
}

/// The function that a fault names; null for all.
const SdkFunction* functionNamed( const std::string& name )
{
    if ( name == everyFunction ) {
        return nullptr;
    }
    const SdkFunction* function = findSdkFunction( name );
    require( function != nullptr, [ & ] {
        return "unknown SDK function '" + name + "'" + Input::nameHint( name, sdkFunctionNames() );
    } );
    return function;
}

void checkCorruption( const SdkFunction* function, const CorruptOutput& corruption )
{
    require( function != nullptr, [] { return "an output belongs to one function, found 'all'"; } );
    const SdkOutput* output = function->findOutput( corruption.output );
    require( output != nullptr, [ & ] {
        return function->name + " has no output '" + corruption.output + "'" +
               Input::nameHint( corruption.output, function->outputNames() );
    } );
    require( fits( *output, corruption.value ), [ & ] {
        return "output '" + output->name + "' of " + function->name + " has " +
               std::to_string( 8 * output->bytes ) + " bits and cannot hold " +
               std::to_string( corruption.value );
    } );
}

void checkEffect( const SdkFunction* function, const FaultEffect& effect )
{
    std::visit( Overloaded{
                    []( const FailCall& failure ) {
                        require( failure.rc < 0, [ & ] {
                            return "expected a return code below 0, found " +
                                   std::to_string( failure.rc );
                        } );
                    },
                    []( const DelayCall& delayed ) {
                        require( delayed.delay.count() >= 0,
                                 [] { return "expected a delay of 0 ms or more"; } );
                    },
                    [ function ]( const CorruptOutput& corruption ) {
                        checkCorruption( function, corruption );
                    },
                    []( const FlipBit& flip ) {
                        const std::string objection = objectionTo( flip.error );
                        require( objection.empty(), [ & ] { return objection; } );
                    },
                    []( const auto& ) {},
                },
                effect );
}

} // namespace

void DueFaults::add( const FaultEffect& effect )
{
    std::visit(
        Overloaded{
            [ this ]( const DelayCall& delayed ) { delay += delayed.delay; },
            [ this ]( const DropCall& ) { drop = true; },
            [ this ]( const CorruptOutput& corruption ) { corruptions.push_back( corruption ); },
            [ this ]( const FlipBit& flip ) { softErrors.push_back( flip.error ); },
            [ this ]( const auto& ending ) {
                if ( !end ) {
                    end = ending;
                }
            },
        },
        effect );
}

void FaultPlan::add( const Fault& fault )
{
    const SdkFunction* function = functionNamed( fault.when.function );
    require( fault.when.call >= 1, [] { return "calls are counted from 1, found 0"; } );
    checkEffect( function, fault.what );
    planned_.push_back( { function, fault } );
}

DueFaults
FaultPlan::dueAt( SdkFunctionId function, uint64_t callOfFunction, uint64_t callOfAll ) const
{
    DueFaults due;
    for ( const Planned& planned : planned_ ) {
        if ( planned.function != nullptr && planned.function->id != function ) {
            continue;
        }
        const FaultTrigger& when = planned.fault.when;
        const uint64_t call = planned.function == nullptr ? callOfAll : callOfFunction;
        if ( call == when.call || ( when.fromThenOn && call > when.call ) ) {
            due.add( planned.fault.what );
        }
    }
    return due;
}

} // namespace Sim
