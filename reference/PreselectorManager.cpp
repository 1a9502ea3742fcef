#include "reference/PreselectorManager.h"

#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "sdk/SdkCall.h"

namespace Reference {

using Agent::U32;

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

/// What tells the SDK's qualify functions that an entry argument is a preselector.
constexpr bcm_field_entry_t preselectorFlag = 0x40000000;

/// The class records of a preselector, which several qualifiers add to.
struct ClassRecords
{
    bcm_field_src_class_t data;
    bcm_field_src_class_t mask;

    [[nodiscard]] bool empty() const
    {
        return ( mask.dst_class_field | mask.src_class_field | mask.intf_class_l2 |
                 mask.intf_class_l3 | mask.intf_class_port | mask.intf_class_vport ) == 0;
    }
};

} // namespace

PreselectorManager::PreselectorManager( U32 unit )
    : unit_( unit )
{}

std::optional< bcm_field_presel_t >
PreselectorManager::create( const std::vector< PreselectorQualifier >& wanted,
                            PreselectorFunction function )
{
    // A copy: what is wanted may change while the locks are free.
    const std::vector< PreselectorQualifier > qualifiers = wanted;
    const auto unit = static_cast< int >( unit_ );
    bcm_field_presel_t presel = 0;
    const int rc = SDK_TRACED_CALL( bcm_field_presel_create, unit, &presel );
    if ( rc < 0 ) {
        return std::nullopt;
    }
    try {
        program( presel, qualifiers, function );
    } catch ( ... ) {
        preselectors_.insert( presel );
        destroy( presel );
        throw;
    }
    // Only now: what is not programmed yet is nobody's to destroy.
    preselectors_.insert( presel );
    return presel;
}

void PreselectorManager::program( bcm_field_presel_t presel,
                                  const std::vector< PreselectorQualifier >& qualifiers,
                                  PreselectorFunction function ) const
{
    const auto entry = static_cast< U32 >( presel );
    ClassRecords classes;
    for ( const auto& [ qualifier, data, mask ] : qualifiers ) {
        if ( function == PreselectorFunction::current ) {
            PeloraTcam::setPeloraTcamPreselectQualifier( unit_, entry,
                                                         static_cast< U32 >( qualifier ), data,
                                                         mask, &classes.data, &classes.mask );
        } else {
            PeloraTcam::setPreselectQualifier( unit_, entry,
                                               PeloraTcam::getBcmQualifier( qualifier ), data, mask,
                                               &classes.data, &classes.mask );
        }
    }
    if ( !classes.empty() ) {
        const auto unit = static_cast< int >( unit_ );
        const bcm_field_entry_t flagged = presel | preselectorFlag;
        SDK_CHECKED_CALL( bcm_field_qualify_SrcClass, unit, flagged, &classes.data, &classes.mask );
    }
}

bool PreselectorManager::destroy( bcm_field_presel_t presel )
{
    if ( preselectors_.erase( presel ) == 0 ) {
        return false;
    }
    const auto unit = static_cast< int >( unit_ );
    try {
        SDK_CHECKED_CALL( bcm_field_presel_destroy, unit, presel );
    } catch ( ... ) {
        preselectors_.insert( presel );
        throw;
    }
    return true;
}

} // namespace Reference
