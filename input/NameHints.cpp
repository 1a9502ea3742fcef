#include "input/NameHints.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

namespace Input {

namespace {

constexpr size_t mostNamesToList = 12;

/// The number of letters to add, leave out, replace or swap with their neighbour.
size_t distanceOf( std::string_view left, std::string_view right )
{
    std::vector< std::vector< size_t > > distance( left.size() + 1,
                                                   std::vector< size_t >( right.size() + 1 ) );
    for ( size_t i = 0; i <= left.size(); ++i ) {
        for ( size_t j = 0; j <= right.size(); ++j ) {
            if ( i == 0 || j == 0 ) {
                distance[ i ][ j ] = i + j;
                continue;
            }
            const size_t replaced = left[ i - 1 ] == right[ j - 1 ] ? 0 : 1;
            distance[ i ][ j ] = std::min( { distance[ i - 1 ][ j ] + 1, distance[ i ][ j - 1 ] + 1,
                                             distance[ i - 1 ][ j - 1 ] + replaced } );
            if ( i > 1 && j > 1 && left[ i - 1 ] == right[ j - 2 ] &&
                 left[ i - 2 ] == right[ j - 1 ] ) {
                distance[ i ][ j ] = std::min( distance[ i ][ j ], distance[ i - 2 ][ j - 2 ] + 1 );
            }
        }
    }
    return distance[ left.size() ][ right.size() ];
}

std::string inLowerCase( std::string_view name )
{
    std::string lower( name );
    std::ranges::transform( lower, lower.begin(), []( unsigned char letter ) {
        return static_cast< char >( std::tolower( letter ) );
    } );
    return lower;
}

/// The candidates that begin with the name, whatever their case, if that says enough.
std::vector< std::string > completionsOf( std::string_view name,
                                          const std::vector< std::string >& candidates )
{
    constexpr size_t fewestLetters = 2;
    std::vector< std::string > completions;
    for ( const std::string& candidate : candidates ) {
        if ( name.size() >= fewestLetters &&
             inLowerCase( candidate ).starts_with( inLowerCase( name ) ) ) {
            completions.push_back( candidate );
        }
    }
    return completions;
}

/// The longer the names, the more letters may differ; names with nothing in common are not near.
bool isNear( size_t distance, size_t longerLength )
{
    return distance <= 1 + longerLength / 4 && distance < longerLength;
}

} // namespace

std::optional< std::string > nearestName( std::string_view name,
                                          const std::vector< std::string >& candidates )
{
    std::optional< std::string > nearest;
    size_t least = 0;
    for ( const std::string& candidate : candidates ) {
        const size_t distance = distanceOf( inLowerCase( name ), inLowerCase( candidate ) );
        const bool nearer = !nearest || distance < least;
        if ( nearer && isNear( distance, std::max( name.size(), candidate.size() ) ) ) {
            nearest = candidate;
            least = distance;
        }
    }
    return nearest;
}

std::string quotedNames( const std::vector< std::string >& names )
{
    std::string text;
    for ( size_t i = 0; i < names.size(); ++i ) {
        const bool last = i + 1 == names.size();
        text += i == 0 ? "'" : last ? " or '" : ", '";
        text += names[ i ] + "'";
    }
    return text;
}

std::string nameHint( std::string_view name, const std::vector< std::string >& candidates )
{
    const std::vector< std::string > completions = completionsOf( name, candidates );
    if ( !completions.empty() && completions.size() <= mostNamesToList ) {
        return ", did you mean " + quotedNames( completions ) + "?";
    }
    if ( const std::optional< std::string > nearest = nearestName( name, candidates ) ) {
        return ", did you mean '" + *nearest + "'?";
    }
    if ( candidates.empty() || candidates.size() > mostNamesToList ) {
        return "";
    }
    return ", expected " + quotedNames( candidates );
}

} // namespace Input
