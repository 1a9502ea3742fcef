#pragma once

/// Where in a text something stands that the YAML parser has marked. Internal to `YamlDocument`.
///
///     const YamlPlaces places( text );
///     const YamlPlaces::Place place = places.of( error.mark );

#include <yaml-cpp/mark.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace Input {

class YamlPlaces
{
  public:
    /// Both count from 1. The column counts letters, of one byte or of several.
    struct Place
    {
        int line = 1;
        int column = 1;
    };

    /// The text must outlive this.
    explicit YamlPlaces( std::string_view text );

    /// The place of a mark. The parser counts on behind the end of the text, and has no place at
    /// all for some errors: what is outside of the text is moved to the nearest place inside, which
    /// may be right behind the last letter of a line.
    [[nodiscard]] Place of( const YAML::Mark& mark ) const;

  private:
    [[nodiscard]] Place placeIn( std::size_t line, std::size_t bytes ) const;

    std::string_view text_;
    std::vector< std::size_t > lineStarts_;
};

} // namespace Input
