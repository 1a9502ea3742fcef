#include "input/YamlDocument.h"

#include "input/InputText.h"
#include "input/NameHints.h"
#include "input/YamlOpenings.h"
#include "input/YamlPlaces.h"
#include "input/YamlTreeBuilder.h"

#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>

#include <algorithm>
#include <sstream>
#include <utility>

namespace Input {

namespace {

std::string withoutTrailingBlanks( std::string text )
{
    while ( !text.empty() && ( text.back() == ' ' || text.back() == '\n' ) ) {
        text.pop_back();
    }
    return text;
}

/// Whether a line, counted from 0, is indented with a tab, which the parser complains of in words
/// that say nothing of it.
bool beginsWithTab( const std::string& text, int line )
{
    std::istringstream lines( text );
    std::string content;
    for ( int n = 0; n <= line; ++n ) {
        std::getline( lines, content );
    }
    const std::size_t end = content.find_first_not_of( " \t" );
    return content.substr( 0, end ).find( '\t' ) != std::string::npos;
}

/// What is wrong with a text that the parser refused.
std::string reasonOf( const YAML::Exception& error, const std::string& text )
{
    if ( beginsWithTab( text, error.mark.line ) ) {
        return "a tab, where only blanks may indent";
    }
    if ( error.msg == "end of map not found" || error.msg == "end of sequence not found" ) {
        return "indentation matches no earlier line";
    }
    return withoutTrailingBlanks( error.msg );
}

/// Refuses what YAML has no place for. The parser would take some of it for the end of the text,
/// and zeros for a sign of letters of two or four bytes, and then be wrong about the rest.
void refuseStrangeLetters( const std::string& file, const std::string& text )
{
    std::optional< BadLetter > bad = firstNotUtf8( text );
    bad = bad ? bad : firstControl( text );
    if ( bad ) {
        throw InputError( file, bad->line, bad->column, "not YAML: " + bad->what );
    }
}

InputError nothingCloses( const std::string& file, const YamlOpening& opening )
{
    return { file, opening.line, opening.column,
             std::string( "not YAML: nothing closes this " ) + opening.sign };
}

/// What the parser refused: where, and why.
InputError refusalOf( const std::string& file,
                      const std::string& text,
                      const YamlPlaces& places,
                      const YAML::Exception& error )
{
    const YamlPlaces::Place place = places.of( error.mark );
    if ( const std::optional< YamlOpening > opening = unclosedOpening( text, place.line ) ) {
        return nothingCloses( file, *opening );
    }
    return { file, place.line, place.column, "not YAML: " + reasonOf( error, text ) };
}

/// The parser takes the end of the text for the end of a quoted one.
void refuseOpenQuote( const std::string& file, const std::string& text )
{
    const std::optional< YamlOpening > opening = unclosedOpening( text, 0 );
    if ( opening && ( opening->sign == '\'' || opening->sign == '"' ) ) {
        throw nothingCloses( file, *opening );
    }
}

} // namespace

YamlNode::YamlNode( std::shared_ptr< const std::string > file, Kind kind, int line, int column )
    : file_( std::move( file ) )
    , kind_( kind )
    , line_( line )
    , column_( column )
{}

void YamlNode::fail( const std::string& message ) const
{
    throw InputError( *file_, line_, column_, message );
}

void YamlNode::failExpecting( const std::string& what ) const
{
    std::string found;
    switch ( kind_ ) {
    case Kind::nothing:
        found = "nothing";
        break;
    case Kind::plainScalar:
        found = "'" + text_ + "'";
        break;
    case Kind::quotedScalar:
        found = "the text '" + text_ + "'";
        break;
    case Kind::list:
        found = "a list";
        break;
    case Kind::mapping:
        found = "a mapping";
        break;
    }
    fail( "expected " + what + ", found " + found );
}

void YamlNode::read( std::string& destination ) const
{
    if ( kind_ != Kind::plainScalar && kind_ != Kind::quotedScalar ) {
        failExpecting( "a text" );
    }
    destination = text_;
}

void YamlNode::refuseEmptyText() const
{
    if ( kind_ == Kind::quotedScalar && text_.empty() ) {
        fail( "expected a text, found an empty one" );
    }
}

void YamlNode::read( bool& destination ) const
{
    const bool isTruth = kind_ == Kind::plainScalar && ( text_ == "true" || text_ == "false" );
    if ( !isTruth ) {
        failExpecting( "'true' or 'false'" );
    }
    destination = text_ == "true";
}

const std::string* YamlNode::numberText() const
{
    if ( kind_ != Kind::plainScalar ) {
        return nullptr;
    }
    if ( hasLeadingZero( text_ ) ) {
        fail( "expected a number without a leading zero, found '" + text_ + "'" );
    }
    return &text_;
}

ptrdiff_t YamlNode::indexAmong( const std::vector< std::string >& names ) const
{
    const bool isScalar = kind_ == Kind::plainScalar || kind_ == Kind::quotedScalar;
    if ( !isScalar ) {
        failExpecting( quotedNames( names ) );
    }
    const auto found = std::ranges::find( names, text_ );
    if ( found == names.end() ) {
        fail( "unknown value '" + text_ + "'" + nameHint( text_, names ) );
    }
    return found - names.begin();
}

void YamlNode::readItems( const std::function< void( const YamlNode& ) >& reader ) const
{
    if ( kind_ != Kind::list ) {
        failExpecting( "a list" );
    }
    for ( const YamlNode& item : children_ ) {
        reader( item );
    }
}

void YamlNode::readPairs(
    const std::function< void( const YamlNode&, const YamlNode& ) >& reader ) const
{
    if ( kind_ != Kind::mapping ) {
        failExpecting( "a mapping" );
    }
    for ( std::size_t i = 0; i < keys_.size(); ++i ) {
        reader( keys_[ i ], children_[ i ] );
    }
}

void YamlNode::readMembers( const std::function< void( YamlMembers& ) >& reader ) const
{
    if ( kind_ != Kind::mapping ) {
        failExpecting( "a mapping" );
    }
    YamlMembers members( *this );
    reader( members );
    members.complain();
}

YamlMembers::YamlMembers( const YamlNode& mapping )
    : mapping_( mapping )
{}

const YamlNode* YamlMembers::ask( std::string_view name )
{
    asked_.emplace_back( name );
    for ( size_t i = 0; i < mapping_.keys_.size(); ++i ) {
        if ( mapping_.keys_[ i ].text_ == name ) {
            return &mapping_.children_[ i ];
        }
    }
    return nullptr;
}

/// An unknown key comes first: it is often a required one, misspelt.
void YamlMembers::complain() const
{
    for ( const YamlNode& key : mapping_.keys_ ) {
        if ( std::ranges::find( asked_, key.text_ ) == asked_.end() ) {
            key.fail( "unknown key '" + key.text_ + "'" + nameHint( key.text_, asked_ ) );
        }
    }
    if ( !missing_.empty() ) {
        mapping_.fail( "missing key '" + missing_ + "'" );
    }
}

YamlDocument::YamlDocument( YamlNode root )
    : root_( std::move( root ) )
{}

YamlDocument YamlDocument::fromText( const std::string& file, const std::string& text )
{
    refuseStrangeLetters( file, text );
    refuseOpenQuote( file, text );
    const YamlPlaces places( text );
    YamlTreeBuilder builder( file, places );
    try {
        std::istringstream stream( text );
        YAML::Parser parser( stream );
        while ( parser.HandleNextDocument( builder ) ) {
        }
    } catch ( const YAML::Exception& error ) {
        throw refusalOf( file, text, places, error );
    }
    return YamlDocument( builder.takeRoot() );
}

YamlDocument YamlDocument::fromFile( const std::string& path )
{
    return fromText( path, inputFileText( path ) );
}

} // namespace Input
