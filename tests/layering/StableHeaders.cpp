#include "tests/layering/StableHeaders.h"

#include <algorithm>

namespace Layering {

namespace {

bool isHeaderOfARoom( const std::string& file )
{
    return file.starts_with( "sim/" ) && std::ranges::count( file, '/' ) == 2 &&
           ( file.ends_with( ".h" ) || file.ends_with( ".def" ) );
}

} // namespace

StableHeaders::StableHeaders( const std::vector< std::string >& files )
{
    for ( const std::string& file : files ) {
        if ( !isHeaderOfARoom( file ) ) {
            continue;
        }
        const std::string path = "sim/" + file.substr( file.rfind( '/' ) + 1 );
        if ( !files_.emplace( path, file ).second ) {
            ambiguous_.push_back( path );
        }
    }
}

std::string StableHeaders::fileOf( const std::string& path ) const
{
    const auto found = files_.find( path );
    return found == files_.end() ? "" : found->second;
}

} // namespace Layering
