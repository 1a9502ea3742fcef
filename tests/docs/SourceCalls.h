#pragma once

/// Calls and their arguments in C++ sources, and what the library's sources say in them.

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace DocsTest {

/// One call: where it begins in its source, and its arguments, with single blanks between tokens.
struct SourceCall
{
    std::size_t position = 0;
    std::vector< std::string > arguments;
};

/// The calls of a function or macro, in their order. `name` is what stands before the parenthesis.
[[nodiscard]] std::vector< SourceCall > callsOf( std::string_view source, std::string_view name );

/// Whether an argument is a string literal, or several that follow each other.
[[nodiscard]] bool isLiteral( std::string_view argument );

/// What a string literal holds, or several that follow each other.
[[nodiscard]] std::string literalOf( std::string_view argument );

/// The texts with which a source of the library (.cpp, .h) fails assertions.
[[nodiscard]] std::set< std::string > assertionTextsOfSource( std::string_view source );

/// The same of one of its tables (.def).
[[nodiscard]] std::set< std::string > assertionTextsOfTable( std::string_view table );

/// One trace statement of level 0 or 1.
struct ShortageTrace
{
    std::string level;
    std::string text; ///< a regular expression, in which what varies is left open
};

/// Those of a source.
[[nodiscard]] std::vector< ShortageTrace > shortageTracesOf( std::string_view source );

} // namespace DocsTest
