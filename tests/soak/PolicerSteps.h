#pragma once

/// Policers: asked for, shared or not, and given back, by themselves and for entries.

#include "tests/soak/Steps.h"

namespace Soak {

class PolicerSteps : public Steps
{
  public:
    using Steps::Steps;

    void step() override;
    void audit() override;
    void releaseAll() override;

    /// Any policer; nothing when there is none.
    [[nodiscard]] std::optional< PeloraTcam::PolicerId > acquireAny();

    void release( PeloraTcam::PolicerId id );

  private:
    [[nodiscard]] PeloraTcam::Policer anyPolicer();
    void cleanUp();

    std::map< PeloraTcam::PolicerId, std::size_t > users_;
    std::vector< PeloraTcam::PolicerId > own_;      // One item a user that is no entry.
    std::vector< PeloraTcam::PolicerId > stranded_; // In the chip, and nobody's.
};

} // namespace Soak
