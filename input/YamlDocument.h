#pragma once

/// Strict reading of a YAML file that a person wrote.
///
/// A document is read into a tree of nodes, each of which knows where it stands. The reader says
/// what it expects, member by member; whatever else the file holds is an error. Every error is an
/// `InputError` with the position and with what was expected.
///
///     const YamlDocument document = YamlDocument::fromFile( "fruit.yaml" );
///     Fruit fruit;
///     document.root().readMembers( [ & ]( YamlMembers& members ) {
///         members.required( "name", fruit.name );                   // any text
///         members.required( "seeds", fruit.seeds, 0, 100 );         // a number in a range
///         members.optional( "colour", fruit.colour, colourNames );  // one of the names of a table
///         members.optional( "parts", [ & ]( const YamlNode& parts ) {
///             parts.readItems( [ & ]( const YamlNode& part ) { ... } );
///         } );
///     } );
///
/// Not accepted: anchors, aliases, several documents in one file, a key twice in one mapping, a key
/// that is not a text, a text with control characters (also written with a backslash in quotes) or
/// of more than one line, bytes that are no UTF-8.

#include "input/InputError.h"

#include <charconv>
#include <concepts>
#include <cstddef>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

namespace Input {

class YamlMembers;
class YamlNode;

/// A function that makes something of a node.
template< class Reader >
concept YamlReader = std::invocable< Reader, const YamlNode& >;

/// A table of pairs of a name and a value.
template< class Table, class Value >
concept NameTable =
    std::convertible_to< decltype( std::begin( std::declval< const Table& >() )->first ),
                         std::string_view > &&
    std::convertible_to< decltype( std::begin( std::declval< const Table& >() )->second ),
                         const Value& >;

/// A value in the file: a text, a number, a list, a mapping, or nothing.
class YamlNode
{
  public:
    enum class Kind
    {
        nothing,
        plainScalar,
        quotedScalar,
        list,
        mapping,
    };

    [[nodiscard]] Kind kind() const { return kind_; }

    [[nodiscard]] int line() const { return line_; }

    [[nodiscard]] int column() const { return column_; }

    /// The name that errors give the file.
    [[nodiscard]] const std::string& file() const { return *file_; }

    /// Reports an error at this node: always throws an InputError.
    [[noreturn]] void fail( const std::string& message ) const;

    /// Any text.
    void read( std::string& destination ) const;

    /// "true" or "false".
    void read( bool& destination ) const;

    /// A whole number, decimal or hexadecimal ("0x1F"), from `least` to `greatest`. A decimal one
    /// has no zero before it: "010" is 8 to some readers and 10 to others.
    template< std::integral Number >
    void
    read( Number& destination,
          std::type_identity_t< Number > least = std::numeric_limits< Number >::min(),
          std::type_identity_t< Number > greatest = std::numeric_limits< Number >::max() ) const
    {
        const std::optional< Number > number = parsed< Number >();
        if ( !number || *number < least || *number > greatest ) {
            failExpecting( "a whole number from " + std::to_string( least ) + " to " +
                           std::to_string( greatest ) );
        }
        destination = *number;
    }

    /// One of the names of a table of pairs of a name and a value.
    template< class Value, NameTable< Value > Table >

    void read( Value& destination, const Table& table ) const
    {
        std::vector< std::string > names;
        for ( const auto& [ name, value ] : table ) {
            names.emplace_back( name );
        }
        destination = std::next( std::begin( table ), indexAmong( names ) )->second;
    }

    /// Any of the above, for a value that need not be there.
    template< class Value, class... How >
    void read( std::optional< Value >& destination, const How&... how ) const
    {
        Value value{};
        read( value, how... );
        destination = std::move( value );
    }

    /// Whatever the reader makes of it.
    template< YamlReader Reader >
    void read( const Reader& reader ) const
    {
        reader( *this );
    }

    /// A list: calls the reader with each item.
    void readItems( const std::function< void( const YamlNode& item ) >& reader ) const;

    /// A mapping: calls the reader, which asks for the members; then complains about members that
    /// were not asked for, and about required ones that were missing.
    void readMembers( const std::function< void( YamlMembers& members ) >& reader ) const;

    /// A mapping of which the writer chooses the keys: calls the reader with each pair.
    void readPairs(
        const std::function< void( const YamlNode& key, const YamlNode& value ) >& reader ) const;

  private:
    friend class YamlMembers;
    friend class YamlTreeBuilder;

    YamlNode( std::shared_ptr< const std::string > file, Kind kind, int line, int column );

    /// "expected WHAT, found ..."
    [[noreturn]] void failExpecting( const std::string& what ) const;

    /// Fails for a text that is empty.
    void refuseEmptyText() const;

    /// The node's text if it may be a number's, null otherwise; fails for one with a leading zero.
    [[nodiscard]] const std::string* numberText() const;

    /// The place of the node's text among the names.
    [[nodiscard]] ptrdiff_t indexAmong( const std::vector< std::string >& names ) const;

    template< class Number >
    [[nodiscard]] std::optional< Number > parsed() const
    {
        const std::string* text = numberText();
        if ( text == nullptr ) {
            return std::nullopt;
        }
        const bool isHexadecimal = text->starts_with( "0x" );
        const char* first = text->data() + ( isHexadecimal ? 2 : 0 );
        const char* last = text->data() + text->size();
        Number number{};
        const auto [ end, error ] = std::from_chars( first, last, number, isHexadecimal ? 16 : 10 );
        const bool isNumber =
            error == std::errc() && end == last && ( !isHexadecimal || *first != '-' );
        return isNumber ? std::optional( number ) : std::nullopt;
    }

    std::shared_ptr< const std::string > file_;
    Kind kind_;
    int line_;
    int column_;
    std::string text_;                 // Of a scalar.
    std::vector< YamlNode > keys_;     // Of a mapping.
    std::vector< YamlNode > children_; // The items of a list; the values of a mapping.
};

/// The members of a mapping, while they are asked for.
class YamlMembers
{
  public:
    /// The position of the mapping, for errors about the members together.
    [[nodiscard]] const YamlNode& mapping() const { return mapping_; }

    /// A member that must be there. `destination` is a variable or a reader, `how` what
    /// `YamlNode::read` wants besides it. A text that goes into a variable is not empty.
    template< class Destination, class... How >
    void required( std::string_view name, Destination&& destination, const How&... how )
    {
        if ( !optional( name, destination, how... ) && missing_.empty() ) {
            missing_ = name;
        }
    }

    /// A member that may be there; tells whether it is. The destination of one that is not stays
    /// as it was.
    template< class Destination, class... How >
    bool optional( std::string_view name, Destination&& destination, const How&... how )
    {
        using Value = std::remove_cvref_t< Destination >;
        const YamlNode* node = ask( name );
        if ( node != nullptr ) {
            if constexpr ( std::is_same_v< Value, std::string > ||
                           std::is_same_v< Value, std::optional< std::string > > ) {
                node->refuseEmptyText();
            }
            node->read( destination, how... );
        }
        return node != nullptr;
    }

  private:
    friend class YamlNode;

    explicit YamlMembers( const YamlNode& mapping );

    const YamlNode* ask( std::string_view name );
    void complain() const;

    const YamlNode& mapping_;
    std::vector< std::string > asked_;
    std::string missing_;
};

/// A file, read. Its nodes may be used for as long as it lives.
class YamlDocument
{
  public:
    /// Reads a text; `file` is its name for error messages.
    [[nodiscard]] static YamlDocument fromText( const std::string& file, const std::string& text );

    /// Reads a file.
    [[nodiscard]] static YamlDocument fromFile( const std::string& path );

    [[nodiscard]] const YamlNode& root() const { return root_; }

  private:
    explicit YamlDocument( YamlNode root );

    YamlNode root_;
};

} // namespace Input
