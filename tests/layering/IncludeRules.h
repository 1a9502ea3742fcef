// Which file may include which: the floors of the house, from the top downwards.
//
//   IncludeRules rules( []( const std::string& path ) { return isInTheTree( path ); } );
//   for ( const Offence& offence : rules.check( "sim/SimRange.cpp", text ) ) ...
#pragma once

#include "tests/layering/Offence.h"

#include <functional>
#include <string>
#include <string_view>

namespace Layering {

class IncludeRules
{
  public:
    /// Whether a path from the root of the tree names a file of it.
    using Exists = std::function< bool( const std::string& ) >;

    explicit IncludeRules( Exists exists );

    /// The includes that `file`, a path from the root, must not have. `text` is its contents.
    Offences check( const std::string& file, std::string_view text ) const;

  private:
    std::string objectionTo( std::string_view file, std::string_view argument ) const;
    std::string objectionToProject( std::string_view file, const std::string& path ) const;
    std::string objectionToSystem( std::string_view file, const std::string& name ) const;

    Exists exists_;
};

} // namespace Layering
