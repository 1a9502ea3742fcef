#pragma once

/// Something is wrong with a file that a person wrote.

#include <stdexcept>
#include <string>

namespace Input {

/// what() is "file:line:column: message"; line and column count from 1. What concerns the file as
/// a whole is reported at its beginning.
class InputError : public std::runtime_error
{
  public:
    /// `line` and `column` count from 1; `message` is without the place.
    InputError( const std::string& file, int line, int column, const std::string& message )
        : std::runtime_error( file + ":" + std::to_string( line ) + ":" + std::to_string( column ) +
                              ": " + message )
        , file_( file )
        , line_( line )
        , column_( column )
        , message_( message )
    {}

    /// The file that is wrong, as its reader named it.
    [[nodiscard]] const std::string& file() const { return file_; }

    /// From 1.
    [[nodiscard]] int line() const { return line_; }

    /// From 1.
    [[nodiscard]] int column() const { return column_; }

    /// What is wrong, without the place.
    [[nodiscard]] const std::string& message() const { return message_; }

  private:
    std::string file_;
    int line_;
    int column_;
    std::string message_;
};

} // namespace Input
