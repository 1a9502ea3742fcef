#include "input/YamlTreeBuilder.h"

#include "input/InputText.h"

#include <yaml-cpp/mark.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Input {

namespace {

// The parser's own name for "no anchor".
constexpr YAML::anchor_t noAnchor = 0;

/// Why a text cannot be taken: it would come out wherever it is printed. Empty if it can.
std::string objectionTo( std::string_view text )
{
    for ( std::size_t at = 0, size = 1; at < text.size(); at += size ) {
        size = std::max< std::size_t >( letterSize( text, at ), 1 );
        const std::string_view letter = text.substr( at, size );
        if ( letter == "\n" ) {
            return "expected a text of one line";
        }
        if ( const std::optional< unsigned > control = controlCharacter( letter ) ) {
            return "the control character " + hexadecimalByte( *control ) + " in a text";
        }
    }
    return {};
}

} // namespace

YamlTreeBuilder::YamlTreeBuilder( const std::string& file, const YamlPlaces& places )
    : file_( std::make_shared< const std::string >( file ) )
    , places_( places )
{}

YamlNode YamlTreeBuilder::takeRoot()
{
    return root_ ? *std::move( root_ ) : YamlNode( file_, YamlNode::Kind::nothing, 1, 1 );
}

void YamlTreeBuilder::OnDocumentStart( const YAML::Mark& mark )
{
    if ( hasDocument_ ) {
        nodeAt( mark, noAnchor, YamlNode::Kind::nothing ).fail( "a second document in one file" );
    }
    hasDocument_ = true;
}

void YamlTreeBuilder::OnNull( const YAML::Mark& mark, YAML::anchor_t anchor )
{
    add( nodeAt( mark, anchor, YamlNode::Kind::nothing ) );
}

void YamlTreeBuilder::OnAlias( const YAML::Mark& mark, YAML::anchor_t )
{
    nodeAt( mark, noAnchor, YamlNode::Kind::nothing ).fail( "aliases are not accepted here" );
}

void YamlTreeBuilder::OnScalar( const YAML::Mark& mark,
                                const std::string& tag,
                                YAML::anchor_t anchor,
                                const std::string& value )
{
    // The parser gives a scalar without quotes and without a tag of its own the tag "?".
    const bool isPlain = tag == "?";
    YamlNode node = nodeAt( mark, anchor,
                            isPlain ? YamlNode::Kind::plainScalar : YamlNode::Kind::quotedScalar );
    const std::string objection = objectionTo( value );
    if ( !objection.empty() ) {
        node.fail( objection );
    }
    node.text_ = value;
    add( std::move( node ) );
}

void YamlTreeBuilder::OnSequenceStart( const YAML::Mark& mark,
                                       const std::string&,
                                       YAML::anchor_t anchor,
                                       YAML::EmitterStyle::value )
{
    open_.push_back( nodeAt( mark, anchor, YamlNode::Kind::list ) );
}

void YamlTreeBuilder::OnSequenceEnd()
{
    close();
}

void YamlTreeBuilder::OnMapStart( const YAML::Mark& mark,
                                  const std::string&,
                                  YAML::anchor_t anchor,
                                  YAML::EmitterStyle::value )
{
    open_.push_back( nodeAt( mark, anchor, YamlNode::Kind::mapping ) );
}

void YamlTreeBuilder::OnMapEnd()
{
    close();
}

YamlNode
YamlTreeBuilder::nodeAt( const YAML::Mark& mark, YAML::anchor_t anchor, YamlNode::Kind kind ) const
{
    const auto [ line, column ] = places_.of( mark );
    YamlNode node( file_, kind, line, column );
    if ( anchor != noAnchor ) {
        node.fail( "anchors are not accepted here" );
    }
    return node;
}

/// Puts a finished node where it belongs. In a mapping keys and values take turns.
void YamlTreeBuilder::add( YamlNode node )
{
    if ( open_.empty() ) {
        root_ = std::move( node );
        return;
    }
    YamlNode& parent = open_.back();
    const bool isKey =
        parent.kind_ == YamlNode::Kind::mapping && parent.keys_.size() == parent.children_.size();
    if ( isKey ) {
        addKey( parent, std::move( node ) );
        return;
    }
    if ( node.kind_ == YamlNode::Kind::nothing && parent.kind_ == YamlNode::Kind::mapping ) {
        // The parser places a value that was left out where the next thing stands.
        node.line_ = parent.keys_.back().line_;
        node.column_ = parent.keys_.back().column_;
    }
    parent.children_.push_back( std::move( node ) );
}

void YamlTreeBuilder::addKey( YamlNode& mapping, YamlNode key )
{
    const bool isText =
        key.kind_ == YamlNode::Kind::plainScalar || key.kind_ == YamlNode::Kind::quotedScalar;
    if ( !isText ) {
        key.failExpecting( "a key" );
    }
    for ( const YamlNode& earlier : mapping.keys_ ) {
        if ( earlier.text_ == key.text_ ) {
            key.fail( "duplicate key '" + key.text_ + "', first given in line " +
                      std::to_string( earlier.line_ ) );
        }
    }
    mapping.keys_.push_back( std::move( key ) );
}

void YamlTreeBuilder::close()
{
    YamlNode node = std::move( open_.back() );
    open_.pop_back();
    add( std::move( node ) );
}

} // namespace Input
