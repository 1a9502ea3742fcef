#pragma once

/// What a file that a person wrote may hold at all: UTF-8, and, in YAML, no control characters.
///
/// A "letter" is a Unicode code point. All functions are pure but `inputFileText`, which reads a
/// file.
///
///     if ( const std::optional< BadLetter > bad = firstNotUtf8( text ) ) {
///         throw InputError( file, bad->line, bad->column, bad->what );
///     }

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Input {

/// The text behind its byte order mark, the sign that some writers put before a text in UTF-8 and
/// that is none of its letters; all of it if it has none.
[[nodiscard]] std::string_view withoutByteOrderMark( std::string_view text );

/// How many bytes the letter at that byte has, 1 to 4; 0 if no letter of UTF-8 begins there.
/// `at` is below the text's size.
[[nodiscard]] std::size_t letterSize( std::string_view text, std::size_t at );

/// The number of a control character, other than line feed, if the letter is one: below 0x20, or
/// from 0x7F to 0x9F. `letter` is a whole letter of UTF-8.
[[nodiscard]] std::optional< unsigned > controlCharacter( std::string_view letter );

/// "0x1b"
[[nodiscard]] std::string hexadecimalByte( unsigned byte );

/// Whether a text has a decimal number with a leading zero: "010", or "4,010-12". It is 8 to some
/// readers and 10 to others. Digits behind a letter or a point, "0x010" and "1.05", are none.
[[nodiscard]] bool hasLeadingZero( std::string_view text );

/// A letter, or byte, that may not be where it is.
struct BadLetter
{
    int line = 1;     ///< from 1
    int column = 1;   ///< in letters, from 1
    std::string what; ///< "the control character 0x1b"
};

/// The first byte that is not of UTF-8.
[[nodiscard]] std::optional< BadLetter > firstNotUtf8( std::string_view text );

/// The first control character of a text in UTF-8, other than tabs and ends of lines.
[[nodiscard]] std::optional< BadLetter > firstControl( std::string_view text );

/// The bytes of a file. Throws an `InputError` at its beginning if it cannot be read.
[[nodiscard]] std::string inputFileText( const std::string& path );

} // namespace Input
