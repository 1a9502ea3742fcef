#pragma once

/// Small rule sets: programmed as a whole, read, and removed.

#include "tests/soak/Steps.h"

namespace Soak {

class RuleSetSteps : public Steps
{
  public:
    using Steps::Steps;

    void step() override;
    void audit() override;
    void releaseAll() override;

  private:
    [[nodiscard]] std::vector< Reference::FilterRule > anyRules();
    void program();
    void remove( Reference::RuleSetId id );

    std::vector< Reference::RuleSetId > live_;
};

} // namespace Soak
