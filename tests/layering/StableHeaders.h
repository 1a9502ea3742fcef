// The headers that are included by a path on which they do not stand: what the rooms of `sim/`
// offer is included as "sim/NAME", whichever room it is in.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Layering {

class StableHeaders
{
  public:
    /// `files` are all files of the tree, as paths from the root.
    explicit StableHeaders( const std::vector< std::string >& files );

    /// The path of the file that is meant by such a path; empty for any other path.
    std::string fileOf( const std::string& path ) const;

    /// The paths that more than one file claims.
    const std::vector< std::string >& ambiguous() const { return ambiguous_; }

  private:
    std::map< std::string, std::string > files_;
    std::vector< std::string > ambiguous_;
};

} // namespace Layering
