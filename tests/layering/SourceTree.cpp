#include "tests/layering/SourceTree.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace Layering {

namespace {

using Iterator = std::filesystem::recursive_directory_iterator;

bool isLeftOut( const Iterator& entry )
{
    const std::string name = entry->path().filename().string();
    return name.starts_with( '.' ) || ( entry.depth() == 0 && name.starts_with( "build" ) );
}

} // namespace

SourceTree::SourceTree( std::filesystem::path root )
    : root_( std::move( root ) )
{
    for ( Iterator entry( root_ ); entry != Iterator(); ++entry ) {
        if ( isLeftOut( entry ) ) {
            entry.disable_recursion_pending();
        } else if ( entry->is_regular_file() ) {
            files_.push_back( entry->path().lexically_relative( root_ ).generic_string() );
        }
    }
    std::ranges::sort( files_ );
}

bool SourceTree::contains( const std::string& path ) const
{
    return std::ranges::binary_search( files_, path );
}

std::string SourceTree::contentsOf( const std::string& path ) const
{
    std::ifstream stream( root_ / path, std::ios::binary );
    std::string contents( std::istreambuf_iterator< char >( stream ), {} );
    if ( !stream ) {
        throw std::runtime_error( "cannot read " + path );
    }
    return contents;
}

} // namespace Layering
