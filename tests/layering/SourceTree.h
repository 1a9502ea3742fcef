// The files of this tree as they lie on the disk.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Layering {

class SourceTree
{
  public:
    /// Lists the files below `root`, except build folders at the root and everything whose name
    /// starts with a dot. Throws `std::filesystem::filesystem_error` if there is no such folder.
    explicit SourceTree( std::filesystem::path root );

    /// The paths of all files from the root, sorted.
    const std::vector< std::string >& files() const { return files_; }

    /// Whether `path`, from the root, names one of the files.
    bool contains( const std::string& path ) const;

    /// The contents of one of the files. Throws `std::runtime_error` if it cannot be read.
    std::string contentsOf( const std::string& path ) const;

  private:
    std::filesystem::path root_;
    std::vector< std::string > files_;
};

} // namespace Layering
