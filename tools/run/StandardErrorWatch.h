#pragma once

/// Picks the library's last words out of a child's standard error and passes the rest on.
///
/// The line of a failed SDK call, that of a value without a translation and that of a failed
/// assertion are held back, because the report of the step tells them; they are passed on after all
/// when the step lives on. Only whole lines are passed on.

#include <functional>
#include <string>
#include <string_view>

namespace Tool {

/// What the library wrote before it ended the process; each may be empty.
struct LastWords
{
    std::string errorLine; ///< what it could not translate: "Unsupported qualifier NAME"
    std::string apiError;  ///< FILE:LINE TEXT API ERROR:MESSAGE (RC)
    std::string assertion; ///< FILE:LINE: FUNCTION: Assertion `EXPRESSION' failed.

    [[nodiscard]] bool empty() const
    {
        return errorLine.empty() && apiError.empty() && assertion.empty();
    }
};

class StandardErrorWatch
{
  public:
    using PassOn = std::function< void( std::string_view ) >;

    explicit StandardErrorWatch( PassOn passOn );

    /// Takes the next bytes of the child's standard error.
    void take( std::string_view bytes );

    /// Gives the last words since the last time and forgets them. A line that has no end yet counts
    /// as one.
    LastWords lastWords();

    /// Passes on what was held back since the last time: nobody has ended.
    void passOnLastWords();

  private:
    void takeLine( std::string_view line );
    void takeUnfinishedLine();

    PassOn passOn_;
    std::string unfinished_;
    LastWords lastWords_;
    std::string heldBack_;
};

} // namespace Tool
