#pragma once

/// What the parts of a scenario need to know of the scenario while they are read.

#include "input/YamlDocument.h"
#include "sim/SdkNumbering.h"

#include <string>

namespace Tool {

class ReadContext
{
  public:
    ReadContext( std::string scenarioFile, const Sim::SdkNumbering& numbering );

    [[nodiscard]] const Sim::SdkNumbering& numbering() const { return numbering_; }

    /// A path as written in the scenario, seen from the working directory: a relative path is
    /// relative to the scenario's folder.
    [[nodiscard]] std::string resolved( const std::string& path ) const;

    /// A path in which "${NAME}" and "${NAME:-DEFAULT}" stand for environment variables, resolved
    /// as above; a path that starts with the value of a variable is relative to the working
    /// directory. A variable that is not set and has no default, and a "${" without its end, fail
    /// at the node.
    [[nodiscard]] std::string substitutedPath( const Input::YamlNode& node ) const;

  private:
    std::string scenarioFile_;
    Sim::SdkNumbering numbering_;
};

} // namespace Tool
