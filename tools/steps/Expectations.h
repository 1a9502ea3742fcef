#pragma once

/// What a step was expected to find, held against what it found.

#include "tools/scenario/Step.h"

#include <fmt/format.h>
#include <optional>
#include <string>

namespace Tool {

/// Compares and remembers what is not as expected.
class Expectations
{
  public:
    /// Both as a reader is to see them.
    void compare( const std::string& what, const std::string& wanted, const std::string& found );

    /// The same of a number or a truth value that need not be expected.
    template< class Value >
    void
    compare( const std::string& what, const std::optional< Value >& wanted, const Value& found )
    {
        if ( wanted ) {
            compare( what, fmt::format( "{}", *wanted ), fmt::format( "{}", found ) );
        }
    }

    /// The result of a step that has done its work: `ok` with the text; or `error` with what was
    /// not as expected, and the text below it. `produced` gets the member `failed`.
    [[nodiscard]] StepResult result( const std::string& text, Json produced ) const;

  private:
    Json failed_ = Json::array();
    std::string text_;
};

} // namespace Tool
