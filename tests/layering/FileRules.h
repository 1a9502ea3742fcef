// What every folder, table and source file keeps to, besides its includes.
#pragma once

#include "tests/layering/Offence.h"

#include <string>
#include <string_view>
#include <vector>

namespace Layering {

constexpr int mostLinesOfASource = 500;

/// Checks a table, a file that is included with macros defined and made into something else each
/// time. It starts by stopping the build where none of its macros is defined, has rows and nothing
/// else, of which each begins on a line of its own and may go on over several, and at its end
/// undefines all macros that it asks for or defines.
/// Files other than `.def` have no offences.
Offences checkTable( const std::string& file, std::string_view text );

/// Checks that a source is no longer than `mostLinesOfASource`. Tables and tests may be; so may a
/// few sources, each with a reason and a limit of its own.
Offences checkLength( const std::string& file, std::string_view text );

/// Checks that each folder with sources among `files`, paths from the root, has a README.md.
/// `files` are all files of the tree.
Offences checkReadmes( const std::vector< std::string >& files );

/// Whether `file` holds C++: a header, a source or a table.
bool isSource( std::string_view file );

} // namespace Layering
