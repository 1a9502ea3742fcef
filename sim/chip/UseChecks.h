#pragma once

/// Whether an object is in use by others, which its owner need not know: they tell.
///
///     entries.useChecks().add( [ this ]( bcm_field_entry_t entry ) { return hasStat( entry ); } );

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

namespace Sim {

/// Those that may use an object; see the top of this header.
template< class Id >
class UseChecks
{
  public:
    /// Whether somebody uses the object of that id.
    using Check = std::function< bool( Id id ) >;

    /// The check must be valid for as long as this lives.
    void add( Check check ) { checks_.push_back( std::move( check ) ); }

    /// Whether anybody uses the object of that id.
    [[nodiscard]] bool isInUse( Id id ) const
    {
        return std::ranges::any_of( checks_, [ id ]( const Check& check ) { return check( id ); } );
    }

  private:
    std::vector< Check > checks_;
};

} // namespace Sim
