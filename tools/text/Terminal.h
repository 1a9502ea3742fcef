#pragma once

/// What the tool does only where somebody looks at a terminal.

#include <string>
#include <string_view>
#include <vector>

namespace Tool {

/// Whether the file descriptor is a terminal.
[[nodiscard]] bool isTerminal( int descriptor );

/// Whether output to the file descriptor may be coloured: on a terminal that can show colours,
/// unless the environment variable `NO_COLOR` is set and not empty.
[[nodiscard]] bool mayColour( int descriptor );

/// How many columns the terminal has that the file descriptor is; 0 if it is none, or does not say.
[[nodiscard]] std::size_t terminalWidth( int descriptor );

/// The text in lines of at most `width` columns, broken at blanks; a word that is longer gets a
/// line of its own. A width of 0 breaks nowhere. There is always one line.
[[nodiscard]] std::vector< std::string > folded( std::string_view text, std::size_t width );

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
