// What the rules of the tree need to know of a source file's text: its lines as the preprocessor
// sees them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Layering {

struct Line
{
    int number;       // From 1; of the first line where several are joined.
    std::string text; // Without blanks at either end.

    bool operator==( const Line& ) const = default;
};

/// The lines of `source` that are not blank, without comments and without the contents of raw
/// strings; lines that end in a backslash are joined with the next one.
std::vector< Line > logicalLines( std::string_view source );

/// The number of lines in `source`, blank ones and comments included.
int numberOfLines( std::string_view source );

struct Directive
{
    std::string_view name;     // "include", "if", ...; empty where the line is no directive.
    std::string_view argument; // The rest of the line, without blanks at either end.
};

/// Takes a line apart into the name and the argument of a preprocessor directive.
Directive directiveOf( std::string_view line );

/// The identifiers in `text`, in the order in which they stand.
std::vector< std::string > identifiersIn( std::string_view text );

} // namespace Layering
