#pragma once

/// What the tool does only where somebody looks at a terminal.

#include <string>
#include <string_view>

namespace Tool {

/// Whether the file descriptor is a terminal.
[[nodiscard]] bool isTerminal( int descriptor );

/// Whether output to the file descriptor may be coloured: on a terminal that can show colours,
/// unless the environment variable `NO_COLOR` is set and not empty.
[[nodiscard]] bool mayColour( int descriptor );

enum class Colour
{
    good,
    warning,
    bad,
    quiet,
};

/// Puts colours around text, or leaves it as it is.
class Painter
{
  public:
    explicit Painter( bool coloured )
        : coloured_( coloured )
    {}

    [[nodiscard]] std::string operator()( Colour colour, std::string_view text ) const;

  private:
    bool coloured_;
};

} // namespace Tool
