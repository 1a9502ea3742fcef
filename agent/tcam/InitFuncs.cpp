#include "agent/tcam/InitFuncs.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace PeloraTcam {

namespace {

/// One that has been taken out again keeps its place, and is null.
struct Registration
{
    std::string typeName;
    Agent::Ptr< BaseSdk6InitFunc > initFunc;
};

// A handful at most, looked up at every reading of a counter; so they are reached without a guard.
constinit std::vector< Registration > registrations;
const Agent::Ptr< BaseSdk6InitFunc > none;

} // namespace

const Agent::Ptr< BaseSdk6InitFunc >& registeredInitFunc( std::string_view typeName )
{
    const auto found = std::ranges::find( registrations, typeName, &Registration::typeName );
    return found == registrations.end() ? none : found->initFunc;
}

void registeredInitFuncIs( std::string_view typeName, Agent::Ptr< BaseSdk6InitFunc > initFunc )
{
    const auto found = std::ranges::find( registrations, typeName, &Registration::typeName );
    if ( found != registrations.end() ) {
        found->initFunc = std::move( initFunc );
    } else if ( initFunc ) {
        registrations.push_back( { std::string( typeName ), std::move( initFunc ) } );
    }
}

} // namespace PeloraTcam
