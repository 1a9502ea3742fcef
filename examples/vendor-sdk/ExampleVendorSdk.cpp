/// The access object that forwards to the chip vendor's SDK: a skeleton to fill in, and a program
/// that drives the range checkers of a made-up SDK (`chip_sdk.h`) through it.

#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"
#include "agent/base/Locks.h"
#include "sdk/ForwardingSdk.h"
#include "sim/UnavailableSdk.h"

#include <array>
#include <chip_sdk.h>
#include <iostream>
#include <vector>

namespace {

using namespace PeloraTcam;

/// The access object. It may be written function by function: whatever is not overridden yet is
/// answered by `next`, by an SDK that can do nothing (`Sim::UnavailableSdk`), or by the simulated
/// chip, so that the agent runs from the first day on. Once everything is written, derive from
/// `Shim::SdkAccess` instead: then the compiler names what has been forgotten, and `sim/` is no
/// longer needed.
///
/// Functions are called on the agent's threads with the agent's locks released. If the vendor's
/// SDK does not guard itself, this is where to do it.
///
///     Sim::UnavailableSdk rest;
///     VendorSdk sdk( rest );
///     Shim::sdk_ = &sdk;
class VendorSdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    // ---- Functions: arguments over to the vendor's types, results back ------------------------

    int bcm_range_create( int unit, uint32_t flags, bcm_range_config_t* config ) override;
    int bcm_range_destroy( int unit, bcm_range_t rangeId ) override;
    int bcm_range_get( int unit, bcm_range_config_t* config ) override;

    // ---- Enumerators: the vendor's numbers; the library has none of its own -------------------

    [[nodiscard]] bcm_range_type_t bcmRangeTypeL4SrcPort() const override;
    [[nodiscard]] bcm_range_type_t bcmRangeTypeL4DstPort() const override;
    [[nodiscard]] bcm_range_type_t bcmRangeTypePacketLength() const override;
};

int VendorSdk::bcm_range_create( int unit, uint32_t, bcm_range_config_t* config )
{
    const chip_range range{ config->min, config->max, static_cast< int >( config->rtype ) };
    return chip_range_add( unit, &range, &config->rid );
}

int VendorSdk::bcm_range_destroy( int unit, bcm_range_t rangeId )
{
    return chip_range_remove( unit, rangeId );
}

int VendorSdk::bcm_range_get( int unit, bcm_range_config_t* config )
{
    chip_range range{};
    const int rc = chip_range_read( unit, config->rid, &range );
    if ( rc == 0 ) {
        config->min = range.low;
        config->max = range.high;
        config->rtype = static_cast< bcm_range_type_t >( range.field );
    }
    return rc;
}

bcm_range_type_t VendorSdk::bcmRangeTypeL4SrcPort() const
{
    return static_cast< bcm_range_type_t >( CHIP_FIELD_SOURCE_PORT );
}

bcm_range_type_t VendorSdk::bcmRangeTypeL4DstPort() const
{
    return static_cast< bcm_range_type_t >( CHIP_FIELD_DESTINATION_PORT );
}

bcm_range_type_t VendorSdk::bcmRangeTypePacketLength() const
{
    return static_cast< bcm_range_type_t >( CHIP_FIELD_LENGTH );
}

// ---- The program -----------------------------------------------------------------------------

/// Takes range checkers until the chip has no more, compares each with the chip, and gives them
/// all back.
void useRangeCheckers()
{
    const Agent::Ptr< PeloraTcamSdk6RangeCheckerHelper > helper(
        new PeloraTcamSdk6RangeCheckerHelper( 0, FapId( 0 ), { "example" } ) );

    constexpr std::array< RangeCheckerDesc, 3 > wanted = { {
        { 1024, 65535, RangeType::l4SrcPort },
        { 80, 88, RangeType::l4DstPort },
        { 64, 127, RangeType::packetLength },
    } };
    std::vector< RangeCheckerId > ids;
    for ( const RangeCheckerDesc& desc : wanted ) {
        const RangeCheckerId id = helper->getRangeChecker( desc );
        if ( id == invalidRangeCheckerId ) {
            std::cout << desc << ": no room\n";
            continue;
        }
        helper->verifyTcamSanity(
            Agent::Ptr< const RangeCheckerData >( new RangeCheckerData( desc, id ) ) );
        std::cout << desc << ": id " << id << '\n';
        ids.push_back( id );
    }
    for ( const RangeCheckerId id : ids ) {
        helper->releaseRangeChecker( id );
    }
}

/// What is not written yet fails as on a chip that does not have it.
void askForPolicer()
{
    bcm_policer_config_t policer;
    Shim::sdk_->bcm_policer_config_t_init( &policer );
    bcm_policer_t id = 0;
    const int rc = Shim::sdk_->bcm_policer_create( 0, &policer, &id );
    std::cout << "policers, not written yet: " << Shim::sdk_->sdkErrorText( rc ) << '\n';
}

} // namespace

int main()
{
    Sim::UnavailableSdk rest;
    VendorSdk sdk( rest );
    Shim::sdk_ = &sdk;

    const Agent::LockAnchor working( Agent::activityLock() );
    useRangeCheckers();
    askForPolicer();
    return 0;
}
