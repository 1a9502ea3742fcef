#include "agent/tcam/InitFuncs.h"

#include <map>
#include <string>
#include <utility>

namespace PeloraTcam {

namespace {

// A handful at most.
using InitFuncs = std::map< std::string, Agent::Ptr< BaseSdk6InitFunc >, std::less<> >;

InitFuncs& initFuncs()
{
    static InitFuncs instance;
    return instance;
}

} // namespace

// Looked up at every reading of a counter.
Agent::Ptr< BaseSdk6InitFunc > registeredInitFunc( std::string_view typeName )
{
    for ( const auto& [ name, initFunc ] : initFuncs() ) {
        if ( name == typeName ) {
            return initFunc;
        }
    }
    return nullptr;
}

void registeredInitFuncIs( std::string_view typeName, Agent::Ptr< BaseSdk6InitFunc > initFunc )
{
    if ( initFunc ) {
        initFuncs().insert_or_assign( std::string( typeName ), std::move( initFunc ) );
    } else {
        initFuncs().erase( std::string( typeName ) );
    }
}

} // namespace PeloraTcam
