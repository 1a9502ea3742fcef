#pragma once

/// Markdown pages, read as far as the tests of the documents need it.

#include <string>
#include <string_view>
#include <vector>

namespace DocsTest {

/// The contents of a file, whose path is from the root of the source tree. Throws
/// `std::runtime_error` if it cannot be read.
[[nodiscard]] std::string contentOf( const std::string& path );

/// The lines of a text, without their ends.
[[nodiscard]] std::vector< std::string > linesOf( std::string_view text );

/// The part of a page below a heading, up to the next heading of the same or a higher level; empty
/// if there is no such heading. The heading is given with its number signs: "## Assertions".
[[nodiscard]] std::string sectionOf( std::string_view page, const std::string& heading );

/// The headings of a page, without their number signs.
[[nodiscard]] std::vector< std::string > headingsOf( std::string_view page );

/// The name that a heading has in links: "A failed assertion" is "a-failed-assertion".
[[nodiscard]] std::string anchorOf( std::string_view heading );

/// The rows of all tables, each as its cells, without heads. An escaped bar is a bar.
[[nodiscard]] std::vector< std::vector< std::string > > tableRowsOf( std::string_view page );

/// The pieces of inline code, without their backticks. Blocks of code are left out.
[[nodiscard]] std::vector< std::string > codeOf( std::string_view page );

/// The targets of all links and images. Code is left out.
[[nodiscard]] std::vector< std::string > linksOf( std::string_view page );

} // namespace DocsTest
