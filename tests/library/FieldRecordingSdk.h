#pragma once

/// An access object that writes down, in order, which enumerators it is asked for and what is put
/// into the SDK's sets, and hands everything on.
///
///     FieldRecordingSdk sdk( chip );
///     sdk.bcmFieldIpTypeAny();
///     EXPECT_THAT( sdk.asked, ElementsAre( "bcmFieldIpTypeAny" ) );

#include "sdk/ForwardingSdk.h"

#include <string>
#include <vector>

namespace LibraryTest {

class FieldRecordingSdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    mutable std::vector< std::string > asked; ///< accessors
    std::vector< std::string > setCalls;      ///< "init", "add 17"

#define SDK_ENUMERATOR( type, name, value )                                                        \
    [[nodiscard]] type name() const override                                                       \
    {                                                                                              \
        asked.emplace_back( #name );                                                               \
        return next().name();                                                                      \
    }
#include "sdk/SdkEnumerators.def"

    void BCM_FIELD_QSET_INIT( bcm_field_qset_t* qset ) override
    {
        setCalls.emplace_back( "init" );
        next().BCM_FIELD_QSET_INIT( qset );
    }

    void BCM_FIELD_QSET_ADD( bcm_field_qset_t* qset, bcm_field_qualify_t qualifier ) override
    {
        setCalls.push_back( "add " + std::to_string( qualifier ) );
        next().BCM_FIELD_QSET_ADD( qset, qualifier );
    }

    void BCM_FIELD_ASET_INIT( bcm_field_aset_t* aset ) override
    {
        setCalls.emplace_back( "init" );
        next().BCM_FIELD_ASET_INIT( aset );
    }

    void BCM_FIELD_ASET_ADD( bcm_field_aset_t* aset, bcm_field_action_t action ) override
    {
        setCalls.push_back( "add " + std::to_string( action ) );
        next().BCM_FIELD_ASET_ADD( aset, action );
    }
};

} // namespace LibraryTest
