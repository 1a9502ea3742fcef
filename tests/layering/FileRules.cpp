#include "tests/layering/FileRules.h"

#include "tests/layering/SourceText.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace Layering {

namespace {

using Lines = std::vector< Line >;
using Names = std::set< std::string >;

bool isUndefinition( const Line& line )
{
    return directiveOf( line.text ).name == "undef";
}

/// Whether the table starts with a conditional that holds an #error.
bool startsWithError( const Lines& lines )
{
    return lines.size() >= 2 && directiveOf( lines[ 0 ].text ).name.starts_with( "if" ) &&
           directiveOf( lines[ 1 ].text ).name == "error";
}

/// The macros of the table: those that its first line asks for, and those that it defines.
Names macrosOf( const Lines& lines )
{
    Names names;
    for ( const std::string& name : identifiersIn( directiveOf( lines[ 0 ].text ).argument ) ) {
        names.insert( name );
    }
    names.erase( "defined" );
    for ( const Line& line : lines ) {
        const Directive directive = directiveOf( line.text );
        if ( directive.name == "define" ) {
            names.insert( identifiersIn( directive.argument ).front() );
        }
    }
    return names;
}

/// The position of the parenthesis that closes the one at `opening`; the line's size if none does.
/// Parentheses inside string literals do not count.
size_t closingParenthesis( const std::string& line, size_t opening )
{
    int depth = 0;
    bool inString = false;
    for ( size_t position = opening; position < line.size(); ++position ) {
        const char c = line[ position ];
        if ( c == '"' && line[ position - 1 ] != '\\' ) {
            inString = !inString;
        } else if ( c == '(' && !inString ) {
            ++depth;
        } else if ( c == ')' && !inString && --depth == 0 ) {
            return position;
        }
    }
    return line.size();
}

/// Whether the text begins as a row: with a macro of the table.
bool startsAsRow( const std::string& text, const Names& macros )
{
    const size_t opening = text.find( '(' );
    return opening != std::string::npos && macros.contains( text.substr( 0, opening ) );
}

/// The position behind the row's last parenthesis; beyond the text's end if it is not closed.
size_t endOfRow( const std::string& text )
{
    return closingParenthesis( text, text.find( '(' ) ) + 1;
}

/// Takes the lines of a row, from `line` on: up to its last parenthesis, a directive, or the end.
std::string takeRow( Lines::const_iterator& line, Lines::const_iterator end )
{
    std::string row = line->text;
    for ( ++line; endOfRow( row ) > row.size() && line != end && !line->text.starts_with( '#' );
          ++line ) {
        row += ' ' + line->text;
    }
    return row;
}

Offences rowsThatAreNone( const std::string& file, const Lines& lines, const Names& macros )
{
    Offences offences;
    for ( auto line = lines.begin(); line != lines.end(); ) {
        const int number = line->number;
        if ( line->text.starts_with( '#' ) ) {
            ++line;
            continue;
        }
        const bool starts = startsAsRow( line->text, macros );
        const std::string row = starts ? takeRow( line, lines.end() ) : ( line++ )->text;
        if ( !starts || endOfRow( row ) != row.size() ) {
            offences.push_back( { file, number, "is neither a row nor a comment" } );
        }
    }
    return offences;
}

/// The macros that the #undef lines at the very end leave out.
Offences leftDefined( const std::string& file, const Lines& lines, Names macros )
{
    for ( auto line = lines.rbegin(); line != lines.rend() && isUndefinition( *line ); ++line ) {
        macros.erase( std::string( directiveOf( line->text ).argument ) );
    }
    Offences offences;
    for ( const std::string& macro : macros ) {
        offences.push_back( { file, lines.back().number, macro + " is not undefined at the end" } );
    }
    return offences;
}

/// A source that may be longer than `mostLinesOfASource`, and why.
struct LongSource
{
    std::string_view file;
    std::string_view reason;
    int mostLines;
};

constexpr LongSource longSources[] = {
    { "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.cpp",
      "its name stands in the traces and error lines of both paths to user-defined fields", 850 },
};

int mostLinesOf( std::string_view file )
{
    const auto source = std::ranges::find( longSources, file, &LongSource::file );
    return source == std::end( longSources ) ? mostLinesOfASource : source->mostLines;
}

std::string folderOf( const std::string& file )
{
    const size_t slash = file.rfind( '/' );
    return slash == std::string::npos ? "" : file.substr( 0, slash + 1 );
}

} // namespace

bool isSource( std::string_view file )
{
    return file.ends_with( ".h" ) || file.ends_with( ".cpp" ) || file.ends_with( ".def" );
}

Offences checkTable( const std::string& file, std::string_view text )
{
    if ( !file.ends_with( ".def" ) ) {
        return {};
    }
    const Lines lines = logicalLines( text );
    if ( !startsWithError( lines ) ) {
        return { { file, lines.empty() ? 0 : lines.front().number,
                   "does not start with an #error for when no macro is defined" } };
    }
    const Names macros = macrosOf( lines );
    Offences offences = rowsThatAreNone( file, lines, macros );
    std::ranges::copy( leftDefined( file, lines, macros ), std::back_inserter( offences ) );
    return offences;
}

Offences checkLength( const std::string& file, std::string_view text )
{
    const int length = numberOfLines( text );
    const bool mayBeLong = file.ends_with( ".def" ) || file.starts_with( "tests/" );
    const int most = mostLinesOf( file );
    if ( mayBeLong || !isSource( file ) || length <= most ) {
        return {};
    }
    return { { file, most + 1,
               "has " + std::to_string( length ) + " lines; a source has at most " +
                   std::to_string( most ) } };
}

Offences checkReadmes( const std::vector< std::string >& files )
{
    const Names present( files.begin(), files.end() );
    Names missing;
    for ( const std::string& file : files ) {
        const std::string readme = folderOf( file ) + "README.md";
        if ( isSource( file ) && !present.contains( readme ) ) {
            missing.insert( readme );
        }
    }
    Offences offences;
    for ( const std::string& readme : missing ) {
        offences.push_back( { readme, 0, "is missing: every folder with sources has one" } );
    }
    return offences;
}

} // namespace Layering
