#include "sim/chip/ChipSnapshot.h"

#include <algorithm>
#include <set>
#include <stdexcept>

namespace Sim {

namespace {

bool isDigit( char c )
{
    return c >= '0' && c <= '9';
}

/// Takes the first piece off a text: a run of digits, without leading zeros, or one other
/// character.
std::string_view takePiece( std::string_view& text )
{
    size_t length = 0;
    while ( length < text.size() && isDigit( text[ length ] ) ) {
        ++length;
    }
    std::string_view piece = text.substr( 0, std::max< size_t >( length, 1 ) );
    text.remove_prefix( piece.size() );
    while ( piece.size() > 1 && piece.front() == '0' ) {
        piece.remove_prefix( 1 );
    }
    return piece;
}

bool comesFirst( std::string_view left, std::string_view right )
{
    if ( isDigit( left.front() ) && isDigit( right.front() ) && left.size() != right.size() ) {
        return left.size() < right.size();
    }
    return left < right;
}

std::string lineOf( const std::string& object, const ChipSnapshot::Fields& fields )
{
    std::string line = object + ":";
    for ( const auto& [ name, value ] : fields ) {
        line += " " + name + "=" + value;
    }
    return line;
}

} // namespace

bool NaturalOrder::operator()( std::string_view left, std::string_view right ) const
{
    std::string_view leftRest = left;
    std::string_view rightRest = right;
    while ( !leftRest.empty() && !rightRest.empty() ) {
        const std::string_view leftPiece = takePiece( leftRest );
        const std::string_view rightPiece = takePiece( rightRest );
        if ( leftPiece != rightPiece ) {
            return comesFirst( leftPiece, rightPiece );
        }
    }
    if ( leftRest.empty() && rightRest.empty() ) {
        return left < right; // Equal but for leading zeros, if at all.
    }
    return leftRest.empty();
}

void ChipSnapshot::add( const std::string& object, Fields fields )
{
    if ( !objects_.emplace( object, std::move( fields ) ).second ) {
        throw std::logic_error( object + " is in the snapshot already" );
    }
}

std::string ChipSnapshot::text() const
{
    std::string text;
    for ( const auto& [ object, fields ] : objects_ ) {
        text += lineOf( object, fields ) + "\n";
    }
    return text;
}

std::ostream& operator<<( std::ostream& stream, const ChipSnapshot& snapshot )
{
    return stream << snapshot.text();
}

std::vector< std::string > difference( const ChipSnapshot& before, const ChipSnapshot& after )
{
    std::set< std::string, NaturalOrder > names;
    for ( const ChipSnapshot* snapshot : { &before, &after } ) {
        for ( const auto& object : snapshot->objects() ) {
            names.insert( object.first );
        }
    }
    std::vector< std::string > lines;
    for ( const std::string& name : names ) {
        const auto old = before.objects().find( name );
        const auto now = after.objects().find( name );
        const bool was = old != before.objects().end();
        const bool is = now != after.objects().end();
        if ( was && is && old->second == now->second ) {
            continue;
        }
        if ( was ) {
            lines.push_back( "- " + lineOf( name, old->second ) );
        }
        if ( is ) {
            lines.push_back( "+ " + lineOf( name, now->second ) );
        }
    }
    return lines;
}

} // namespace Sim
