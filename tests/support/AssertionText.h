#pragma once

/// The lines on standard error with which the library ends a process, as regular expressions in
/// which nothing but the line number and what the caller leaves open may vary.

#include <cerrno> // program_invocation_short_name
#include <string>
#include <string_view>

namespace TestSupport {

/// A regular expression that matches the text and nothing else.
[[nodiscard]] inline std::string literally( std::string_view text )
{
    std::string expression;
    for ( const char character : text ) {
        if ( std::string_view( ".[]{}()\\*+?|^$" ).find( character ) != std::string_view::npos ) {
            expression += '\\';
        }
        expression += character;
    }
    return expression;
}

/// A failed assertion: "PROGRAM: FILE:LINE: FUNCTION: Assertion `EXPRESSION' failed.\n". The
/// function is a regular expression already.
[[nodiscard]] inline std::string
assertionLine( std::string_view file, std::string_view function, std::string_view expression )
{
    return literally( program_invocation_short_name ) + ": " + literally( file ) +
           ":[0-9]+: " + std::string( function ) + ": Assertion `" + literally( expression ) +
           "' failed\\.\n";
}

/// A failed checked call: "FILE:LINE CALL API ERROR:MESSAGE (RC)\n".
[[nodiscard]] inline std::string
apiErrorLine( std::string_view file, std::string_view call, std::string_view message, int rc )
{
    return literally( file ) + ":[0-9]+ " + literally( call ) +
           " API ERROR:" + literally( message ) + " \\(" + std::to_string( rc ) + "\\)\n";
}

} // namespace TestSupport
