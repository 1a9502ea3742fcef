// A place in the tree that breaks one of its rules, printed as compilers print an error, so that
// editors can jump to it.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace Layering {

struct Offence
{
    std::string file; // Path from the root of the tree.
    int line;         // From 1; 0 where the offence is the file's, and not a line's.
    std::string text; // What is wrong.

    bool operator==( const Offence& ) const = default;
};

using Offences = std::vector< Offence >;

inline std::ostream& operator<<( std::ostream& stream, const Offence& offence )
{
    stream << offence.file;
    if ( offence.line != 0 ) {
        stream << ":" << offence.line;
    }
    return stream << ": " << offence.text;
}

} // namespace Layering
