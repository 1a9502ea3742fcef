#pragma once

/// The text of the exception that an action throws.

#include <string>

namespace TestSupport {

/// what() of the exception of that type; "no error" if the action throws nothing.
template< class Exception, class Action >
std::string errorText( const Action& action )
{
    try {
        action();
    } catch ( const Exception& error ) {
        return error.what();
    }
    return "no error";
}

} // namespace TestSupport
