#pragma once

/// Groups that no entry is in, and preselectors: they come and go.

#include "tests/soak/Steps.h"

namespace Soak {

class GroupSteps : public Steps
{
  public:
    using Steps::Steps;

    void step() override;
    void audit() override;
    void releaseAll() override;

  private:
    void createGroup();
    void destroyGroup( bcm_field_group_t group );
    void createPreselector();
    void destroyPreselector( bcm_field_presel_t preselector );
    void stepOfGroups();
    void stepOfPreselectors();

    std::vector< bcm_field_group_t > groups_;
    std::vector< bcm_field_presel_t > preselectors_;
};

} // namespace Soak
