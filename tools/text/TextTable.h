#pragma once

/// Tables of text.
///
///     TextTable table( { "NAME", "PAIRS" } );
///     table.add( { "ipTypeMap", "12" } );
///     fmt::print( "{}", table.text() );

#include <cstddef>
#include <string>
#include <vector>

namespace Tool {

/// Lines of texts in columns as wide as their widest text; the last one is not filled up.
class TextTable
{
  public:
    using Line = std::vector< std::string >;

    explicit TextTable( Line headings ) { add( std::move( headings ) ); }

    /// As many texts as there are headings.
    void add( Line line ) { lines_.push_back( std::move( line ) ); }

    /// The table, each line with its end.
    [[nodiscard]] std::string text() const;

  private:
    [[nodiscard]] std::size_t widthOf( std::size_t column ) const;

    std::vector< Line > lines_;
};

} // namespace Tool
