#include "agent/tcam/InitFuncs.h"

#include <map>
#include <string>
#include <utility>

namespace PeloraTcam {

namespace {

using InitFuncs = std::map< std::string, Agent::Ptr< BaseSdk6InitFunc >, std::less<> >;

InitFuncs& initFuncs()
{
    static InitFuncs instance;
    return instance;
}

} // namespace

Agent::Ptr< BaseSdk6InitFunc > registeredInitFunc( std::string_view typeName )
{
    const auto found = initFuncs().find( typeName );
    return found == initFuncs().end() ? nullptr : found->second;
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
