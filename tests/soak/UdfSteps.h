#pragma once

/// User-defined fields: programmed, shared, looked at and removed, on whichever path the chip has.

#include "tests/soak/Steps.h"

namespace Soak {

class UdfSteps : public Steps
{
  public:
    using Steps::Steps;

    void step() override;
    void audit() override;
    void releaseAll() override;

  private:
    [[nodiscard]] PeloraTcam::UdfDesc anyModuleDesc();
    [[nodiscard]] PeloraTcam::UdfDesc anyFlexDesc();
    void maybeForLagHash( PeloraTcam::UdfDesc& desc );
    [[nodiscard]] std::size_t hashed() const;
    void program();
    void remove( const PeloraTcam::UdfDesc& desc );
    void look();
    void cleanUp();

    std::vector< PeloraTcam::UdfDesc > users_; // One item a user.
    std::map< PeloraTcam::UdfDesc, PeloraTcam::QualIdList > quals_;
    std::vector< bcm_udf_id_t > stranded_; // In the chip, and nobody's.
};

} // namespace Soak
