#pragma once

/// Range checkers: asked for, shared and given back, by themselves and for entries.

#include "tests/soak/Steps.h"

namespace Soak {

class RangeCheckerSteps : public Steps
{
  public:
    using Steps::Steps;

    void step() override;
    void audit() override;
    void releaseAll() override;

    /// A range checker for any range; nothing when there is none.
    [[nodiscard]] std::optional< PeloraTcam::RangeCheckerId > acquireAny();

    void release( PeloraTcam::RangeCheckerId id );

  private:
    [[nodiscard]] PeloraTcam::RangeCheckerDesc anyDesc();
    void cleanUp();

    struct Shared
    {
        PeloraTcam::RangeCheckerDesc desc;
        std::size_t users = 0;
    };

    std::map< PeloraTcam::RangeCheckerId, Shared > shared_;
    std::vector< PeloraTcam::RangeCheckerId > own_;      // One item a user that is no entry.
    std::vector< PeloraTcam::RangeCheckerId > stranded_; // In the chip, and nobody's.
};

} // namespace Soak
