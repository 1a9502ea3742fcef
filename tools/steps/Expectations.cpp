#include "tools/steps/Expectations.h"

#include <utility>

namespace Tool {

void Expectations::compare( const std::string& what,
                            const std::string& wanted,
                            const std::string& found )
{
    if ( wanted != found ) {
        failed_.push_back( { { "what", what }, { "wanted", wanted }, { "found", found } } );
        text_ += fmt::format( "{}{}: wanted {}, found {}", text_.empty() ? "" : "; ", what, wanted,
                              found );
    }
}

StepResult Expectations::result( const std::string& text, Json produced ) const
{
    produced[ "failed" ] = failed_;
    if ( failed_.empty() ) {
        return { Outcome::ok, text, std::move( produced ) };
    }
    return { Outcome::error, text_, std::move( produced ), { text } };
}

} // namespace Tool
